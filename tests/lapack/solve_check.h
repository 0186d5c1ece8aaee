// Checks of the solves and inverses as the published test suite makes them, in the wider
// precision with eps of the precision under test: ||op(A) X - B||_1 / (n ||op(A)||_1
// ||X||_1 eps) for a solve, and with B = I the same ratio for an inverse X. The parameter
// report line, and a run of a call with standard output captured.
#pragma once
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "lapack/vrx_lapack.h"
#include "support/triangular_reference.h"

namespace vrx_test_detail {
// op(A) of a general n by n A (trans N, T or C), wide and row-major.
template <typename W, typename T>
std::vector<wide_complex<W>> general_op(char trans, int64_t n, const T* a, int64_t lda) {
  const bool plain = (trans & ~0x20) == 'N', conj = vrx_is_complex<T> && (trans & ~0x20) == 'C';
  std::vector<wide_complex<W>> m(static_cast<std::size_t>(n * n));
  for (int64_t i = 0; i < n; ++i)
    for (int64_t j = 0; j < n; ++j) {
      wide_complex<W> v = widen<W>(plain ? a[i + j * lda] : a[j + i * lda]);
      if (conj) v.im = -v.im;
      m[static_cast<std::size_t>(i * n + j)] = v;
    }
  return m;
}
}  // namespace vrx_test_detail

// ||M X - B||_1 / (n ||M||_1 ||X||_1 eps) for M n by n (wide, row-major), X and B n by k
// column-major; a null b stands for the identity. A NaN or an infinity gives 1e30.
template <typename T>
double vrx_test_product_ratio(const std::vector<vrx_test_detail::wide_complex<vrx_test_wide_t<T>>>& m, int64_t n,
                              int64_t k, const T* x, int64_t ldx, const T* b, int64_t ldb) {
  typedef vrx_test_wide_t<T> W;
  typedef vrx_test_detail::wide_complex<W> C;
  using vrx_test_detail::magnitude;
  using vrx_test_detail::widen;
  if (n == 0 || k == 0) return 0;
  W error = 0, norm_m = 0, norm_x = 0;
  for (int64_t j = 0; j < n; ++j) {
    W column = 0;
    for (int64_t i = 0; i < n; ++i) column += magnitude(m[static_cast<std::size_t>(i * n + j)]);
    if (column > norm_m) norm_m = column;
  }
  for (int64_t c = 0; c < k; ++c) {
    W column_error = 0, column_x = 0;
    for (int64_t i = 0; i < n; ++i) {
      C s = b ? widen<W>(b[i + c * ldb]) : C{W(i == c ? 1 : 0), 0};
      for (int64_t l = 0; l < n; ++l) s = s - m[static_cast<std::size_t>(i * n + l)] * widen<W>(x[l + c * ldx]);
      column_error += magnitude(s);
      column_x += magnitude(widen<W>(x[i + c * ldx]));
    }
    if (column_error > error) error = column_error;
    if (column_x > norm_x) norm_x = column_x;
  }
  const double eps = static_cast<double>(vrx_machine<vrx_real_t<T>>::eps);
  const double ratio = static_cast<double>(error / (static_cast<W>(n) * norm_m * norm_x)) / eps;
  return ratio == ratio && ratio < 1e30 ? ratio : 1e30;
}

// The solve ratio of X for op(A) X = B, A general.
template <typename T>
double vrx_test_solve_ratio(char trans, int64_t n, int64_t k, const T* a, int64_t lda, const T* x, int64_t ldx,
                            const T* b, int64_t ldb) {
  const auto m = vrx_test_detail::general_op<vrx_test_wide_t<T>>(trans, n, a, lda);
  return vrx_test_product_ratio(m, n, k, x, ldx, b, ldb);
}

// The line the parameter reporter prints for `parameter` of `name`.
inline std::string vrx_test_parameter_line(int parameter, const std::string& name) {
  return "\nArdix VRX ERROR: Parameter " + std::to_string(parameter) + " was incorrect on entry to " + name + ".\n";
}

// What `call` printed on standard output.
template <typename Call>
std::string vrx_test_printed_by(Call&& call) {
  testing::internal::CaptureStdout();
  call();
  return testing::internal::GetCapturedStdout();
}

// Whether two arrays hold the same bits.
template <typename T>
bool vrx_test_same_bits(const std::vector<T>& x, const std::vector<T>& y) {
  return x.size() == y.size() && std::memcmp(x.data(), y.data(), x.size() * sizeof(T)) == 0;
}

// The engine's entries by element type.
template <typename T>
struct vrx_test_solve_entries;
#define VRX_TEST_SOLVE_ENTRIES(T, x)                                   \
  template <>                                                          \
  struct vrx_test_solve_entries<T> {                                   \
    static constexpr auto getrs = &vrx_lapack_##x##getrs;              \
    static constexpr auto getri = &vrx_lapack_##x##getri;              \
    static constexpr auto trtri = &vrx_lapack_##x##trtri;              \
  };
VRX_TEST_SOLVE_ENTRIES(float, s)
VRX_TEST_SOLVE_ENTRIES(double, d)
VRX_TEST_SOLVE_ENTRIES(vrx_complex_float, c)
VRX_TEST_SOLVE_ENTRIES(vrx_complex_double, z)
#undef VRX_TEST_SOLVE_ENTRIES
