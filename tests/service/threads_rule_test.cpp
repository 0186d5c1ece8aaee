// The thread-count rule and the vector thread limit on presented machines:
// 2 nodes of 8 cores with hyper-threading, one node of 8 cores, and a failed count.
#include <gtest/gtest.h>

#include <omp.h>

#include <string>
#include <utility>
#include <vector>

#include "service/vrx_serv.h"
#include "support/child_process.h"

namespace {
using environment = std::vector<std::pair<std::string, std::string>>;

// Two nodes of 8 cores with two logical processors each, and an OpenMP default of 32.
const std::vector<std::string> two_nodes = {"--topology", "32,16,2", "--omp", "32"};

std::string ask(std::vector<std::string> args, const std::vector<std::string>& commands, const environment& env = {}) {
  args.insert(args.end(), commands.begin(), commands.end());
  const vrx_child_result r = vrx_test_run(vrx_test_driver("threads_driver"), args, env);
  EXPECT_EQ(r.exit_status, 0) << r.output;
  return r.output;
}

std::string counts_line(const char* label, int all) {
  const std::string v = std::to_string(all);
  return std::string(label) + " max=" + v + " blas=" + v + " fft=" + v + " vmf=" + v + " dirsol=" + v + "\n";
}
}  // namespace

TEST(ThreadRule, PresentedMachineIsCounted) {
  EXPECT_EQ(ask(two_nodes, {"machine"}), "machine nodes=2 cores_per_node=8 ht=1 dynamic=1\n");
  EXPECT_EQ(ask({"--topology", "8,8,1"}, {"machine"}), "machine nodes=1 cores_per_node=8 ht=0 dynamic=1\n");
  // A topology that cannot be told leaves every count at 1, so dynamic mode runs one thread.
  EXPECT_EQ(ask({"--topology", "0,0,0", "--omp", "8"}, {"machine", "counts"}),
            "machine nodes=1 cores_per_node=1 ht=0 dynamic=1\n" + counts_line("counts", 1));
}

TEST(ThreadRule, DynamicModeRunsOneThreadPerCore) {
  EXPECT_EQ(ask(two_nodes, {"counts"}), counts_line("counts", 16));
  EXPECT_EQ(ask(two_nodes, {"counts"}, {{"VRX_NUM_THREADS", "24"}}), counts_line("counts", 16));
  EXPECT_EQ(ask(two_nodes, {"counts"}, {{"VRX_NUM_THREADS", "24"}, {"VRX_DYNAMIC", "false"}}),
            counts_line("counts", 24));
  // omp_set_num_threads of the caller counts when nothing explicit is set.
  EXPECT_EQ(ask({"--topology", "32,16,2", "--omp", "5"}, {"counts"}), counts_line("counts", 5));
  EXPECT_EQ(ask({"--topology", "32,16,2", "--omp", "40"}, {"counts"}, {{"VRX_DYNAMIC", "false"}}),
            counts_line("counts", 40));
}

TEST(ThreadRule, InsideAParallelRegionOnlyWithoutDynamicMode) {
  EXPECT_EQ(ask(two_nodes, {"parallel"}), counts_line("parallel", 1));
  EXPECT_EQ(ask(two_nodes, {"parallel"}, {{"VRX_NUM_THREADS", "8"}}), counts_line("parallel", 1));
  EXPECT_EQ(ask(two_nodes, {"parallel"}, {{"VRX_NUM_THREADS", "8"}, {"VRX_DYNAMIC", "FALSE"}}),
            counts_line("parallel", 8));
  EXPECT_EQ(ask(two_nodes, {"parallel"}, {{"VRX_DYNAMIC", "FALSE"}}), counts_line("parallel", 32));
}

