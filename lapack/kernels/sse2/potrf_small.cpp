// Unblocked Cholesky kernels of the sse2 class: the shared body under this folder's flags.
#include "lapack/kernels/potrf_small_body.h"

VRX_POTRF_SMALL_KERNELS(sse2)
