// LANGE, LANSY and LANST: the max-abs, one, infinity and Frobenius norms of general,
// symmetric (Hermitian) and symmetric tridiagonal matrices. A NaN anywhere makes the
// max-abs, one and infinity norms NaN.
#include <cmath>

#include "blas/level2/level2_common.h"
#include "lapack/aux/vrx_aux.h"

namespace {
template <typename R>
R magnitude(R x) {
  return std::fabs(x);
}
template <typename R>
R magnitude(vrx_complex<R> x) {
  return std::hypot(x.re, x.im);
}

// The larger of two, a NaN candidate winning.
template <typename R>
void take_larger(R* value, R candidate) {
  if (*value < candidate || std::isnan(candidate)) *value = candidate;
}

// Sum of squares kept as scale^2 * ssq, so that no square overflows or underflows.
template <typename R>
struct scaled_squares {
  R scale = 0;
  R ssq = 1;
  void add(R x) {
    const R a = std::fabs(x);
    if (a == 0 && !std::isnan(a)) return;
    if (scale < a || std::isnan(a)) {
      const R ratio = scale / a;
      ssq = 1 + ssq * ratio * ratio;
      scale = a;
    } else {
      const R ratio = a / scale;
      ssq += ratio * ratio;
    }
  }
  void add(vrx_complex<R> x) {
    add(x.re);
    add(x.im);
  }
  // Twice every square added (the mirrored half of a symmetric matrix).
  void doubled() { ssq *= 2; }
  R value() const { return scale * std::sqrt(ssq); }
};

enum norm_kind { MAX_ABS, ONE_NORM, INF_NORM, FROBENIUS, UNKNOWN };
norm_kind norm_of(const char* norm) {
  if (vrx_l2_letter(norm, "M")) return MAX_ABS;
  if (vrx_l2_letter(norm, "O") || *norm == '1') return ONE_NORM;
  if (vrx_l2_letter(norm, "I")) return INF_NORM;
  if (vrx_l2_letter(norm, "FE")) return FROBENIUS;
  return UNKNOWN;
}

template <typename T>
const T& at(const T* a, vrx_int lda, vrx_int i, vrx_int j) {
  return a[i + static_cast<std::size_t>(j) * lda];
}
}  // namespace

template <typename T>
vrx_real_t<T> vrx_lapack_lange(const char* norm, vrx_int m, vrx_int n, const T* a, vrx_int lda,
                               vrx_real_t<T>* work) {
  typedef vrx_real_t<T> R;
  R value = 0;
  if (m <= 0 || n <= 0) return value;
  switch (norm_of(norm)) {
    case MAX_ABS:
      for (vrx_int j = 0; j < n; ++j)
        for (vrx_int i = 0; i < m; ++i) take_larger(&value, magnitude(at(a, lda, i, j)));
      break;
    case ONE_NORM:
      for (vrx_int j = 0; j < n; ++j) {
        R sum = 0;
        for (vrx_int i = 0; i < m; ++i) sum += magnitude(at(a, lda, i, j));
        take_larger(&value, sum);
      }
      break;
    case INF_NORM:
      for (vrx_int i = 0; i < m; ++i) work[i] = 0;
      for (vrx_int j = 0; j < n; ++j)
        for (vrx_int i = 0; i < m; ++i) work[i] += magnitude(at(a, lda, i, j));
      for (vrx_int i = 0; i < m; ++i) take_larger(&value, work[i]);
      break;
    case FROBENIUS: {
      scaled_squares<R> sum;
      for (vrx_int j = 0; j < n; ++j)
        for (vrx_int i = 0; i < m; ++i) sum.add(at(a, lda, i, j));
      value = sum.value();
      break;
    }
    case UNKNOWN: break;
  }
  return value;
}

