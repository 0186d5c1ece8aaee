// Jacobians by central differences: argument checks, the steps taken, known
// derivatives, the number of calls, and concurrent calls of the function.
#include <gtest/gtest.h>
#include <omp.h>

#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <set>
#include <vector>

#include "include/customvrx.h"
#include "support/child_process.h"
#include "optim/vrx_jacobi.h"
#include "service/vrx_serv.h"

namespace {
std::atomic<int> calls{0};

// f(x) = (x0^2 + sin x1, x0 x1 x2, exp(x2) - x0, x1^3): Jacobian known in closed form.
void known_function(int* m_, int* n_, double* x, double* f) {
  calls.fetch_add(1);
  const long long m = *reinterpret_cast<long long*>(m_), n = *reinterpret_cast<long long*>(n_);
  ASSERT_EQ(m, 4);
  ASSERT_EQ(n, 3);
  f[0] = x[0] * x[0] + std::sin(x[1]);
  f[1] = x[0] * x[1] * x[2];
  f[2] = std::exp(x[2]) - x[0];
  f[3] = x[1] * x[1] * x[1];
}

void known_jacobian(const double* x, double* j) {  // column-major 4 by 3
  const double columns[3][4] = {{2 * x[0], x[1] * x[2], -1.0, 0.0},
                                {std::cos(x[1]), x[0] * x[2], 0.0, 3 * x[1] * x[1]},
                                {0.0, x[0] * x[1], std::exp(x[2]), 0.0}};
  std::memcpy(j, columns, sizeof columns);
}

// Linear f_i = sum_j (i + 1)(j + 2) x_j, recording the points it was asked about.
struct probe {
  std::mutex lock;
  std::vector<std::vector<double>> points;
  std::set<int> threads;
};

void linear_function(int* m_, int* n_, double* x, double* f, void* data) {
  probe* p = static_cast<probe*>(data);
  const int m = *m_, n = *n_;  // the low halves, as a 32-bit caller reads them
  for (int i = 0; i < m; ++i) {
    double s = 0.0;
    for (int j = 0; j < n; ++j) s += (i + 1) * (j + 2) * x[j];
    f[i] = s;
  }
  std::lock_guard<std::mutex> hold(p->lock);
  p->points.emplace_back(x, x + n);
  p->threads.insert(omp_get_thread_num());
}

int run_team(vrx_trn_fcn_data fcn, void* data, int n, int m, double* fjac, const double* x, double eps, int threads) {
  const vrx_int n64 = n, m64 = m;
  const vrx_trn_user_function user = {nullptr, fcn, data};
  return vrx_trn_jacobi_team(&user, &n64, &m64, fjac, x, &eps, threads);
}
}  // namespace

TEST(Jacobi, InvalidSizesAndStepsCallNothing) {
  double fjac[12] = {}, x[3] = {1, 2, 3};
  calls = 0;
  int n = 0, m = 4;
  double eps = 1e-6;
  EXPECT_EQ(djacobi(known_function, &n, &m, fjac, x, &eps), 1502);
  n = -2;
  EXPECT_EQ(djacobi(known_function, &n, &m, fjac, x, &eps), 1502);
  n = 3;
  for (double bad : {0.0, -0.0, -1e-6, -HUGE_VAL}) {
    eps = bad;
    EXPECT_EQ(djacobi(known_function, &n, &m, fjac, x, &eps), 1502) << bad;
  }
  EXPECT_EQ(calls.load(), 0);
  for (double v : fjac) EXPECT_EQ(v, 0.0);
  // A NaN step is not refused; the differences become NaN.
  eps = NAN;
  EXPECT_EQ(djacobi(known_function, &n, &m, fjac, x, &eps), 1501);
  EXPECT_EQ(calls.load(), 6);
  EXPECT_TRUE(std::isnan(fjac[0]));
}

