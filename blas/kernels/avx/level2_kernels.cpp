// Level-2 kernels of the avx class: the shared bodies at 32-byte vector width.
#define VRX_VEC_BYTES 32
#include "blas/kernels/level2_body.h"

VRX_LEVEL2_TABLES(avx)
