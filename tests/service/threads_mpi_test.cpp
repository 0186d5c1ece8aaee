// Two ranks under Open MPI's mpirun on this machine: each rank learns the processes per
// node from OMPI_COMM_WORLD_LOCAL_SIZE and gets the thread count the rule promises.
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "support/child_process.h"

// Cores and nodes of this machine by lscpu (threads_topology_test.cpp).
std::pair<int, int> machine_cores_and_nodes();

namespace {
using environment = std::vector<std::pair<std::string, std::string>>;

std::string find_mpirun() {
  const char* path = std::getenv("PATH");
  std::string dirs = path ? path : "/usr/bin:/bin";
  for (std::size_t start = 0; start <= dirs.size();) {
    std::size_t end = dirs.find(':', start);
    if (end == std::string::npos) end = dirs.size();
    const std::string candidate = dirs.substr(start, end - start) + "/mpirun";
    if (access(candidate.c_str(), X_OK) == 0) return candidate;
    start = end + 1;
  }
  return "";
}

// Runs the driver as two ranks, bounded in time; tests run as root in containers.
vrx_child_result run_two_ranks(const std::string& mpirun, const std::vector<std::string>& driver_args,
                               const environment& env) {
  std::vector<std::string> args = {"-k", "5", "20", mpirun, "--allow-run-as-root", "--oversubscribe",
                                   "--bind-to", "none", "-np", "2", vrx_test_driver("threads_driver")};
  args.insert(args.end(), driver_args.begin(), driver_args.end());
  return vrx_test_run("/usr/bin/timeout", args, env);
}

int occurrences(const std::string& text, const std::string& line) {
  int n = 0;
  for (std::size_t at = text.find(line); at != std::string::npos; at = text.find(line, at + 1)) ++n;
  return n;
}

std::string counts_line(int all) {
  const std::string v = std::to_string(all);
  return "counts max=" + v + " blas=" + v + " fft=" + v + " vmf=" + v + " dirsol=" + v + "\n";
}

class UnderMpirun : public ::testing::Test {
 protected:
  void SetUp() override {
    mpirun = find_mpirun();
    if (mpirun.empty() || access("/usr/bin/timeout", X_OK) != 0) GTEST_SKIP() << "mpirun is not installed";
    // A sandbox may forbid what mpirun needs; then there is nothing to show.
    const vrx_child_result probe = run_two_ranks(mpirun, {"ppn"}, {});
    if (probe.exit_status != 0 || occurrences(probe.output, "ppn=2\n") != 2)
      GTEST_SKIP() << "mpirun does not run here (status " << probe.exit_status << "): " << probe.output;
  }
  std::string mpirun;
};
}  // namespace

TEST_F(UnderMpirun, EachRankDividesThePresentedCoresWhenThreadsAreAllowed) {
  const std::vector<std::string> sixteen_cores = {"--topology", "16,16,1", "--omp", "16", "counts"};
  const vrx_child_result allowed = run_two_ranks(mpirun, sixteen_cores, {{"A_MPI_THREAD_LEVEL", "1"}});
  EXPECT_EQ(allowed.exit_status, 0);
  EXPECT_EQ(occurrences(allowed.output, counts_line(8)), 2) << allowed.output;

  const vrx_child_result single = run_two_ranks(mpirun, sixteen_cores, {});
  EXPECT_EQ(single.exit_status, 0);
  EXPECT_EQ(occurrences(single.output, counts_line(1)), 2) << single.output;

  // An explicit count is not divided.
  const vrx_child_result asked = run_two_ranks(mpirun, sixteen_cores, {{"VRX_NUM_THREADS", "6"}});
  EXPECT_EQ(occurrences(asked.output, counts_line(6)), 2) << asked.output;
}

TEST_F(UnderMpirun, EachRankDividesThisMachine) {
  const int cores = machine_cores_and_nodes().first;
  if (cores == 0) GTEST_SKIP() << "lscpu gives no topology here";
  const vrx_child_result omp = vrx_test_run(vrx_test_driver("threads_driver"), {"omp"});
  const int omp_default = std::stoi(omp.output.substr(omp.output.find('=') + 1));
  const int per_rank = std::max(1, std::min(cores / 2, std::min(cores, omp_default)));

  const vrx_child_result allowed = run_two_ranks(mpirun, {"counts"}, {{"A_MPI_THREAD_LEVEL", "3"}});
  EXPECT_EQ(occurrences(allowed.output, counts_line(per_rank)), 2) << allowed.output;
  const vrx_child_result single = run_two_ranks(mpirun, {"counts"}, {});
  EXPECT_EQ(occurrences(single.output, counts_line(1)), 2) << single.output;
}
