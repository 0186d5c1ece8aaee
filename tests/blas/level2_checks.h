// Checks of the published level-2 members of one precision against references in a wider
// type, with NaN wherever a routine must not read. Each answers "" or a description of
// the first fault; the typed tests run them in this process and the level-1/2 driver under
// every forced CPU type.
#pragma once
#include <sstream>
#include <string>
#include <vector>
#include "blas/level12_api.h"
#include "blas/level12_typed_support.h"

#define LEVEL2_FAIL(what)                 \
  do {                                    \
    std::ostringstream out_;              \
    out_ << what;                         \
    return out_.str();                    \
  } while (0)

// Orders across the column passes (16 real, 4 complex) and the vector widths.
inline const std::vector<long>& level2_orders() {
  static const std::vector<long> n = {1, 2, 5, 8, 17, 33, 70};
  return n;
}

template <typename T>
std::string level2_check_gemv() {
  typedef level12_api<T> api;
  const T alpha = make_value<T>(0.5, -1.25), beta = make_value<T>(0.75, 0.5), zero = T{};
  for (char trans : {'N', 'T', 'C'})
    for (long m : level2_orders())
      for (long n : {1L, 3L, 4L, 16L, 17L, 40L})
        for (auto [ix, iy] : {std::pair<long, long>{1, 1}, {-2, 1}, {1, -3}})
          for (bool beta_zero : {false, true}) {
            const long lda = m + 1, leny = trans == 'N' ? m : n, lenx = trans == 'N' ? n : m;
            const std::vector<T> a = random_vector<T>(lda * n, 41), x = random_vector<T>(lenx * std::abs(ix), 42);
            std::vector<T> y = random_vector<T>(leny * std::abs(iy), 43);
            if (beta_zero)
              for (auto& e : y) e = nan_value<T>();
            std::vector<T> got = y;
            const char letter[2] = {trans, 0};
            const vrx_int mm = m, nn = n, ld = lda, iix = ix, iiy = iy;
            api::gemv(letter, &mm, &nn, &alpha, a.data(), &ld, x.data(), &iix, beta_zero ? &zero : &beta, got.data(),
                      &iiy);
            for (long i = 0; i < leny; ++i) {
              wide_t<T> s = 0;
              long double scale = 0;
              for (long k = 0; k < lenx; ++k) {
                wide_t<T> aik = widen(trans == 'N' ? a[i + k * lda] : a[k + i * lda]);
                if (trans == 'C') aik = wide_conj<T>(aik);
                const wide_t<T> t = aik * widen(x[strided_index(k, lenx, ix)]);
                s += t;
                scale += wide_abs<T>(t);
              }
              const wide_t<T> old = beta_zero ? wide_t<T>() : widen(beta) * widen(y[strided_index(i, leny, iy)]);
              const wide_t<T> want = widen(alpha) * s + old;
              scale = scale * wide_abs<T>(widen(alpha)) + wide_abs<T>(old);
              if (!near_wide<T>(got[strided_index(i, leny, iy)], want, scale, 4.0L * (lenx + 2)))
                LEVEL2_FAIL("gemv " << trans << " " << m << "x" << n << " inc " << ix << "," << iy << " beta zero "
                                    << beta_zero << " row " << i);
            }
          }
  return "";
}

// GERU and GERC (GER for real data): the update, and the rows below m left alone.
template <typename T>
std::string level2_check_ger() {
  typedef level12_api<T> api;
  const T alpha = make_value<T>(-0.5, 0.75);
  for (bool conj : {false, true})
    for (long m : level2_orders())
      for (long n : {1L, 4L, 9L})
        for (long inc : {1L, -2L}) {
          const long lda = m + 2;
          const std::vector<T> x = random_vector<T>(m * std::abs(inc), 51), y = random_vector<T>(n * std::abs(inc), 52);
          const std::vector<T> a = random_vector<T>(lda * n, 53);
          std::vector<T> got = a;
          const vrx_int mm = m, nn = n, ld = lda, ii = inc;
          (conj ? api::gerc : api::geru)(&mm, &nn, &alpha, x.data(), &ii, y.data(), &ii, got.data(), &ld);
          for (long j = 0; j < n; ++j)
            for (long i = 0; i < lda; ++i) {
              if (i >= m) {
                if (!(got[i + j * lda] == a[i + j * lda])) LEVEL2_FAIL("ger wrote below row m");
                continue;
              }
              wide_t<T> yj = widen(y[strided_index(j, n, inc)]);
              if (conj) yj = wide_conj<T>(yj);
              const wide_t<T> t = widen(alpha) * widen(x[strided_index(i, m, inc)]) * yj;
              if (!near_wide<T>(got[i + j * lda], widen(a[i + j * lda]) + t, 2 + wide_abs<T>(t), 8))
                LEVEL2_FAIL("ger conj " << conj << " " << m << "x" << n << " at " << i << "," << j);
            }
        }
  return "";
}

