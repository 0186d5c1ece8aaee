#include "support/gemm_reference.h"

#include <cfloat>
#include <cmath>
#include <random>

void vrx_test_gemm_long_double(char transa, char transb, int64_t m, int64_t n, int64_t k, double alpha,
                               const double* a, int64_t lda, const double* b, int64_t ldb, double beta,
                               const double* c_in, int64_t ldc, std::vector<long double>& out) {
  const bool a_plain = (transa & ~0x20) == 'N', b_plain = (transb & ~0x20) == 'N';
  out.assign(static_cast<size_t>(m * n), 0.0L);
  for (int64_t j = 0; j < n; ++j)
    for (int64_t i = 0; i < m; ++i) {
      long double sum = 0.0L;
      if (alpha != 0.0)
        for (int64_t l = 0; l < k; ++l) {
          const long double av = a_plain ? a[i + l * lda] : a[l + i * lda];
          const long double bv = b_plain ? b[l + j * ldb] : b[j + l * ldb];
          sum += av * bv;
        }
      long double value = static_cast<long double>(alpha) * sum;
      if (beta != 0.0) value += static_cast<long double>(beta) * c_in[i + j * ldc];
      out[static_cast<size_t>(i + j * m)] = value;
    }
}

double vrx_test_gemm_error(const double* c, int64_t ldc, int64_t m, int64_t n, const std::vector<long double>& ref,
                           int64_t k, double scale) {
  long double worst = 0.0L;
  for (int64_t j = 0; j < n; ++j)
    for (int64_t i = 0; i < m; ++i) {
      const long double d = std::fabs(static_cast<long double>(c[i + j * ldc]) - ref[static_cast<size_t>(i + j * m)]);
      if (!(d <= worst)) worst = d;  // NaN propagates as the worst
    }
  const double denom = static_cast<double>(k + 2) * DBL_EPSILON * (scale > 1.0 ? scale : 1.0);
  return static_cast<double>(worst) / denom;
}

std::vector<double> vrx_test_random(std::size_t count, unsigned seed) {
  std::mt19937_64 engine(seed);
  std::uniform_real_distribution<double> dist(-1.0, 1.0);
  std::vector<double> v(count);
  for (auto& x : v) x = dist(engine);
  return v;
}
