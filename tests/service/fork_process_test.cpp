// Processes that fork while other threads are inside the library: every child
// finishes its product in time and gets it right, and a child keeps every export
// working. The driver kills a child still running after its time limit.
#include <gtest/gtest.h>

#include <string>

#include "support/child_process.h"

namespace {
// AddressSanitizer's allocator (clang 14) is not fork-safe: a child forked while another
// thread is inside malloc may wait for ever in its own first malloc, whatever this
// library does. The races below need that other thread, so such builds skip them.
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VRX_MALLOC_NOT_FORK_SAFE 1
#endif
#endif
#ifdef VRX_MALLOC_NOT_FORK_SAFE
constexpr bool malloc_fork_safe = false;
#else
constexpr bool malloc_fork_safe = true;
#endif
constexpr const char* malloc_skip_reason =
    "the sanitizer's allocator can hang a child forked during another thread's malloc";

// Idle OpenMP workers of the parent spin for a while by default, taking the cores from
// the short-lived children; without that wait the loops take a fraction of the time.
const std::pair<std::string, std::string> no_spin_wait{"KMP_BLOCKTIME", "0"};

vrx_child_result run_fork_driver(const std::vector<std::string>& args,
                                 const std::vector<std::pair<std::string, std::string>>& env = {}) {
  return vrx_test_run(vrx_test_driver("fork_driver"), args, env);
}

// Lines of `text` that start with `prefix`.
int count_lines(const std::string& text, const std::string& prefix) {
  int count = 0;
  for (std::size_t at = 0; at < text.size();) {
    if (text.compare(at, prefix.size(), prefix) == 0) ++count;
    const std::size_t end = text.find('\n', at);
    if (end == std::string::npos) break;
    at = end + 1;
  }
  return count;
}
}  // namespace

TEST(ForkSafety, ForkWhileAThreadThatUsedTheLibraryEnds) {
  if (!malloc_fork_safe) GTEST_SKIP() << malloc_skip_reason;
  // The ending thread hands its buffers back under the table lock of the memory manager.
  const vrx_child_result r = run_fork_driver({"exiting", "150"}, {no_spin_wait});
  EXPECT_EQ(r.exit_status, 0) << r.output;
  EXPECT_EQ(r.output, "exiting forks=150 hung=0 wrong=0\n");
  // Same with many-thread products on the team road.
  const vrx_child_result team = run_fork_driver(
      {"exiting", "50"},
      {no_spin_wait, {"VRX_DEBUG_CPU_TYPE", "5"}, {"VRX_DYNAMIC", "false"}, {"VRX_NUM_THREADS", "3"}});
  EXPECT_EQ(team.exit_status, 0) << team.output;
  EXPECT_EQ(team.output, "exiting forks=50 hung=0 wrong=0\n");
}

TEST(ForkSafety, ForkWhileAnotherThreadMakesTheFirstCall) {
  if (!malloc_fork_safe) GTEST_SKIP() << malloc_skip_reason;
  // Delays of 0 to 1000 us land the fork before, inside and after the one-time reading
  // of settings, topology, processor and memory manager.
  const vrx_child_result r = run_fork_driver({"first-call", "90"}, {no_spin_wait});
  EXPECT_EQ(r.exit_status, 0) << r.output;
  EXPECT_EQ(r.output, "first-call forks=90 hung=0 wrong=0\n");
}

TEST(ForkSafety, ForkWhileThreadsComputeAndComeAndGo) {
  if (!malloc_fork_safe) GTEST_SKIP() << malloc_skip_reason;
  const vrx_child_result r = run_fork_driver({"busy", "100"}, {no_spin_wait});
  EXPECT_EQ(r.exit_status, 0) << r.output;
  EXPECT_EQ(r.output, "busy forks=100 hung=0 wrong=0\n");
}

TEST(ForkSafety, ChildUsesEveryExport) {
  for (const char* type : {"0", "4", "5"}) {
    SCOPED_TRACE(type);
    const vrx_child_result r = run_fork_driver(
        {"exports"}, {{"VRX_DEBUG_CPU_TYPE", type}, {"VRX_DYNAMIC", "false"}, {"VRX_NUM_THREADS", "4"}});
    EXPECT_EQ(r.exit_status, 0) << r.output;
    EXPECT_EQ(r.output, "parent ok\nforked\nchild ok\n");
  }
}

TEST(ForkSafety, ChildKeepsVerboseLines) {
  // The banner came out in the parent; the child prints its own call lines.
  const vrx_child_result r = run_fork_driver({"exports"}, {{"VRX_VERBOSE", "1"}, {"VRX_NUM_THREADS", "2"}});
  EXPECT_EQ(r.exit_status, 0) << r.output;
  const std::size_t forked = r.output.find("forked\n");
  ASSERT_NE(forked, std::string::npos) << r.output;
  const std::string parent = r.output.substr(0, forked), child = r.output.substr(forked);
  EXPECT_EQ(count_lines(parent, "VRX_VERBOSE customvrx"), 1);
  EXPECT_EQ(count_lines(child, "VRX_VERBOSE customvrx"), 0);
  EXPECT_EQ(count_lines(parent, "VRX_VERBOSE DGEMM("), 4);
  EXPECT_EQ(count_lines(child, "VRX_VERBOSE DGEMM("), 4);
  EXPECT_EQ(count_lines(child, "child ok"), 1) << r.output;
}
