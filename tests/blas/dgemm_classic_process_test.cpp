// The classic road end to end in child processes: thread counts from the
// environment, forced CPU types, reproducibility branches and made-up processors
// reach every strategy and worker by shape; each product is compared exactly with
// an integer reference, and the decision the road took is checked by its record.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "support/child_process.h"

namespace {
typedef std::vector<std::pair<std::string, std::string>> environment;

environment threads_env(int t, environment more = {}) {
  more.push_back({"VRX_DYNAMIC", "false"});
  more.push_back({"VRX_NUM_THREADS", std::to_string(t)});
  return more;
}

std::string run_driver(const std::vector<std::string>& args, const environment& env) {
  const vrx_child_result r = vrx_test_run(vrx_test_driver("dgemm_classic_driver"), args, env);
  EXPECT_EQ(r.exit_status, 0) << r.output;
  return r.output;
}

std::string line(const std::string& label, const std::string& worker, int team, int threads, const std::string& grid,
                 int mode, int strategy, int road, int fallback = 0, const std::string& verdict = "ok") {
  return label + " worker=" + worker + " team=" + std::to_string(team) + " threads=" + std::to_string(threads) +
         " grid=" + grid + " mode=" + std::to_string(mode) + " strategy=" + std::to_string(strategy) +
         " road=" + std::to_string(road) + " fallback=" + std::to_string(fallback) + " " + verdict + "\n";
}

std::vector<std::string> split(const std::string& label) {
  std::vector<std::string> out = {"check"};
  std::string word;
  for (char ch : label + " ") {
    if (ch != ' ') {
      word += ch;
    } else if (!word.empty()) {
      out.push_back(word);
      word.clear();
    }
  }
  return out;
}

// Several checks in one process; `expected` holds one line per check.
void expect_checks(const std::string& profile, const environment& env,
                   const std::vector<std::pair<std::string, std::string>>& checks) {
  std::vector<std::string> args;
  if (!profile.empty()) args.push_back("fake=" + profile);
  std::string expected;
  for (const auto& c : checks) {
    for (const std::string& w : split(c.first)) args.push_back(w);
    expected += c.second;
  }
  EXPECT_EQ(run_driver(args, env), expected);
}
}  // namespace

TEST(DgemmClassicProcess, RowsAndColumnsOnEveryThreadCountAndType) {
  // On this processor the vendor test fails: strategy 0 on every type, rows or columns.
  for (int type : {0, 2, 3, 4})
    for (int t : {2, 3, 4, 8, 16, 24, 33}) {
      const int road = type == 0 ? 0 : 1;
      const std::string tall = "NN 200 90 70 1 0", wide = "TT 90 200 70 -2 0.5", flat = "NT 100 100 4 1 1";
      expect_checks("", threads_env(t, {{"VRX_DEBUG_CPU_TYPE", std::to_string(type)}}),
                    {{tall, line(tall, "rows", t, t, "1x1", 0, 0, road)},
                     {wide, line(wide, "columns", t, t, "1x1", 0, 0, road)},
                     {flat, line(flat, "sequential", 1, 1, "1x1", 0, -1, -1)}});
    }
}

TEST(DgemmClassicProcess, AlphaZeroScalesOrReturns) {
  const std::string keep = "NT 300 300 30 0 1", scale = "NT 300 300 30 0 2", zero = "TN 300 300 30 0 0";
  expect_checks("", threads_env(3),
                {{keep, line(keep, "scale-only", 0, 0, "1x1", 0, 0, 0)},
                 {scale, line(scale, "scale-only", 3, 3, "1x1", 0, 0, 0)},
                 {zero, line(zero, "scale-only", 3, 3, "1x1", 0, 0, 0)}});
  // Strategy 3 scales C before the product; with alpha 0 and beta 1 nothing forks either.
  expect_checks("sse42", threads_env(2),
                {{keep, line(keep, "scale-only", 0, 0, "1x1", 0, 3, 1)},
                 {scale, line(scale, "scale-only", 2, 2, "1x1", 0, 3, 1)}});
}

