// The symmetric and Hermitian eigenproblem in the four precisions, judged as the published
// test suite judges it: ||A Z - Z W|| / (n ||A|| eps) and ||I - Z^H Z|| / (n eps) below
// 30, and eigenvalues against the exactly known spectrum of a matrix built as Q diag(l) Q^H
// in long double (the rounding of A moves them by at most n eps ||A||). Both triangles,
// both jobs, orders around the reduction's crossovers with 1, 2 and 8 threads forced;
// clustered, repeated and graded spectra, the zero matrix, norms near overflow and
// underflow; the workspace answer against its formula; every check with its report. The
// triangle that is not stored holds NaN, which must never be read; the padding rows must
// stay as they were.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

#include "lapack/solve_check.h"
#include "lapack/syev/vrx_band_reduction.h"
#include "lapack/syev/vrx_sytrd.h"
#include "support/lapack_seams.h"

namespace {
template <typename T>
class SyevTest : public testing::Test {};
typedef testing::Types<float, double, vrx_complex_float, vrx_complex_double> element_types;
TYPED_TEST_SUITE(SyevTest, element_types);

typedef long double W;
typedef std::complex<W> C;

template <typename T>
C widen(T x) {
  return C(vrx_traits<T>::real_part(x), vrx_traits<T>::imag_part(x));
}
template <typename T>
T narrow(C x) {
  typedef vrx_real_t<T> R;
  return vrx_traits<T>::make(static_cast<R>(x.real()), static_cast<R>(x.imag()));
}
template <typename T>
W eps_of() {
  return vrx_machine<vrx_real_t<T>>::eps;
}

template <typename T>
vrx_int run(const char* jobz, const char* uplo, vrx_int n, T* a, vrx_int lda, vrx_real_t<T>* w, T* work,
            vrx_int lwork, vrx_real_t<T>* rwork) {
  vrx_int info = -99;
  if constexpr (std::is_same_v<T, float>) vrx_lapack_ssyev(jobz, uplo, &n, a, &lda, w, work, &lwork, &info);
  else if constexpr (std::is_same_v<T, double>) vrx_lapack_dsyev(jobz, uplo, &n, a, &lda, w, work, &lwork, &info);
  else if constexpr (std::is_same_v<T, vrx_complex_float>)
    vrx_lapack_cheev(jobz, uplo, &n, a, &lda, w, work, &lwork, rwork, &info);
  else vrx_lapack_zheev(jobz, uplo, &n, a, &lda, w, work, &lwork, rwork, &info);
  return info;
}

// The driver's name in reports: DSYEV, SSYEV, CHEEV, ZHEEV.
template <typename T>
std::string driver_name() {
  return std::string(1, vrx_traits<T>::letter) + (vrx_is_complex<T> ? "HEEV" : "SYEV");
}

// ---- the tuning seam: small panels and crossovers, so that every road is reached at
// orders the reference handles quickly ----
struct seam_answers {
  vrx_int nb = 5, nx = 12;           // SYTRD/HETRD keys 1 and 3 (n1 = -1 keeps its 32)
  vrx_int band_nx = 1000000000;      // SYEV/HEEV key 3
  vrx_int kd = 64;                   // SYRDB/HERDB key 1
};
seam_answers answers;

bool names(const char* name, vrx_int length, const char* family) {
  const std::size_t size = std::strlen(family);
  return static_cast<std::size_t>(length) == size + 1 && std::strncmp(name + 1, family, size) == 0;
}
vrx_int seam(const vrx_int* ispec, const char* name, const char* opts, const vrx_int* n1, const vrx_int* n2,
             const vrx_int* n3, const vrx_int* n4, vrx_int name_length, vrx_int opts_length) {
  if (names(name, name_length, "SYTRD") || names(name, name_length, "HETRD")) {
    if (*ispec == 1) return answers.nb;
    if (*ispec == 2) return 2;
    if (*ispec == 3) return *n1 == -1 ? 32 : answers.nx;
  }
  if ((names(name, name_length, "SYEV") || names(name, name_length, "HEEV")) && *ispec == 3) return answers.band_nx;
  if ((names(name, name_length, "SYRDB") || names(name, name_length, "HERDB")) && *ispec == 1) return answers.kd;
  return ILAENV(ispec, name, opts, n1, n2, n3, n4, name_length, opts_length);
}

// ---- problems with a known spectrum ----
struct problem {
  vrx_int n;
  std::vector<W> lambda;  // ascending
  std::vector<C> a;       // all of A, column-major, order n
};

// A = Q diag(lambda) Q^H with Q a product of n random reflectors, exactly Hermitian.
problem make_problem(std::vector<W> lambda, bool complex, unsigned seed) {
  const vrx_int n = static_cast<vrx_int>(lambda.size());
  problem p{n, lambda, std::vector<C>(static_cast<std::size_t>(n * n))};
  std::sort(p.lambda.begin(), p.lambda.end());
  auto m = [&](vrx_int i, vrx_int j) -> C& { return p.a[static_cast<std::size_t>(i + j * n)]; };
  for (vrx_int i = 0; i < n; ++i) m(i, i) = lambda[static_cast<std::size_t>(i)];
  uint64_t state = seed * 2654435761ull + 17;
  std::vector<C> v(static_cast<std::size_t>(n));
  for (vrx_int r = 0; r < (n > 1 ? n : 0); ++r) {
    W vv = 0;
    for (C& x : v) {
      x = C(vrx_test_detail::next_unit(&state), complex ? vrx_test_detail::next_unit(&state) : 0.0);
      vv += std::norm(x);
    }
    // M := H M H with H = I - 2 v v^H / (v^H v).
    for (vrx_int i = 0; i < n; ++i) {
      C s = 0;
      for (vrx_int k = 0; k < n; ++k) s += m(i, k) * v[k];
      for (vrx_int k = 0; k < n; ++k) m(i, k) -= W(2) * s * std::conj(v[k]) / vv;
    }
    for (vrx_int j = 0; j < n; ++j) {
      C s = 0;
      for (vrx_int k = 0; k < n; ++k) s += std::conj(v[k]) * m(k, j);
      for (vrx_int k = 0; k < n; ++k) m(k, j) -= W(2) * v[k] * s / vv;
    }
  }
  for (vrx_int j = 0; j < n; ++j) {
    m(j, j) = m(j, j).real();
    for (vrx_int i = j + 1; i < n; ++i) m(j, i) = std::conj(m(i, j) = (m(i, j) + std::conj(m(j, i))) / W(2));
  }
  return p;
}

std::vector<W> spread(vrx_int n, W scale = 1) {
  std::vector<W> l(static_cast<std::size_t>(n));
  for (vrx_int i = 0; i < n; ++i) l[i] = scale * (W(i) - W(n) / 3) / (n > 1 ? W(n) : W(1));
  return l;
}

// What one run gave, and the matrix as the routine saw it (the stored triangle, rounded).
template <typename T>
struct outcome {
  vrx_int info;
  std::vector<vrx_real_t<T>> w;
  std::vector<T> a;  // lda = n + 3
  std::vector<C> seen;
};

template <typename T>
outcome<T> solve(const problem& p, const char* jobz, const char* uplo, vrx_int lwork = 0) {
  typedef vrx_real_t<T> R;
  const vrx_int n = p.n, lda = n + 3;
  const bool upper = (*uplo & ~0x20) == 'U';
  outcome<T> o{0, std::vector<R>(static_cast<std::size_t>(n > 0 ? n : 1), R(-7)),
               std::vector<T>(static_cast<std::size_t>(lda * (n > 0 ? n : 1))),
               std::vector<C>(static_cast<std::size_t>(n * n))};
  const R nan = std::numeric_limits<R>::quiet_NaN();
  for (vrx_int j = 0; j < n; ++j)
    for (vrx_int i = 0; i < lda; ++i) {
      T& x = o.a[static_cast<std::size_t>(i + j * lda)];
      if (i >= n) x = vrx_traits<T>::make(R(123), R(0));
      else if ((i <= j) == upper || i == j) x = narrow<T>(p.a[static_cast<std::size_t>(i + j * n)]);
      else x = vrx_traits<T>::make(nan, nan);
    }
  for (vrx_int j = 0; j < n; ++j)
    for (vrx_int i = 0; i < n; ++i) {
      const bool stored = (i <= j) == upper || i == j;
      const C x = widen(o.a[static_cast<std::size_t>(stored ? i + j * lda : j + i * lda)]);
      o.seen[static_cast<std::size_t>(i + j * n)] = stored ? x : std::conj(x);
      if (i == j) o.seen[static_cast<std::size_t>(i + j * n)] = x.real();
    }
  T size = vrx_traits<T>::make(0, 0);
  std::vector<R> rwork(static_cast<std::size_t>(3 * n + 1));
  EXPECT_EQ(run<T>(jobz, uplo, n, o.a.data(), lda, o.w.data(), &size, -1, rwork.data()), 0);
  if (lwork == 0) lwork = static_cast<vrx_int>(vrx_traits<T>::real_part(size));
  std::vector<T> work(static_cast<std::size_t>(lwork > 0 ? lwork : 1));
  o.info = run<T>(jobz, uplo, n, o.a.data(), lda, o.w.data(), work.data(), lwork, rwork.data());
  if (n > 1) EXPECT_EQ(vrx_traits<T>::real_part(work[0]), vrx_traits<T>::real_part(size));
  for (vrx_int j = 0; j < n; ++j)
    for (vrx_int i = n; i < lda; ++i)
      EXPECT_EQ(vrx_traits<T>::real_part(o.a[static_cast<std::size_t>(i + j * lda)]), R(123)) << "padding written";
  return o;
}

// Eigenvalues against the spectrum; for vectors the two residual ratios.
template <typename T>
void judge(const problem& p, const outcome<T>& o, bool vectors, const std::string& what) {
  const vrx_int n = p.n, lda = n + 3;
  ASSERT_EQ(o.info, 0) << what;
  if (n == 0) return;
  W norm = 0;  // one norm of the matrix as seen
  for (vrx_int j = 0; j < n; ++j) {
    W column = 0;
    for (vrx_int i = 0; i < n; ++i) column += std::abs(o.seen[static_cast<std::size_t>(i + j * n)]);
    norm = std::max(norm, column);
  }
  const W eps = eps_of<T>(), scale = norm > 0 ? norm : 1;
  for (vrx_int i = 0; i < n; ++i) {
    if (i > 0) EXPECT_LE(o.w[i - 1], o.w[i]) << what << ": not ascending at " << i;
    const W error = std::fabs(W(o.w[i]) - p.lambda[i]);
    EXPECT_LE(error / (n * scale * eps), 30) << what << ": eigenvalue " << i;
  }
  if (!vectors) return;
  auto z = [&](vrx_int i, vrx_int j) { return widen(o.a[static_cast<std::size_t>(i + j * lda)]); };
  W residual = 0, orthogonality = 0;
  for (vrx_int j = 0; j < n; ++j) {
    W column_r = 0, column_o = 0;
    for (vrx_int i = 0; i < n; ++i) {
      C s = -z(i, j) * W(o.w[j]), g = i == j ? C(-1) : C(0);
      for (vrx_int k = 0; k < n; ++k) {
        s += o.seen[static_cast<std::size_t>(i + k * n)] * z(k, j);
        g += std::conj(z(k, i)) * z(k, j);
      }
      column_r += std::abs(s);
      column_o += std::abs(g);
    }
    residual = std::max(residual, column_r);
    orthogonality = std::max(orthogonality, column_o);
  }
  EXPECT_LT(residual / (n * scale * eps), 30) << what << ": ||A Z - Z W||";
  EXPECT_LT(orthogonality / (n * eps), 30) << what << ": ||I - Z^H Z||";
}

template <typename T>
void solve_and_judge(const problem& p, const char* jobz, const char* uplo, const std::string& what) {
  judge(p, solve<T>(p, jobz, uplo), (*jobz & ~0x20) == 'V', what);
}
}  // namespace

