// Dispatchers of the GEMM engine: the sequential kernel and the road selector.
#include "blas/vrx_blas.h"
#include "blas/level3/gemm/vrx_gemm_roads.h"
#include "blas/level3/packed/vrx_gemm_packed.h"
#include "blas/vrx_l3.h"
#include "service/vrx_dispatch.h"

namespace {
int classic_road() { return 1; }
int team_road() { return 2; }

typedef int (*road_fn)();
constexpr vrx_variants<road_fn> road_variants = {
    .portable = classic_road, .compatible = classic_road, .sse2 = classic_road, .ssse3 = classic_road,
    .sse42 = classic_road,    .avx = classic_road,        .avx2 = team_road,    .avx512 = team_road,
};

// Sequential kernels by CPU type; the compatible entry is the reproducible SSE2 set.
constexpr vrx_variants<vrx_dgemm_fn> sequential_variants = {
    .portable = vrx_blas_dgemm_reference, .compatible = vrx_blas_dgemm_route_sse2_compatible,
    .sse2 = vrx_blas_dgemm_route_sse2,     .ssse3 = vrx_blas_dgemm_route_ssse3,
    .sse42 = vrx_blas_dgemm_route_sse42,    .avx = vrx_blas_dgemm_route_avx,
    .avx2 = vrx_blas_dgemm_route_avx2,     .avx512 = vrx_blas_dgemm_route_avx512,
};

road_fn road_cache = nullptr;
vrx_dgemm_fn sequential_cache = nullptr;

// The other precisions: the classic CPU types take the classic road's route for their
// type and branch, or the portable product where that has none.
template <typename T, int CPU, int BRANCH>
void via_classic_route(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                       const vrx_int* k, const T* alpha, const T* a, const vrx_int* lda, const T* b,
                       const vrx_int* ldb, const T* beta, T* c, const vrx_int* ldc) {
  vrx_gemm_fn<T> route = vrx_blas_gemm_classic_route<T>(CPU, BRANCH);
  if (!route) route = vrx_gemm_members<T>::reference;
  route(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

// The compatible entry serves types 0 and 2 off branch 1: the second SSE2 set.
template <typename T>
constexpr vrx_variants<vrx_gemm_fn<T>> generic_variants = {
    .portable = vrx_gemm_members<T>::reference,
    .compatible = via_classic_route<T, VRX_CPU_SSE2, 2>,
    .sse2 = via_classic_route<T, VRX_CPU_SSE2, 1>,
    .ssse3 = via_classic_route<T, VRX_CPU_SSSE3, 1>,
    .sse42 = via_classic_route<T, VRX_CPU_SSE42, 1>,
    .avx = via_classic_route<T, VRX_CPU_AVX, 1>,
    .avx2 = vrx_blas_gemm_route_avx2<T>,
    .avx512 = vrx_blas_gemm_route_avx512<T>,
};
template <typename T>
vrx_gemm_fn<T> generic_cache = nullptr;

template <typename T>
void sequential(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n, const vrx_int* k,
                const T* alpha, const T* a, const vrx_int* lda, const T* b, const vrx_int* ldb, const T* beta, T* c,
                const vrx_int* ldc) {
  vrx_serv_dispatch(&generic_cache<T>, generic_variants<T>)(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c,
                                                            ldc);
}
}  // namespace

int vrx_blas_dgemm_road() { return vrx_serv_dispatch(&road_cache, road_variants)(); }

void vrx_blas_dgemm_sequential(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                               const vrx_int* k, const double* alpha, const double* a, const vrx_int* lda,
                               const double* b, const vrx_int* ldb, const double* beta, double* c,
                               const vrx_int* ldc) {
  vrx_serv_dispatch(&sequential_cache, sequential_variants)(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta,
                                                            c, ldc);
}

void vrx_blas_sgemm_sequential(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                               const vrx_int* k, const float* alpha, const float* a, const vrx_int* lda,
                               const float* b, const vrx_int* ldb, const float* beta, float* c, const vrx_int* ldc) {
  sequential(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
void vrx_blas_cgemm_sequential(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                               const vrx_int* k, const vrx_complex_float* alpha, const vrx_complex_float* a,
                               const vrx_int* lda, const vrx_complex_float* b, const vrx_int* ldb,
                               const vrx_complex_float* beta, vrx_complex_float* c, const vrx_int* ldc) {
  sequential(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
void vrx_blas_zgemm_sequential(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                               const vrx_int* k, const vrx_complex_double* alpha, const vrx_complex_double* a,
                               const vrx_int* lda, const vrx_complex_double* b, const vrx_int* ldb,
                               const vrx_complex_double* beta, vrx_complex_double* c, const vrx_int* ldc) {
  sequential(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