TEST(DgemmClassicProcess, Strategy1GridSharedPanelAndShortK) {
  const std::string grid = "NN 200 200 64 1 0", shallow = "NN 200 200 4 1 0", panel = "NT 8000 3000 8 1 0.5";
  expect_checks("ssse3", threads_env(2),
                {{grid, line(grid, "grid", 2, 2, "2x1", 4, 1, 1)},
                 {shallow, line(shallow, "sequential", 1, 1, "1x1", 0, 1, 1)}});
  expect_checks("ssse3", threads_env(3), {{panel, line(panel, "shared-panel", 3, 2, "1x1", 32, 1, 1)}});
}

TEST(DgemmClassicProcess, Strategies2And4RingTwoByManyGrid) {
  const std::string ring = "NN 1000 1000 150 1 0", grid = "TN 1000 1000 100 1 0.5", odd = "NT 1000 1000 150 1 0";
  expect_checks("sse41_big_l2", threads_env(2), {{ring, line(ring, "ring", 2, 2, "1x1", 64, 2, 1)}});
  expect_checks("sse41_big_l2", threads_env(4), {{grid, line(grid, "grid", 4, 4, "2x2", 4, 2, 1)}});
  expect_checks("sse41", threads_env(3), {{odd, line(odd, "columns", 3, 3, "1x1", 0, 4, 1)}});
  const std::string two = "NT 700 500 257 1 0", ring24 = "TN 700 500 150 -1 2";
  expect_checks("sse41", threads_env(24),
                {{two, line(two, "two-by-many", 24, 24, "2x12", 0, 4, 1)},
                 {ring24, line(ring24, "ring", 24, 24, "1x1", 64, 4, 1)}});
}

TEST(DgemmClassicProcess, Strategies3And5PlainAndGrouped) {
  const std::string plain = "NN 100 100 100 1 0", odd = "NN 100 100 40 0.5 1", along_k = "NN 200 128 200 1 0",
                    along_rows = "TN 1001 128 100 1 2", wide = "NN 1000 128 200 1 0", many = "TT 1000 1000 200 1 0";
  expect_checks("sse42", threads_env(2), {{plain, line(plain, "grid", 2, 2, "2x1", 4, 3, 1)}});
  expect_checks("sse42", threads_env(3), {{odd, line(odd, "columns", 3, 3, "1x1", 0, 3, 1)}});
  expect_checks("sse42", threads_env(8),
                {{along_k, line(along_k, "grouped", 8, 8, "4x2", 16, 3, 1)},
                 {along_rows, line(along_rows, "grouped", 8, 8, "4x2", 16, 3, 1)}});
  expect_checks("sse42", threads_env(16), {{wide, line(wide, "grouped", 16, 16, "4x4", 16, 3, 1)}});
  expect_checks("sse42", threads_env(24), {{wide, line(wide, "grouped", 24, 24, "4x6", 16, 3, 1)}});
  expect_checks("sse42", threads_env(33), {{many, line(many, "grid", 33, 32, "4x8", 4, 3, 1)}});

  const std::string avx_grouped = "NT 200 300 200 1 2", avx_plain = "NN 90 90 40 1 0", avx_keep = "NN 90 90 40 0 1";
  expect_checks("avx", threads_env(8),
                {{avx_grouped, line(avx_grouped, "grouped", 8, 8, "2x4", 8, 5, 1)},
                 {avx_plain, line(avx_plain, "grid", 8, 8, "2x4", 128, 5, 1)},
                 {avx_keep, line(avx_keep, "scale-only", 0, 0, "1x1", 0, 5, 1)}});
}