// Orders on both sides of the panel crossover (12 under the seam) and of the threaded
// routine's crossover (32), reduced by the sequential routine, by panels on one thread
// and by panels with forked products and update regions on 2 and 8 threads.
TYPED_TEST(SyevTest, ResidualsAcrossCrossoversThreadsTrianglesAndJobs) {
  typedef TypeParam T;
  vrx_test_tuning_seam hold(seam);
  answers = seam_answers{};
  unsigned seed = 1;
  for (int threads : {1, 2, 8}) {
    vrx_test_forced_threads forced(threads);
    for (vrx_int n : {0, 1, 2, 3, 12, 13, 31, 33}) {
      const problem p = make_problem(spread(n, 4), vrx_is_complex<T>, seed++);
      for (const char* uplo : {"U", "l"})
        for (const char* jobz : {"N", "v"}) {
          const std::string what = std::string("n ") + std::to_string(n) + " uplo " + uplo + " jobz " + jobz +
                                   " threads " + std::to_string(threads);
          solve_and_judge<T>(p, jobz, uplo, what);
          if (n < 2) continue;
          const vrx_sytrd_trace trace = *vrx_lapack_sytrd_trace();
          const bool threaded = threads > 1 && n >= 32;
          EXPECT_EQ(trace.threads, threaded ? threads : 1) << what;
          EXPECT_EQ(trace.panels, n > 12 ? (n - 12 + 4) / 5 : 0) << what;
          if (threaded) {
            EXPECT_GT(trace.threaded_columns, 0) << what;
            EXPECT_EQ(trace.region_threads, threads) << what;
          } else {
            EXPECT_EQ(trace.threaded_columns, 0) << what;
          }
        }
    }
  }
}

