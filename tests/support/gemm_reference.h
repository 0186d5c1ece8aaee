// A long-double reference product and the residual measure used by GEMM tests.
#pragma once
#include <cstdint>
#include <vector>

// Column-major C := alpha op(A) op(B) + beta C in long double; beta = 0 ignores C.
void vrx_test_gemm_long_double(char transa, char transb, int64_t m, int64_t n, int64_t k, double alpha,
                               const double* a, int64_t lda, const double* b, int64_t ldb, double beta,
                               const double* c_in, int64_t ldc, std::vector<long double>& out);

// max |C - ref| / ((k + 2) * eps * scale), scale = max(1, |alpha| max|A| max|B| k + |beta| max|C|).
// Below 1 for any correctly rounded-ish summation order.
double vrx_test_gemm_error(const double* c, int64_t ldc, int64_t m, int64_t n, const std::vector<long double>& ref,
                           int64_t k, double scale);

// Deterministic values in [-1, 1].
std::vector<double> vrx_test_random(std::size_t count, unsigned seed);
