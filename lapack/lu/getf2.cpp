// GETF2 through the kernel dispatcher: the block kernel of this CPU type on blocks of
// eight columns, the recursion's leaf (GETF2, then the progress hook) and the published
// names with their checks.
#include "lapack/lu/vrx_getf2_kernels.h"
#include "lapack/lu/vrx_getrf.h"
#include "service/vrx_dispatch.h"
#include "service/vrx_serv.h"

namespace {
// The portable kernel, and the class kernels of AVX2 and AVX-512 by precision letter.
template <typename T>
struct block_kernels;
#define VRX_GETF2_BLOCK_VARIANTS(T, x)                                                        \
  template <>                                                                                 \
  struct block_kernels<T> {                                                                   \
    static constexpr vrx_variants<vrx_getf2_block_fn<T>> variants = {                         \
        vrx_lapack_getf2_block_portable<T>, nullptr,  nullptr, nullptr, nullptr, nullptr,     \
        vrx_lapack_##x##getf2_block_avx2,   vrx_lapack_##x##getf2_block_avx512};              \
  };
VRX_GETF2_BLOCK_VARIANTS(float, s)
VRX_GETF2_BLOCK_VARIANTS(double, d)
VRX_GETF2_BLOCK_VARIANTS(vrx_complex_float, c)
VRX_GETF2_BLOCK_VARIANTS(vrx_complex_double, z)
#undef VRX_GETF2_BLOCK_VARIANTS
}  // namespace

// Blocks of eight columns, so that a wide matrix streams through its rows once per block
// instead of once per column: the kernel factors the block on its own columns, then the
// columns on its left take its interchanges and those on its right its interchanges, a
// unit lower solve and one product. The pivots are those of the column-by-column
// algorithm.
template <typename T>
vrx_int vrx_lapack_getf2(vrx_int m, vrx_int n, T* a, vrx_int lda, vrx_int* ipiv) {
  static vrx_getf2_block_fn<T> cache;
  const vrx_getf2_block_fn<T> block = vrx_serv_dispatch(&cache, block_kernels<T>::variants);
  const vrx_int mn = m < n ? m : n;
  vrx_int info = 0;
  for (vrx_int j = 0; j < mn; j += vrx_getf2_block_columns) {
    const vrx_int jb = mn - j < vrx_getf2_block_columns ? mn - j : vrx_getf2_block_columns;
    info = block(m, a, lda, ipiv, j, jb, info);
    vrx_lapack_laswp_sequential(j, a, lda, j + 1, j + jb, ipiv, 1);
    vrx_lapack_getrf_apply_panel(m, a, lda, ipiv, j, jb, j + jb, n - j - jb, true);
  }
  return info;
}

template <typename T>
int vrx_lapack_getf2_leaf(vrx_int m, vrx_int n, T* a, vrx_int lda, vrx_int* ipiv, vrx_int* info, int thread,
                          vrx_int offset) {
  *info = vrx_lapack_getf2(m, n, a, lda, ipiv);
  const int step = static_cast<int>(n + offset);
  const vrx_routine_name_buffer stage = vrx_routine_name<T>("GETRF");
  return vrx_serv_progress(&thread, &step, stage.text, 6) != 0;
}

template <typename T>
bool vrx_lapack_getrf_bad_arguments(const char* family, vrx_int m, vrx_int n, vrx_int lda, vrx_int* info) {
  int position = 0;
  if (m < 0)
    position = 1;
  else if (n < 0)
    position = 2;
  else if (lda < (m > 1 ? m : 1))
    position = 4;
  if (position == 0) return false;
  *info = -position;
  const vrx_routine_name_buffer name = vrx_routine_name<T>(family);
  vrx_serv_xerbla(name.text, &position, 6);
  return true;
}

namespace {
template <typename T>
void getf2_entry(const vrx_int* m, const vrx_int* n, T* a, const vrx_int* lda, vrx_int* ipiv, vrx_int* info) {
  if (vrx_lapack_getrf_bad_arguments<T>("GETF2", *m, *n, *lda, info)) return;
  *info = *m == 0 || *n == 0 ? 0 : vrx_lapack_getf2(*m, *n, a, *lda, ipiv);
}
}  // namespace

#define VRX_GETF2_INSTANCES(T)                                                                                 \
  template vrx_int vrx_lapack_getf2<T>(vrx_int, vrx_int, T*, vrx_int, vrx_int*);                               \
  template int vrx_lapack_getf2_leaf<T>(vrx_int, vrx_int, T*, vrx_int, vrx_int*, vrx_int*, int, vrx_int);      \
  template bool vrx_lapack_getrf_bad_arguments<T>(const char*, vrx_int, vrx_int, vrx_int, vrx_int*);
VRX_GETF2_INSTANCES(float)
VRX_GETF2_INSTANCES(double)
VRX_GETF2_INSTANCES(vrx_complex_float)
VRX_GETF2_INSTANCES(vrx_complex_double)
#undef VRX_GETF2_INSTANCES

extern "C" {
void SGETF2(const vrx_int* m, const vrx_int* n, float* a, const vrx_int* lda, vrx_int* ipiv, vrx_int* info) {
  getf2_entry(m, n, a, lda, ipiv, info);
}
void DGETF2(const vrx_int* m, const vrx_int* n, double* a, const vrx_int* lda, vrx_int* ipiv, vrx_int* info) {
  getf2_entry(m, n, a, lda, ipiv, info);
}
void CGETF2(const vrx_int* m, const vrx_int* n, vrx_complex_float* a, const vrx_int* lda, vrx_int* ipiv,
            vrx_int* info) {
  getf2_entry(m, n, a, lda, ipiv, info);
}
void ZGETF2(const vrx_int* m, const vrx_int* n, vrx_complex_double* a, const vrx_int* lda, vrx_int* ipiv,
            vrx_int* info) {
  getf2_entry(m, n, a, lda, ipiv, info);
}
}
