// Forwarding header: the packed GEMM road now lives beside its sources.
#pragma once
#include "blas/level3/packed/vrx_gemm_packed.h"
