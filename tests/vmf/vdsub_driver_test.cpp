// The threaded driver: partition, statuses around a region, the thread rule,
// and vdsub's checks.
#include <gtest/gtest.h>
#include <omp.h>

#include <atomic>
#include <cstring>
#include <vector>

#include "support/gemm_reference.h"
#include "service/vrx_serv.h"
#include "vector/vrx_vmf.h"

namespace {
// What each team member did, recorded by a kernel that subtracts too.
struct share_record {
  int calls;
  int offset;
  int count;
  const void* base;
  std::uint32_t mode;
};
constexpr int max_team = 16;
share_record records[max_team];
const double* record_origin = nullptr;
std::atomic<int> status_writer{-1};

void recording_kernel(int n, const double* a, const double* b, double* y) {
  const int t = omp_get_thread_num();
  if (t < max_team) {
    records[t].calls += 1;
    records[t].offset = static_cast<int>(a - record_origin);
    records[t].count = n;
    records[t].base = vrx_vmf_context_get()->base;
    records[t].mode = vrx_vmf_context_get()->mode;
  }
  for (int i = 0; i < n; ++i) y[i] = a[i] - b[i];
  if (t == status_writer.load()) vrx_vmf_set_status(-5);
}

void reset_records(const double* origin) {
  std::memset(records, 0, sizeof records);
  record_origin = origin;
}
}  // namespace

TEST(VmfDriver, ShareGivesTheRestToTheLastThread) {
  int offset, count;
  const int expected_counts[4] = {25, 25, 25, 28};
  for (int t = 0; t < 4; ++t) {
    vrx_vmf_share(t, 4, 103, &offset, &count);
    EXPECT_EQ(offset, 25 * t);
    EXPECT_EQ(count, expected_counts[t]);
  }
  // A team larger than n: everybody else gets nothing, the last takes all.
  for (int t = 0; t < 3; ++t) {
    vrx_vmf_share(t, 4, 3, &offset, &count);
    EXPECT_EQ(count, 0);
  }
  vrx_vmf_share(3, 4, 3, &offset, &count);
  EXPECT_EQ(offset, 0);
  EXPECT_EQ(count, 3);
}

TEST(VmfDriver, TeamRunsEachShareOnceUnderTheCallersSettings) {
  const int n = 103;
  const std::vector<double> a = vrx_test_random(n, 1), b = vrx_test_random(n, 2);
  std::vector<double> y(n, 0.0);
  vrx_vmf_context_get()->mode = 0x280101;
  vrx_vmf_set_status(9);
  reset_records(a.data());
  status_writer = -1;
  vrx_vmf_drive_team(recording_kernel, n, a.data(), b.data(), y.data(), 4);
  int team = 0;
  for (const share_record& r : records) team += r.calls;
  ASSERT_GE(team, 1);
  int covered = 0;
  for (int t = 0; t < team; ++t) {
    EXPECT_EQ(records[t].calls, 1);
    EXPECT_EQ(records[t].base, a.data());
    EXPECT_EQ(records[t].mode, 0x280101u);
    EXPECT_EQ(records[t].offset, covered);
    covered += records[t].count;
  }
  EXPECT_EQ(covered, n);
  if (team == 4) {
    EXPECT_EQ(records[0].count, 25);
    EXPECT_EQ(records[3].count, 28);
  }
  for (int i = 0; i < n; ++i) EXPECT_EQ(y[i], a[i] - b[i]);
  // The region's status replaces the caller's, and the base is cleared.
  EXPECT_EQ(vrx_vmf_get_status(), 0);
  EXPECT_EQ(vrx_vmf_context_get()->base, nullptr);
  vrx_vmf_context_get()->mode = 0x1A02;
}