// Spectra that test the iterations and the scaling: clusters, repeats, a graded range,
// the zero matrix (no scaling, eigenvalues exactly zero), and norms beyond rmax and below
// rmin, where the matrix is scaled before the reduction and the eigenvalues after.
TYPED_TEST(SyevTest, HardSpectraAndScaling) {
  typedef TypeParam T;
  typedef vrx_real_t<T> R;
  vrx_test_tuning_seam hold(seam);
  answers = seam_answers{};
  vrx_test_forced_threads forced(2);
  const vrx_int n = 36;
  const W eps = eps_of<T>();
  std::vector<std::pair<std::string, std::vector<W>>> spectra;
  std::vector<W> l(n);
  for (vrx_int i = 0; i < n; ++i) l[i] = 1 + W(i % 4) * 10 * eps;
  spectra.push_back({"cluster", l});
  for (vrx_int i = 0; i < n; ++i) l[i] = W(i % 3) - 1;
  spectra.push_back({"repeated", l});
  for (vrx_int i = 0; i < n; ++i) l[i] = std::pow(W(10), -W(i) * (std::is_same_v<R, float> ? 5 : 12) / n);
  spectra.push_back({"graded", l});
  spectra.push_back({"zero", std::vector<W>(n, W(0))});
  const W big = std::is_same_v<R, float> ? 1e30L : 1e250L, tiny = std::is_same_v<R, float> ? 1e-30L : 1e-250L;
  spectra.push_back({"near overflow", spread(n, big)});
  spectra.push_back({"near underflow", spread(n, tiny)});
  unsigned seed = 100;
  for (const auto& [name, spectrum] : spectra) {
    const problem p = make_problem(spectrum, vrx_is_complex<T>, seed++);
    for (const char* uplo : {"U", "L"})
      for (const char* jobz : {"N", "V"}) solve_and_judge<T>(p, jobz, uplo, name + " " + uplo + jobz);
    if (name == "zero") {
      const outcome<T> o = solve<T>(p, "N", "L");
      for (vrx_int i = 0; i < n; ++i) EXPECT_EQ(o.w[i], R(0));
    }
  }
}

