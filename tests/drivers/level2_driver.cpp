// Runs the threaded GEMV, copy and norm through their public decisions, with the thread
// settings of the environment, and prints "ok" per family when the results are right.
#include <cmath>
#include <cstdio>
#include <vector>
#include "blas/vrx_blas.h"
#include "blas/vrx_level12.h"

namespace {
double value(long i) { return static_cast<double>((i * 7919) % 13) - 6.0; }

bool gemv_ok() {
  const vrx_int shapes[][2] = {{100, 10000}, {101, 10000}, {10000, 100}, {500, 400}};
  for (char trans : {'N', 'T'}) {
    for (const auto& s : shapes) {
      const vrx_int m = s[0], n = s[1], lda = m, inc = -1;
      std::vector<double> a(m * n), x(m + n), y(m + n, std::nan(""));
      for (long i = 0; i < m * n; ++i) a[i] = value(i);
      for (long i = 0; i < m + n; ++i) x[i] = value(i + 3);
      const vrx_int leny = trans == 'N' ? m : n, lenx = trans == 'N' ? n : m;
      const double alpha = 1, beta = 0;
      const char letter[2] = {trans, 0};
      vrx_blas_dgemv(letter, &m, &n, &alpha, a.data(), &lda, x.data(), &inc, &beta, y.data(), &inc);
      for (vrx_int i = 0; i < leny; ++i) {
        double s = 0;  // integer data: exact in any order
        for (vrx_int k = 0; k < lenx; ++k)
          s += (trans == 'N' ? a[i + k * lda] : a[k + i * lda]) * x[lenx - 1 - k];
        if (y[leny - 1 - i] != s) return false;
      }
    }
  }
  return true;
}

bool copy_ok() {
  const vrx_int n = 50000, one = 1, minus = -1;
  std::vector<double> x(n), y(n);
  for (long i = 0; i < n; ++i) x[i] = value(i);
  vrx_blas_dcopy_threaded(&n, x.data(), &one, y.data(), &minus);
  for (long i = 0; i < n; ++i)
    if (y[n - 1 - i] != x[i]) return false;
  return true;
}

bool norm_ok() {
  const vrx_int n = 40000, one = 1;
  std::vector<double> x(n, 3.0);
  return std::fabs(vrx_blas_dnrm2_threaded(8, &n, x.data(), &one) - 3.0 * std::sqrt(40000.0)) < 1e-10;
}
}  // namespace

int main() {
  std::printf("gemv %s\n", gemv_ok() ? "ok" : "wrong");
  std::printf("copy %s\n", copy_ok() ? "ok" : "wrong");
  std::printf("norm %s\n", norm_ok() ? "ok" : "wrong");
  return 0;
}
