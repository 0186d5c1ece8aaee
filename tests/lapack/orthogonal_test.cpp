// Products with Q and the generation of Q in the four precisions, judged as the published
// test suite judges them (ratios below 30, computed in the wider precision): Q from
// ORGQR, ORGLQ and ORGQL has orthonormal columns (rows) and reproduces the factored
// matrix; GELQF gives A = L Q; ORMQR and ORMLQ match the product with the explicit Q on
// both sides and for both operations. Each on the unblocked, blocked and threaded paths
// (the path checked in the trace), on both sides of m n k = 400 and of the block size
// against k, with 1, 2, 3 and 8 threads; the workspace query; blocks narrowed by a short
// workspace; and the argument checks with their report.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "lapack/householder/vrx_householder.h"
#include "lapack/qr/vrx_orthogonal.h"
#include "lapack/solve_check.h"
#include "support/child_process.h"
#include "support/householder_check.h"
#include "support/lapack_seams.h"

namespace {
template <typename T>
class OrthogonalTest : public testing::Test {};
typedef testing::Types<float, double, vrx_complex_float, vrx_complex_double> element_types;
TYPED_TEST_SUITE(OrthogonalTest, element_types);

constexpr int unblocked = VRX_ORTHOGONAL_PATH_UNBLOCKED, blocked = VRX_ORTHOGONAL_PATH_BLOCKED,
              threaded = VRX_ORTHOGONAL_PATH_THREADED;

// Block size and crossover answered for the products, the generators and GELQF while in
// scope; every other question goes to ILAENV.
vrx_int forced_nb = 0, forced_nx = 0;
vrx_int forced_answers(const vrx_int* ispec, const char* name, const char* opts, const vrx_int* n1, const vrx_int* n2,
                       const vrx_int* n3, const vrx_int* n4, vrx_int name_length, vrx_int opts_length) {
  const bool ours = name_length >= 6 && (std::strncmp(name + 1, "OR", 2) == 0 || std::strncmp(name + 1, "UN", 2) == 0 ||
                                         std::strncmp(name + 1, "GELQF", 5) == 0);
  if (ours && *ispec == 1) return forced_nb;
  if (ours && *ispec == 3) return forced_nx;
  return ILAENV(ispec, name, opts, n1, n2, n3, n4, name_length, opts_length);
}
struct forced_blocks {
  vrx_test_tuning_seam seam{forced_answers};
  forced_blocks(vrx_int nb, vrx_int nx) {
    forced_nb = nb;
    forced_nx = nx;
  }
};

template <typename T>
std::vector<T> random_matrix(int64_t ld, int64_t cols, uint64_t seed) {
  uint64_t state = seed * 2654435761ull + 17;
  std::vector<T> a(static_cast<std::size_t>(ld * (cols > 0 ? cols : 1)));
  for (T& x : a) x = vrx_test_value<T>(&state);
  return a;
}

template <typename T>
int64_t size_of(const T& x) {
  return static_cast<int64_t>(vrx_traits<T>::real_part(x));
}

// ---- generating Q ----
// m by n Q from k reflectors of kind `kind`, generated with lwork (0: the queried size)
// on `threads` threads; checks the two ratios, the rows below Q (untouched) and the path.
template <typename T>
void check_generated(vrx_org_kind kind, int64_t m, int64_t n, int64_t k, int threads, int path, int64_t lwork = 0,
                     uint64_t seed = 1) {
  const bool rows = kind == vrx_org_lq;
  const int64_t lda = m + 2;
  // The factored matrix: m by k (QR, QL) or k by n (LQ).
  const int64_t fm = rows ? k : m, fn = rows ? n : k;
  const std::vector<T> b = random_matrix<T>(lda, fn, seed);
  std::vector<T> f = b, tau(static_cast<std::size_t>(k + 1)), scratch(static_cast<std::size_t>(m + n + 1));
  if (kind == vrx_org_qr) vrx_lapack_geqr2(fm, fn, f.data(), lda, tau.data(), scratch.data());
  if (kind == vrx_org_ql) vrx_lapack_geql2(fm, fn, f.data(), lda, tau.data(), scratch.data());
  if (kind == vrx_org_lq) vrx_lapack_gelq2(fm, fn, f.data(), lda, tau.data(), scratch.data());
  // Q's array: the reflectors where the generator expects them, random elsewhere.
  std::vector<T> q = random_matrix<T>(lda, n, seed + 7);
  const int64_t shift = kind == vrx_org_ql ? n - k : 0;
  for (int64_t j = 0; j < fn; ++j)
    for (int64_t i = 0; i < fm; ++i) q[(j + shift) * lda + i] = f[j * lda + i];
  const std::vector<T> before = q;

  vrx_test_forced_threads forced(threads);
  typedef void (*generator)(vrx_int, vrx_int, vrx_int, T*, vrx_int, const T*, T*, vrx_int, vrx_int*);
  const generator run = kind == vrx_org_qr ? vrx_lapack_orgqr<T> : rows ? vrx_lapack_orglq<T> : vrx_lapack_orgql<T>;
  std::vector<T> work(1);
  vrx_int info = -99;
  if (lwork == 0) {
    run(m, n, k, q.data(), lda, tau.data(), work.data(), -1, &info);
    ASSERT_EQ(info, 0);
    lwork = size_of(work[0]);
  }
  work.assign(static_cast<std::size_t>(lwork), T{});
  run(m, n, k, q.data(), lda, tau.data(), work.data(), lwork, &info);
  ASSERT_EQ(info, 0);
  const vrx_orthogonal_trace trace = *vrx_lapack_orthogonal_trace();
  const std::string where = "kind " + std::to_string(kind) + " m " + std::to_string(m) + " n " + std::to_string(n) +
                            " k " + std::to_string(k) + " threads " + std::to_string(threads);
  EXPECT_EQ(trace.path, path) << where;
  EXPECT_EQ(trace.threads, threads) << where;
  EXPECT_LT(vrx_test_orthogonality(rows, m, n, q.data(), lda, rows ? n : m), 30.0) << where;
  // The triangle of the factorisation, k by k: R above the diagonal (QR), L below (LQ,
  // QL: the last k rows of the factored matrix).
  std::vector<T> tri(static_cast<std::size_t>(k * k + 1), T{});
  const int64_t top = kind == vrx_org_ql ? m - k : 0;
  for (int64_t j = 0; j < k; ++j)
    for (int64_t i = 0; i < k; ++i)
      if (kind == vrx_org_qr ? i <= j : i >= j) tri[j * k + i] = f[j * lda + top + i];
  double residual;
  if (rows) residual = vrx_test_product_residual(k, n, k, b.data(), lda, tri.data(), k, q.data(), lda, n);
  else residual = vrx_test_product_residual(m, k, k, b.data(), lda, q.data() + shift * lda, lda, tri.data(), k, m);
  EXPECT_LT(residual, 30.0) << where;
  for (int64_t j = 0; j < n; ++j)
    for (int64_t i = m; i < lda; ++i)
      EXPECT_TRUE(vrx_test_same_bits(std::vector<T>{q[j * lda + i]}, std::vector<T>{before[j * lda + i]})) << where;
}

const vrx_org_kind every_kind[] = {vrx_org_qr, vrx_org_lq, vrx_org_ql};

// The shape (m, n) of a generator with `order` columns and `length` rows (transposed for LQ).
struct shape {
  int64_t m, n;
};
shape shape_of(vrx_org_kind kind, int64_t length, int64_t order) {
  return kind == vrx_org_lq ? shape{order, length} : shape{length, order};
}

// With ILAENV's answers (blocks of 32, crossover 32): blocked on one thread, threaded on
// two; the last block shorter than the others, k below the order.
TYPED_TEST(OrthogonalTest, GeneratesQWithTheTuningAnswers) {
  for (vrx_org_kind kind : every_kind) {
    const shape s = shape_of(kind, 110, 90);
    check_generated<TypeParam>(kind, s.m, s.n, 90, 1, blocked);
    check_generated<TypeParam>(kind, s.m, s.n, 75, 2, threaded);
  }
}

// Paths by shape and forced tuning answers: m n k of 400 stays on one thread and 480
// takes the threaded path (blocks of 2); uneven blocks and shares on three and eight
// threads; blocks as wide as k, or a crossover of k, leave one unblocked pass, and one
// reflector less gives a block and a leaf of one.
TYPED_TEST(OrthogonalTest, GeneratorPathsByShapeAndTuning) {
  struct generator_case {
    int64_t length, order, k;
    vrx_int nb, nx;
    int threads, path;
  };
  const generator_case cases[] = {
      {10, 8, 5, 2, 0, 2, blocked},      {10, 8, 6, 2, 0, 2, threaded},     {40, 29, 23, 3, 0, 3, threaded},
      {40, 29, 29, 3, 0, 8, threaded},   {30, 20, 12, 12, 0, 2, unblocked}, {30, 20, 13, 12, 0, 2, threaded},
      {30, 20, 13, 4, 13, 2, unblocked}, {30, 20, 14, 4, 13, 1, blocked},
  };
  for (vrx_org_kind kind : every_kind)
    for (const generator_case& c : cases) {
      forced_blocks b(c.nb, c.nx);
      const shape s = shape_of(kind, c.length, c.order);
      check_generated<TypeParam>(kind, s.m, s.n, c.k, c.threads, c.path);
    }
}

// lwork of two columns of work narrows the blocks to 2; of one column, to the unblocked pass.
TYPED_TEST(OrthogonalTest, ShortWorkspaceNarrowsTheGeneratorsBlocks) {
  for (vrx_org_kind kind : every_kind) {
    const shape s = shape_of(kind, 90, 70);
    const int64_t order = kind == vrx_org_lq ? s.m : s.n;
    check_generated<TypeParam>(kind, s.m, s.n, 70, 2, threaded, 2 * order);
    EXPECT_EQ(vrx_lapack_orthogonal_trace()->nb, 2);
    check_generated<TypeParam>(kind, s.m, s.n, 70, 2, unblocked, order);
  }
}

// ---- GELQF ----
template <typename T>
void check_lq(int64_t m, int64_t n, int64_t lwork, uint64_t seed) {
  const int64_t lda = m + 1, k = std::min(m, n);
  const std::vector<T> a = random_matrix<T>(lda, n, seed);
  std::vector<T> f = a, tau(static_cast<std::size_t>(k + 1)), work(1);
  vrx_int info = -99;
  vrx_lapack_gelqf<T>(m, n, f.data(), lda, tau.data(), work.data(), -1, &info);
  ASSERT_EQ(info, 0);
  if (lwork == 0) lwork = size_of(work[0]);
  work.assign(static_cast<std::size_t>(lwork), T{});
  vrx_lapack_gelqf<T>(m, n, f.data(), lda, tau.data(), work.data(), lwork, &info);
  ASSERT_EQ(info, 0);
  // Q: n by n from the k reflectors, L: m by n lower trapezoidal.
  std::vector<T> q(static_cast<std::size_t>(n * n)), l(static_cast<std::size_t>(m * n), T{});
  for (int64_t j = 0; j < n; ++j)
    for (int64_t i = 0; i < std::min(k, n); ++i) q[j * n + i] = f[j * lda + i];
  for (int64_t j = 0; j < n; ++j)
    for (int64_t i = j; i < m; ++i) l[j * m + i] = f[j * lda + i];
  std::vector<T> qwork(static_cast<std::size_t>(n * 64));
  vrx_lapack_orglq<T>(n, n, k, q.data(), n, tau.data(), qwork.data(), n * 64, &info);
  ASSERT_EQ(info, 0);
  const std::string where = "m " + std::to_string(m) + " n " + std::to_string(n) + " lwork " + std::to_string(lwork);
  EXPECT_LT(vrx_test_product_residual(m, n, n, a.data(), lda, l.data(), m, q.data(), n, n), 30.0) << where;
  EXPECT_LT(vrx_test_orthogonality(true, n, n, q.data(), n, n), 30.0) << where;
}

// Blocks of 32 past the crossover of 32 (wide and tall), one unblocked pass for small
// matrices, blocks narrowed to 2 by the workspace and to the unblocked pass by less.
TYPED_TEST(OrthogonalTest, LqFactorisationByBlocks) {
  check_lq<TypeParam>(80, 110, 0, 1);
  check_lq<TypeParam>(110, 80, 0, 2);
  check_lq<TypeParam>(20, 30, 0, 3);
  check_lq<TypeParam>(80, 110, 2 * 80, 4);
  check_lq<TypeParam>(80, 110, 80, 5);
  forced_blocks b(5, 0);
  check_lq<TypeParam>(23, 17, 0, 6);
}

// ---- products with Q ----
struct product_case {
  bool rowwise;  // LQ reflectors
  char side, trans;
  int64_t m, n, k;
};

template <typename T>
struct product_data {
  int64_t nq, lda, ldc;
  std::vector<T> a, tau, c, q;  // q: the explicit op(Q), nq by nq
};

// Reflectors of a random nq by k (QR) or k by nq (LQ) matrix, a random C and op(Q)
// generated from the reflectors.
template <typename T>
product_data<T> make_product(const product_case& p, uint64_t seed) {
  product_data<T> d;
  const bool left = p.side == 'L';
  d.nq = left ? p.m : p.n;
  d.lda = (p.rowwise ? p.k : d.nq) + 1;
  d.ldc = p.m + 2;
  d.a = random_matrix<T>(d.lda, p.rowwise ? d.nq : p.k, seed);
  d.tau.assign(static_cast<std::size_t>(p.k + 1), T{});
  std::vector<T> scratch(static_cast<std::size_t>(d.nq + 1));
  if (p.rowwise) vrx_lapack_gelq2(p.k, d.nq, d.a.data(), d.lda, d.tau.data(), scratch.data());
  else vrx_lapack_geqr2(d.nq, p.k, d.a.data(), d.lda, d.tau.data(), scratch.data());
  d.c = random_matrix<T>(d.ldc, p.n, seed + 3);
  const int64_t nq = d.nq;
  std::vector<T> q(static_cast<std::size_t>(nq * nq)), work(static_cast<std::size_t>(nq * 64));
  for (int64_t j = 0; j < (p.rowwise ? nq : p.k); ++j)
    for (int64_t i = 0; i < (p.rowwise ? p.k : nq); ++i) q[j * nq + i] = d.a[j * d.lda + i];
  vrx_int info = -99;
  vrx_test_forced_threads one(1);
  if (p.rowwise) vrx_lapack_orglq<T>(nq, nq, p.k, q.data(), nq, d.tau.data(), work.data(), nq * 64, &info);
  else vrx_lapack_orgqr<T>(nq, nq, p.k, q.data(), nq, d.tau.data(), work.data(), nq * 64, &info);
  EXPECT_EQ(info, 0);
  d.q.resize(q.size());
  for (int64_t j = 0; j < nq; ++j)
    for (int64_t i = 0; i < nq; ++i)
      d.q[j * nq + i] = p.trans == 'N' ? q[j * nq + i] : vrx_traits<T>::conj(q[i * nq + j]);
  return d;
}

template <typename T>
const char* trans_word(char trans) {
  return trans == 'N' ? "No transpose" : vrx_is_complex<T> ? "Conjugate transpose" : "Transpose";
}

// op(Q) C or C op(Q) on `threads` threads with lwork (0: the queried size); checks the
// result against the explicit op(Q) unless `judged` is false, A and C's padding
// untouched, and the path. Answers the result.
template <typename T>
std::vector<T> check_product(const product_case& p, const product_data<T>& d, int threads, int path,
                             int64_t lwork = 0, bool judged = true) {
  std::vector<T> c = d.c, work(1);
  const std::vector<T> a = d.a;
  vrx_test_forced_threads forced(threads);
  const auto run = p.rowwise ? vrx_lapack_ormlq<T> : vrx_lapack_ormqr<T>;
  const char side[2] = {p.side, '\0'};
  const char* trans = trans_word<T>(p.trans);
  vrx_int info = -99;
  if (lwork == 0) {
    run(side, trans, p.m, p.n, p.k, a.data(), d.lda, d.tau.data(), c.data(), d.ldc, work.data(), -1, &info);
    lwork = size_of(work[0]);
  }
  work.assign(static_cast<std::size_t>(lwork), T{});
  run(side, trans, p.m, p.n, p.k, a.data(), d.lda, d.tau.data(), c.data(), d.ldc, work.data(), lwork, &info);
  const std::string where = std::string(p.rowwise ? "LQ " : "QR ") + p.side + p.trans + " m " + std::to_string(p.m) +
                            " n " + std::to_string(p.n) + " k " + std::to_string(p.k) + " threads " +
                            std::to_string(threads) + " lwork " + std::to_string(lwork);
  EXPECT_EQ(info, 0) << where;
  EXPECT_EQ(vrx_lapack_orthogonal_trace()->path, path) << where;
  const double residual =
      !judged       ? 0
      : p.side == 'L'
          ? vrx_test_product_residual(p.m, p.n, p.m, c.data(), d.ldc, d.q.data(), d.nq, d.c.data(), d.ldc, d.nq)
          : vrx_test_product_residual(p.m, p.n, p.n, c.data(), d.ldc, d.c.data(), d.ldc, d.q.data(), d.nq, d.nq);
  if (judged) EXPECT_LT(residual, 30.0) << where;
  EXPECT_TRUE(vrx_test_same_bits(a, d.a)) << where;
  for (int64_t j = 0; j < p.n; ++j)
    for (int64_t i = p.m; i < d.ldc; ++i)
      EXPECT_EQ(std::memcmp(&c[j * d.ldc + i], &d.c[j * d.ldc + i], sizeof(T)), 0) << where;
  return c;
}

// Both storages, sides and operations, sequential (blocks of 16, 32 for complex) and on
// two threads, against the explicit op(Q).
TYPED_TEST(OrthogonalTest, ProductsMatchTheExplicitQ) {
  uint64_t seed = 0;
  for (bool rowwise : {false, true})
    for (char side : {'L', 'R'})
      for (char trans : {'N', 'C'}) {
        const product_case p = {rowwise, side, trans, 90, 75, 50};
        const product_data<TypeParam> d = make_product<TypeParam>(p, ++seed);
        check_product(p, d, 1, blocked);
        check_product(p, d, 2, threaded);
      }
}

// 2, 3 and 8 threads agree with one (judged against the explicit op(Q)) up to rounding;
// with two threads each share of 300 is applied in two pieces.
TYPED_TEST(OrthogonalTest, ThreadCountsAgree) {
  typedef vrx_real_t<TypeParam> R;
  uint64_t seed = 20;
  for (bool rowwise : {false, true})
    for (char side : {'L', 'R'}) {
      const char trans = rowwise ? 'N' : 'C';
      const product_case p = side == 'L' ? product_case{rowwise, side, trans, 40, 600, 36}
                                         : product_case{rowwise, side, trans, 600, 40, 36};
      const product_data<TypeParam> d = make_product<TypeParam>(p, ++seed);
      const std::vector<TypeParam> one = check_product(p, d, 1, blocked);
      for (int t : {2, 3, 8}) {
        const std::vector<TypeParam> many = check_product(p, d, t, threaded, 0, false);
        double worst = 0;
        for (std::size_t e = 0; e < one.size(); ++e)
          worst = std::max<double>(worst, vrx_traits<TypeParam>::abs1(many[e] - one[e]));
        EXPECT_LT(worst / (40 * static_cast<double>(vrx_machine<R>::eps)), 30.0) << "threads " << t;
      }
    }
}

// One block holds every reflector: the sequential routine, unblocked, on two threads too;
// a caller's work of nw makes the threaded product take its own, and the sequential one
// apply the reflectors one by one.
TYPED_TEST(OrthogonalTest, ProductPathsByBlockAndWorkspace) {
  const product_case few = {false, 'L', 'N', 60, 50, 6};
  const product_data<TypeParam> df = make_product<TypeParam>(few, 41);
  {
    forced_blocks b(6, 0);
    check_product(few, df, 2, unblocked);
  }
  {
    forced_blocks b(5, 0);
    check_product(few, df, 2, threaded);
  }
  for (bool rowwise : {false, true}) {
    const product_case p = {rowwise, 'R', 'N', 50, 70, 40};
    const product_data<TypeParam> d = make_product<TypeParam>(p, 42 + rowwise);
    check_product(p, d, 2, threaded, p.m);
    EXPECT_EQ(vrx_lapack_orthogonal_trace()->allocated, 1);
    check_product(p, d, 1, unblocked, p.m);
  }
}

// The query writes work(1) alone: nw times the block size (at most 64) on one thread;
// with threads the factors and pieces when blocks are narrower than k, else nq, and at
// least nw.
TYPED_TEST(OrthogonalTest, ProductQueryWritesOnlyTheSize) {
  typedef TypeParam T;
  const product_case p = {false, 'L', 'N', 200, 150, 100};
  const product_data<T> d = make_product<T>(p, 50);
  const vrx_int nb = vrx_lapack_orm_key<T>(1, vrx_orm_problem{false, true, true, 200, 150, 100});
  struct expectation {
    int threads;
    vrx_int k, size;
  };
  const expectation rows[] = {{1, 100, 150 * std::min<vrx_int>(nb, 64)},
                              {2, 100, (100 + 512) * nb},
                              {3, nb, 200}};
  for (const expectation& e : rows) {
    std::vector<T> c = d.c, work(3, vrx_traits<T>::make(-7, 0));
    const std::vector<T> untouched = work;
    vrx_test_forced_threads forced(e.threads);
    vrx_int info = -99;
    vrx_lapack_ormqr<T>("L", "N", p.m, p.n, e.k, d.a.data(), d.lda, d.tau.data(), c.data(), d.ldc, work.data(), -1,
                        &info);
    EXPECT_EQ(info, 0);
    EXPECT_EQ(size_of(work[0]), e.size) << e.threads;
    EXPECT_EQ(std::memcmp(&work[1], &untouched[1], 2 * sizeof(T)), 0);
    EXPECT_TRUE(vrx_test_same_bits(c, d.c));
  }
}

// In a child process whose service allocator refuses everything, on two threads: the
// threaded product can't have its own workspace, so the sequential one runs in the
// caller's short one (blocks of 8) and gives the bits of a call on one thread.
TEST(OrthogonalEnv, RefusedWorkspaceFallsBackToTheSequentialProduct) {
  const vrx_child_result r =
      vrx_test_run(vrx_test_driver("orthogonal_driver"), {"nomemory", "SDCZ"}, {{"VRX_NUM_THREADS", "2"}});
  std::string expected;
  for (char l : std::string("SDCZ"))
    for (const char* name : {" ormqr", " ormlq"})
      expected += std::string(1, l) + name + " path 2 threads 2 fallback 1 same yes\n";
  EXPECT_EQ(r.exit_status, 0);
  EXPECT_EQ(r.output, expected + "ok\n");
}

// ---- argument checks ----
template <typename T>
struct bad_call {
  const char* family;  // without the precision letter, as reported
  int position;
  void (*call)(T* a, T* c, T* work, vrx_int* info);
};

template <typename T>
std::string reported_name(const char* family) {
  return std::string(1, vrx_traits<T>::letter) + family;
}

TYPED_TEST(OrthogonalTest, BadArgumentsAreReportedAndTouchNothing) {
  typedef TypeParam T;
  const bool complex = vrx_is_complex<T>;
  const char* mqr = complex ? "UNMQR" : "ORMQR";
  const char* mlq = complex ? "UNMLQ" : "ORMLQ";
  const bad_call<T> calls[] = {
      {mqr, 1, [](T* a, T* c, T* w, vrx_int* info) { vrx_lapack_ormqr<T>("X", "N", 4, 4, 2, a, 4, a, c, 4, w, 8, info); }},
      {mqr, 2,
       [](T* a, T* c, T* w, vrx_int* info) {
         vrx_lapack_ormqr<T>("L", vrx_is_complex<T> ? "T" : "X", 4, 4, 2, a, 4, a, c, 4, w, 8, info);
       }},
      {mqr, 5, [](T* a, T* c, T* w, vrx_int* info) { vrx_lapack_ormqr<T>("R", "N", 4, 3, 4, a, 4, a, c, 4, w, 8, info); }},
      {mqr, 7, [](T* a, T* c, T* w, vrx_int* info) { vrx_lapack_ormqr<T>("L", "N", 4, 4, 2, a, 3, a, c, 4, w, 8, info); }},
      {mqr, 10, [](T* a, T* c, T* w, vrx_int* info) { vrx_lapack_ormqr<T>("L", "N", 4, 4, 2, a, 4, a, c, 3, w, 8, info); }},
      {mqr, 12, [](T* a, T* c, T* w, vrx_int* info) { vrx_lapack_ormqr<T>("R", "C", 4, 4, 2, a, 4, a, c, 4, w, 3, info); }},
      {mlq, 7, [](T* a, T* c, T* w, vrx_int* info) { vrx_lapack_ormlq<T>("L", "N", 4, 4, 3, a, 2, a, c, 4, w, 8, info); }},
      {mlq, 4, [](T* a, T* c, T* w, vrx_int* info) { vrx_lapack_ormlq<T>("r", "c", 4, -1, 0, a, 4, a, c, 4, w, 8, info); }},
      {complex ? "UNGQR" : "ORGQR", 2, [](T* a, T*, T* w, vrx_int* info) { vrx_lapack_orgqr<T>(3, 4, 2, a, 4, a, w, 8, info); }},
      {complex ? "UNGQR" : "ORGQR", 8, [](T* a, T*, T* w, vrx_int* info) { vrx_lapack_orgqr<T>(4, 4, 2, a, 4, a, w, 3, info); }},
      {complex ? "UNGLQ" : "ORGLQ", 2, [](T* a, T*, T* w, vrx_int* info) { vrx_lapack_orglq<T>(4, 3, 2, a, 4, a, w, 8, info); }},
      {complex ? "UNGLQ" : "ORGLQ", 3, [](T* a, T*, T* w, vrx_int* info) { vrx_lapack_orglq<T>(2, 4, 3, a, 4, a, w, 8, info); }},
      {complex ? "UNGQL" : "ORGQL", 3, [](T* a, T*, T* w, vrx_int* info) { vrx_lapack_orgql<T>(4, 2, 3, a, 4, a, w, 8, info); }},
      {complex ? "UNGQL" : "ORGQL", 5, [](T* a, T*, T* w, vrx_int* info) { vrx_lapack_orgql<T>(4, 2, 1, a, 3, a, w, 8, info); }},
      {"GELQF", 1, [](T* a, T*, T* w, vrx_int* info) { vrx_lapack_gelqf<T>(-1, 2, a, 4, a, w, 8, info); }},
      {"GELQF", 4, [](T* a, T*, T* w, vrx_int* info) { vrx_lapack_gelqf<T>(4, 2, a, 3, a, w, 8, info); }},
      {"GELQF", 7, [](T* a, T*, T* w, vrx_int* info) { vrx_lapack_gelqf<T>(4, 2, a, 4, a, w, 3, info); }},
  };
  for (const bad_call<T>& b : calls) {
    std::vector<T> a = random_matrix<T>(4, 4, 3), c = random_matrix<T>(4, 4, 4), work(8, vrx_traits<T>::make(-2, 0));
    const std::vector<T> a0 = a, c0 = c, work0 = work;
    vrx_int info = 0;
    const std::string printed = vrx_test_printed_by([&] { b.call(a.data(), c.data(), work.data(), &info); });
    const std::string name = reported_name<T>(b.family);
    EXPECT_EQ(info, -b.position) << name;
    EXPECT_EQ(printed, vrx_test_parameter_line(b.position, name));
    EXPECT_TRUE(vrx_test_same_bits(a, a0) && vrx_test_same_bits(c, c0) && vrx_test_same_bits(work, work0)) << name;
  }
}
}  // namespace
