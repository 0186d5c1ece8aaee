// Unblocked Cholesky kernels of the ssse3 class: the shared body at 16-byte vector width.
#define VRX_VEC_BYTES 16
#include "lapack/kernels/potrf_small_body.h"

VRX_POTRF_SMALL_KERNELS(ssse3)