TEST(Jacobi, KnownJacobianWithinSquareRootOfEpsilon) {
  const double points[3][3] = {{0.7, -1.3, 0.4}, {2.0, 0.5, -0.25}, {-3.0, 1.0, 1.5}};
  int n = 3, m = 4;
  for (const auto& p : points) {
    double x[3] = {p[0], p[1], p[2]};
    const double x_before[3] = {p[0], p[1], p[2]};
    double fjac[12], exact[12];
    double eps = 1e-6;
    calls = 0;
    ASSERT_EQ(djacobi(known_function, &n, &m, fjac, x, &eps), 1501);
    EXPECT_EQ(calls.load(), 2 * n);
    EXPECT_EQ(std::memcmp(x, x_before, sizeof x), 0);
    known_jacobian(x, exact);
    double scale = 0.0;
    for (double v : exact) scale = std::fmax(scale, std::fabs(v));
    for (int k = 0; k < 12; ++k) EXPECT_LE(std::fabs(fjac[k] - exact[k]), 1e-7 * scale) << k;
  }
}

TEST(Jacobi, AbsoluteAndRelativeSteps) {
  probe p;
  const int n = 4, m = 2;
  const double eps = 1e-3;
  // x0 = 0 and x1 = eps take the absolute step; x2 just above eps and x3 < 0 the relative one.
  const double x[4] = {0.0, eps, std::nextafter(eps, 1.0), -2.0};
  std::vector<double> fjac(m * n);
  ASSERT_EQ(run_team(linear_function, &p, n, m, fjac.data(), x, eps, 1), 1501);
  ASSERT_EQ(p.points.size(), 8u);
  const double plus[4] = {eps + 0.0, eps + eps, x[2] * (1.0 + eps), x[3] * (1.0 + eps)};
  const double minus[4] = {0.0 - eps, eps - eps, (1.0 - eps) * x[2], (1.0 - eps) * x[3]};
  for (int j = 0; j < n; ++j) {
    const std::vector<double>& up = p.points[2 * j];
    const std::vector<double>& down = p.points[2 * j + 1];
    for (int k = 0; k < n; ++k) {
      EXPECT_EQ(up[k], k == j ? plus[j] : x[k]) << j << "," << k;
      EXPECT_EQ(down[k], k == j ? minus[j] : x[k]) << j << "," << k;
    }
    // The quotient stays a central difference for either step.
    for (int i = 0; i < m; ++i) EXPECT_NEAR(fjac[j * m + i], (i + 1) * (j + 2), 1e-9 * (i + 1) * (j + 2));
  }
  // With x0 = 0 the divisor is exactly 0.002: the difference times 1 / 0.002.
  const double f_plus0 = (0 + 1) * 2 * plus[0] + 3 * x[1] + 4 * x[2] + 5 * x[3];
  const double f_minus0 = (0 + 1) * 2 * minus[0] + 3 * x[1] + 4 * x[2] + 5 * x[3];
  EXPECT_EQ(fjac[0], (f_plus0 - f_minus0) * (1.0 / (eps + eps)));
}

TEST(Jacobi, MoreThreadsThanCoresGiveTheSameColumnsBitForBit) {
  const int n = 37, m = 5;
  std::vector<double> x(n);
  for (int j = 0; j < n; ++j) x[j] = std::sin(j + 1.0) * 3.0;
  const std::vector<double> x_before = x;
  std::vector<double> alone(m * n, -7.0), team(m * n, -7.0);
  probe p1, p8;
  ASSERT_EQ(run_team(linear_function, &p1, n, m, alone.data(), x.data(), 1e-5, 1), 1501);
  ASSERT_EQ(run_team(linear_function, &p8, n, m, team.data(), x.data(), 1e-5, 8), 1501);
  EXPECT_EQ(p8.points.size(), 2u * n);
  EXPECT_EQ(std::memcmp(alone.data(), team.data(), alone.size() * sizeof(double)), 0);
  EXPECT_EQ(std::memcmp(x.data(), x_before.data(), n * sizeof(double)), 0);
  EXPECT_GT(p8.threads.size(), 1u);
  // Every point differs from x in exactly one element: each thread has its own copy.
  for (const std::vector<double>& point : p8.points) {
    int moved = 0;
    for (int j = 0; j < n; ++j) moved += point[j] != x[j];
    EXPECT_EQ(moved, 1);
  }
  // A team above n leaves threads without columns.
  probe few;
  std::vector<double> small(m * 3);
  ASSERT_EQ(run_team(linear_function, &few, 3, m, small.data(), x.data(), 1e-5, 8), 1501);
  EXPECT_EQ(few.points.size(), 6u);
  EXPECT_LE(few.threads.size(), 3u);
}

