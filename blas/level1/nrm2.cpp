// SNRM2, DNRM2, SCNRM2, DZNRM2 and the threaded DNRM2 (a complex vector's norm is that of
// its real and imaginary parts together). A plain sum of squares answers when it can
// neither have overflowed nor lost small terms; otherwise three accumulators (tiny, middle,
// huge magnitudes, each scaled into range) give the norm without overflow or underflow.
#include <omp.h>
#include <cmath>
#include <limits>
#include "blas/vrx_level12.h"
#include "service/vrx_serv.h"

namespace {
// Scaling constants for radix 2: magnitudes below `tiny` or above `huge` are summed scaled.
template <typename T>
struct norm_scales {
  static constexpr int digits = std::numeric_limits<T>::digits;
  static constexpr int min_exp = std::numeric_limits<T>::min_exponent;
  static constexpr int max_exp = std::numeric_limits<T>::max_exponent;
  static T tiny() { return std::ldexp(T(1), -((1 - min_exp) / 2)); }
  static T huge() { return std::ldexp(T(1), (max_exp - digits + 1) / 2); }
  static T tiny_scale() { return std::ldexp(T(1), (digits - min_exp + 1) / 2); }
  static T huge_scale() { return std::ldexp(T(1), -((max_exp + digits) / 2)); }
};

// Calls f with each real component of x[0], x[inc], ... (two per complex element).
template <typename T, typename F>
inline void for_components(vrx_int n, const T* x, vrx_int inc, F f) {
  for (vrx_int i = 0; i < n; ++i) {
    if constexpr (vrx_is_complex<T>) {
      f(x[i * inc].re);
      f(x[i * inc].im);
    } else {
      f(x[i * inc]);
    }
  }
}

template <typename T, typename R = vrx_real_t<T>>
R safe_norm(vrx_int n, const T* x, vrx_int inc) {
  const R tiny = norm_scales<R>::tiny(), huge = norm_scales<R>::huge();
  const R tiny_scale = norm_scales<R>::tiny_scale(), huge_scale = norm_scales<R>::huge_scale();
  R small = 0, middle = 0, big = 0;
  bool any_big = false;
  for_components(n, x, inc, [&](R component) {
    const R v = std::fabs(component);
    if (v > huge) {
      const R s = v * huge_scale;
      big += s * s;
      any_big = true;
    } else if (v < tiny) {
      if (!any_big) {
        const R s = v * tiny_scale;
        small += s * s;
      }
    } else {
      middle += v * v;
    }
  });
  if (big > 0 || any_big) {
    if (middle > 0 || middle != middle) big += (middle * huge_scale) * huge_scale;
    return std::sqrt(big) / huge_scale;
  }
  if (small > 0) {
    if (middle > 0 || middle != middle) {
      const R m = std::sqrt(middle), s = std::sqrt(small) / tiny_scale;
      const R lo = m < s ? m : s, hi = m < s ? s : m;
      const R r = lo / hi;
      return hi * std::sqrt(1 + r * r);
    }
    return std::sqrt(small) / tiny_scale;
  }
  return std::sqrt(middle);
}

template <typename T, typename R = vrx_real_t<T>>
R norm(vrx_int n, const T* x, vrx_int incx) {
  if (n < 1) return 0;
  const vrx_int inc = incx < 0 ? -incx : incx;
  R sum = 0;
  if (inc == 1) sum = vrx_blas_level1<T>()->sumsq(n, x);
  else for_components(n, x, inc, [&sum](R v) { sum += v * v; });
  // Every lost square is below the smallest normal number: harmless once the sum is
  // larger than all of them by the inverse precision.
  const R components = static_cast<R>(vrx_is_complex<T> ? 2 * n : n);
  const R lost_bound = components * (std::numeric_limits<R>::min() / std::numeric_limits<R>::epsilon());
  if (sum <= std::numeric_limits<R>::max() && sum >= lost_bound) return std::sqrt(sum);
  return safe_norm(n, x, inc);
}
}  // namespace

double DNRM2(const vrx_int* n, const double* x, const vrx_int* incx) { return norm(*n, x, *incx); }
float SNRM2(const vrx_int* n, const float* x, const vrx_int* incx) { return norm(*n, x, *incx); }
float SCNRM2(const vrx_int* n, const vrx_complex_float* x, const vrx_int* incx) { return norm(*n, x, *incx); }
double DZNRM2(const vrx_int* n, const vrx_complex_double* x, const vrx_int* incx) { return norm(*n, x, *incx); }

double vrx_blas_dnrm2_threaded(int threads, const vrx_int* n_, const double* x, const vrx_int* incx_) {
  const vrx_int n = *n_;
  const vrx_int inc = *incx_ < 0 ? -*incx_ : *incx_;
  vrx_int p = (n + 4095) / 4096;
  if (threads < p) p = threads;
  if (p <= 1) return norm(n, x, *incx_);

  double on_stack[128];
  double* partial = on_stack;
  if (p > 128) {
    partial = static_cast<double*>(vrx_serv_malloc(8 * static_cast<std::size_t>(p), 64));
    if (!partial) {
      partial = on_stack;
      p = 128;
    }
  }
  const vrx_int chunk = n / p;
#pragma omp parallel num_threads(static_cast<int>(p))
  {
    // A smaller team than asked for takes the slices in turn.
    const vrx_int team = omp_get_num_threads();
    for (vrx_int i = omp_get_thread_num(); i < p; i += team) {
      const vrx_int count = i == p - 1 ? n - i * chunk : chunk;
      partial[i] = norm(count, x + i * chunk * inc, inc);
    }
  }
  const double result = norm(p, partial, vrx_int(1));
  if (partial != on_stack) vrx_serv_free(partial);
  return result;
}