// A Hermitian (symmetric) matrix stored in one triangle, NaN in the other and in the
// imaginary part of the diagonal; `full` receives the matrix it stands for.
template <typename T>
std::vector<T> stored_hermitian(long n, long lda, bool upper, std::vector<wide_t<T>>* full) {
  std::vector<T> a = random_vector<T>(lda * n, 61);
  full->assign(n * n, wide_t<T>());
  for (long j = 0; j < n; ++j)
    for (long i = 0; i < n; ++i) {
      if (i == j) {
        (*full)[i + j * n] = wide_t<T>(wide_real<T>(widen(a[i + j * lda])));
        if constexpr (vrx_is_complex<T>) a[i + j * lda].im = nan_value<vrx_real_t<T>>();
        continue;
      }
      const bool stored = upper ? i < j : i > j;
      if (stored) {
        (*full)[i + j * n] = widen(a[i + j * lda]);
        (*full)[j + i * n] = wide_conj<T>(widen(a[i + j * lda]));
      } else {
        a[i + j * lda] = nan_value<T>();
      }
    }
  return a;
}

template <typename T>
std::string level2_check_hemv() {
  typedef level12_api<T> api;
  const T alpha = make_value<T>(1.25, 0.5), beta = make_value<T>(-0.5, 0.25);
  for (const char* uplo : {"U", "L"})
    for (long n : level2_orders())
      for (auto [ix, iy] : {std::pair<long, long>{1, 1}, {-1, 2}}) {
        const long lda = n + 1;
        std::vector<wide_t<T>> full;
        const std::vector<T> a = stored_hermitian<T>(n, lda, *uplo == 'U', &full);
        const std::vector<T> x = random_vector<T>(n * std::abs(ix), 62), y = random_vector<T>(n * std::abs(iy), 63);
        std::vector<T> got = y;
        const vrx_int nn = n, ld = lda, iix = ix, iiy = iy;
        api::hemv(uplo, &nn, &alpha, a.data(), &ld, x.data(), &iix, &beta, got.data(), &iiy);
        for (long i = 0; i < n; ++i) {
          wide_t<T> s = 0;
          long double scale = 0;
          for (long k = 0; k < n; ++k) {
            const wide_t<T> t = full[i + k * n] * widen(x[strided_index(k, n, ix)]);
            s += t;
            scale += wide_abs<T>(t);
          }
          const wide_t<T> old = widen(beta) * widen(y[strided_index(i, n, iy)]);
          const wide_t<T> want = widen(alpha) * s + old;
          if (!near_wide<T>(got[strided_index(i, n, iy)], want, 2 * scale + wide_abs<T>(old), 4.0L * (n + 2)))
            LEVEL2_FAIL("hemv " << uplo << " n " << n << " row " << i);
        }
      }
  return "";
}

