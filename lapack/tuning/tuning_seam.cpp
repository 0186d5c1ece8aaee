// The engine asks its tuning questions through this pointer; tests may replace it.
#include "lapack/vrx_lapack.h"

vrx_lapack_tuning_fn vrx_lapack_tuning = ILAENV;
