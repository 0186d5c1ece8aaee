// The level-1 and level-2 kernel tables of this process, chosen once by CPU type.
#include "blas/vrx_level12.h"
#include "service/vrx_dispatch.h"

namespace {
template <typename Table>
const Table* table_by_class(const Table** cache, const Table* sse2, const Table* avx, const Table* avx2,
                            const Table* avx512) {
  const vrx_variants<const Table*> variants = {sse2, nullptr, sse2, nullptr, nullptr, avx, avx2, avx512};
  return vrx_serv_dispatch(cache, variants);
}

const vrx_level1_kernels<double>* level1_d;
const vrx_level1_kernels<float>* level1_s;
const vrx_level2_kernels<double>* level2_d;
const vrx_level2_kernels<float>* level2_s;
}  // namespace

template <>
const vrx_level1_kernels<double>* vrx_blas_level1<double>() {
  return table_by_class(&level1_d, &vrx_blas_level1_d_sse2, &vrx_blas_level1_d_avx, &vrx_blas_level1_d_avx2,
                        &vrx_blas_level1_d_avx512);
}
template <>
const vrx_level1_kernels<float>* vrx_blas_level1<float>() {
  return table_by_class(&level1_s, &vrx_blas_level1_s_sse2, &vrx_blas_level1_s_avx, &vrx_blas_level1_s_avx2,
                        &vrx_blas_level1_s_avx512);
}
template <>
const vrx_level2_kernels<double>* vrx_blas_level2<double>() {
  return table_by_class(&level2_d, &vrx_blas_level2_d_sse2, &vrx_blas_level2_d_avx, &vrx_blas_level2_d_avx2,
                        &vrx_blas_level2_d_avx512);
}
template <>
const vrx_level2_kernels<float>* vrx_blas_level2<float>() {
  return table_by_class(&level2_s, &vrx_blas_level2_s_sse2, &vrx_blas_level2_s_avx, &vrx_blas_level2_s_avx2,
                        &vrx_blas_level2_s_avx512);
}