template <typename T>
std::string level2_check_her2() {
  typedef level12_api<T> api;
  const T alpha = make_value<T>(0.75, -0.5);
  for (const char* uplo : {"U", "L"})
    for (long n : level2_orders())
      for (long inc : {1L, -2L}) {
        const bool upper = *uplo == 'U';
        const long lda = n + 1;
        std::vector<wide_t<T>> full;
        const std::vector<T> a = stored_hermitian<T>(n, lda, upper, &full);
        const std::vector<T> x = random_vector<T>(n * std::abs(inc), 64), y = random_vector<T>(n * std::abs(inc), 65);
        std::vector<T> got = a;
        const vrx_int nn = n, ld = lda, ii = inc;
        api::her2(uplo, &nn, &alpha, x.data(), &ii, y.data(), &ii, got.data(), &ld);
        for (long j = 0; j < n; ++j)
          for (long i = 0; i < lda; ++i) {
            const bool stored = i < n && (upper ? i <= j : i >= j);
            if (!stored) {
              if (!is_nan_value(got[i + j * lda]) && !(got[i + j * lda] == a[i + j * lda]))
                LEVEL2_FAIL("her2 wrote outside the triangle");
              continue;
            }
            const wide_t<T> xi = widen(x[strided_index(i, n, inc)]), xj = widen(x[strided_index(j, n, inc)]);
            const wide_t<T> yi = widen(y[strided_index(i, n, inc)]), yj = widen(y[strided_index(j, n, inc)]);
            const wide_t<T> wa = widen(alpha);
            const wide_t<T> t = wa * xi * wide_conj<T>(yj) + wide_conj<T>(wa) * yi * wide_conj<T>(xj);
            const wide_t<T> want = full[i + j * n] + t;
            if (!near_wide<T>(got[i + j * lda], want, 2 + 2 * wide_abs<T>(t), 8))
              LEVEL2_FAIL("her2 " << uplo << " n " << n << " at " << i << "," << j);
            if constexpr (vrx_is_complex<T>)
              if (i == j && got[i + j * lda].im != 0) LEVEL2_FAIL("her2 left an imaginary diagonal");
          }
      }
  return "";
}

// TRMV and TRSV for every triangle, transposition and diagonal: NaN off the triangle and,
// for a unit diagonal, on the diagonal. TRMV against the product, TRSV by its residual.
template <typename T>
std::string level2_check_triangular() {
  typedef level12_api<T> api;
  for (const char* uplo : {"U", "L"})
    for (const char* trans : {"N", "T", "C"})
      for (const char* diag : {"N", "U"})
        for (long n : level2_orders())
          for (long inc : {1L, -2L}) {
            const bool upper = *uplo == 'U', unit = *diag == 'U';
            const long lda = n + 1;
            std::vector<T> a = random_vector<T>(lda * n, 71);
            std::vector<wide_t<T>> op(n * n, wide_t<T>());  // op(A), full
            for (long j = 0; j < n; ++j)
              for (long i = 0; i < lda; ++i) {
                T& e = a[i + j * lda];
                if (i == j && !unit) e = e + make_value<T>(2, 0.5);  // well away from singular
                const bool in = i < n && (i == j ? !unit : (upper ? i < j : i > j));
                if (!in) e = nan_value<T>();
                if (i >= n) continue;
                wide_t<T> v = i == j && unit ? wide_t<T>(1) : (in ? widen(e) : wide_t<T>());
                if (*trans == 'C') v = wide_conj<T>(v);
                if (*trans == 'N') op[i + j * n] = v;
                else op[j + i * n] = v;
              }
            const std::vector<T> x = random_vector<T>(n * std::abs(inc), 72);
            const vrx_int nn = n, ld = lda, ii = inc;
            std::vector<T> product = x, solution = x;
            api::trmv(uplo, trans, diag, &nn, a.data(), &ld, product.data(), &ii);
            api::trsv(uplo, trans, diag, &nn, a.data(), &ld, solution.data(), &ii);
            for (long i = 0; i < n; ++i) {
              wide_t<T> p = 0, r = 0;
              long double pscale = 0, rscale = wide_abs<T>(widen(x[strided_index(i, n, inc)]));
              for (long k = 0; k < n; ++k) {
                const wide_t<T> tp = op[i + k * n] * widen(x[strided_index(k, n, inc)]);
                const wide_t<T> tr = op[i + k * n] * widen(solution[strided_index(k, n, inc)]);
                p += tp;
                r += tr;
                pscale += wide_abs<T>(tp);
                rscale += wide_abs<T>(tr);
              }
              if (!near_wide<T>(product[strided_index(i, n, inc)], p, pscale, 4.0L * (n + 2)))
                LEVEL2_FAIL("trmv " << uplo << trans << diag << " n " << n << " inc " << inc << " row " << i);
              // op(A) solution - x, relative to the sizes of its terms.
              const long double residual = wide_abs<T>(r - widen(x[strided_index(i, n, inc)]));
              if (!(residual <= 8.0L * (n + 2) * unit_roundoff<T>() * rscale))
                LEVEL2_FAIL("trsv " << uplo << trans << diag << " n " << n << " inc " << inc << " row " << i);
            }
          }
  return "";
}

#undef LEVEL2_FAIL
