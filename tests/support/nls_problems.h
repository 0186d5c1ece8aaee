// Nonlinear least-squares problems with known minima from the published test
// collection of Moré, Garbow and Hillstrom (1981), with analytic Jacobians
// (column-major, m by n). Shared by the solver tests and the solver bench;
// header-only.
#pragma once
#include <cmath>
#include <vector>

struct nls_problem {
  const char *name;
  int n, m;
  void (*start)(int n, double *x);
  void (*residual)(int n, int m, const double *x, double *f);
  void (*jacobian)(int n, int m, const double *x, double *j);
  double best_norm;        // ||F|| at the minimum the standard start leads to
  double other_norm = -1;  // another minimum a solver may reach from the start, or -1
};

namespace nls_detail {
constexpr double two_pi = 6.283185307179586;

inline void fill(int n, double *x, std::initializer_list<double> v) {
  int i = 0;
  for (double value : v)
    if (i < n) x[i++] = value;
}
inline void zero(int count, double *a) {
  for (int i = 0; i < count; ++i) a[i] = 0.0;
}

// ---- Rosenbrock (and its extension to even n) ----
inline void rosenbrock_start(int n, double *x) {
  for (int i = 0; i < n; i += 2) x[i] = -1.2, x[i + 1] = 1.0;
}
inline void rosenbrock_f(int n, int, const double *x, double *f) {
  for (int i = 0; i < n; i += 2) f[i] = 10.0 * (x[i + 1] - x[i] * x[i]), f[i + 1] = 1.0 - x[i];
}
inline void rosenbrock_j(int n, int m, const double *x, double *j) {
  zero(m * n, j);
  for (int i = 0; i < n; i += 2) {
    j[i * m + i] = -20.0 * x[i];
    j[i * m + i + 1] = -1.0;
    j[(i + 1) * m + i] = 10.0;
  }
}

// ---- Freudenstein and Roth ----
inline void freudenstein_start(int n, double *x) { fill(n, x, {0.5, -2.0}); }
inline void freudenstein_f(int, int, const double *x, double *f) {
  f[0] = -13.0 + x[0] + ((5.0 - x[1]) * x[1] - 2.0) * x[1];
  f[1] = -29.0 + x[0] + ((x[1] + 1.0) * x[1] - 14.0) * x[1];
}
inline void freudenstein_j(int, int, const double *x, double *j) {
  j[0] = 1.0, j[1] = 1.0;
  j[2] = (10.0 - 3.0 * x[1]) * x[1] - 2.0;
  j[3] = (3.0 * x[1] + 2.0) * x[1] - 14.0;
}

// ---- Powell badly scaled ----
inline void powell_bs_start(int n, double *x) { fill(n, x, {0.0, 1.0}); }
inline void powell_bs_f(int, int, const double *x, double *f) {
  f[0] = 1e4 * x[0] * x[1] - 1.0;
  f[1] = std::exp(-x[0]) + std::exp(-x[1]) - 1.0001;
}
inline void powell_bs_j(int, int, const double *x, double *j) {
  j[0] = 1e4 * x[1], j[1] = -std::exp(-x[0]);
  j[2] = 1e4 * x[0], j[3] = -std::exp(-x[1]);
}

// ---- Brown badly scaled ----
inline void brown_bs_start(int n, double *x) { fill(n, x, {1.0, 1.0}); }
inline void brown_bs_f(int, int, const double *x, double *f) {
  f[0] = x[0] - 1e6, f[1] = x[1] - 2e-6, f[2] = x[0] * x[1] - 2.0;
}
inline void brown_bs_j(int, int, const double *x, double *j) {
  j[0] = 1.0, j[1] = 0.0, j[2] = x[1];
  j[3] = 0.0, j[4] = 1.0, j[5] = x[0];
}

// ---- Beale ----
constexpr double beale_y[3] = {1.5, 2.25, 2.625};
inline void beale_start(int n, double *x) { fill(n, x, {1.0, 1.0}); }
inline void beale_f(int, int, const double *x, double *f) {
  for (int i = 0; i < 3; ++i) f[i] = beale_y[i] - x[0] * (1.0 - std::pow(x[1], i + 1));
}
inline void beale_j(int, int, const double *x, double *j) {
  for (int i = 0; i < 3; ++i) {
    j[i] = -(1.0 - std::pow(x[1], i + 1));
    j[3 + i] = x[0] * (i + 1) * std::pow(x[1], i);
  }
}

// ---- Jennrich and Sampson, m = 10 ----
inline void jennrich_start(int n, double *x) { fill(n, x, {0.3, 0.4}); }
inline void jennrich_f(int, int m, const double *x, double *f) {
  for (int i = 1; i <= m; ++i) f[i - 1] = 2.0 + 2.0 * i - (std::exp(i * x[0]) + std::exp(i * x[1]));
}
inline void jennrich_j(int, int m, const double *x, double *j) {
  for (int i = 1; i <= m; ++i) j[i - 1] = -i * std::exp(i * x[0]), j[m + i - 1] = -i * std::exp(i * x[1]);
}

// ---- Helical valley ----
inline void helical_start(int n, double *x) { fill(n, x, {-1.0, 0.0, 0.0}); }
inline void helical_f(int, int, const double *x, double *f) {
  const double theta = std::atan(x[1] / x[0]) / two_pi + (x[0] < 0.0 ? 0.5 : 0.0);
  f[0] = 10.0 * (x[2] - 10.0 * theta);
  f[1] = 10.0 * (std::sqrt(x[0] * x[0] + x[1] * x[1]) - 1.0);
  f[2] = x[2];
}
inline void helical_j(int, int, const double *x, double *j) {
  const double r2 = x[0] * x[0] + x[1] * x[1], r = std::sqrt(r2);
  j[0] = 100.0 * x[1] / (two_pi * r2), j[1] = 10.0 * x[0] / r, j[2] = 0.0;
  j[3] = -100.0 * x[0] / (two_pi * r2), j[4] = 10.0 * x[1] / r, j[5] = 0.0;
  j[6] = 10.0, j[7] = 0.0, j[8] = 1.0;
}

// ---- Bard ----
constexpr double bard_y[15] = {0.14, 0.18, 0.22, 0.25, 0.29, 0.32, 0.35, 0.39,
                               0.37, 0.58, 0.73, 0.96, 1.34, 2.10, 4.39};
inline void bard_start(int n, double *x) { fill(n, x, {1.0, 1.0, 1.0}); }
inline void bard_f(int, int, const double *x, double *f) {
  for (int i = 1; i <= 15; ++i) {
    const double u = i, v = 16 - i, w = u < v ? u : v;
    f[i - 1] = bard_y[i - 1] - (x[0] + u / (v * x[1] + w * x[2]));
  }
}
inline void bard_j(int, int, const double *x, double *j) {
  for (int i = 1; i <= 15; ++i) {
    const double u = i, v = 16 - i, w = u < v ? u : v, d = v * x[1] + w * x[2];
    j[i - 1] = -1.0, j[15 + i - 1] = u * v / (d * d), j[30 + i - 1] = u * w / (d * d);
  }
}

// ---- Meyer ----
constexpr double meyer_y[16] = {34780, 28610, 23650, 19630, 16370, 13720, 11540, 9744,
                                8261,  7030,  6005,  5147,  4427,  3820,  3307,  2872};
inline void meyer_start(int n, double *x) { fill(n, x, {0.02, 4000.0, 250.0}); }
inline void meyer_f(int, int, const double *x, double *f) {
  for (int i = 1; i <= 16; ++i) f[i - 1] = x[0] * std::exp(x[1] / (45.0 + 5.0 * i + x[2])) - meyer_y[i - 1];
}
inline void meyer_j(int, int, const double *x, double *j) {
  for (int i = 1; i <= 16; ++i) {
    const double t = 45.0 + 5.0 * i + x[2], e = std::exp(x[1] / t);
    j[i - 1] = e, j[16 + i - 1] = x[0] * e / t, j[32 + i - 1] = -x[0] * x[1] * e / (t * t);
  }
}

// ---- Box three-dimensional, m = 10 ----
inline void box_start(int n, double *x) { fill(n, x, {0.0, 10.0, 20.0}); }
inline void box_f(int, int m, const double *x, double *f) {
  for (int i = 1; i <= m; ++i) {
    const double t = 0.1 * i;
    f[i - 1] = std::exp(-t * x[0]) - std::exp(-t * x[1]) - x[2] * (std::exp(-t) - std::exp(-10.0 * t));
  }
}
inline void box_j(int, int m, const double *x, double *j) {
  for (int i = 1; i <= m; ++i) {
    const double t = 0.1 * i;
    j[i - 1] = -t * std::exp(-t * x[0]);
    j[m + i - 1] = t * std::exp(-t * x[1]);
    j[2 * m + i - 1] = -(std::exp(-t) - std::exp(-10.0 * t));
  }
}

// ---- Powell singular (and its extension to n a multiple of 4) ----
inline void powell_start(int n, double *x) {
  for (int i = 0; i < n; i += 4) x[i] = 3.0, x[i + 1] = -1.0, x[i + 2] = 0.0, x[i + 3] = 1.0;
}
inline void powell_f(int n, int, const double *x, double *f) {
  for (int i = 0; i < n; i += 4) {
    f[i] = x[i] + 10.0 * x[i + 1];
    f[i + 1] = std::sqrt(5.0) * (x[i + 2] - x[i + 3]);
    f[i + 2] = (x[i + 1] - 2.0 * x[i + 2]) * (x[i + 1] - 2.0 * x[i + 2]);
    f[i + 3] = std::sqrt(10.0) * (x[i] - x[i + 3]) * (x[i] - x[i + 3]);
  }
}
inline void powell_j(int n, int m, const double *x, double *j) {
  zero(m * n, j);
  for (int i = 0; i < n; i += 4) {
    const double a = x[i + 1] - 2.0 * x[i + 2], b = x[i] - x[i + 3];
    j[i * m + i] = 1.0, j[(i + 1) * m + i] = 10.0;
    j[(i + 2) * m + i + 1] = std::sqrt(5.0), j[(i + 3) * m + i + 1] = -std::sqrt(5.0);
    j[(i + 1) * m + i + 2] = 2.0 * a, j[(i + 2) * m + i + 2] = -4.0 * a;
    j[i * m + i + 3] = 2.0 * std::sqrt(10.0) * b, j[(i + 3) * m + i + 3] = -2.0 * std::sqrt(10.0) * b;
  }
}

// ---- Kowalik and Osborne ----
constexpr double kowalik_y[11] = {0.1957, 0.1947, 0.1735, 0.1600, 0.0844, 0.0627,
                                  0.0456, 0.0342, 0.0323, 0.0235, 0.0246};
constexpr double kowalik_u[11] = {4.0, 2.0, 1.0, 0.5, 0.25, 0.167, 0.125, 0.1, 0.0833, 0.0714, 0.0625};
inline void kowalik_start(int n, double *x) { fill(n, x, {0.25, 0.39, 0.415, 0.39}); }
inline void kowalik_f(int, int, const double *x, double *f) {
  for (int i = 0; i < 11; ++i) {
    const double u = kowalik_u[i];
    f[i] = kowalik_y[i] - x[0] * (u * u + u * x[1]) / (u * u + u * x[2] + x[3]);
  }
}
inline void kowalik_j(int, int, const double *x, double *j) {
  for (int i = 0; i < 11; ++i) {
    const double u = kowalik_u[i], num = u * u + u * x[1], den = u * u + u * x[2] + x[3];
    j[i] = -num / den, j[11 + i] = -x[0] * u / den;
    j[22 + i] = x[0] * num * u / (den * den), j[33 + i] = x[0] * num / (den * den);
  }
}

// ---- Brown and Dennis, m = 20 ----
inline void brown_dennis_start(int n, double *x) { fill(n, x, {25.0, 5.0, -5.0, -1.0}); }
inline void brown_dennis_f(int, int m, const double *x, double *f) {
  for (int i = 1; i <= m; ++i) {
    const double t = i / 5.0;
    const double a = x[0] + t * x[1] - std::exp(t), b = x[2] + x[3] * std::sin(t) - std::cos(t);
    f[i - 1] = a * a + b * b;
  }
}
inline void brown_dennis_j(int, int m, const double *x, double *j) {
  for (int i = 1; i <= m; ++i) {
    const double t = i / 5.0;
    const double a = x[0] + t * x[1] - std::exp(t), b = x[2] + x[3] * std::sin(t) - std::cos(t);
    j[i - 1] = 2.0 * a, j[m + i - 1] = 2.0 * a * t, j[2 * m + i - 1] = 2.0 * b,
          j[3 * m + i - 1] = 2.0 * b * std::sin(t);
  }
}

// ---- Osborne 1 ----
constexpr double osborne1_y[33] = {0.844, 0.908, 0.932, 0.936, 0.925, 0.908, 0.881, 0.850, 0.818, 0.784, 0.751,
                                   0.718, 0.685, 0.658, 0.628, 0.603, 0.580, 0.558, 0.538, 0.522, 0.506, 0.490,
                                   0.478, 0.467, 0.457, 0.448, 0.438, 0.431, 0.424, 0.420, 0.414, 0.411, 0.406};
inline void osborne1_start(int n, double *x) { fill(n, x, {0.5, 1.5, -1.0, 0.01, 0.02}); }
inline void osborne1_f(int, int, const double *x, double *f) {
  for (int i = 0; i < 33; ++i) {
    const double t = 10.0 * i;
    f[i] = osborne1_y[i] - (x[0] + x[1] * std::exp(-t * x[3]) + x[2] * std::exp(-t * x[4]));
  }
}
inline void osborne1_j(int, int, const double *x, double *j) {
  for (int i = 0; i < 33; ++i) {
    const double t = 10.0 * i, e4 = std::exp(-t * x[3]), e5 = std::exp(-t * x[4]);
    j[i] = -1.0, j[33 + i] = -e4, j[66 + i] = -e5, j[99 + i] = t * x[1] * e4, j[132 + i] = t * x[2] * e5;
  }
}

// ---- Watson, n = 6, m = 31 ----
inline void watson_start(int n, double *x) { zero(n, x); }
inline void watson_f(int n, int, const double *x, double *f) {
  for (int i = 1; i <= 29; ++i) {
    const double t = i / 29.0;
    double derivative = 0.0, value = 0.0, power = 1.0;
    for (int k = 0; k < n; ++k) {
      if (k > 0) derivative += k * x[k] * power / t;
      value += x[k] * power;
      power *= t;
    }
    f[i - 1] = derivative - value * value - 1.0;
  }
  f[29] = x[0];
  f[30] = x[1] - x[0] * x[0] - 1.0;
}
inline void watson_j(int n, int m, const double *x, double *j) {
  zero(m * n, j);
  for (int i = 1; i <= 29; ++i) {
    const double t = i / 29.0;
    double value = 0.0, power = 1.0;
    for (int k = 0; k < n; ++k) value += x[k] * power, power *= t;
    power = 1.0;
    for (int k = 0; k < n; ++k) {
      j[k * m + i - 1] = (k > 0 ? k * power / t : 0.0) - 2.0 * value * power;
      power *= t;
    }
  }
  j[29] = 1.0;
  j[30] = -2.0 * x[0], j[m + 30] = 1.0;
}

// ---- Linear function of rank 1: a rank-deficient Jacobian ----
inline void linear_rank1_start(int n, double *x) {
  for (int i = 0; i < n; ++i) x[i] = 1.0;
}
inline void linear_rank1_f(int n, int m, const double *x, double *f) {
  double sum = 0.0;
  for (int k = 0; k < n; ++k) sum += (k + 1) * x[k];
  for (int i = 0; i < m; ++i) f[i] = (i + 1) * sum - 1.0;
}
inline void linear_rank1_j(int n, int m, const double *x, double *j) {
  (void)x;
  for (int k = 0; k < n; ++k)
    for (int i = 0; i < m; ++i) j[k * m + i] = (i + 1.0) * (k + 1.0);
}

// ---- Linear function of full rank ----
inline void linear_full_start(int n, double *x) {
  for (int i = 0; i < n; ++i) x[i] = 1.0;
}
inline void linear_full_f(int n, int m, const double *x, double *f) {
  double sum = 0.0;
  for (int k = 0; k < n; ++k) sum += x[k];
  for (int i = 0; i < m; ++i) f[i] = (i < n ? x[i] : 0.0) - 2.0 * sum / m - 1.0;
}
inline void linear_full_j(int n, int m, const double *, double *j) {
  for (int k = 0; k < n; ++k)
    for (int i = 0; i < m; ++i) j[k * m + i] = (i == k ? 1.0 : 0.0) - 2.0 / m;
}

// ---- Discrete boundary value ----
inline void boundary_start(int n, double *x) {
  const double h = 1.0 / (n + 1);
  for (int i = 0; i < n; ++i) x[i] = (i + 1) * h * ((i + 1) * h - 1.0);
}
inline void boundary_f(int n, int, const double *x, double *f) {
  const double h = 1.0 / (n + 1);
  for (int i = 0; i < n; ++i) {
    const double left = i > 0 ? x[i - 1] : 0.0, right = i + 1 < n ? x[i + 1] : 0.0, c = x[i] + (i + 1) * h + 1.0;
    f[i] = 2.0 * x[i] - left - right + h * h * c * c * c / 2.0;
  }
}
inline void boundary_j(int n, int m, const double *x, double *j) {
  const double h = 1.0 / (n + 1);
  zero(m * n, j);
  for (int i = 0; i < n; ++i) {
    const double c = x[i] + (i + 1) * h + 1.0;
    j[i * m + i] = 2.0 + 1.5 * h * h * c * c;
    if (i > 0) j[(i - 1) * m + i] = -1.0;
    if (i + 1 < n) j[(i + 1) * m + i] = -1.0;
  }
}

// ---- Broyden tridiagonal ----
inline void broyden_start(int n, double *x) {
  for (int i = 0; i < n; ++i) x[i] = -1.0;
}
inline void broyden_f(int n, int, const double *x, double *f) {
  for (int i = 0; i < n; ++i) {
    const double left = i > 0 ? x[i - 1] : 0.0, right = i + 1 < n ? x[i + 1] : 0.0;
    f[i] = (3.0 - 2.0 * x[i]) * x[i] - left - 2.0 * right + 1.0;
  }
}
inline void broyden_j(int n, int m, const double *x, double *j) {
  zero(m * n, j);
  for (int i = 0; i < n; ++i) {
    j[i * m + i] = 3.0 - 4.0 * x[i];
    if (i > 0) j[(i - 1) * m + i] = -1.0;
    if (i + 1 < n) j[(i + 1) * m + i] = -2.0;
  }
}
}  // namespace nls_detail

