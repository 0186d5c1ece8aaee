// The level-1 and level-2 kernel tables of this process, chosen once by CPU type.
#include "blas/vrx_level12.h"
#include "service/vrx_dispatch.h"

namespace {
template <typename Table>
const Table* table_by_class(const Table* sse2, const Table* avx, const Table* avx2, const Table* avx512) {
  static const Table* cache;  // one per table type
  const vrx_variants<const Table*> variants = {sse2, nullptr, sse2, nullptr, nullptr, avx, avx2, avx512};
  return vrx_serv_dispatch(&cache, variants);
}
}  // namespace

template <>
const vrx_level1_kernels<double>* vrx_blas_level1<double>() {
  return table_by_class(&vrx_blas_level1_d_sse2, &vrx_blas_level1_d_avx, &vrx_blas_level1_d_avx2,
                        &vrx_blas_level1_d_avx512);
}
template <>
const vrx_level1_kernels<float>* vrx_blas_level1<float>() {
  return table_by_class(&vrx_blas_level1_s_sse2, &vrx_blas_level1_s_avx, &vrx_blas_level1_s_avx2,
                        &vrx_blas_level1_s_avx512);
}
template <>
const vrx_level1_kernels<vrx_complex_float>* vrx_blas_level1<vrx_complex_float>() {
  return table_by_class(&vrx_blas_level1_c_sse2, &vrx_blas_level1_c_avx, &vrx_blas_level1_c_avx2,
                        &vrx_blas_level1_c_avx512);
}
template <>
const vrx_level1_kernels<vrx_complex_double>* vrx_blas_level1<vrx_complex_double>() {
  return table_by_class(&vrx_blas_level1_z_sse2, &vrx_blas_level1_z_avx, &vrx_blas_level1_z_avx2,
                        &vrx_blas_level1_z_avx512);
}
template <>
const vrx_level2_kernels<double>* vrx_blas_level2<double>() {
  return table_by_class(&vrx_blas_level2_d_sse2, &vrx_blas_level2_d_avx, &vrx_blas_level2_d_avx2,
                        &vrx_blas_level2_d_avx512);
}
template <>
const vrx_level2_kernels<float>* vrx_blas_level2<float>() {
  return table_by_class(&vrx_blas_level2_s_sse2, &vrx_blas_level2_s_avx, &vrx_blas_level2_s_avx2,
                        &vrx_blas_level2_s_avx512);
}
template <>
const vrx_level2_kernels<vrx_complex_float>* vrx_blas_level2<vrx_complex_float>() {
  return table_by_class(&vrx_blas_level2_c_sse2, &vrx_blas_level2_c_avx, &vrx_blas_level2_c_avx2,
                        &vrx_blas_level2_c_avx512);
}
template <>
const vrx_level2_kernels<vrx_complex_double>* vrx_blas_level2<vrx_complex_double>() {
  return table_by_class(&vrx_blas_level2_z_sse2, &vrx_blas_level2_z_avx, &vrx_blas_level2_z_avx2,
                        &vrx_blas_level2_z_avx512);
}