TEST(DgemmClassicProcess, OtherVendorStrategies6And8) {
  const std::string square = "NN 300 300 100 1 0.5", tall = "TN 300 100 100 1 0";
  expect_checks("other_family10", threads_env(4), {{square, line(square, "grid", 4, 4, "4x1", 4, 6, 0)}});
  expect_checks("other_family10", threads_env(3), {{tall, line(tall, "grid", 3, 3, "3x1", 4, 6, 0)}});
  expect_checks("other_avx2", threads_env(16), {{square, line(square, "grid", 16, 16, "4x4", 4, 8, 0)}});
}

TEST(DgemmClassicProcess, FailedSharedBuffersFallBackToARowSplit) {
  const std::string grouped = "NN 200 128 200 1 0", panel = "NT 8000 3000 8 1 0.5", ring = "NN 1000 1000 150 1 0";
  EXPECT_EQ(run_driver({"fake=sse42", "fail-alloc", "check", "NN", "200", "128", "200", "1", "0"}, threads_env(8)),
            line(grouped, "rows", 8, 8, "1x1", 0, 3, 1, 1));
  EXPECT_EQ(run_driver({"fake=ssse3", "fail-alloc", "check", "NT", "8000", "3000", "8", "1", "0.5"}, threads_env(3)),
            line(panel, "rows", 3, 3, "1x1", 0, 1, 1, 1));
  // The ring's buffers are private: without them each thread multiplies its rows unpacked.
  EXPECT_EQ(run_driver({"fake=sse41", "fail-alloc", "check", "NN", "1000", "1000", "150", "1", "0"}, threads_env(4)),
            line(ring, "ring", 4, 4, "1x1", 64, 4, 1));
}

TEST(DgemmClassicProcess, ReproducibleBranchAndOneThreadSlices) {
  const std::string tall = "NN 200 90 70 1 0";
  expect_checks("", threads_env(3, {{"VRX_CBWR", "COMPATIBLE"}}), {{tall, line(tall, "rows", 3, 3, "1x1", 0, 0, 0)}});
  // Strategy 4 on one thread off branch 1 walks C in slices of 128 rows.
  const std::string slices = "TN 300 200 70 1 0.5";
  expect_checks("sse41", threads_env(1, {{"VRX_CBWR", "SSE4_1"}}),
                {{slices, line(slices, "row-slices", 1, 1, "1x1", 0, 4, 0)}});
}

TEST(DgemmClassicProcess, FixedThreadCountGivesTheSameBits) {
  const std::vector<std::pair<std::string, int>> cases = {{"", 3}, {"sse42", 8}, {"sse41", 4}, {"avx", 8}};
  const std::vector<std::string> shapes = {"150 130 90", "200 128 200", "1000 1000 150", "200 300 200"};
  for (std::size_t i = 0; i < cases.size(); ++i) {
    std::vector<std::string> args;
    if (!cases[i].first.empty()) args.push_back("fake=" + cases[i].first);
    args.push_back("repeat");
    args.push_back("NN");
    for (const std::string& w : split(shapes[i])) if (w != "check") args.push_back(w);
    const std::string out = run_driver(args, threads_env(cases[i].second));
    EXPECT_NE(out.find(" same\n"), std::string::npos) << out;
  }
}

TEST(DgemmClassicProcess, InsideAParallelRegionAndFromManyThreads) {
  // Dynamic mode on: a call from inside a parallel region runs on one thread.
  EXPECT_EQ(run_driver({"nested", "NN", "300", "200", "70"}, {{"VRX_NUM_THREADS", "2"}}),
            "nested worker=sequential team=1 threads=1 grid=1x1 mode=0 strategy=0 road=0 fallback=0 ok\n");
  EXPECT_EQ(run_driver({"fake=sse41", "nested", "NN", "300", "200", "70"}, {}),
            "nested worker=row-slices team=1 threads=1 grid=1x1 mode=0 strategy=4 road=1 fallback=0 ok\n");
  // Eight application threads, each with its own products of order 300.
  EXPECT_EQ(run_driver({"concurrent", "8", "300", "2"}, threads_env(2)), "concurrent 0 failures\n");
}
