// Matrix copy and transposition, scaled, in place or out of place, for row- or
// column-major matrices. Arguments by value and unchecked; a bad ordering or
// transposition letter makes the call a silent no-op. No scratch memory on any path.
#pragma once
#include <cstddef>

typedef void (*vrx_dimatcopy_fn)(char ordering, char trans, std::size_t rows, std::size_t cols, double alpha,
                                 double* ab, std::size_t lda, std::size_t ldb);
typedef void (*vrx_domatcopy_fn)(char ordering, char trans, std::size_t rows, std::size_t cols, double alpha,
                                 const double* a, std::size_t lda, double* b, std::size_t ldb);
typedef void (*vrx_simatcopy_fn)(char ordering, char trans, std::size_t rows, std::size_t cols, float alpha,
                                 float* ab, std::size_t lda, std::size_t ldb);
typedef void (*vrx_somatcopy_fn)(char ordering, char trans, std::size_t rows, std::size_t cols, float alpha,
                                 const float* a, std::size_t lda, float* b, std::size_t ldb);

// Dispatchers: the variant of this process's CPU type, chosen at the first call.
void vrx_dimatcopy(char ordering, char trans, std::size_t rows, std::size_t cols, double alpha, double* ab,
                   std::size_t lda, std::size_t ldb);
void vrx_domatcopy(char ordering, char trans, std::size_t rows, std::size_t cols, double alpha, const double* a,
                   std::size_t lda, double* b, std::size_t ldb);
void vrx_simatcopy(char ordering, char trans, std::size_t rows, std::size_t cols, float alpha, float* ab,
                   std::size_t lda, std::size_t ldb);
void vrx_somatcopy(char ordering, char trans, std::size_t rows, std::size_t cols, float alpha, const float* a,
                   std::size_t lda, float* b, std::size_t ldb);

// Variants per instruction class, all of one logic.
#define VRX_DECLARE_MATCOPY_VARIANTS(cls)                    \
  void vrx_dimatcopy_##cls(char, char, std::size_t, std::size_t, double, double*, std::size_t, std::size_t); \
  void vrx_domatcopy_##cls(char, char, std::size_t, std::size_t, double, const double*, std::size_t, double*, \
                           std::size_t);                                                               \
  void vrx_simatcopy_##cls(char, char, std::size_t, std::size_t, float, float*, std::size_t, std::size_t);  \
  void vrx_somatcopy_##cls(char, char, std::size_t, std::size_t, float, const float*, std::size_t, float*,  \
                           std::size_t);
VRX_DECLARE_MATCOPY_VARIANTS(sse2)
VRX_DECLARE_MATCOPY_VARIANTS(ssse3)
VRX_DECLARE_MATCOPY_VARIANTS(sse42)
VRX_DECLARE_MATCOPY_VARIANTS(avx)
VRX_DECLARE_MATCOPY_VARIANTS(avx2)
VRX_DECLARE_MATCOPY_VARIANTS(avx512)
#undef VRX_DECLARE_MATCOPY_VARIANTS

// Out-of-place transpositions whose matrix has at least this many bytes write the target
// with non-temporal stores: it would only push everything else out of the caches.
constexpr std::size_t vrx_matcopy_stream_bytes = std::size_t(8) << 20;

// Thread count of the forking paths: the domain-0 count, unless a test has set its own.
int vrx_matcopy_threads();
void vrx_matcopy_set_thread_override(int threads);  // 0 restores the domain count
