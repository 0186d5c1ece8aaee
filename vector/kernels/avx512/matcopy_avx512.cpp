// Matrix copies of the avx512 class: the shared logic at 64-byte vector width.
#define VRX_VEC_BYTES 64
#include "vector/kernels/matcopy_body.h"

VRX_MATCOPY_VARIANTS(avx512)
