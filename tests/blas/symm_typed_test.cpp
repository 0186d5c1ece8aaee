// SSYMM, DSYMM, CSYMM, ZSYMM, CHEMM and ZHEMM in this process: the published names (the
// classic road of this machine's CPU type), the level-3 driver of types 5 and 7 with
// the mirroring packs, and the allocation-free roads, against wider references. The
// triangle that is not stored holds NaN, as do a Hermitian diagonal's imaginary parts.
#include <gtest/gtest.h>

#include <string>

#include "blas/level3/symm/vrx_symm.h"
#include "blas/symm_support.h"

namespace {
template <typename T>
class SymmTyped : public ::testing::Test {};
using SymmTypes = ::testing::Types<float, double, vrx_complex_float, vrx_complex_double>;
TYPED_TEST_SUITE(SymmTyped, SymmTypes);

struct extent {
  int64_t m, n;
};

// alpha and beta: one and zero, other and one, complex pairs, alpha zero.
template <typename T>
std::vector<std::pair<T, T>> scalar_pairs() {
  return {{symm_scalar<T>(1.0, 0.0), T{}},
          {symm_scalar<T>(-0.75, 0.0), symm_scalar<T>(1.0, 0.0)},
          {symm_scalar<T>(0.5, 0.25), symm_scalar<T>(0.0, 2.0)},
          {T{}, symm_scalar<T>(-0.5, 0.5)}};
}

// The members to check for T: SYMM always, HEMM for complex data.
template <typename T>
std::vector<bool> kinds() {
  if (vrx_is_complex<T>) return {false, true};
  return {false};
}

// Every side and triangle of each extent and scalar pair through fn(hermitian);
// `road` is the trace each call must leave (0: not checked) unless alpha is zero.
template <typename T, typename Run>
int64_t check_all(const std::vector<extent>& extents, Run run, int road, const std::string& where) {
  int64_t bad = 0;
  unsigned seed = 1;
  for (bool hermitian : kinds<T>())
    for (const extent& e : extents)
      for (char side : {'L', 'R'})
        for (char uplo : {'U', 'L'})
          for (const auto& [alpha, beta] : scalar_pairs<T>()) {
            const symm_case<T> s = symm_make_case<T>(side, uplo, hermitian, e.m, e.n, alpha, beta, seed++);
            vrx_symm_note(0, 0);
            const int64_t wrong = symm_bad_elements(s, run(s));
            const int want = vrx_traits<T>::is_zero(alpha) ? VRX_SYMM_ROAD_SCALE : road;
            if (road && (e.m > 0 && e.n > 0)) EXPECT_EQ(vrx_symm_last_trace().road, want) << where;
            if (wrong)
              ADD_FAILURE() << where << (hermitian ? " HEMM " : " SYMM ") << side << uplo << " " << e.m << " "
                            << e.n << ": " << wrong << " wrong";
            bad += wrong;
          }
  return bad;
}

template <typename T>
std::vector<T> published(const symm_case<T>& s) {
  return symm_run<T>(s.hermitian ? symm_published<T>::hemm : symm_published<T>::symm, s);
}

// The level-3 driver of one CPU type on the whole case, in this thread.
template <typename T>
std::vector<T> through_driver(int cpu, const symm_case<T>& s) {
  const vrx_test_product<T>& p = s.expanded;
  std::vector<T> c = p.c;
  const bool right = s.side == 'R';
  vrx_symm_records<T> r =
      vrx_symm_make_records<T>(s.hermitian, &s.side, &s.uplo, p.m, p.n, p.alpha, s.stored.data(), s.lds,
                               right ? p.a.data() : p.b.data(), right ? p.lda : p.ldb, p.beta, c.data(), p.ldc);
  vrx_l3_kernel_shape shape;
  vrx_l3_ops<T> ops;
  vrx_l3_init_shape_for<T>(cpu, nullptr, &shape);
  if (!vrx_l3_init_ops_with(vrx_l3_kernels_for<T>(cpu), &r.call, &r.a, &r.b, &r.c, &shape, &ops)) {
    ADD_FAILURE() << "no operations for type " << cpu;
    return c;
  }
  ops.driver(&r.call, &r.a, &r.b, &r.c, nullptr, &ops);
  return c;
}

void* refuse(std::size_t, int) { return nullptr; }

// The classic road of this machine: both sides of the sequential threshold 16/17, one
// and several depth blocks of the expanded operand, vectors.
TYPED_TEST(SymmTyped, PublishedNamesOnEverySideAndTriangle) {
  typedef TypeParam T;
  const std::vector<extent> extents = {{1, 1}, {16, 16}, {17, 16}, {16, 17}, {5, 40}, {33, 29}, {1, 20}, {270, 3}, {4, 259}};
  EXPECT_EQ(check_all<T>(extents, published<T>, VRX_SYMM_ROAD_CLASSIC, "published"), 0);
}

// The driver of types 5 and 7 on both sides of every register tail and of the k blocks
// (the symmetric operand's order crosses kc), the mirroring packs crossing the diagonal
// at every offset.
TYPED_TEST(SymmTyped, DriverOfTypes5And7OnEveryRegisterTail) {
  typedef TypeParam T;
  for (int cpu : {VRX_CPU_AVX2, VRX_CPU_AVX512}) {
    const vrx_l3_kernels<T>* kernels = vrx_l3_kernels_for<T>(cpu);
    ASSERT_NE(kernels, nullptr);
    const int64_t mr = kernels->mr, nr = kernels->nr;
    const std::vector<extent> extents = {{mr + 1, nr - 1}, {mr - 1, 2 * nr + 1}, {2 * mr + 3, 3 * nr + 1},
                                         {3 * mr + 5, 9},  {11, 5 * nr + 3}};
    auto run = [cpu](const symm_case<T>& s) { return through_driver<T>(cpu, s); };
    EXPECT_EQ(check_all<T>(extents, run, 0, "type " + std::to_string(cpu)), 0);
    // The order beyond one and two k blocks, on each side.
    unsigned seed = 100;
    for (bool hermitian : kinds<T>())
      for (const extent e : {extent{790, 7}, extent{9, 400}}) {
        const char side = e.m > e.n ? 'L' : 'R';
        for (char uplo : {'U', 'L'}) {
          const symm_case<T> s = symm_make_case<T>(side, uplo, hermitian, e.m, e.n, symm_scalar<T>(0.5, -1.0),
                                                   symm_scalar<T>(2.0, 0.0), seed++);
          EXPECT_EQ(symm_bad_elements(s, run(s)), 0) << cpu << " " << side << uplo << " " << e.m << " " << e.n;
        }
      }
  }
}

// A mirrored pack writes the values the class's plain pack writes from the expanded
// matrix (a zero's sign may differ on a Hermitian diagonal): blocks on, above and below the diagonal, several panels, a non-zero offset.
TYPED_TEST(SymmTyped, MirroredPacksEqualPlainPacksOfTheExpandedMatrix) {
  typedef TypeParam T;
  const int64_t order = 70;
  for (int cpu : {VRX_CPU_AVX2, VRX_CPU_AVX512})
    for (bool hermitian : kinds<T>())
      for (char side : {'L', 'R'})
        for (char uplo : {'U', 'L'}) {
          const symm_case<T> s =
              symm_make_case<T>(side, uplo, hermitian, order, order, symm_scalar<T>(1.0, 0.0), T{}, 7);
          const vrx_test_product<T>& p = s.expanded;
          const bool right = side == 'R';
          std::vector<T> c = p.c;
          vrx_symm_records<T> r = vrx_symm_make_records<T>(hermitian, &side, &uplo, order, order, p.alpha,
                                                           s.stored.data(), s.lds, p.a.data(), p.lda, p.beta,
                                                           c.data(), p.ldc);
          vrx_l3_kernel_shape shape;
          vrx_l3_ops<T> ops;
          vrx_l3_init_shape_for<T>(cpu, nullptr, &shape);
          ASSERT_TRUE(vrx_l3_init_ops_with(vrx_l3_kernels_for<T>(cpu), &r.call, &r.a, &r.b, &r.c, &shape, &ops));
          const vrx_l3_kernels<T>* k = vrx_l3_kernels_for<T>(cpu);
          const std::vector<T>& full = right ? p.b : p.a;
          const vrx_l3_view<T> expanded = vrx_l3_make_view<T>(full.data(), order, order, s.lds, VRX_L3_PLAIN);
          // A real factor: a complex one may round differently where a class contracts
          // its multiply-adds.
          const T factor = symm_scalar<T>(-1.5, 0.0);
          struct block {
            int64_t i, j, rows, cols, offset;
          };
          for (const block b : {block{0, 0, 70, 70, 0}, block{5, 30, 41, 17, 3}, block{30, 2, 27, 23, 0},
                                block{9, 9, 1, 61, 8}, block{40, 0, 9, 45, 24}}) {
            std::vector<T> got(static_cast<std::size_t>((b.offset + 70) * 70)), want = got;
            vrx_l3_view<T> target = vrx_l3_make_view<T>(got.data(), b.rows, b.cols, right ? k->nr : k->mr, 0);
            const vrx_l3_view<T> sym = right ? r.b : r.a;
            const vrx_l3_view<T> source = vrx_l3_sub_view(&sym, b.i, b.j, b.rows, b.cols);
            const vrx_l3_view<T> plain = vrx_l3_sub_view(&expanded, b.i, b.j, b.rows, b.cols);
            (right ? ops.pack_b : ops.pack_a)(&source, &target, factor, b.offset);
            target.data = want.data();
            (right ? k->pack_b_plain : k->pack_a_plain)(&plain, &target, factor, b.offset);
            EXPECT_EQ(got, want)
                << cpu << " " << side << uplo << (hermitian ? " HEMM " : " SYMM ") << b.i << " " << b.j;
          }
        }
}

// Without scratch: the classic road's unpacked product and the driver's fallback; the
// fallback also on sub-blocks as the team hands them out (through the driver's views).
TYPED_TEST(SymmTyped, MissingScratchGivesTheProduct) {
  typedef TypeParam T;
  const vrx_l3_alloc_fn saved = vrx_l3_scratch_alloc;
  vrx_l3_scratch_alloc = refuse;
  const std::vector<extent> extents = {{20, 13}, {9, 31}};
  EXPECT_EQ(check_all<T>(extents, published<T>, VRX_SYMM_ROAD_NO_SCRATCH, "published"), 0);
  for (int cpu : {VRX_CPU_AVX2, VRX_CPU_AVX512}) {
    auto run = [cpu](const symm_case<T>& s) { return through_driver<T>(cpu, s); };
    EXPECT_EQ(check_all<T>(extents, run, 0, "type " + std::to_string(cpu)), 0);
  }
  vrx_l3_scratch_alloc = saved;
}

// alpha = 0 and beta = 0 clears C without reading A, B or C (NaN in all three); alpha = 0
// and beta = 1 leaves C's bits; m or n of 0 writes nothing.
TYPED_TEST(SymmTyped, AlphaZeroNeverReadsTheOperands) {
  typedef TypeParam T;
  for (bool hermitian : kinds<T>())
    for (char side : {'L', 'R'})
      for (const extent e : {extent{5, 6}, extent{30, 40}}) {
        symm_case<T> s = symm_make_case<T>(side, 'U', hermitian, e.m, e.n, T{}, T{}, 3);
        symm_poison(&s);
        const std::vector<T> c = published(s);
        for (int64_t j = 0; j < e.n; ++j)
          for (int64_t i = 0; i < e.m; ++i) EXPECT_TRUE(vrx_traits<T>::is_zero(c[i + j * s.expanded.ldc]));
        EXPECT_EQ(symm_bad_elements(s, c), 0);  // padding rows untouched
        s.expanded.beta = symm_scalar<T>(1.0, 0.0);
        const std::vector<T> same = published(s);
        EXPECT_EQ(std::memcmp(same.data(), s.expanded.c.data(), same.size() * sizeof(T)), 0);
        s.expanded.m = 0;
        const std::vector<T> none = published(s);
        EXPECT_EQ(std::memcmp(none.data(), s.expanded.c.data(), none.size() * sizeof(T)), 0);
      }
}
}  // namespace
