// Matrix copies of the sse42 class: the shared logic at 16-byte vector width.
#define VRX_VEC_BYTES 16
#include "vector/kernels/matcopy_body.h"

VRX_MATCOPY_VARIANTS(sse42)
