// Unblocked Cholesky kernels of the avx512 class: the shared body under this folder's flags.
#include "lapack/kernels/potrf_small_body.h"

VRX_POTRF_SMALL_KERNELS(avx512)