// The set: zero and nonzero residuals, n from 2 to 200.
inline std::vector<nls_problem> nls_problem_set() {
  using namespace nls_detail;
  return {
      {"Rosenbrock", 2, 2, rosenbrock_start, rosenbrock_f, rosenbrock_j, 0.0},
      {"Freudenstein-Roth", 2, 2, freudenstein_start, freudenstein_f, freudenstein_j, std::sqrt(48.98425367924), 0.0},
      {"Powell badly scaled", 2, 2, powell_bs_start, powell_bs_f, powell_bs_j, 0.0},
      {"Brown badly scaled", 2, 3, brown_bs_start, brown_bs_f, brown_bs_j, 0.0},
      {"Beale", 2, 3, beale_start, beale_f, beale_j, 0.0},
      {"Jennrich-Sampson", 2, 10, jennrich_start, jennrich_f, jennrich_j, std::sqrt(124.3621823556)},
      {"Helical valley", 3, 3, helical_start, helical_f, helical_j, 0.0},
      {"Bard", 3, 15, bard_start, bard_f, bard_j, std::sqrt(8.214877306578e-3)},
      {"Meyer", 3, 16, meyer_start, meyer_f, meyer_j, std::sqrt(87.94585517)},
      {"Box 3-D", 3, 10, box_start, box_f, box_j, 0.0},
      {"Powell singular", 4, 4, powell_start, powell_f, powell_j, 0.0},
      {"Kowalik-Osborne", 4, 11, kowalik_start, kowalik_f, kowalik_j, std::sqrt(3.075056038492e-4)},
      {"Brown-Dennis", 4, 20, brown_dennis_start, brown_dennis_f, brown_dennis_j, std::sqrt(85822.20162635)},
      {"Osborne 1", 5, 33, osborne1_start, osborne1_f, osborne1_j, std::sqrt(5.464894697482e-5)},
      {"Watson", 6, 31, watson_start, watson_f, watson_j, std::sqrt(2.287670053552e-3)},
      {"Linear rank 1", 10, 20, linear_rank1_start, linear_rank1_f, linear_rank1_j,
       std::sqrt(20.0 * 19.0 / (2.0 * 41.0))},
      {"Linear full rank", 100, 150, linear_full_start, linear_full_f, linear_full_j, std::sqrt(50.0)},
      {"Extended Rosenbrock", 200, 200, rosenbrock_start, rosenbrock_f, rosenbrock_j, 0.0},
      {"Extended Powell", 100, 100, powell_start, powell_f, powell_j, 0.0},
      {"Discrete boundary value", 100, 100, boundary_start, boundary_f, boundary_j, 0.0},
      {"Broyden tridiagonal", 200, 200, broyden_start, broyden_f, broyden_j, 0.0},
  };
}
