// The matrix copies of every runnable class against plain reference loops: every branch
// of both routines, both orderings, every letter, threaded and sequential roads.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>
#include "include/customvrx.h"
#include "vector/vrx_matcopy.h"

namespace {
struct matcopy_class {
  std::string name;
  vrx_dimatcopy_fn dimatcopy;
  vrx_domatcopy_fn domatcopy;
  vrx_simatcopy_fn simatcopy;
  vrx_somatcopy_fn somatcopy;
};

std::vector<matcopy_class> runnable_classes() {
#define VRX_CLASS(cls) {#cls, vrx_dimatcopy_##cls, vrx_domatcopy_##cls, vrx_simatcopy_##cls, vrx_somatcopy_##cls}
  std::vector<matcopy_class> out = {VRX_CLASS(sse2)};
  if (__builtin_cpu_supports("ssse3")) out.push_back(VRX_CLASS(ssse3));
  if (__builtin_cpu_supports("sse4.2")) out.push_back(VRX_CLASS(sse42));
  if (__builtin_cpu_supports("avx")) out.push_back(VRX_CLASS(avx));
  if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma")) out.push_back(VRX_CLASS(avx2));
  if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512dq") &&
      __builtin_cpu_supports("avx512vl"))
    out.push_back(VRX_CLASS(avx512));
#undef VRX_CLASS
  // The exported entries go through the dispatcher.
  out.push_back({"exported", VRX_Dimatcopy, VRX_Domatcopy, vrx_simatcopy, vrx_somatcopy});
  return out;
}

// Sets the thread count of the forking roads for one scope.
struct thread_override {
  explicit thread_override(int t) { vrx_matcopy_set_thread_override(t); }
  ~thread_override() { vrx_matcopy_set_thread_override(0); }
};

template <typename T>
std::vector<T> numbered(std::size_t count) {
  std::vector<T> v(count);
  for (std::size_t i = 0; i < count; ++i) v[i] = static_cast<T>(i % 4093) + T(1);
  return v;
}

// Where element (i, j) of the row-major view goes; the column-major case swaps the roles.
struct layout {
  std::size_t rows, cols;  // of the row-major view
  bool transpose;
  std::size_t source(std::size_t i, std::size_t j, std::size_t lda) const { return i * lda + j; }
  std::size_t target(std::size_t i, std::size_t j, std::size_t ldb) const {
    return transpose ? j * ldb + i : i * ldb + j;
  }
};

layout view_of(char ordering, char trans, std::size_t rows, std::size_t cols) {
  const bool column = ordering == 'C' || ordering == 'c';
  const bool transpose = trans == 'T' || trans == 't' || trans == 'C' || trans == 'c';
  return {column ? cols : rows, column ? rows : cols, transpose};
}

// Out of place: b's target elements are alpha a, everything else untouched. b starts
// `offset` elements past a 64-byte boundary.
template <typename T, typename Fn>
void check_out_of_place(Fn copy, const std::string& name, char ordering, char trans, std::size_t rows,
                        std::size_t cols, std::size_t lda, std::size_t ldb, T alpha, std::size_t offset = 0) {
  const layout v = view_of(ordering, trans, rows, cols);
  const std::size_t brows = v.transpose ? v.cols : v.rows, span = brows * ldb + 5;
  const std::vector<T> a = numbered<T>(v.rows * lda + 3);
  std::vector<T> storage(span + 64, T(-1)), expect(span, T(-1));
  const std::size_t skip = (64 - reinterpret_cast<std::uintptr_t>(storage.data()) % 64) % 64 / sizeof(T) + offset;
  T* b = storage.data() + skip;
  for (std::size_t i = 0; i < v.rows; ++i)
    for (std::size_t j = 0; j < v.cols; ++j) expect[v.target(i, j, ldb)] = alpha * a[v.source(i, j, lda)];
  copy(ordering, trans, rows, cols, alpha, a.data(), lda, b, ldb);
  ASSERT_EQ(std::vector<T>(b, b + span), expect)
      << name << " " << ordering << trans << " " << rows << "x" << cols << " lda " << lda << " ldb " << ldb
      << " offset " << offset;
  for (std::size_t k = 0; k < skip; ++k) ASSERT_EQ(storage[k], T(-1)) << "written before the target";
  for (std::size_t k = skip + span; k < storage.size(); ++k) ASSERT_EQ(storage[k], T(-1)) << "written after";
}

