// Dispatchers of the matrix copies: one cached variant per routine.
#include "service/vrx_dispatch.h"
#include "vector/vrx_matcopy.h"

namespace {
template <typename Fn>
Fn variant_of(Fn* cache, Fn sse2, Fn ssse3, Fn sse42, Fn avx, Fn avx2, Fn avx512) {
  const vrx_variants<Fn> variants = {sse2, nullptr, sse2, ssse3, sse42, avx, avx2, avx512};
  return vrx_serv_dispatch(cache, variants);
}
#define VRX_MATCOPY_VARIANT(name) \
  variant_of(&name##_cache, name##_sse2, name##_ssse3, name##_sse42, name##_avx, name##_avx2, name##_avx512)

vrx_dimatcopy_fn vrx_dimatcopy_cache;
vrx_domatcopy_fn vrx_domatcopy_cache;
vrx_simatcopy_fn vrx_simatcopy_cache;
vrx_somatcopy_fn vrx_somatcopy_cache;
int thread_override;
}  // namespace

void vrx_dimatcopy(char ordering, char trans, std::size_t rows, std::size_t cols, double alpha, double* ab,
                   std::size_t lda, std::size_t ldb) {
  VRX_MATCOPY_VARIANT(vrx_dimatcopy)(ordering, trans, rows, cols, alpha, ab, lda, ldb);
}
void vrx_domatcopy(char ordering, char trans, std::size_t rows, std::size_t cols, double alpha, const double* a,
                   std::size_t lda, double* b, std::size_t ldb) {
  VRX_MATCOPY_VARIANT(vrx_domatcopy)(ordering, trans, rows, cols, alpha, a, lda, b, ldb);
}
void vrx_simatcopy(char ordering, char trans, std::size_t rows, std::size_t cols, float alpha, float* ab,
                   std::size_t lda, std::size_t ldb) {
  VRX_MATCOPY_VARIANT(vrx_simatcopy)(ordering, trans, rows, cols, alpha, ab, lda, ldb);
}
void vrx_somatcopy(char ordering, char trans, std::size_t rows, std::size_t cols, float alpha, const float* a,
                   std::size_t lda, float* b, std::size_t ldb) {
  VRX_MATCOPY_VARIANT(vrx_somatcopy)(ordering, trans, rows, cols, alpha, a, lda, b, ldb);
}

int vrx_matcopy_threads() {
  const int forced = __atomic_load_n(&thread_override, __ATOMIC_RELAXED);
  return forced > 0 ? forced : vrx_serv_get_max_threads();
}
void vrx_matcopy_set_thread_override(int threads) { __atomic_store_n(&thread_override, threads, __ATOMIC_RELAXED); }
