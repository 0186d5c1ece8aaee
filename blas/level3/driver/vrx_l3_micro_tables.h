// Kernel tables of the level-3 driver for the single and complex products, adapted from
// the raw register-block kernels of each class (CPU types 5 and 7; null otherwise).
#pragma once
#include "blas/vrx_l3.h"

template <typename T>
const vrx_l3_kernels<T>* vrx_l3_micro_kernels(int cpu);
