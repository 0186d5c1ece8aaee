// SSYRK ... ZHER2K under forced CPU types, thread counts from 2 to 33 with VRX_DYNAMIC
// off, the reproducibility branch and refused scratch, in child processes: every result
// against the wider reference (stored triangle, untouched opposite triangle and padding,
// real Hermitian diagonal, same bits twice), and the road each shape took.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "support/child_process.h"

namespace {
struct setting {
  const char* cpu;
  const char* threads;
  const char* memory;  // driver argument, or null
  const char* extra;   // one more variable, "NAME=VALUE", or null
  const char* letters;
  const char* roads;  // the shape lines the driver prints, joined by '|'
};

// Roads: 1 sequential, 2 team, 3 reproducible, 4 order four, 5 split of k, 6 small n,
// 7 bands of tiles; c0/c1 the copy buffer, w0/w1 the workspace (see vrx_syrk_trace).
// Shapes: 16x16 and 17x5 around the sequential threshold, n = 4, the split of k on both
// sides of n = 16 and k = 20 n, 8 t against n, and the tile edges of 100, 97 and 300.
const char team_roads[] =
    "16 16 1 1|17 5 2 2w1|5 17 2 2w1|4 40 2 2w1|15 300 2 2w1|20 399 2 2w1|20 400 2 2w1|100 30 2 2w1|"
    "97 1 2 2w1|300 12 2 2w1|";
const char reproducible_roads[] =
    "16 16 1c1 1c1|17 5 3c1 3c1|5 17 1c1 1c1|4 40 1c1 1c1|15 300 1c1 1c1|20 399 3c1 3c1|20 400 3c1 3c1|"
    "100 30 3c1 3c1|97 1 3c1 3c1|300 12 3c1 3c1|";
const setting settings[] = {
    {"0", "3", nullptr, nullptr, "SC",
     reproducible_roads},
    {"4", "3", nullptr, "VRX_CBWR=COMPATIBLE", "D",
     reproducible_roads},
    {"2", "2", nullptr, nullptr, "Z",
     "16 16 1c1 1c1|17 5 7c1 7c1|5 17 6c1 6c1|4 40 4 4|15 300 6c1 6c1|20 399 7c1 7c1|20 400 5c1w1 5c1w1|"
     "100 30 7c1 7c1|97 1 7c1 7c1|300 12 7c1 7c1|"},
    {"3", "33", nullptr, nullptr, "S",
     "16 16 1c1 1c1|17 5 6c1 6c1|5 17 6c1 6c1|4 40 4 4|15 300 6c1 6c1|20 399 6c1 6c1|20 400 5c1w1 5c1w1|"
     "100 30 6c1 6c1|97 1 6c1 6c1|300 12 7c1 7c1|"},
    {"4", "3", nullptr, nullptr, "D",
     "16 16 1c1 1c1|17 5 6c1 6c1|5 17 6c1 6c1|4 40 4 4|15 300 6c1 6c1|20 399 6c1 6c1|20 400 5c1w1 5c1w1|"
     "100 30 7c1 7c1|97 1 7c1 7c1|300 12 7c1 7c1|"},
    {"5", "2", nullptr, nullptr, "SC",
     team_roads},
    {"5", "33", nullptr, nullptr, "D",
     team_roads},
    {"7", "3", nullptr, nullptr, "DZ",
     team_roads},
    // The runtime delivers 2 of the 5 threads asked for.
    {"0", "5", nullptr, "OMP_THREAD_LIMIT=2", "D", reproducible_roads},
    {"7", "5", nullptr, "OMP_THREAD_LIMIT=2", "Z", team_roads},
    {"7", "8", nullptr, nullptr, "C",
     team_roads},
    // Without scratch: the team's shared buffer, the driver's blocks, the copy buffer and
    // the workspace of the split of k are all missing; without the copy buffer alone.
    {"7", "2", "refuse", nullptr, "D",
     "16 16 1 1|17 5 2 2w0|5 17 2 2w0|4 40 2 2w0|15 300 2 2w0|20 399 2 2w0|20 400 2 2w0|100 30 2 2w0|"
     "97 1 2 2w0|300 12 2 2w0|"},
    {"5", "1", "refuse", nullptr, "C",
     "16 16 1 1|17 5 1 1|5 17 1 1|4 40 1 1|15 300 1 1|20 399 1 1|20 400 1 1|100 30 1 1|97 1 1 1|300 12 1 1|"},
    {"4", "2", "refuse", nullptr, "D",
     "16 16 1c0 1c0|17 5 7c0 7c0|5 17 6c0 6c0|4 40 4 4|15 300 6c0 6c0|20 399 7c0 7c0|20 400 7c0w0 7c0w0|"
     "100 30 7c0 7c0|97 1 7c0 7c0|300 12 7c0 7c0|"},
    {"2", "2", "nobuffer", nullptr, "S",
     "16 16 1c0 1c0|17 5 7c0 7c0|5 17 6c0 6c0|4 40 4 4|15 300 6c0 6c0|20 399 7c0 7c0|20 400 5c0w1 5c0w1|"
     "100 30 7c0 7c0|97 1 7c0 7c0|300 12 7c0 7c0|"},
};

std::string joined_lines(const std::string& output, int lines) {
  std::string out;
  std::size_t at = 0;
  for (int i = 0; i < lines && at < output.size(); ++i) {
    const std::size_t end = output.find('\n', at);
    out += output.substr(at, end - at) + "|";
    at = end == std::string::npos ? output.size() : end + 1;
  }
  return out;
}

TEST(SyrkEnv, EveryRoadAgainstWiderReferenceWithItsTrace) {
  for (const setting& s : settings)
    for (const char* letter = s.letters; *letter; ++letter) {
      const std::string name = std::string(1, *letter);
      SCOPED_TRACE(name + " type " + s.cpu + " threads " + s.threads + (s.memory ? std::string(" ") + s.memory : "") +
                   (s.extra ? std::string(" ") + s.extra : ""));
      std::vector<std::string> args = {name};
      if (s.memory) args.push_back(s.memory);
      std::vector<std::pair<std::string, std::string>> env = {
          {"VRX_DEBUG_CPU_TYPE", s.cpu}, {"VRX_NUM_THREADS", s.threads}, {"VRX_DYNAMIC", "false"}};
      if (s.extra) {
        const std::string extra = s.extra;
        env.push_back({extra.substr(0, extra.find('=')), extra.substr(extra.find('=') + 1)});
      }
      const vrx_child_result r = vrx_test_run(vrx_test_driver("syrk_driver"), args, env);
      EXPECT_EQ(r.exit_status, 0) << r.output;
      EXPECT_EQ(joined_lines(r.output, 10), s.roads) << r.output;
      const bool complex = *letter == 'C' || *letter == 'Z';
      EXPECT_NE(r.output.find(complex ? "\nok 400\n" : "\nok 200\n"), std::string::npos) << r.output;
    }
}
}  // namespace

namespace {
// k = 20 n on both sides of order 499 (against DGEMM's product, as the wide reference
// would take too long): the split of k up to 499, bands of tiles from 500 on.
TEST(SyrkEnv, SplitOfKUpToOrder499) {
  const vrx_child_result r = vrx_test_run(vrx_test_driver("syrk_driver"), {"border"},
                                          {{"VRX_DEBUG_CPU_TYPE", "3"}, {"VRX_NUM_THREADS", "2"}, {"VRX_DYNAMIC", "false"}});
  EXPECT_EQ(r.exit_status, 0);
  EXPECT_EQ(r.output, "499 9980 5c1w1\n500 10000 7c1\nok\n");
}
}  // namespace