TEST(VmfDriver, AWorkersStatusReachesTheCaller) {
  const int n = 400;
  const std::vector<double> a = vrx_test_random(n, 3), b = vrx_test_random(n, 4);
  std::vector<double> y(n);
  reset_records(a.data());
  status_writer = 1;
  vrx_vmf_set_status(0);
  vrx_vmf_drive_team(recording_kernel, n, a.data(), b.data(), y.data(), 3);
  const bool worker_ran = records[1].calls == 1;
  EXPECT_EQ(vrx_vmf_get_status(), worker_ran ? -5 : 0);
  // A team larger than n leaves all the work to the last thread.
  reset_records(a.data());
  status_writer = -1;
  vrx_vmf_drive_team(recording_kernel, 3, a.data(), b.data(), y.data(), 4);
  int callers = 0;
  for (const share_record& r : records) callers += r.calls;
  EXPECT_EQ(callers, 1);
  status_writer = -1;
}

TEST(VmfDriver, SmallCallsStayOnTheCallerAndKeepItsStatus) {
  const int n = 99;
  const std::vector<double> a = vrx_test_random(n, 5), b = vrx_test_random(n, 6);
  std::vector<double> y(n);
  reset_records(a.data());
  status_writer = -1;
  vrx_vmf_set_status(4);
  vrx_vmf_drive(recording_kernel, n, a.data(), b.data(), y.data(), 1111.0f);
  EXPECT_EQ(records[0].calls, 1);
  EXPECT_EQ(records[0].count, 99);
  EXPECT_EQ(vrx_vmf_get_status(), 4);
  for (int i = 0; i < n; ++i) EXPECT_EQ(y[i], a[i] - b[i]);
}

TEST(VmfThreadRule, FactorFollowsTheTopology) {
  EXPECT_EQ(vrx_vmf_thread_factor_of(1, 1, 0), 0.0f);
  // One node of two cores: only f2 = 1 counts.
  EXPECT_FLOAT_EQ(vrx_vmf_thread_factor_of(1, 2, 0), 2.0f / 60000.0f);
  // One core with two hardware threads: only f3 = 1 counts.
  EXPECT_FLOAT_EQ(vrx_vmf_thread_factor_of(1, 1, 1), 2.0f / 500000.0f);
  // Two nodes of four cores with hyper-threading: S = 16, t = 2, u = 8, k = 4.
  const double f1 = 8.0 / 15.0, f2 = 6.0 / 15.0, f3 = 1.0 / 15.0;
  EXPECT_FLOAT_EQ(vrx_vmf_thread_factor_of(2, 4, 1),
                  2.0f / static_cast<float>(9000.0 * f1 + 60000.0 * f2 + 500000.0 * f3));
  EXPECT_GE(vrx_vmf_thread_factor(), 0.0f);
}

TEST(VmfThreadRule, CostTimesSizeEarnsThreads) {
  const float f = 2.0f / 60000.0f;
  EXPECT_EQ(vrx_vmf_reduce_threads(8, 1.79f, 100, f), 1);        // r = 0 counts as 1
  EXPECT_EQ(vrx_vmf_reduce_threads(8, 1.79f, 1000000, f), 8);    // r = 59
  EXPECT_EQ(vrx_vmf_reduce_threads(8, 1.79f, 100000, f), 5);     // r = 5.97
  EXPECT_EQ(vrx_vmf_reduce_threads(2, 1.79f, 100000, f), 2);
  EXPECT_EQ(vrx_vmf_reduce_threads(8, 1.79f, 1000000, 0.0f), 1);
}