// The answer of a query is the larger of the reduction's and the band reduction's
// workspaces plus the room before the reduction's part; a call with that lwork takes the
// band path in both triangles and one with the least lwork (narrower panels) the
// one-stage path, and both solve the problem.
TYPED_TEST(SyevTest, WorkspaceQueryAnswersTheFormula) {
  typedef TypeParam T;
  vrx_test_tuning_seam hold(seam);
  const vrx_int n = 40, rest = vrx_is_complex<T> ? n : 2 * n;
  for (int threads : {1, 2}) {
    vrx_test_forced_threads forced(threads);
    const problem p = make_problem(spread(n), vrx_is_complex<T>, 7);
    for (const char* jobz : {"N", "V"}) {
      const bool vectors = *jobz == 'V';
      const std::string what = std::string(jobz) + " threads " + std::to_string(threads);
      answers = seam_answers{};
      // Below the band crossover: the reduction's n nb alone.
      std::vector<T> a(static_cast<std::size_t>(n * n));
      std::vector<vrx_real_t<T>> w(n), rwork(3 * n);
      T size;
      ASSERT_EQ(run<T>(jobz, "U", n, a.data(), n, w.data(), &size, -1, rwork.data()), 0);
      EXPECT_EQ(vrx_traits<T>::real_part(size), n * 5 + rest) << what;
      // Above it, with a band narrower than the matrix.
      answers.band_nx = 20;
      answers.kd = 4;
      const vrx_int band = n * (3 * 4 + 3) + threads * n + (vectors ? 2 * ((4 + 2) * n + 5 * 4 * (n + 4)) : 0);
      ASSERT_EQ(run<T>(jobz, "L", n, a.data(), n, w.data(), &size, -1, rwork.data()), 0);
      EXPECT_EQ(vrx_traits<T>::real_part(size), std::max<vrx_int>(band, n * 5) + rest) << what;
      for (const char* uplo : {"L", "U"}) {
        // The band path runs the band-to-tridiagonal sweeps, which leave their trace.
        vrx_lapack_sbrdb_trace()->region_threads = -1;
        solve_and_judge<T>(p, jobz, uplo, std::string("band lwork ") + uplo + " " + what);
        EXPECT_NE(vrx_lapack_sbrdb_trace()->region_threads, -1) << uplo << " " << what;
      }
      judge(p, solve<T>(p, jobz, "U", rest + n - 1), vectors, "least lwork " + what);
      // A band as wide as the matrix is no band: the reduction's answer again.
      answers.kd = n + 5;
      ASSERT_EQ(run<T>(jobz, "L", n, a.data(), n, w.data(), &size, -1, rwork.data()), 0);
      EXPECT_EQ(vrx_traits<T>::real_part(size), n * 5 + rest) << what;
    }
  }
}

