// Dispatchers of the GEMM engine: the sequential kernel and the road selector.
#include "blas/vrx_blas.h"
#include "blas/vrx_gemm_packed.h"
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
}  // namespace

int vrx_blas_dgemm_road() { return vrx_serv_dispatch(&road_cache, road_variants)(); }

void vrx_blas_dgemm_sequential(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                               const vrx_int* k, const double* alpha, const double* a, const vrx_int* lda,
                               const double* b, const vrx_int* ldb, const double* beta, double* c,
                               const vrx_int* ldc) {
  vrx_serv_dispatch(&sequential_cache, sequential_variants)(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta,
                                                            c, ldc);
}