TEST(ThreadRule, SeveralProcessesOnANode) {
  const environment four_per_node = {{"VRX_MPI_PPN", "4"}};
  EXPECT_EQ(ask(two_nodes, {"counts"}, four_per_node), counts_line("counts", 1));
  EXPECT_EQ(ask(two_nodes, {"counts"}, {{"VRX_MPI_PPN", "4"}, {"A_MPI_THREAD_LEVEL", "1"}}), counts_line("counts", 4));
  EXPECT_EQ(ask(two_nodes, {"counts"}, {{"VRX_MPI_PPN", "4"}, {"A_MPI_THREAD_LEVEL", "3"}}), counts_line("counts", 4));
  EXPECT_EQ(ask(two_nodes, {"counts"}, {{"VRX_MPI_PPN", "4"}, {"A_MPI_THREAD_LEVEL", "0"}}), counts_line("counts", 1));
  // A thread level above 3 is stored as 0.
  EXPECT_EQ(ask(two_nodes, {"counts"}, {{"VRX_MPI_PPN", "4"}, {"A_MPI_THREAD_LEVEL", "5"}}), counts_line("counts", 1));
  // Whoever asks for a count gets it.
  EXPECT_EQ(ask({"--topology", "32,16,2"}, {"counts"}, {{"VRX_MPI_PPN", "4"}, {"OMP_NUM_THREADS", "6"}}),
            counts_line("counts", 6));
  EXPECT_EQ(ask(two_nodes, {"counts"}, {{"VRX_MPI_PPN", "4"}, {"VRX_NUM_THREADS", "12"}}), counts_line("counts", 12));
  EXPECT_EQ(ask(two_nodes, {"counts"}, {{"VRX_MPI_PPN", "4"}, {"VRX_DOMAIN_NUM_THREADS", "VRX_DOMAIN_BLAS=10"}}),
            "counts max=1 blas=10 fft=1 vmf=1 dirsol=1\n");
  // More processes than cores still leaves each one thread.
  EXPECT_EQ(ask(two_nodes, {"counts"}, {{"A_MPI_PIN_MAPPING", "32:0 0,1 8"}, {"A_MPI_THREAD_LEVEL", "2"}}),
            counts_line("counts", 1));
  EXPECT_EQ(ask(two_nodes, {"counts"}, {{"OMPI_COMM_WORLD_LOCAL_SIZE", "3"}, {"A_MPI_THREAD_LEVEL", "2"}}),
            counts_line("counts", 5));
}

TEST(ThreadRule, DynamicOverrideWord) {
  EXPECT_EQ(ask({"--topology", "32,16,2", "--omp", "32", "--dynamic-override", "0"}, {"counts"}),
            counts_line("counts", 1));
  // Set, it decides before the processes-per-node steps.
  EXPECT_EQ(ask({"--topology", "32,16,2", "--omp", "32", "--dynamic-override", "1"}, {"counts"},
                {{"VRX_MPI_PPN", "4"}}),
            counts_line("counts", 16));
  // Without dynamic mode it is never reached.
  EXPECT_EQ(ask({"--topology", "32,16,2", "--omp", "32", "--dynamic-override", "0"}, {"counts"},
                {{"VRX_DYNAMIC", "false"}}),
            counts_line("counts", 32));
}

TEST(ThreadLimit, WeighsTheDistanceBetweenPartners) {
  // L 32, C 16, N 2: t 2, u 16, w 8, so f = 2 / ((9000 * 16 + 60000 * 14 + 500000) / 31) = 4.178e-5.
  EXPECT_EQ(ask(two_nodes, {"limit:64:1000000:1", "limit:64:100000:3", "limit:64:1000:1", "limit:6:1000000:1",
                            "limit:64:2000000:0.5"}),
            "limit=41 nthreads=41\nlimit=12 nthreads=12\nlimit=1 nthreads=1\nlimit=6 nthreads=6\n"
            "limit=41 nthreads=41\n");
  // One node of 8 cores without hyper-threading: every partner is another core, f = 2 / 60000.
  EXPECT_EQ(ask({"--topology", "8,8,1"}, {"limit:64:1000000:1", "limit:64:29999:1"}),
            "limit=33 nthreads=33\nlimit=1 nthreads=1\n");
  // A single processor gives one thread whatever the work.
  EXPECT_EQ(ask({"--topology", "1,1,1"}, {"limit:64:2000000000:100"}), "limit=1 nthreads=1\n");
}

TEST(ThreadRule, ThreadOverrideWinsOverEverything) {
  std::int32_t* override_word = vrx_serv_thread_override();
  EXPECT_EQ(*override_word, 0);
  *override_word = 7;
  EXPECT_EQ(vrx_serv_get_max_threads(), 7);
  EXPECT_EQ(vrx_serv_domain_get_max_threads(3), 7);
  int inside = 0;
#pragma omp parallel num_threads(2)
  {
    // The word is per thread: other threads keep the ordinary rule.
    if (omp_get_thread_num() == 1) inside = vrx_serv_get_max_threads();
  }
  *override_word = 0;
  EXPECT_NE(inside, 7);
  EXPECT_EQ(*vrx_serv_dynamic_override(), -1);
}