template <typename T>
vrx_real_t<T> vrx_lapack_lansy(const char* norm, const char* uplo, vrx_int n, const T* a, vrx_int lda,
                               vrx_real_t<T>* work) {
  typedef vrx_real_t<T> R;
  R value = 0;
  if (n <= 0) return value;
  const bool upper = vrx_l2_letter(uplo, "U");
  // Column j's stored off-diagonal rows: [0, j) above the diagonal, (j, n) below it.
  auto first_row = [&](vrx_int j) { return upper ? 0 : j + 1; };
  auto end_row = [&](vrx_int j) { return upper ? j : n; };
  // Hermitian data keeps a real diagonal: its imaginary parts are not part of the matrix.
  auto diagonal = [&](vrx_int j) { return std::fabs(vrx_traits<T>::real_part(at(a, lda, j, j))); };
  switch (norm_of(norm)) {
    case MAX_ABS:
      for (vrx_int j = 0; j < n; ++j) {
        take_larger(&value, diagonal(j));
        for (vrx_int i = first_row(j); i < end_row(j); ++i) take_larger(&value, magnitude(at(a, lda, i, j)));
      }
      break;
    case ONE_NORM:
    case INF_NORM:  // the same for a symmetric matrix: column sums through both halves
      for (vrx_int i = 0; i < n; ++i) work[i] = 0;
      for (vrx_int j = 0; j < n; ++j) {
        R sum = diagonal(j);
        for (vrx_int i = first_row(j); i < end_row(j); ++i) {
          const R x = magnitude(at(a, lda, i, j));
          sum += x;
          work[i] += x;
        }
        work[j] += sum;
      }
      for (vrx_int i = 0; i < n; ++i) take_larger(&value, work[i]);
      break;
    case FROBENIUS: {
      scaled_squares<R> sum;
      for (vrx_int j = 0; j < n; ++j)
        for (vrx_int i = first_row(j); i < end_row(j); ++i) sum.add(at(a, lda, i, j));
      sum.doubled();
      for (vrx_int j = 0; j < n; ++j) sum.add(vrx_traits<T>::real_part(at(a, lda, j, j)));
      value = sum.value();
      break;
    }
    case UNKNOWN: break;
  }
  return value;
}

template <typename R>
R vrx_lapack_lanst(const char* norm, vrx_int n, const R* d, const R* e) {
  R value = 0;
  if (n <= 0) return value;
  switch (norm_of(norm)) {
    case MAX_ABS:
      value = std::fabs(d[n - 1]);
      for (vrx_int i = 0; i < n - 1; ++i) {
        take_larger(&value, std::fabs(d[i]));
        take_larger(&value, std::fabs(e[i]));
      }
      break;
    case ONE_NORM:
    case INF_NORM:
      if (n == 1) return std::fabs(d[0]);
      value = std::fabs(d[0]) + std::fabs(e[0]);
      take_larger(&value, std::fabs(e[n - 2]) + std::fabs(d[n - 1]));
      for (vrx_int i = 1; i < n - 1; ++i) take_larger(&value, std::fabs(d[i]) + std::fabs(e[i]) + std::fabs(e[i - 1]));
      break;
    case FROBENIUS: {
      scaled_squares<R> sum;
      for (vrx_int i = 0; i < n - 1; ++i) sum.add(e[i]);
      sum.doubled();
      for (vrx_int i = 0; i < n; ++i) sum.add(d[i]);
      value = sum.value();
      break;
    }
    case UNKNOWN: break;
  }
  return value;
}

template float vrx_lapack_lange<float>(const char*, vrx_int, vrx_int, const float*, vrx_int, float*);
template double vrx_lapack_lange<double>(const char*, vrx_int, vrx_int, const double*, vrx_int, double*);
template float vrx_lapack_lange<vrx_complex_float>(const char*, vrx_int, vrx_int, const vrx_complex_float*, vrx_int,
                                                   float*);
template double vrx_lapack_lange<vrx_complex_double>(const char*, vrx_int, vrx_int, const vrx_complex_double*,
                                                     vrx_int, double*);
template float vrx_lapack_lansy<float>(const char*, const char*, vrx_int, const float*, vrx_int, float*);
template double vrx_lapack_lansy<double>(const char*, const char*, vrx_int, const double*, vrx_int, double*);
template float vrx_lapack_lansy<vrx_complex_float>(const char*, const char*, vrx_int, const vrx_complex_float*,
                                                   vrx_int, float*);
template double vrx_lapack_lansy<vrx_complex_double>(const char*, const char*, vrx_int, const vrx_complex_double*,
                                                     vrx_int, double*);
template float vrx_lapack_lanst<float>(const char*, vrx_int, const float*, const float*);
template double vrx_lapack_lanst<double>(const char*, vrx_int, const double*, const double*);
