// The three block operations of the Cholesky factorisation, on the upper triangle
// (U = rows over columns) or its mirror in the lower one: the symmetric rank update of
// a diagonal block (SYRK, HERK for complex data: its diagonal stays real), the product
// update of an off-diagonal block (GEMM) and its triangular solve (TRSM).
#include "lapack/cholesky/vrx_potrf.h"
#include "lapack/vrx_lapack_blas.h"

namespace {
// SYRK for real data and HERK for complex: both take real alpha and beta.
template <typename T>
struct rank_update;
#define VRX_POTRF_RANK_UPDATE(T, name)                                               \
  template <>                                                                        \
  struct rank_update<T> {                                                            \
    static constexpr vrx_herk_fn_type<T>* threaded = vrx_blas_##name;                \
    static constexpr vrx_herk_fn_type<T>* sequential = vrx_blas_##name##_sequential; \
  };
VRX_POTRF_RANK_UPDATE(float, ssyrk)
VRX_POTRF_RANK_UPDATE(double, dsyrk)
VRX_POTRF_RANK_UPDATE(vrx_complex_float, cherk)
VRX_POTRF_RANK_UPDATE(vrx_complex_double, zherk)
#undef VRX_POTRF_RANK_UPDATE

template <typename T>
constexpr const char* adjoint = vrx_is_complex<T> ? "Conjg. transpose" : "Transpose";

template <typename T>
T* at(const vrx_potrf_blocks<T>& b, vrx_int row, vrx_int col) {
  return b.a + row + col * b.lda;
}
}  // namespace

template <typename T>
void vrx_lapack_potrf_diag_update(const vrx_potrf_blocks<T>& b, vrx_int r0, vrx_int h, vrx_int k0, vrx_int depth) {
  if (h <= 0 || depth <= 0) return;
  const vrx_real_t<T> minus_one = -1, one = 1;
  vrx_herk_fn_type<T>* update = b.sequential ? rank_update<T>::sequential : rank_update<T>::threaded;
  if (b.upper)
    update("Upper", adjoint<T>, &h, &depth, &minus_one, at(b, k0, r0), &b.lda, &one, at(b, r0, r0), &b.lda);
  else
    update("Lower", "No transpose", &h, &depth, &minus_one, at(b, r0, k0), &b.lda, &one, at(b, r0, r0), &b.lda);
}

template <typename T>
void vrx_lapack_potrf_off_update(const vrx_potrf_blocks<T>& b, vrx_int r0, vrx_int hr, vrx_int c0, vrx_int hc,
                                 vrx_int k0, vrx_int depth) {
  if (hr <= 0 || hc <= 0 || depth <= 0) return;
  const T minus_one = vrx_traits<T>::make(-1, 0), one = vrx_traits<T>::make(1, 0);
  vrx_gemm_fn<T> gemm = b.sequential ? vrx_lapack_blas<T>::gemm_sequential : vrx_lapack_blas<T>::gemm;
  if (b.upper)
    gemm(adjoint<T>, "No transpose", &hr, &hc, &depth, &minus_one, at(b, k0, r0), &b.lda, at(b, k0, c0), &b.lda,
         &one, at(b, r0, c0), &b.lda);
  else
    gemm("No transpose", adjoint<T>, &hc, &hr, &depth, &minus_one, at(b, c0, k0), &b.lda, at(b, r0, k0), &b.lda,
         &one, at(b, c0, r0), &b.lda);
}

template <typename T>
void vrx_lapack_potrf_off_solve(const vrx_potrf_blocks<T>& b, vrx_int r0, vrx_int hr, vrx_int c0, vrx_int hc) {
  if (hr <= 0 || hc <= 0) return;
  const T one = vrx_traits<T>::make(1, 0);
  vrx_trsm_fn<T> trsm = b.sequential ? vrx_lapack_blas<T>::trsm_sequential : vrx_lapack_blas<T>::trsm;
  if (b.upper)
    trsm("Left", "Upper", adjoint<T>, "Non-unit", &hr, &hc, &one, at(b, r0, r0), &b.lda, at(b, r0, c0), &b.lda);
  else
    trsm("Right", "Lower", adjoint<T>, "Non-unit", &hc, &hr, &one, at(b, r0, r0), &b.lda, at(b, c0, r0), &b.lda);
}

#define VRX_POTRF_BLOCK_INSTANCES(T)                                                                               \
  template void vrx_lapack_potrf_diag_update<T>(const vrx_potrf_blocks<T>&, vrx_int, vrx_int, vrx_int, vrx_int);  \
  template void vrx_lapack_potrf_off_update<T>(const vrx_potrf_blocks<T>&, vrx_int, vrx_int, vrx_int, vrx_int,    \
                                               vrx_int, vrx_int);                                                 \
  template void vrx_lapack_potrf_off_solve<T>(const vrx_potrf_blocks<T>&, vrx_int, vrx_int, vrx_int, vrx_int);
VRX_POTRF_BLOCK_INSTANCES(float)
VRX_POTRF_BLOCK_INSTANCES(double)
VRX_POTRF_BLOCK_INSTANCES(vrx_complex_float)
VRX_POTRF_BLOCK_INSTANCES(vrx_complex_double)
#undef VRX_POTRF_BLOCK_INSTANCES