TEST(Jacobi, InsideAnOuterRegionAllColumnsRunOnTheCaller) {
  const int n = 9, m = 3;
  std::vector<double> x(n);
  for (int j = 0; j < n; ++j) x[j] = 1.0 + j;
  std::vector<double> alone(m * n);
  probe reference;
  ASSERT_EQ(run_team(linear_function, &reference, n, m, alone.data(), x.data(), 1e-5, 1), 1501);
  std::vector<double> inner[2] = {std::vector<double>(m * n), std::vector<double>(m * n)};
  probe probes[2];
  int status[2] = {0, 0};
#pragma omp parallel num_threads(2)
  {
    const int t = omp_get_thread_num();
    status[t] = run_team(linear_function, &probes[t], n, m, inner[t].data(), x.data(), 1e-5, 4);
  }
  for (int t = 0; t < 2; ++t) {
    if (status[t] == 0) continue;  // the runtime gave one thread only
    EXPECT_EQ(status[t], 1501);
    EXPECT_EQ(probes[t].points.size(), 2u * n);
    EXPECT_EQ(std::memcmp(inner[t].data(), alone.data(), alone.size() * sizeof(double)), 0);
  }
}

TEST(Jacobi, UserDataReachesTheFunctionAndEmptyRowsWriteNothing) {
  probe p;
  int n = 2, m = 0;
  const double x[2] = {1.0, 2.0};
  double fjac[4] = {5, 5, 5, 5};
  const double eps = 1e-4;
  EXPECT_EQ(djacobix(linear_function, &n, &m, fjac, x, &eps, &p), 1501);
  EXPECT_EQ(p.points.size(), 4u);
  for (double v : fjac) EXPECT_EQ(v, 5.0);
}

TEST(Jacobi, AllocationFailureReturns1503AndFreesWhatItGot) {
  probe p;
  const double x = 1.0, eps = 1e-4;
  double fjac[2];
  const vrx_trn_user_function user = {nullptr, linear_function, &p};
  // Blocks this large take the manager's direct path, which the statistics count.
  __atomic_store_n(&vrx_serv_memory_stats.flag, 1, __ATOMIC_RELAXED);
  const std::int64_t blocks_before = vrx_serv_memory_stats.current_blocks;
  // The two value buffers (256 MiB each, never touched) can be had; x_copy cannot.
  const vrx_int huge_n = vrx_int{1} << 40, tall_m = vrx_int{1} << 24;
  EXPECT_EQ(vrx_trn_jacobi_team(&user, &huge_n, &tall_m, fjac, &x, &eps, 2), 1503);
  EXPECT_EQ(vrx_serv_memory_stats.current_blocks, blocks_before);
  // The value buffers cannot be had; x_copy can.
  const vrx_int small_n = 1, huge_m = vrx_int{1} << 40;
  EXPECT_EQ(vrx_trn_jacobi_team(&user, &small_n, &huge_m, fjac, &x, &eps, 2), 1503);
  EXPECT_EQ(vrx_serv_memory_stats.current_blocks, blocks_before);
  __atomic_store_n(&vrx_serv_memory_stats.flag, -1, __ATOMIC_RELAXED);
  EXPECT_TRUE(p.points.empty());
}

TEST(JacobiEnvironment, EightThreadsOnTwoCoresThroughTheExportedEntry) {
  const vrx_child_result r =
      vrx_test_run(vrx_test_driver("jacobi_driver"), {}, {{"VRX_DYNAMIC", "false"}, {"VRX_NUM_THREADS", "8"}});
  ASSERT_EQ(r.exit_status, 0);
  int status = 0, count = 0, threads = 0, max_threads = 0;
  char verdict[16] = {};
  ASSERT_EQ(std::sscanf(r.output.c_str(), "djacobi %d calls=%d threads=%d max=%d %15s", &status, &count, &threads,
                        &max_threads, verdict),
            5)
      << r.output;
  EXPECT_EQ(status, 1501);
  EXPECT_EQ(count, 80);
  EXPECT_STREQ(verdict, "ok");
  EXPECT_GE(threads, 1);
  EXPECT_LE(threads, max_threads);
  // Forty columns in static chunks over eight threads: all of them get work.
  if (max_threads == 8) EXPECT_EQ(threads, 8);
}
