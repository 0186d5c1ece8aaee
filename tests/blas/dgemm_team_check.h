// Products on the team road and their check against long-double sums: every element
// for small products; for large ones two random projections of all of C (any wrong
// element shows) and a sample of whole elements. Used in-process and by the driver.
#pragma once
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "blas/level3/team/vrx_l3_team.h"

struct team_problem {
  char ta, tb;
  vrx_int m, n, k;
  double alpha, beta;
  vrx_int lda, ldb, ldc;
  std::vector<double> a, b, c0;  // C holds NaN where beta is 0
};

// Full-precision values in [-1, 1): sums are inexact, so their order shows in the bits.
inline double team_value(std::uint64_t* state) {
  *state = *state * 6364136223846793005ull + 1442695040888963407ull;
  return static_cast<double>(*state >> 11) * 0x1p-52 - 1.0;
}

inline team_problem team_make(const char* trans, vrx_int m, vrx_int n, vrx_int k, double alpha, double beta,
                              std::uint64_t seed) {
  team_problem p{trans[0], trans[1], m, n, k, alpha, beta, 0, 0, 0, {}, {}, {}};
  const bool an = p.ta == 'N', bn = p.tb == 'N';
  p.lda = (an ? m : k) + 3;
  p.ldb = (bn ? k : n) + 1;
  p.ldc = m + 2;
  p.a.resize(static_cast<size_t>(p.lda * (an ? k : m)));
  p.b.resize(static_cast<size_t>(p.ldb * (bn ? n : k)));
  p.c0.resize(static_cast<size_t>(p.ldc * n));
  for (double& x : p.a) x = team_value(&seed);
  for (double& x : p.b) x = team_value(&seed);
  for (vrx_int j = 0; j < n; ++j)
    for (vrx_int i = 0; i < p.ldc; ++i)
      p.c0[i + j * p.ldc] = (beta == 0.0 && i < m) ? std::numeric_limits<double>::quiet_NaN() : team_value(&seed);
  return p;
}

inline long double team_a(const team_problem& p, vrx_int i, vrx_int l) {
  return p.ta == 'N' ? p.a[i + l * p.lda] : p.a[l + i * p.lda];
}
inline long double team_b(const team_problem& p, vrx_int l, vrx_int j) {
  return p.tb == 'N' ? p.b[l + j * p.ldb] : p.b[j + l * p.ldb];
}
inline long double team_c0(const team_problem& p, vrx_int i, vrx_int j) {
  return p.beta == 0.0 ? 0.0L : static_cast<long double>(p.beta) * p.c0[i + j * p.ldc];
}

// Worst error in units of (k + 2) eps (|alpha| k + |beta| + 1); above 1 is wrong, and
// NaN, a written pad row of C or a non-finite value count as infinite.
inline double team_error(const team_problem& p, const std::vector<double>& c) {
  const double inf = std::numeric_limits<double>::infinity();
  const double unit = (p.k + 2) * DBL_EPSILON * (std::fabs(p.alpha) * p.k + std::fabs(p.beta) + 1.0);
  for (vrx_int j = 0; j < p.n; ++j)
    for (vrx_int i = p.m; i < p.ldc; ++i)
      if (c[i + j * p.ldc] != p.c0[i + j * p.ldc]) return inf;
  long double worst = 0.0L;
  auto element = [&](vrx_int i, vrx_int j) {
    long double s = 0.0L;
    for (vrx_int l = 0; l < p.k; ++l) s += team_a(p, i, l) * team_b(p, l, j);
    const long double d = std::fabs(c[i + j * p.ldc] - (p.alpha * s + team_c0(p, i, j)));
    if (!(d <= worst)) worst = d;
  };
  const bool full = static_cast<double>(p.m) * p.n * p.k <= 1.0e7;
  if (full) {
    for (vrx_int j = 0; j < p.n; ++j)
      for (vrx_int i = 0; i < p.m; ++i) element(i, j);
    return std::isfinite(static_cast<double>(worst)) ? static_cast<double>(worst) / unit : inf;
  }
  std::uint64_t seed = 99;
  for (int s = 0; s < 400; ++s) {
    const auto i = static_cast<vrx_int>((team_value(&seed) + 1.0) * 0.5 * p.m) % p.m;
    const auto j = static_cast<vrx_int>((team_value(&seed) + 1.0) * 0.5 * p.n) % p.n;
    element(i, j);
  }
  // C x against alpha A (B x) + beta C0 x: each row sums n element errors.
  long double projection = 0.0L;
  for (int round = 0; round < 2; ++round) {
    std::vector<long double> x(static_cast<size_t>(p.n)), bx(static_cast<size_t>(p.k), 0.0L);
    for (auto& v : x) v = team_value(&seed);
    for (vrx_int l = 0; l < p.k; ++l)
      for (vrx_int j = 0; j < p.n; ++j) bx[l] += team_b(p, l, j) * x[j];
    for (vrx_int i = 0; i < p.m; ++i) {
      long double got = 0.0L, want = 0.0L;
      for (vrx_int j = 0; j < p.n; ++j) {
        got += c[i + j * p.ldc] * x[j];
        want += team_c0(p, i, j) * x[j];
      }
      long double s = 0.0L;
      for (vrx_int l = 0; l < p.k; ++l) s += team_a(p, i, l) * bx[l];
      const long double d = std::fabs(got - (want + p.alpha * s)) / p.n;
      if (!(d <= projection)) projection = d;
    }
  }
  const double e = static_cast<double>(worst > projection ? worst : projection) / unit;
  return std::isfinite(e) ? e : inf;
}

// Whether this processor runs the kernels of CPU type 5 or 7.
inline bool team_runs_type(int cpu) {
  if (cpu == 5) return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
  return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
         __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl");
}

// Runs the product on a team of `threads` threads of CPU type `cpu` (5 or 7), as the
// GEMM entry would after its cost model; `c` starts as the problem's C.
inline std::vector<double> team_run(const team_problem& p, int cpu, int threads, unsigned road = 2) {
  std::vector<double> c = p.c0;
  vrx_l3_team<double> team{};
  team.cpu = static_cast<std::uint32_t>(cpu);
  team.max_threads = threads;
  team.threads = threads;
  team.road = road;
  team.group = -1;
  const vrx_l3_call<double> call = vrx_l3_gemm_call(&p.ta, &p.tb, p.alpha, p.beta);
  const vrx_l3_view<double> va = vrx_l3_make_view(p.a.data(), p.m, p.k, p.lda, vrx_l3_layout_flag(p.ta));
  const vrx_l3_view<double> vb = vrx_l3_make_view(p.b.data(), p.k, p.n, p.ldb, vrx_l3_layout_flag(p.tb));
  const vrx_l3_view<double> vc = vrx_l3_make_c_view(c.data(), p.m, p.n, p.ldc);
  vrx_blas_gemm_team(&call, &va, &vb, &vc, &team);
  return c;
}

// The same product through the GEMM entry, with this process's settings.
inline std::vector<double> team_entry(const team_problem& p) {
  std::vector<double> c = p.c0;
  vrx_blas_dgemm(&p.ta, &p.tb, &p.m, &p.n, &p.k, &p.alpha, p.a.data(), &p.lda, p.b.data(), &p.ldb, &p.beta, c.data(),
                 &p.ldc);
  return c;
}