// Orders 0 and 1 reduce nothing: w(1) = a(1,1), a(1,1) = 1 for vectors, work(1) = 1.
TYPED_TEST(SyevTest, OrdersZeroAndOne) {
  typedef TypeParam T;
  typedef vrx_real_t<T> R;
  for (const char* jobz : {"N", "V"}) {
    T a[2] = {vrx_traits<T>::make(R(-2.5), R(0)), vrx_traits<T>::make(R(9), R(9))};
    R w[1] = {R(5)}, rwork[1] = {R(0)};
    T work[4] = {};
    EXPECT_EQ(run<T>(jobz, "U", 1, a, 1, w, work, 2, rwork), 0);
    EXPECT_EQ(w[0], R(-2.5));
    EXPECT_EQ(vrx_traits<T>::real_part(a[0]), *jobz == 'V' ? R(1) : R(-2.5));
    EXPECT_EQ(vrx_traits<T>::real_part(work[0]), R(1));
    EXPECT_EQ(vrx_traits<T>::real_part(a[1]), R(9));
    w[0] = R(5);
    work[0] = vrx_traits<T>::make(R(0), R(0));
    EXPECT_EQ(run<T>(jobz, "L", 0, a, 1, w, work, 1, rwork), 0);
    EXPECT_EQ(w[0], R(5));
    EXPECT_EQ(vrx_traits<T>::real_part(work[0]), R(1));
  }
}

