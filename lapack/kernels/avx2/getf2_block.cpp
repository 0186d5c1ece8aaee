// GETF2 block kernels of the avx2 class: the shared body at 32-byte vector width.
#define VRX_VEC_BYTES 32
#include "lapack/kernels/getf2_block_body.h"

VRX_GETF2_BLOCK_KERNELS(avx2)
