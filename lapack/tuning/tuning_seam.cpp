// The pointer every engine question goes through; tests may answer in its place.
#include "lapack/vrx_lapack.h"

vrx_lapack_tuning_fn vrx_lapack_tuning = ILAENV;
