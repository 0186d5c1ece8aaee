// Published meaning of a vector increment: a negative one walks from the far end.
#pragma once
#include "service/vrx_types.h"

// Offset of the first element touched by a vector of `n` elements with increment `inc`.
inline vrx_int vrx_blas_first_index(vrx_int n, vrx_int inc) { return inc < 0 ? (1 - n) * inc : 0; }
