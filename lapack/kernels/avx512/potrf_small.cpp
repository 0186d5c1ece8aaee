// Unblocked Cholesky kernels of the avx512 class: the shared body at 64-byte vector width.
#define VRX_VEC_BYTES 64
#include "lapack/kernels/potrf_small_body.h"

VRX_POTRF_SMALL_KERNELS(avx512)
