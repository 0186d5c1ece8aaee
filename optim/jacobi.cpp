// Central differences, one column per unknown, the columns split statically over
// threads that each own a copy of the point and two function-value buffers.
#include <omp.h>
#include <cmath>
#include <cstddef>
#include "blas/vrx_level12.h"
#include "optim/vrx_jacobi.h"
#include "service/vrx_serv.h"

namespace {
constexpr int buffer_alignment = 64;

constexpr vrx_int unit = 1;
constexpr double minus_one = -1.0;

void call_user(const vrx_trn_user_function& fcn, vrx_int m, vrx_int n, double* x, double* f) {
  // The function gets pointers to the widened values, m first.
  vrx_int rows = m, cols = n;
  int* m_arg = reinterpret_cast<int*>(&rows);
  int* n_arg = reinterpret_cast<int*>(&cols);
  if (fcn.plain) fcn.plain(m_arg, n_arg, x, f);
  else fcn.with_data(m_arg, n_arg, x, f, fcn.user_data);
}

// Column j of the Jacobian, in the calling thread's buffers.
void difference_column(const vrx_trn_user_function& fcn, vrx_int m, vrx_int n, vrx_int j, double e, double* x,
                       double* f_plus, double* f_minus, double* fjac) {
  const double v = x[j];
  const bool absolute = e >= std::fabs(v);
  x[j] = absolute ? e + v : v * (1.0 + e);
  call_user(fcn, m, n, x, f_plus);
  double h;
  if (absolute) {
    x[j] = v - e;
    h = e + e;
  } else {
    x[j] = (1.0 - e) * v;
    h = v * (e + e);
  }
  call_user(fcn, m, n, x, f_minus);
  x[j] = v;
  if (m <= 0) return;  // no values: fjac is not addressed, as j * m would point before it
  DAXPY(&m, &minus_one, f_minus, &unit, f_plus, &unit);
  const double reciprocal = 1.0 / h;  // the difference is multiplied by it
  DSCAL(&m, &reciprocal, f_plus, &unit);
  DCOPY(&m, f_plus, &unit, fjac + j * m, &unit);
}
}  // namespace

int vrx_trn_jacobi_team(const vrx_trn_user_function* fcn, const vrx_int* n_, const vrx_int* m_, double* fjac,
                        const double* x, const double* eps, int threads) {
  const vrx_int n = *n_, m = *m_;
  const double e = *eps;
  if (n < 1 || e <= 0.0) return VRX_TRN_INVALID_OPTION;  // a NaN step passes
  const int team = threads > 0 ? threads : 1;
  const std::size_t rows = m > 0 ? static_cast<std::size_t>(m) : 0;
  const std::size_t cols = static_cast<std::size_t>(n);
  // Never ask for an empty block: m of 0 still needs a valid buffer pointer.
  const std::size_t value_bytes = (rows > 0 ? rows : 1) * team * sizeof(double);
  double* f_plus = static_cast<double*>(vrx_serv_malloc(value_bytes, buffer_alignment));
  double* f_minus = static_cast<double*>(vrx_serv_malloc(value_bytes, buffer_alignment));
  double* x_copy = static_cast<double*>(vrx_serv_malloc(cols * team * sizeof(double), buffer_alignment));
  if (!f_plus || !f_minus || !x_copy) {
    if (f_plus) vrx_serv_free(f_plus);
    if (f_minus) vrx_serv_free(f_minus);
    if (x_copy) vrx_serv_free(x_copy);
    return VRX_TRN_OUT_OF_MEMORY;
  }
  for (int t = 0; t < team; ++t) DCOPY(&n, x, &unit, x_copy + cols * t, &unit);
  const vrx_trn_user_function user = *fcn;

#pragma omp parallel num_threads(team)
  {
    const std::size_t t = static_cast<std::size_t>(omp_get_thread_num());
    double* own_x = x_copy + cols * t;
    double* own_plus = f_plus + rows * t;
    double* own_minus = f_minus + rows * t;
#pragma omp for schedule(static)
    for (vrx_int j = 0; j < n; ++j) difference_column(user, m, n, j, e, own_x, own_plus, own_minus, fjac);
  }

  vrx_serv_free(f_plus);
  vrx_serv_free(f_minus);
  vrx_serv_free(x_copy);
  return VRX_TRN_SUCCESS;
}

int vrx_trn_jacobi(const vrx_trn_user_function* fcn, const vrx_int* n, const vrx_int* m, double* fjac,
                   const double* x, const double* eps) {
  return vrx_trn_jacobi_team(fcn, n, m, fjac, x, eps, vrx_serv_get_max_threads());
}
