// The Cholesky factorisation in the four precisions and both triangles: the small
// kernel, the sequential routine and the tile path (single tiles, super-tiles that split
// as the work goes on, a short last tile row, the super-tile cap), each path proved by
// the trace record; residual ratio below 30, the other triangle and the padding left
// alone, upper and lower factors each other's conjugate transposes; a leading minor that
// fails inside a tile gives its order on every path; a region that cannot fork runs every
// tile on one worker. Thread counts are forced on this thread; the tuning seam gives
// small tiles on small matrices.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "lapack/cholesky/vrx_potrf.h"
#include "service/vrx_serv.h"
#include "service/vrx_threads.h"
#include "support/cholesky_check.h"
#include "tests/support/lapack_seams.h"

namespace {
template <typename T>
class PotrfTest : public testing::Test {};
typedef testing::Types<float, double, vrx_complex_float, vrx_complex_double> element_types;
TYPED_TEST_SUITE(PotrfTest, element_types);

// The thread count of the LAPACK domain on this thread, for the test's lifetime.

struct chol_case {
  const char* name;
  int64_t n;
  int threads;
  int64_t b, lim;  // tuning answers, 0 for ILAENV's
  int path;
  int64_t super;
  int64_t sizes;  // the task sizes that ran, OR-ed; 0: not checked
};

// b from ILAENV with threads: 32 below order 400, 24 below 200.
const chol_case cases[] = {
    {"small kernel", 127, 4, 0, 0, VRX_POTRF_PATH_SMALL, 0, 0},
    {"one thread", 300, 1, 0, 0, VRX_POTRF_PATH_SEQ, 0, 0},
    {"tile as large as the matrix", 140, 2, 140, 0, VRX_POTRF_PATH_SEQ, 0, 0},
    {"tiles of ILAENV", 200, 2, 0, 0, VRX_POTRF_PATH_TILES, 2, 0},
    {"fewer tiles than threads plus one", 150, 8, 0, 0, VRX_POTRF_PATH_TILES, 1, 1},
    {"short last tile row", 203, 3, 16, 0, VRX_POTRF_PATH_TILES, 2, 0},
    {"super-tiles split", 260, 2, 8, 0, VRX_POTRF_PATH_TILES, 8, 15},
    {"super-tile capped", 260, 2, 8, 32, VRX_POTRF_PATH_TILES, 4, 7},
    {"many threads", 300, 33, 24, 0, VRX_POTRF_PATH_TILES, 1, 1},
};

template <typename T>
std::vector<T> factor(const chol_case& c, bool upper, const std::vector<T>& a, int64_t lda, int64_t* info) {
  std::vector<T> f = a;
  vrx_test_forced_threads threads(c.threads);
  vrx_test_potrf_tuned tuned(c.b, c.lim);
  const char* uplo = upper ? "U" : "l";
  vrx_test_potrf_names<T>::entry(uplo, &c.n, f.data(), &lda, info);
  return f;
}

TYPED_TEST(PotrfTest, ResidualsByPath) {
  typedef TypeParam T;
  for (const chol_case& c : cases) {
    SCOPED_TRACE(c.name);
    const int64_t lda = c.n + 3;
    const std::vector<T> a = vrx_test_hpd_matrix<T>(c.n, lda, static_cast<uint64_t>(c.n));
    std::vector<T> factors[2];
    for (bool upper : {true, false}) {
      int64_t info = -99;
      factors[upper] = factor(c, upper, a, lda, &info);
      const vrx_potrf_trace trace = *vrx_lapack_potrf_trace();
      EXPECT_EQ(info, 0);
      EXPECT_EQ(trace.path, c.path);
      if (c.path == VRX_POTRF_PATH_TILES) {
        EXPECT_EQ(trace.super, c.super);
        EXPECT_EQ(trace.region_threads, c.threads);
        if (c.sizes) EXPECT_EQ(trace.tasks_by_size, c.sizes);
      }
      EXPECT_LT(vrx_test_cholesky_residual(upper, c.n, a, factors[upper], lda), 30.0);
      EXPECT_TRUE(vrx_test_cholesky_untouched(upper, c.n, a, factors[upper], lda));
    }
    EXPECT_LT(vrx_test_cholesky_mirror(c.n, factors[1], factors[0], lda), 30.0);
  }
}

// A leading minor that fails in the middle of a tile (or block): info is its order, and
// the leading block before it is factored. On the tile path a failure inside the
// leading super-tile ends the call before any worker starts.
TYPED_TEST(PotrfTest, FailingMinorInsideATile) {
  typedef TypeParam T;
  struct failing {
    chol_case c;
    int64_t at;
  };
  const failing table[] = {{cases[0], 37},  {cases[1], 150}, {cases[5], 75},
                           {cases[6], 203}, {cases[6], 30},  {cases[4], 100}};
  for (const failing& f : table) {
    SCOPED_TRACE(std::string(f.c.name) + " at " + std::to_string(f.at));
    const int64_t lda = f.c.n;
    const std::vector<T> a = vrx_test_hpd_matrix<T>(f.c.n, lda, 7, f.at);
    for (bool upper : {true, false}) {
      int64_t info = -99;
      const std::vector<T> r = factor(f.c, upper, a, lda, &info);
      EXPECT_EQ(info, f.at);
      const vrx_potrf_trace trace = *vrx_lapack_potrf_trace();
      EXPECT_EQ(trace.path, f.c.path);
      if (f.at <= f.c.b * f.c.super) EXPECT_EQ(trace.region_threads, 0);
      EXPECT_LT(vrx_test_cholesky_residual(upper, f.at - 1, a, r, lda), 30.0);
      EXPECT_TRUE(vrx_test_cholesky_untouched(upper, f.c.n, a, r, lda));
    }
  }
}

TYPED_TEST(PotrfTest, EmptyMatrix) {
  typedef TypeParam T;
  T a[1] = {vrx_traits<T>::make(5, 0)};
  const int64_t n = 0, lda = 1;
  int64_t info = -99;
  vrx_test_potrf_names<T>::entry("U", &n, a, &lda, &info);
  EXPECT_EQ(info, 0);
  EXPECT_TRUE(a[0] == vrx_traits<T>::make(5, 0));
}

// Inside a parallel region the worker region is serialised: one worker runs every tile.
TEST(Potrf, SerialisedRegionRunsEveryTile) {
  const int64_t n = 200, lda = n;
  const std::vector<double> a = vrx_test_hpd_matrix<double>(n, lda, 3);
  std::vector<double> f = a;
  int64_t info = -99;
  vrx_potrf_trace trace = {};
#pragma omp parallel num_threads(2)
  {
#pragma omp master
    {
      vrx_test_forced_threads threads(4);
      vrx_test_potrf_tuned tuned(16, 0);
      vrx_lapack_DPOTRF("L", &n, f.data(), &lda, &info);
      trace = *vrx_lapack_potrf_trace();
    }
  }
  EXPECT_EQ(info, 0);
  EXPECT_EQ(trace.path, VRX_POTRF_PATH_TILES);
  EXPECT_EQ(trace.region_threads, 1);
  EXPECT_LT(vrx_test_cholesky_residual(false, n, a, f, lda), 30.0);
}

// A leading super-tile of 128 columns is itself factored on tiles (of 8, super-tile 4).
TEST(Potrf, LeadingSuperTileOnTilesAgain) {
  const chol_case c = {"nested tiles", 400, 2, 8, 0, VRX_POTRF_PATH_TILES, 16, 31};
  const std::vector<double> a = vrx_test_hpd_matrix<double>(c.n, c.n, 5);
  int64_t info = -99;
  const std::vector<double> f = factor(c, false, a, c.n, &info);
  const vrx_potrf_trace trace = *vrx_lapack_potrf_trace();
  EXPECT_EQ(info, 0);
  EXPECT_EQ(trace.super, c.super);
  EXPECT_EQ(trace.leading_path, VRX_POTRF_PATH_TILES);
  EXPECT_EQ(trace.tasks_by_size, c.sizes);
  EXPECT_LT(vrx_test_cholesky_residual(false, c.n, a, f, c.n), 30.0);
}
}  // namespace
