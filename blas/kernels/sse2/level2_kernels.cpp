// Level-2 kernels of the sse2 class: the shared bodies at 16-byte vector width.
#define VRX_VEC_BYTES 16
#include "blas/kernels/level2_body.h"

VRX_LEVEL2_TABLES(sse2)
