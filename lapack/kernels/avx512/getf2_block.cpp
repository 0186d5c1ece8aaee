// GETF2 block kernels of the avx512 class: the shared body at 64-byte vector width.
#define VRX_VEC_BYTES 64
#include "lapack/kernels/getf2_block_body.h"

VRX_GETF2_BLOCK_KERNELS(avx512)
