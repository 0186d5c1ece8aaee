// The diagonal-block kernels of the triangular solve and product for AVX-512 (CPU type
// 7), in the four precisions.
#include "blas/kernels/tri_leaf_body.h"

constinit const vrx_tri_leaf_table<float> vrx_tri_leaf_s_avx512 = vrx_tri_leaf_class_table<float>();
constinit const vrx_tri_leaf_table<double> vrx_tri_leaf_d_avx512 = vrx_tri_leaf_class_table<double>();
constinit const vrx_tri_leaf_table<vrx_complex_float> vrx_tri_leaf_c_avx512 =
    vrx_tri_leaf_class_table<vrx_complex_float>();
constinit const vrx_tri_leaf_table<vrx_complex_double> vrx_tri_leaf_z_avx512 =
    vrx_tri_leaf_class_table<vrx_complex_double>();
