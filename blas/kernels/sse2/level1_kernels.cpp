// Level-1 kernels of the sse2 class: the shared bodies at 16-byte vector width.
#define VRX_VEC_BYTES 16
#include "blas/kernels/level1_body.h"

VRX_LEVEL1_TABLES(sse2)
