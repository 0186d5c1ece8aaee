// The driver's kernel tables over the raw register-block kernels: the packs take views
// and an offset here, raw pointers there.
#include "blas/kernels/gemm_micro_tables.h"
#include "blas/kernels/gemm_micro.h"
#include "blas/level3/driver/vrx_l3_micro_tables.h"
#include "blas/vrx_scale_matrix.h"
#include "service/vrx_serv.h"

namespace {
// Real data has no conjugation: its C packs are the transposed ones.
template <typename T>
constexpr int op_index(int op) {
  return !vrx_is_complex<T> && op == VRX_MICRO_CONJUGATED ? VRX_MICRO_TRANSPOSED : op;
}

// A packed A block holds `offset` rows of panels before this one, a packed B block
// `offset` columns.
template <typename T, const vrx_gemm_micro_kernels<T>* K, int OP>
void pack_a(const vrx_l3_view<T>* source, const vrx_l3_view<T>* target, T factor, vrx_int offset) {
  K->pack_a[op_index<T>(OP)](source->address(0, 0, source), source->ld, source->rows, source->cols, factor,
                             target->data + offset * source->cols);
}
template <typename T, const vrx_gemm_micro_kernels<T>* K, int OP>
void pack_b(const vrx_l3_view<T>* source, const vrx_l3_view<T>* target, T factor, vrx_int offset) {
  K->pack_b[op_index<T>(OP)](source->address(0, 0, source), source->ld, source->rows, source->cols, factor,
                             target->data + offset * source->rows);
}
template <typename T, const vrx_gemm_micro_kernels<T>* K>
void kernel(vrx_int m, vrx_int n, vrx_int k, const T* a, const T* b, T* c, vrx_int ldc, T beta) {
  K->kernel(m, n, k, a, b, c, ldc, beta);
}
template <typename T>
void scale(vrx_int m, vrx_int n, T beta, T* c, vrx_int ldc) {
  vrx_scale_matrix(m, n, beta, c, ldc);
}

template <typename T>
constexpr vrx_gemm_fn<T> reference_of() {
  if constexpr (std::is_same_v<T, float>) return vrx_blas_sgemm_reference;
  else if constexpr (std::is_same_v<T, vrx_complex_float>) return vrx_blas_cgemm_reference;
  else return vrx_blas_zgemm_reference;
}
template <typename T>
void fallback(const vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b,
              const vrx_l3_view<T>* c) {
  vrx_l3_gemm_fallback_with<T>(reference_of<T>(), call, a, b, c);
}

// The table of one raw kernel set. Its register extents live in the other translation
// unit, so they are filled in on first use (the same values by every thread).
template <typename T, const vrx_gemm_micro_kernels<T>* K>
vrx_l3_kernels<T> table = {
    .mr = 0,
    .nr = 0,
    .kernel = kernel<T, K>,
    .pack_a_plain = pack_a<T, K, VRX_MICRO_PLAIN>,
    .pack_a_transposed = pack_a<T, K, VRX_MICRO_TRANSPOSED>,
    .pack_a_conjugated = pack_a<T, K, VRX_MICRO_CONJUGATED>,
    .pack_b_plain = pack_b<T, K, VRX_MICRO_PLAIN>,
    .pack_b_transposed = pack_b<T, K, VRX_MICRO_TRANSPOSED>,
    .pack_b_conjugated = pack_b<T, K, VRX_MICRO_CONJUGATED>,
    .scale_c = scale<T>,
    .fallback = fallback<T>,
};

template <typename T, const vrx_gemm_micro_kernels<T>* K>
const vrx_l3_kernels<T>* adapted() {
  vrx_l3_kernels<T>* t = &table<T, K>;
  if (!__atomic_load_n(&t->mr, __ATOMIC_ACQUIRE)) {
    __atomic_store_n(&t->nr, K->nr, __ATOMIC_RELAXED);
    __atomic_store_n(&t->mr, K->mr, __ATOMIC_RELEASE);
  }
  return t;
}

// The raw tables of each class.
template <typename T>
struct raw_tables;
template <>
struct raw_tables<float> {
  static constexpr const vrx_gemm_micro_kernels<float>* avx2 = &vrx_gemm_micro_s_avx2;
  static constexpr const vrx_gemm_micro_kernels<float>* avx512 = &vrx_gemm_micro_s_avx512;
};
template <>
struct raw_tables<vrx_complex_float> {
  static constexpr const vrx_gemm_micro_kernels<vrx_complex_float>* avx2 = &vrx_gemm_micro_c_avx2;
  static constexpr const vrx_gemm_micro_kernels<vrx_complex_float>* avx512 = &vrx_gemm_micro_c_avx512;
};
template <>
struct raw_tables<vrx_complex_double> {
  static constexpr const vrx_gemm_micro_kernels<vrx_complex_double>* avx2 = &vrx_gemm_micro_z_avx2;
  static constexpr const vrx_gemm_micro_kernels<vrx_complex_double>* avx512 = &vrx_gemm_micro_z_avx512;
};
}  // namespace

template <typename T>
const vrx_l3_kernels<T>* vrx_l3_micro_kernels(int cpu) {
  switch (cpu) {
    case VRX_CPU_AVX2: return adapted<T, raw_tables<T>::avx2>();
    case VRX_CPU_AVX512: return adapted<T, raw_tables<T>::avx512>();
    default: return nullptr;
  }
}

template const vrx_l3_kernels<float>* vrx_l3_micro_kernels<float>(int);
template const vrx_l3_kernels<vrx_complex_float>* vrx_l3_micro_kernels<vrx_complex_float>(int);
template const vrx_l3_kernels<vrx_complex_double>* vrx_l3_micro_kernels<vrx_complex_double>(int);
