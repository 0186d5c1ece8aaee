// DNRM2 and SNRM2, and the threaded DNRM2. A plain sum of squares answers when it can
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

template <typename T>
T safe_norm(vrx_int n, const T* x, vrx_int inc) {
  const T tiny = norm_scales<T>::tiny(), huge = norm_scales<T>::huge();
  const T tiny_scale = norm_scales<T>::tiny_scale(), huge_scale = norm_scales<T>::huge_scale();
  T small = 0, middle = 0, big = 0;
  bool any_big = false;
  for (vrx_int i = 0; i < n; ++i) {
    const T v = std::fabs(x[i * inc]);
    if (v > huge) {
      const T s = v * huge_scale;
      big += s * s;
      any_big = true;
    } else if (v < tiny) {
      if (!any_big) {
        const T s = v * tiny_scale;
        small += s * s;
      }
    } else {
      middle += v * v;
    }
  }
  if (big > 0 || any_big) {
    if (middle > 0 || middle != middle) big += (middle * huge_scale) * huge_scale;
    return std::sqrt(big) / huge_scale;
  }
  if (small > 0) {
    if (middle > 0 || middle != middle) {
      const T m = std::sqrt(middle), s = std::sqrt(small) / tiny_scale;
      const T lo = m < s ? m : s, hi = m < s ? s : m;
      const T r = lo / hi;
      return hi * std::sqrt(1 + r * r);
    }
    return std::sqrt(small) / tiny_scale;
  }
  return std::sqrt(middle);
}

template <typename T>
T norm(vrx_int n, const T* x, vrx_int incx) {
  if (n < 1) return 0;
  const vrx_int inc = incx < 0 ? -incx : incx;
  T sum = 0;
  if (inc == 1) {
    sum = vrx_blas_level1<T>()->sumsq(n, x);
  } else {
    for (vrx_int i = 0; i < n; ++i) sum += x[i * inc] * x[i * inc];
  }
  // Every lost square is below the smallest normal number: harmless once the sum is
  // larger than n of them by the inverse precision.
  const T lost_bound = static_cast<T>(n) * (std::numeric_limits<T>::min() / std::numeric_limits<T>::epsilon());
  if (sum <= std::numeric_limits<T>::max() && sum >= lost_bound) return std::sqrt(sum);
  return safe_norm(n, x, inc);
}
}  // namespace

double DNRM2(const vrx_int* n, const double* x, const vrx_int* incx) { return norm(*n, x, *incx); }
float SNRM2(const vrx_int* n, const float* x, const vrx_int* incx) { return norm(*n, x, *incx); }

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