TEST(Vdsub, BadArgumentsSetTheStatusAndLeaveYUntouched) {
  const int n = 5;
  const double a[5] = {1, 2, 3, 4, 5}, b[5] = {5, 4, 3, 2, 1};
  double y[5] = {-1, -1, -1, -1, -1};
  const int minus_one = -1, zero = 0;
  testing::internal::CaptureStdout();
  vrx_vmf_set_status(0);
  vrx_vmf_vdsub(&minus_one, a, b, y);
  EXPECT_EQ(vrx_vmf_get_status(), VRX_VMF_STATUS_BADSIZE);
  vrx_vmf_set_status(0);
  vrx_vmf_vdsub(&n, nullptr, b, y);
  EXPECT_EQ(vrx_vmf_get_status(), VRX_VMF_STATUS_BADMEM);
  vrx_vmf_set_status(0);
  vrx_vmf_vdsub(&n, a, nullptr, y);
  EXPECT_EQ(vrx_vmf_get_status(), VRX_VMF_STATUS_BADMEM);
  vrx_vmf_set_status(0);
  vrx_vmf_vdsub(&n, a, b, nullptr);
  EXPECT_EQ(vrx_vmf_get_status(), VRX_VMF_STATUS_BADMEM);
  // n = 0 does nothing at all, even with null arrays.
  vrx_vmf_set_status(17);
  vrx_vmf_vdsub(&zero, nullptr, nullptr, nullptr);
  EXPECT_EQ(vrx_vmf_get_status(), 17);
  const std::string printed = testing::internal::GetCapturedStdout();
  EXPECT_EQ(printed,
            "\nArdix VRX ERROR: Parameter 1 was incorrect on entry to vdSub.\n"
            "\nArdix VRX ERROR: Parameter 2 was incorrect on entry to vdSub.\n"
            "\nArdix VRX ERROR: Parameter 3 was incorrect on entry to vdSub.\n"
            "\nArdix VRX ERROR: Parameter 4 was incorrect on entry to vdSub.\n");
  for (double v : y) EXPECT_EQ(v, -1.0);
  vrx_vmf_set_status(0);
}

TEST(Vdsub, ExactOnEverySizeThatChangesTheRoad) {
  for (int n : {1, 99, 100, 103, 1000000}) {
    const std::vector<double> a = vrx_test_random(n, 7), b = vrx_test_random(n, 8);
    std::vector<double> y(n + 1, 7.0);
    vrx_vmf_set_status(3);
    vrx_vmf_vdsub(&n, a.data(), b.data(), y.data());
    for (int i = 0; i < n; ++i) ASSERT_EQ(y[i], a[i] - b[i]) << n << " " << i;
    // A threaded call leaves the region's status (0), an unthreaded one the old value.
    const int index = vrx_vmf_row(vrx_vmf_cpu_code());
    const int domain = vrx_serv_domain_get_max_threads(VRX_DOMAIN_VML);
    const int team = n < 100 || domain <= 1 ? 1
                     : vrx_serv_get_dynamic()
                         ? vrx_vmf_reduce_threads(domain, vrx_vmf_dsub_table.costs[index], n, vrx_vmf_thread_factor())
                         : domain;
    EXPECT_EQ(vrx_vmf_get_status(), team > 1 ? 0 : 3) << n;
    EXPECT_EQ(y[n], 7.0);
    std::vector<double> aliased = a;
    vrx_vmf_vdsub(&n, aliased.data(), b.data(), aliased.data());
    for (int i = 0; i < n; ++i) ASSERT_EQ(aliased[i], a[i] - b[i]);
    aliased = b;
    vrx_vmf_vdsub(&n, a.data(), aliased.data(), aliased.data());
    for (int i = 0; i < n; ++i) ASSERT_EQ(aliased[i], a[i] - b[i]);
  }
  vrx_vmf_set_status(0);
}

TEST(VmfDriver, InsideAnOuterRegionTheBodyRunsSerialised) {
  const int n = 1003;
  const std::vector<double> a = vrx_test_random(n, 9), b = vrx_test_random(n, 10);
  std::vector<double> y[2] = {std::vector<double>(n), std::vector<double>(n)};
  int status[2] = {-9, -9};
#pragma omp parallel num_threads(2)
  {
    const int t = omp_get_thread_num();
    vrx_vmf_set_status(11);
    vrx_vmf_drive_team(vrx_vmf_dsub_plain_sse2, n, a.data(), b.data(), y[t].data(), 4);
    status[t] = vrx_vmf_get_status();
  }
  for (int t = 0; t < 2; ++t) {
    if (status[t] == -9) continue;  // the runtime gave one thread only
    for (int i = 0; i < n; ++i) ASSERT_EQ(y[t][i], a[i] - b[i]) << t;
    EXPECT_EQ(status[t], 0);
  }
}