// In place: the target elements take alpha times the source, all other memory keeps its
// value. `offset` shifts the matrix off (or onto) a 64-byte boundary.
template <typename T, typename Fn>
void check_in_place(Fn copy, const std::string& name, char ordering, char trans, std::size_t rows, std::size_t cols,
                    std::size_t lda, std::size_t ldb, T alpha, std::size_t offset = 0) {
  const layout v = view_of(ordering, trans, rows, cols);
  const std::size_t brows = v.transpose ? v.cols : v.rows;
  const std::size_t span = std::max(v.rows * lda, brows * ldb) + 16;
  std::vector<T> storage(span + 64);
  const std::size_t skip = (64 - reinterpret_cast<std::uintptr_t>(storage.data()) % 64) % 64 / sizeof(T) + offset;
  T* ab = storage.data() + skip;
  const std::vector<T> original = numbered<T>(span);
  std::copy(original.begin(), original.end(), ab);
  std::vector<T> expect = original;
  for (std::size_t i = 0; i < v.rows; ++i)
    for (std::size_t j = 0; j < v.cols; ++j) expect[v.target(i, j, ldb)] = alpha * original[v.source(i, j, lda)];
  copy(ordering, trans, rows, cols, alpha, ab, lda, ldb);
  ASSERT_EQ(std::vector<T>(ab, ab + span), expect) << name << " " << ordering << trans << " " << rows << "x" << cols
                                                   << " lda " << lda << " ldb " << ldb << " alpha " << alpha
                                                   << " offset " << offset;
}
}  // namespace

TEST(Domatcopy, EveryLetterOrderingAndShapeOnEveryClass) {
  for (const matcopy_class& c : runnable_classes()) {
    for (char ordering : {'R', 'c'}) {
      for (char trans : {'N', 'n', 'R', 'r', 'T', 't', 'C', 'c'}) {
        for (std::size_t rows : {1, 7, 16, 17, 64, 65}) {
          for (std::size_t cols : {1, 9, 64}) {
            const layout v = view_of(ordering, trans, rows, cols);
            const std::size_t lda = v.cols + 3, ldb = (v.transpose ? v.rows : v.cols) + 1;
            check_out_of_place<double>(c.domatcopy, c.name, ordering, trans, rows, cols, lda, ldb, -2.0);
          }
        }
      }
    }
    check_out_of_place<float>(c.somatcopy, c.name, 'R', 'T', 33, 70, 71, 40, 0.5f);
    check_out_of_place<float>(c.somatcopy, c.name, 'C', 'N', 33, 70, 40, 35, 1.0f);
  }
}

TEST(Domatcopy, ThreadedCopyCoversGridsAndRowCuts) {
  // 64 by 64 stays sequential (32768 bytes exactly), 65 by 64 forks; powers of two form a
  // grid, anything else a cut of the rows.
  for (int threads : {2, 3, 4, 8}) {
    thread_override forced(threads);
    for (const matcopy_class& c : runnable_classes()) {
      for (char trans : {'N', 'T'}) {
        for (char ordering : {'R', 'C'}) {
          struct {
            std::size_t rows, cols, gap_a, gap_b;
            double alpha;
          } shapes[] = {{65, 64, 6, 8, 3.0}, {64, 64, 0, 0, 1.0}, {128, 32, 0, 0, 1.0}, {32, 256, 0, 0, 1.0},
                        {131, 67, 13, 9, 0.25}};
          for (const auto& s : shapes) {
            const layout v = view_of(ordering, trans, s.rows, s.cols);
            const std::size_t lda = v.cols + s.gap_a, ldb = (v.transpose ? v.rows : v.cols) + s.gap_b;
            check_out_of_place<double>(c.domatcopy, c.name, ordering, trans, s.rows, s.cols, lda, ldb, s.alpha);
          }
        }
      }
    }
  }
}

TEST(Domatcopy, LargeTranspositionsStreamFromAnyAlignment) {
  // From vrx_matcopy_stream_bytes on, transpositions write lines with non-temporal
  // stores once the target rows reach a 64-byte boundary; the rows in front of that
  // boundary, the rows after the last group of eight and the fringe columns go singly.
  // Targets off the boundary by 0 to 7 doubles, leading dimensions that cannot stream,
  // one element below the threshold, floats, and the threaded road.
  ASSERT_EQ(vrx_matcopy_stream_bytes, std::size_t(1) << 23);
  struct {
    char ordering;
    std::size_t rows, cols, lda, ldb, offset;
  } shapes[] = {{'R', 1024, 1024, 1024, 1024, 0},  // the threshold exactly
                {'R', 1023, 1025, 1025, 1024, 0},  // one element below
                {'R', 1029, 1031, 1033, 1032, 3},  // peel of five rows, tail of one
                {'C', 1031, 1029, 1033, 1040, 7},
                {'R', 1030, 1030, 1030, 1035, 2},  // odd ldb: plain stores
                {'R', 2100, 530, 531, 2104, 1}};
  for (int threads : {1, 3}) {
    thread_override forced(threads);
    for (const matcopy_class& c : runnable_classes()) {
      if (threads > 1 && c.name != "exported") continue;  // every class on one thread
      for (const auto& s : shapes)
        check_out_of_place<double>(c.domatcopy, c.name, s.ordering, 'T', s.rows, s.cols, s.lda, s.ldb, 1.5, s.offset);
    }
  }
  check_out_of_place<double>(VRX_Domatcopy, "exported", 'R', 'T', 1100, 1000, 1000, 1104, -1.0, 4);
  check_out_of_place<float>(vrx_somatcopy, "exported", 'R', 'T', 1500, 1500, 1500, 1504, 2.0f, 3);
}

