// Runs the sequential GEMM as dispatched for this process's CPU type and branch on
// shapes across every route rule, checks each product against a long-double loop,
// and prints "type <t> branch <b>: <failures> failures".
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <vector>

#include "blas/vrx_blas.h"
#include "service/vrx_serv.h"

namespace {
double value(unsigned& state) {
  state = state * 1103515245u + 12345u;
  return static_cast<double>((state >> 8) & 0xffff) / 32768.0 - 1.0;
}

int check(const char* tr, vrx_int m, vrx_int n, vrx_int k, double alpha, double beta, unsigned seed) {
  const bool an = tr[0] == 'N', bn = tr[1] == 'N';
  const vrx_int lda = (an ? m : k) + 1, ldb = (bn ? k : n) + 2, ldc = m + 1;
  std::vector<double> a(lda * (an ? k : m) + 1), b(ldb * (bn ? n : k) + 1), c(ldc * n);
  for (double& x : a) x = value(seed);
  for (double& x : b) x = value(seed);
  for (double& x : c) x = beta == 0.0 ? NAN : value(seed);
  const std::vector<double> c0 = c;
  vrx_blas_dgemm_sequential(&tr[0], &tr[1], &m, &n, &k, &alpha, a.data(), &lda, b.data(), &ldb, &beta, c.data(),
                            &ldc);
  long double worst = 0.0L;
  for (vrx_int j = 0; j < n; ++j)
    for (vrx_int i = 0; i < m; ++i) {
      long double s = 0.0L;
      for (vrx_int l = 0; l < k && alpha != 0.0; ++l)
        s += static_cast<long double>(an ? a[i + l * lda] : a[l + i * lda]) * (bn ? b[l + j * ldb] : b[j + l * ldb]);
      long double r = alpha * s + (beta != 0.0 ? beta * static_cast<long double>(c0[i + j * ldc]) : 0.0L);
      const long double d = std::fabs(c[i + j * ldc] - r);
      if (!(d <= worst)) worst = d;
    }
  const double bound = (k + 2) * DBL_EPSILON * (std::fabs(alpha) * k + std::fabs(beta) + 1.0);
  if (!(worst <= bound)) {
    std::printf("bad %s m=%lld n=%lld k=%lld alpha=%g beta=%g\n", tr, (long long)m, (long long)n, (long long)k, alpha,
                beta);
    return 1;
  }
  return 0;
}
}  // namespace

int main() {
  const vrx_int shapes[][3] = {{9, 9, 9},   {12, 12, 12}, {10, 10, 10}, {11, 7, 3},  {70, 5, 20}, {71, 5, 20},
                               {20, 20, 6}, {20, 20, 7},  {1, 6, 4},    {6, 1, 4},   {7, 9, 1},   {33, 29, 130},
                               {2, 3, 2},   {8, 4, 1},    {23, 21, 257}, {5, 4, 129}};
  const char* pairs[] = {"NN", "TN", "NT", "TT"};
  const double scalars[][2] = {{1.0, 0.0}, {-0.5, 1.0}, {2.0, -1.5}, {0.0, 2.0}};
  int failures = 0;
  unsigned seed = 7;
  for (const auto& s : shapes)
    for (const char* tr : pairs)
      for (const auto& ab : scalars) failures += check(tr, s[0], s[1], s[2], ab[0], ab[1], seed++);
  std::printf("type %d branch %d: %d failures\n", vrx_serv_cpu_detect(), vrx_serv_cbwr_get(1), failures);
  return failures ? 1 : 0;
}
