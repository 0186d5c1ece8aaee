// Matrix copies of the avx class: the shared logic at 32-byte vector width.
#define VRX_VEC_BYTES 32
#include "vector/kernels/matcopy_body.h"

VRX_MATCOPY_VARIANTS(avx)
