// The sequential SYMM and HEMM of each CPU type, chosen by the kernel dispatcher: the
// level-3 driver on types 5 and 7; on the classic types 0, 2, 3 and 4, blocks of the
// symmetric operand expanded into a bounded scratch and multiplied by the type's
// sequential GEMM route.
#include "blas/level3/symm/vrx_symm.h"
#include "service/vrx_dispatch.h"
#include "service/vrx_serv.h"

namespace {
template <typename T>
using symm_fn = vrx_symm_fn_type<T>*;

// Depth of one expanded block, and the elements of the scratch that holds it.
constexpr vrx_int block_depth = 256;
constexpr vrx_int scratch_elements = vrx_int(1) << 19;

vrx_int min_of(vrx_int x, vrx_int y) { return x < y ? x : y; }

template <typename T, bool HERMITIAN>
void unpacked_road(const char* side, const char* uplo, const vrx_int* m, const vrx_int* n, const T* alpha, const T* a,
                   const vrx_int* lda, const T* b, const vrx_int* ldb, const T* beta, T* c, const vrx_int* ldc) {
  vrx_symm_note(VRX_SYMM_ROAD_UNPACKED, 1);
  vrx_symm_unpacked(HERMITIAN, vrx_blas_side_code(side) == 1, vrx_blas_uplo_code(uplo) == 1, *m, *n, *alpha, a,
                    *lda, b, *ldb, *beta, c, *ldc);
}

// CPU types 5 and 7: the driver in this thread; below its minimum extents, or without
// operations for the type, the unpacked product.
template <typename T, bool HERMITIAN, int CPU>
void driver_road(const char* side, const char* uplo, const vrx_int* m, const vrx_int* n, const T* alpha, const T* a,
                 const vrx_int* lda, const T* b, const vrx_int* ldb, const T* beta, T* c, const vrx_int* ldc) {
  if (*m < 1 || *n < 1 || vrx_symm_alpha_zero(*m, *n, *alpha, *beta, c, *ldc)) return;
  vrx_symm_records<T> r =
      vrx_symm_make_records(HERMITIAN, side, uplo, *m, *n, *alpha, a, *lda, b, *ldb, *beta, c, *ldc);
  vrx_l3_kernel_shape shape;
  vrx_l3_ops<T> ops;
  vrx_l3_init_shape_for<T>(CPU, nullptr, &shape);
  if (!vrx_l3_init_ops_with(vrx_l3_kernels_for<T>(CPU), &r.call, &r.a, &r.b, &r.c, &shape, &ops) ||
      *m < ops.min_m || *n < ops.min_n) {
    unpacked_road<T, HERMITIAN>(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
    return;
  }
  vrx_symm_note(VRX_SYMM_ROAD_DRIVER, 1);
  ops.driver(&r.call, &r.a, &r.b, &r.c, nullptr, &ops);
}

// rows by cols of the symmetric matrix from (p0, q0) into w (leading dimension rows).
template <typename T>
void expand(const vrx_symm_source<T>& s, vrx_int p0, vrx_int q0, vrx_int rows, vrx_int cols, T* w) {
  for (vrx_int q = 0; q < cols; ++q)
    for (vrx_int p = 0; p < rows; ++p) w[p + q * rows] = s.at(p0 + p, q0 + q);
}

// The classic types: C is taken in strips across the symmetric operand (rows of C on
// side L, columns on side R), each strip in steps of block_depth along the operand's
// order; every step expands one block and adds its product through the GEMM route, the
// caller's beta on the first step and one after.
template <typename T, bool HERMITIAN, int CPU, int BRANCH>
void classic_road(const char* side, const char* uplo, const vrx_int* m, const vrx_int* n, const T* alpha, const T* a,
                  const vrx_int* lda, const T* b, const vrx_int* ldb, const T* beta, T* c, const vrx_int* ldc) {
  if (*m < 1 || *n < 1 || vrx_symm_alpha_zero(*m, *n, *alpha, *beta, c, *ldc)) return;
  const bool right = vrx_blas_side_code(side) == 1;
  const vrx_int order = right ? *n : *m;
  const vrx_int depth = min_of(order, block_depth), strip = min_of(order, scratch_elements / depth);
  T* w = static_cast<T*>(vrx_l3_scratch_alloc(sizeof(T) * static_cast<std::size_t>(depth * strip), 128));
  if (!w) {
    unpacked_road<T, HERMITIAN>(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
    vrx_symm_note(VRX_SYMM_ROAD_NO_SCRATCH, 1);
    return;
  }
  vrx_symm_note(VRX_SYMM_ROAD_CLASSIC, 1);
  const vrx_gemm_fn<T> route = vrx_blas_gemm_classic_route<T>(CPU, BRANCH);
  const vrx_symm_source<T> s{a, *lda, vrx_blas_uplo_code(uplo) == 1, HERMITIAN};
  const T one = vrx_traits<T>::make(1, 0);
  for (vrx_int i0 = 0; i0 < order; i0 += strip) {
    const vrx_int lines = min_of(strip, order - i0);
    for (vrx_int l0 = 0; l0 < order; l0 += depth) {
      const vrx_int steps = min_of(depth, order - l0);
      const T* beta_now = l0 == 0 ? beta : &one;
      if (right) {
        // C(:, i0 ..) += alpha B(:, l0 ..) A(l0 .., i0 ..)
        expand(s, l0, i0, steps, lines, w);
        route("N", "N", m, &lines, &steps, alpha, b + l0 * *ldb, ldb, w, &steps, beta_now, c + i0 * *ldc, ldc);
      } else {
        // C(i0 .., :) += alpha A(i0 .., l0 ..) B(l0 .., :)
        expand(s, i0, l0, lines, steps, w);
        route("N", "N", &lines, n, &steps, alpha, w, &lines, b + l0, ldb, beta_now, c + i0, ldc);
      }
    }
  }
  vrx_serv_free(w);
}

// Types 0 and 2 off reproducibility branch 1 take the compatible entry: the second SSE2 set.
template <typename T, bool HERMITIAN>
constexpr vrx_variants<symm_fn<T>> sequential_variants = {
    .portable = unpacked_road<T, HERMITIAN>,
    .compatible = classic_road<T, HERMITIAN, VRX_CPU_SSE2, 2>,
    .sse2 = classic_road<T, HERMITIAN, VRX_CPU_SSE2, 1>,
    .ssse3 = classic_road<T, HERMITIAN, VRX_CPU_SSSE3, 1>,
    .sse42 = classic_road<T, HERMITIAN, VRX_CPU_SSE42, 1>,
    .avx = classic_road<T, HERMITIAN, VRX_CPU_AVX, 1>,
    .avx2 = driver_road<T, HERMITIAN, VRX_CPU_AVX2>,
    .avx512 = driver_road<T, HERMITIAN, VRX_CPU_AVX512>,
};
template <typename T, bool HERMITIAN>
symm_fn<T> sequential_cache = nullptr;

template <typename T, bool HERMITIAN>
void sequential(const char* side, const char* uplo, const vrx_int* m, const vrx_int* n, const T* alpha, const T* a,
                const vrx_int* lda, const T* b, const vrx_int* ldb, const T* beta, T* c, const vrx_int* ldc) {
  vrx_serv_dispatch(&sequential_cache<T, HERMITIAN>, sequential_variants<T, HERMITIAN>)(side, uplo, m, n, alpha, a,
                                                                                         lda, b, ldb, beta, c, ldc);
}
}  // namespace

void vrx_blas_ssymm_sequential(const char* side, const char* uplo, const vrx_int* m, const vrx_int* n,
                               const float* alpha, const float* a, const vrx_int* lda, const float* b,
                               const vrx_int* ldb, const float* beta, float* c, const vrx_int* ldc) {
  sequential<float, false>(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}
void vrx_blas_dsymm_sequential(const char* side, const char* uplo, const vrx_int* m, const vrx_int* n,
                               const double* alpha, const double* a, const vrx_int* lda, const double* b,
                               const vrx_int* ldb, const double* beta, double* c, const vrx_int* ldc) {
  sequential<double, false>(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}
void vrx_blas_csymm_sequential(const char* side, const char* uplo, const vrx_int* m, const vrx_int* n,
                               const vrx_complex_float* alpha, const vrx_complex_float* a, const vrx_int* lda,
                               const vrx_complex_float* b, const vrx_int* ldb, const vrx_complex_float* beta,
                               vrx_complex_float* c, const vrx_int* ldc) {
  sequential<vrx_complex_float, false>(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}
void vrx_blas_zsymm_sequential(const char* side, const char* uplo, const vrx_int* m, const vrx_int* n,
                               const vrx_complex_double* alpha, const vrx_complex_double* a, const vrx_int* lda,
                               const vrx_complex_double* b, const vrx_int* ldb, const vrx_complex_double* beta,
                               vrx_complex_double* c, const vrx_int* ldc) {
  sequential<vrx_complex_double, false>(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}
void vrx_blas_chemm_sequential(const char* side, const char* uplo, const vrx_int* m, const vrx_int* n,
                               const vrx_complex_float* alpha, const vrx_complex_float* a, const vrx_int* lda,
                               const vrx_complex_float* b, const vrx_int* ldb, const vrx_complex_float* beta,
                               vrx_complex_float* c, const vrx_int* ldc) {
  sequential<vrx_complex_float, true>(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}
void vrx_blas_zhemm_sequential(const char* side, const char* uplo, const vrx_int* m, const vrx_int* n,
                               const vrx_complex_double* alpha, const vrx_complex_double* a, const vrx_int* lda,
                               const vrx_complex_double* b, const vrx_int* ldb, const vrx_complex_double* beta,
                               vrx_complex_double* c, const vrx_int* ldc) {
  sequential<vrx_complex_double, true>(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}
