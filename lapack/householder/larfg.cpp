// Generation of one elementary reflector, real and complex: H^H (alpha; x) = (beta; 0)
// with beta real and |beta| the norm of (alpha; x). When beta would be tiny, x and alpha
// are scaled up by 1 / (safe minimum / eps), at most 20 times, so that tau and v keep
// their accuracy; beta is scaled back at the end.
#include <cmath>

#include "blas/level2/level2_common.h"
#include "lapack/householder/householder_common.h"
#include "lapack/householder/vrx_householder.h"
#include "lapack/vrx_lapack_blas.h"

namespace {
// sqrt(x^2 + y^2 + z^2) without overflow or needless underflow.
template <typename R>
R hypot3(R x, R y, R z) {
  const R ax = std::fabs(x), ay = std::fabs(y), az = std::fabs(z);
  const R w = std::fmax(ax, std::fmax(ay, az));
  if (w == 0) return ax + ay + az;  // also passes on a NaN that fmax dropped
  const R rx = ax / w, ry = ay / w, rz = az / w;
  return w * std::sqrt(rx * rx + ry * ry + rz * rz);
}

// -sign(norm of (alpha; x), re(alpha)).
template <typename R>
R signed_beta(R alpha_re, R alpha_im, R xnorm) {
  return -std::copysign(hypot3(alpha_re, alpha_im, xnorm), alpha_re);
}
}  // namespace

template <typename T>
void vrx_lapack_larfg(vrx_int n, T* alpha, T* x, vrx_int incx, T* tau) {
  typedef vrx_real_t<T> R;
  typedef vrx_traits<T> tr;
  typedef vrx_lapack_blas<T> blas;
  if (n <= 0) {
    *tau = T{};
    return;
  }
  const vrx_int len = n - 1;
  R xnorm = blas::nrm2(&len, x, &incx);
  R alpha_re = tr::real_part(*alpha), alpha_im = tr::imag_part(*alpha);
  if (xnorm == 0 && alpha_im == 0) {
    *tau = T{};  // H = I
    return;
  }
  R beta = signed_beta(alpha_re, alpha_im, xnorm);
  const R safe_min = vrx_machine<R>::sfmin / vrx_machine<R>::eps;
  const R safe_min_inverse = 1 / safe_min;
  int steps = 0;
  if (std::fabs(beta) < safe_min) {
    // beta may be inaccurate: scale x and alpha up until it is not, then start again.
    const T up = tr::make(safe_min_inverse, 0);
    do {
      ++steps;
      blas::scal(&len, &up, x, &incx);
      beta *= safe_min_inverse;
      alpha_re *= safe_min_inverse;
      alpha_im *= safe_min_inverse;
    } while (std::fabs(beta) < safe_min && steps < 20);
    xnorm = blas::nrm2(&len, x, &incx);
    *alpha = tr::make(alpha_re, alpha_im);
    beta = signed_beta(alpha_re, alpha_im, xnorm);
  }
  *tau = tr::make((beta - alpha_re) / beta, -alpha_im / beta);
  const T scale = vrx_l2_divide(vrx_hh_one<T>(), *alpha - tr::make(beta, 0));
  blas::scal(&len, &scale, x, &incx);
  for (int j = 0; j < steps; ++j) beta *= safe_min;
  *alpha = tr::make(beta, 0);
}

template void vrx_lapack_larfg<float>(vrx_int, float*, float*, vrx_int, float*);
template void vrx_lapack_larfg<double>(vrx_int, double*, double*, vrx_int, double*);
template void vrx_lapack_larfg<vrx_complex_float>(vrx_int, vrx_complex_float*, vrx_complex_float*, vrx_int,
                                                  vrx_complex_float*);
template void vrx_lapack_larfg<vrx_complex_double>(vrx_int, vrx_complex_double*, vrx_complex_double*, vrx_int,
                                                   vrx_complex_double*);
