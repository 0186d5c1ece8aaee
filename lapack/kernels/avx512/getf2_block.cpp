// GETF2 block kernels of the avx512 class: the shared body at 64-byte vector width.
#define VRX_VEC_BYTES 64
#include "lapack/kernels/getf2_block_body.h"

vrx_int vrx_lapack_sgetf2_block_avx512(vrx_int m, float* a, vrx_int lda, vrx_int* ipiv, vrx_int j, vrx_int jb,
                                     vrx_int info) {
  return getf2_block_body(m, a, lda, ipiv, j, jb, info);
}
vrx_int vrx_lapack_dgetf2_block_avx512(vrx_int m, double* a, vrx_int lda, vrx_int* ipiv, vrx_int j, vrx_int jb,
                                     vrx_int info) {
  return getf2_block_body(m, a, lda, ipiv, j, jb, info);
}
