// Level-1 kernels of the avx512 class: the shared bodies at 64-byte vector width.
#define VRX_VEC_BYTES 64
#include "blas/kernels/level1_body.h"

VRX_LEVEL1_TABLES(avx512)