TEST(Dimatcopy, SquareExchangesOnEveryRoad) {
  // Sizes around 64/65 and the multiples of 8, ld a multiple of 8 or not, aligned and
  // unaligned storage, alpha 1 (block exchanges) and not (element loop); 200 by 200 passes
  // 262144 bytes and takes the cache-blocked walk.
  for (int threads : {1, 3, 8}) {
    thread_override forced(threads);
    for (const matcopy_class& c : runnable_classes()) {
      for (std::size_t n : {1, 8, 13, 24, 63, 64, 65, 72, 200}) {
        for (std::size_t extra : {0, 3, 8}) {
          for (std::size_t offset : {0, 1}) {
            check_in_place<double>(c.dimatcopy, c.name, 'R', 'T', n, n, n + extra, n + extra, 1.0, offset);
            if (threads == 1) check_in_place<double>(c.dimatcopy, c.name, 'C', 't', n, n, n + extra, n + extra, -2.0, offset);
          }
        }
      }
      check_in_place<float>(c.simatcopy, c.name, 'R', 'T', 72, 72, 72, 72, 1.0f);
      check_in_place<float>(c.simatcopy, c.name, 'R', 'T', 9, 9, 12, 12, 2.0f);
    }
  }
}

TEST(Dimatcopy, CycleFollowingTransposition) {
  for (const matcopy_class& c : runnable_classes()) {
    for (char ordering : {'R', 'C'}) {
      // Shapes of the row-major view; a column-major call names them the other way round.
      auto run = [&](char trans, std::size_t rows, std::size_t cols, std::size_t lda, std::size_t ldb, double alpha) {
        if (ordering == 'C') std::swap(rows, cols);
        check_in_place<double>(c.dimatcopy, c.name, ordering, trans, rows, cols, lda, ldb, alpha);
      };
      run('T', 3, 5, 5, 3, 1.0);
      run('T', 3, 5, 7, 3, 2.0);    // gaps of 2 per row
      run('C', 4, 6, 8, 5, -1.0);   // gaps on both sides
      run('t', 1, 9, 9, 1, 1.0);
      run('T', 9, 1, 1, 9, 1.0);
      run('T', 17, 23, 25, 19, 0.5);
      run('T', 10, 10, 10, 12, 1.0);  // square, ldb > lda
      run('T', 10, 10, 12, 10, 1.0);  // square, ldb < lda
    }
    check_in_place<float>(c.simatcopy, c.name, 'R', 'T', 6, 11, 13, 7, 3.0f);
  }
}

TEST(Dimatcopy, StridedAndContiguousMoves) {
  for (const matcopy_class& c : runnable_classes()) {
    for (char ordering : {'R', 'C'}) {
      for (char trans : {'N', 'r'}) {
        auto run = [&](std::size_t rows, std::size_t cols, std::size_t lda, std::size_t ldb, double alpha) {
          if (ordering == 'C') std::swap(rows, cols);
          check_in_place<double>(c.dimatcopy, c.name, ordering, trans, rows, cols, lda, ldb, alpha);
        };
        run(10, 10, 10, 12, 1.0);  // descending rows
        run(10, 10, 12, 10, 2.0);  // ascending rows
        run(10, 10, 10, 10, -3.0);  // one pass
        run(6, 40, 41, 43, 0.5);   // overlapping rows
        run(6, 40, 90, 41, 0.5);   // rows apart
        run(7, 5, 6, 9, 1.0);      // short rows
        run(5, 8, 8, 9, 1.0);      // one apart
        run(9, 30, 32, 31, 1.0);   // target one behind, overlapping
      }
    }
    check_in_place<float>(c.simatcopy, c.name, 'R', 'N', 9, 30, 31, 35, 2.0f);
  }
}

TEST(Matcopy, BadLettersAndEmptyShapesAreSilentNoOps) {
  std::vector<double> a = numbered<double>(64), b(64, -1.0), a0 = a, b0 = b;
  testing::internal::CaptureStdout();
  VRX_Domatcopy('X', 'N', 4, 4, 2.0, a.data(), 4, b.data(), 4);
  VRX_Domatcopy('R', 'Q', 4, 4, 2.0, a.data(), 4, b.data(), 4);
  VRX_Domatcopy('R', 'T', 0, 4, 2.0, a.data(), 4, b.data(), 4);
  VRX_Dimatcopy('X', 'T', 4, 4, 2.0, a.data(), 4, 4);
  VRX_Dimatcopy('X', 'N', 4, 4, 2.0, a.data(), 4, 4);
  VRX_Dimatcopy('C', 'x', 4, 4, 2.0, a.data(), 4, 4);
  VRX_Dimatcopy('R', 'N', 4, 0, 2.0, a.data(), 4, 4);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(a, a0);
  EXPECT_EQ(b, b0);
}
