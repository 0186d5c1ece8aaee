// Level-1 kernels of the avx class: the shared bodies at 32-byte vector width.
#define VRX_VEC_BYTES 32
#include "blas/kernels/level1_body.h"

VRX_LEVEL1_TABLES(avx)
