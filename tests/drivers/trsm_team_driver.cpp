// Triangular solves and products of one precision through their published names (STRSM
// ... ZTRMM) under this process's settings (CPU type, thread count, dynamic mode),
// checked against the wide reference.
//   trsm_team_driver LETTER MODE
//     LETTER is S, D, C or Z. MODE:
//     sweep   every side, uplo, transa and diag on orders and right-hand sides on both
//             sides of 16/17, of the leaf order and of the register tails, alpha 1,
//             real, complex and 0
//     large   a sample of cases at orders 513, 767 and 768 with few and many
//             right-hand sides per thread (the entry's split)
//     refuse  the sweep's sample with the level-3 scratch allocator refusing
//     edges   alpha 0 over a NaN or zero diagonal, a singular triangle
//     split   DTRSM and DTRMM on order 768: prints the entry's splits and last h for
//             64 and for 65 right-hand sides per thread (run it with 2 threads)
//     cooperate  DTRMM with A on the left of order 2500 and 2501 against 257 columns:
//             prints the team mode of the fork; the result must match the sequential
//             kernel's to rounding
// Prints "ok" and exits 0, or prints what went wrong and exits 1.
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "blas/level3/trsm/vrx_tri_team.h"
#include "blas/tri_test_support.h"

namespace {
void* refuse(std::size_t, int) { return nullptr; }

template <typename T>
struct published;
template <>
struct published<float> {
  static constexpr vrx_trsm_fn<float> solve = STRSM, product = STRMM;
};
template <>
struct published<double> {
  static constexpr vrx_trsm_fn<double> solve = DTRSM, product = DTRMM;
};
template <>
struct published<vrx_complex_float> {
  static constexpr vrx_trsm_fn<vrx_complex_float> solve = CTRSM, product = CTRMM;
};
template <>
struct published<vrx_complex_double> {
  static constexpr vrx_trsm_fn<vrx_complex_double> solve = ZTRSM, product = ZTRMM;
};

template <typename T>
T alpha_of(int i) {
  switch (i % 4) {
    case 0:
      return vrx_test_scalar<T>(1, 0);
    case 1:
      return vrx_test_scalar<T>(-0.75, 0);
    case 2:
      return vrx_test_scalar<T>(0.5, -1.25);
    default:
      return i % 8 == 3 ? T{} : vrx_test_scalar<T>(2, 0);
  }
}

template <typename T>
std::vector<T> call(const vrx_test_triangular<T>& p, bool solve) {
  std::vector<T> b = p.b;
  const vrx_int m = p.m, n = p.n, lda = p.lda, ldb = p.ldb;
  (solve ? published<T>::solve : published<T>::product)(&p.side, &p.uplo, &p.trans, &p.diag, &m, &n, &p.alpha,
                                                        p.a.data(), &lda, b.data(), &ldb);
  return b;
}

template <typename T>
bool check(const std::string& c, bool solve, int64_t m, int64_t n, T alpha, unsigned seed) {
  const vrx_test_triangular<T> p = vrx_test_make_triangular<T>(c.c_str(), m, n, alpha, seed);
  const std::vector<T> b = call(p, solve);
  const int64_t bad = vrx_test_triangular_bad_elements(p, solve, b);
  if (bad)
    std::printf("%s %s %s m %lld n %lld: %lld wrong\n", solve ? "solve" : "product", c.c_str(),
                vrx_traits<T>::is_zero(alpha) ? "alpha 0" : "", (long long)m, (long long)n, (long long)bad);
  return bad == 0;
}

struct extent {
  int64_t order, rhs;
};

template <typename T>
bool sweep(bool sample) {
  // Orders and right-hand sides on both sides of 16/17, the leaf order 32/33 and the
  // register tails (24 by 8, 12 by 4 and the single and complex blocks).
  const extent extents[] = {{1, 1}, {16, 16}, {17, 16}, {16, 17}, {24, 9}, {25, 33}, {47, 61}, {70, 40}, {97, 23}};
  bool good = true;
  unsigned seed = 1;
  int i = 0;
  for (const std::string& c : vrx_test_tri_cases())
    for (bool solve : {true, false})
      for (const extent& e : extents) {
        if (sample && (seed++ % 5) != 0) continue;
        const bool left = c[0] == 'L';
        good =
            check<T>(c, solve, left ? e.order : e.rhs, left ? e.rhs : e.order, alpha_of<T>(i++), seed++) && good;
      }
  return good;
}

template <typename T>
bool large(bool one) {
  // 767 and 768 with 64 and 65 right-hand sides for two threads; 513 with a wide B. The
  // complex types take every other case, with fewer right-hand sides (their reference is
  // the costly part).
  struct big {
    const char* c;
    int64_t order, rhs;
    bool solve;
  };
  const big cases[] = {{"LLNN", 768, 128, true}, {"RUCN", 768, 130, false}, {"LUTN", 767, 128, false},
                       {"RLNU", 513, 37, true},  {"LUNU", 513, 70, false},  {"LLCN", 768, 40, true}};
  bool good = true;
  unsigned seed = 7;
  for (const big& b : cases) {
    if (vrx_is_complex<T> && seed % 2 == 0) {
      ++seed;
      continue;
    }
    const bool left = b.c[0] == 'L';
    // Still split on two threads, with a fifth of the reference's work.
    const int64_t rhs = vrx_is_complex<T> && b.rhs < 65 * 2 ? b.rhs / 5 : b.rhs;
    good = check<T>(b.c, b.solve, left ? b.order : rhs, left ? rhs : b.order, alpha_of<T>(seed), seed) && good;
    ++seed;
    if (one) break;
  }
  return good;
}

template <typename T>
bool edges() {
  typedef vrx_real_t<T> R;
  bool good = true;
  const R nan = std::nan("");
  // alpha 0 zeroes B whatever A's diagonal holds.
  for (const char* c : {"LUNN", "RLTN", "LLCU"})
    for (R d : {nan, R(0)}) {
      vrx_test_triangular<T> p = vrx_test_make_triangular<T>(c, 40, 30, T{}, 3);
      for (int64_t i = 0; i < vrx_test_triangle_order(p); ++i) p.a[i + i * p.lda] = vrx_traits<T>::make(d, d);
      for (bool solve : {true, false}) {
        const std::vector<T> b = call(p, solve);
        if (vrx_test_triangular_bad_elements(p, solve, b) != 0) {
          std::printf("alpha 0 %s did not zero B\n", c);
          good = false;
        }
      }
    }
  // A zero on the diagonal: the solve is not stopped and yields non-finite values.
  for (const char* c : {"LUNN", "RLNN"}) {
    vrx_test_triangular<T> p = vrx_test_make_triangular<T>(c, 60, 50, vrx_test_scalar<T>(1, 0), 4);
    p.a[5 + 5 * p.lda] = T{};
    const std::vector<T> b = call(p, true);
    bool finite = true;
    for (int64_t j = 0; j < p.n; ++j)
      for (int64_t i = 0; i < p.m; ++i) {
        const T x = b[i + j * p.ldb];
        if (!std::isfinite(vrx_traits<T>::real_part(x)) || !std::isfinite(vrx_traits<T>::imag_part(x)))
          finite = false;
      }
    if (finite) {
      std::printf("singular %s: every element finite\n", c);
      good = false;
    }
  }
  return good;
}

int split() {
  vrx_tri_trace* trace = vrx_tri_trace_record();
  for (bool solve : {true, false})
    for (int64_t rhs : {128, 130}) {
      *trace = vrx_tri_trace{};
      if (!check<double>("LLNN", solve, 768, rhs, 1.5, 11)) return 1;
      std::printf("%s %lld: splits %d h %lld forks %d\n", solve ? "solve" : "product", (long long)rhs,
                  trace->splits, (long long)trace->last_h, trace->forks);
    }
  return 0;
}

// |x - y| <= 64 order eps (|A| |B|) elementwise, |A| |B| bounded by order max|a| max|b|.
int cooperate() {
  vrx_tri_trace* trace = vrx_tri_trace_record();
  for (int64_t order : {2500, 2501}) {
    *trace = vrx_tri_trace{};
    const vrx_test_triangular<double> p = vrx_test_make_triangular<double>("LLNN", order, 257, 0.5, 5);
    const std::vector<double> team = call(p, false);
    std::vector<double> alone = p.b;
    const vrx_int m = p.m, n = p.n, lda = p.lda, ldb = p.ldb;
    vrx_blas_dtrmm_sequential(&p.side, &p.uplo, &p.trans, &p.diag, &m, &n, &p.alpha, p.a.data(), &lda,
                              alone.data(), &ldb);
    double amax = 0, bmax = 0, worst = 0;
    for (int64_t j = 0; j < order; ++j)
      for (int64_t i = j; i < order; ++i) amax = std::fmax(amax, std::fabs(p.a[i + j * lda]));
    for (double x : p.b) bmax = std::fmax(bmax, std::fabs(x));
    for (std::size_t e = 0; e < team.size(); ++e) worst = std::fmax(worst, std::fabs(team[e] - alone[e]));
    if (!(worst <= 64.0 * order * DBL_EPSILON * order * amax * bmax)) {
      std::printf("order %lld: team and sequential differ by %g\n", (long long)order, worst);
      return 1;
    }
    std::printf("order %lld: forks %d team mode %d\n", (long long)order, trace->forks, trace->team_mode);
  }
  return 0;
}

template <typename T>
int run(const std::string& mode) {
  bool good;
  if (mode == "sweep")
    good = sweep<T>(false);
  else if (mode == "large")
    good = large<T>(false);
  else if (mode == "refuse") {
    vrx_l3_scratch_alloc = refuse;
    good = sweep<T>(true) && large<T>(true);
  } else if (mode == "edges")
    good = edges<T>();
  else
    return 2;
  if (!good) return 1;
  std::printf("ok\n");
  return 0;
}
}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const std::string mode = argv[2];
  if (mode == "split") return split();
  if (mode == "cooperate") return cooperate();
  switch (argv[1][0]) {
    case 'S':
      return run<float>(mode);
    case 'D':
      return run<double>(mode);
    case 'C':
      return run<vrx_complex_float>(mode);
    case 'Z':
      return run<vrx_complex_double>(mode);
    default:
      return 2;
  }
}
