// Unblocked Cholesky kernels of the avx class: the shared body at 32-byte vector width.
#define VRX_VEC_BYTES 32
#include "lapack/kernels/potrf_small_body.h"

VRX_POTRF_SMALL_KERNELS(avx)