// Every check in order, with its report under the driver's name and nothing written.
TYPED_TEST(SyevTest, ArgumentChecksReportTheirPositions) {
  typedef TypeParam T;
  typedef vrx_real_t<T> R;
  const vrx_int least = vrx_is_complex<T> ? 2 * 3 - 1 : 3 * 3 - 1;
  struct bad {
    const char *jobz, *uplo;
    vrx_int n, lda, lwork;
    int position;
  };
  const bad cases[] = {{"X", "U", 3, 3, least, 1}, {"V", "Q", -1, 3, least, 2}, {"N", "L", -1, 3, least, 3},
                       {"V", "U", 3, 2, least, 5}, {"N", "U", 3, 3, least - 1, 8}, {"V", "L", 3, 3, 0, 8}};
  for (const bad& c : cases) {
    std::vector<T> a(9, vrx_traits<T>::make(R(2), R(0))), work(16, vrx_traits<T>::make(R(3), R(0)));
    std::vector<R> w(3, R(4)), rwork(9, R(5));
    vrx_int info = 0;
    const std::string printed = vrx_test_printed_by(
        [&] { info = run<T>(c.jobz, c.uplo, c.n, a.data(), c.lda, w.data(), work.data(), c.lwork, rwork.data()); });
    EXPECT_EQ(info, -c.position);
    EXPECT_EQ(printed, vrx_test_parameter_line(c.position, driver_name<T>()));
    for (const T& x : a) EXPECT_EQ(vrx_traits<T>::real_part(x), R(2));
    for (R x : w) EXPECT_EQ(x, R(4));
  }
}

// The reduction's and the generator's own checks, reported under their names (SYTRD or
// HETRD, ORGTR or UNGTR), with nothing written.
TYPED_TEST(SyevTest, ReductionAndGeneratorChecks) {
  typedef TypeParam T;
  typedef vrx_real_t<T> R;
  const std::string letter(1, vrx_traits<T>::letter);
  const std::string reduction = letter + (vrx_is_complex<T> ? "HETRD" : "SYTRD");
  const std::string generator = letter + (vrx_is_complex<T> ? "UNGTR" : "ORGTR");
  struct bad {
    bool generate;
    const char* uplo;
    vrx_int n, lda, lwork;
    int position;
  };
  const bad cases[] = {{false, "X", 3, 3, 3, 1}, {false, "U", -1, 3, 3, 2}, {false, "L", 3, 2, 3, 4},
                       {false, "U", 3, 3, 0, 9}, {true, "X", 3, 3, 3, 1},   {true, "L", -1, 3, 3, 2},
                       {true, "U", 3, 2, 3, 4},  {true, "L", 3, 3, 1, 7}};
  for (const bad& c : cases) {
    std::vector<T> a(9, vrx_traits<T>::make(R(2), R(0))), tau(3, vrx_traits<T>::make(R(6), R(0)));
    std::vector<T> work(4, vrx_traits<T>::make(R(3), R(0)));
    std::vector<R> d(3, R(4)), e(3, R(5));
    vrx_int info = 0;
    const std::string printed = vrx_test_printed_by([&] {
      if (c.generate) vrx_lapack_orgtr<T>(c.uplo, c.n, a.data(), c.lda, tau.data(), work.data(), c.lwork, &info);
      else
        vrx_lapack_sytrd<T>(c.uplo, c.n, a.data(), c.lda, d.data(), e.data(), tau.data(), work.data(), c.lwork,
                            &info);
    });
    EXPECT_EQ(info, -c.position);
    EXPECT_EQ(printed, vrx_test_parameter_line(c.position, c.generate ? generator : reduction));
    for (const T& x : a) EXPECT_EQ(vrx_traits<T>::real_part(x), R(2));
    for (R x : d) EXPECT_EQ(x, R(4));
    for (const T& x : work) EXPECT_EQ(vrx_traits<T>::real_part(x), R(3));
  }
}
