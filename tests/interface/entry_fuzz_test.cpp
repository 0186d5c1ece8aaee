// Adversarial arguments to every export, from fixed seeds: extreme integers, bad
// enumerations and letters, null pointers with empty sizes. Each call must print exactly
// its report (or nothing), and every array it may not write must keep its bytes. Calls
// that are valid and fit the small arrays run too, and their results are checked.
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "include/customvrx.h"
#include "support/child_process.h"
#include "vector/vrx_vmf.h"

namespace {
std::string report(int parameter, const char* name) {
  return "\nArdix VRX ERROR: Parameter " + std::to_string(parameter) + " was incorrect on entry to " + name + ".\n";
}

// Standard output goes to a temporary file for a whole run; take() answers what was
// printed since its last call. Problems are kept and reported once output is restored.
class stdout_tap {
 public:
  stdout_tap() {
    std::fflush(stdout);
    saved_ = dup(STDOUT_FILENO);
    file_ = std::tmpfile();
    dup2(fileno(file_), STDOUT_FILENO);
  }
  ~stdout_tap() {
    std::fflush(stdout);
    dup2(saved_, STDOUT_FILENO);
    close(saved_);
    std::fclose(file_);
  }
  std::string take() {
    std::fflush(stdout);
    std::string out;
    char chunk[512];
    ssize_t got;
    while ((got = pread(fileno(file_), chunk, sizeof chunk, offset_)) > 0) {
      out.append(chunk, static_cast<std::size_t>(got));
      offset_ += got;
    }
    return out;
  }

 private:
  int saved_;
  std::FILE* file_;
  off_t offset_ = 0;
};

struct fuzz_log {
  std::vector<std::string> problems;
  // Records `what()` when `holds` is false; the text is built only then.
  template <typename Text>
  void expect(bool holds, Text what) {
    if (!holds) problems.push_back(what());
  }
  bool failed() const { return !problems.empty(); }
};

// Runs `rounds` rounds of `body(tap, log)` with output tapped, then reports the
// first problems found.
template <typename Body>
void run_rounds(int rounds, Body body) {
  fuzz_log log;
  {
    stdout_tap tap;
    for (int round = 0; round < rounds && !log.failed(); ++round) body(tap, log);
  }
  for (const std::string& problem : log.problems) ADD_FAILURE() << problem;
}

// The seed of a run: fixed, and different under each forced CPU type of the child runs.
std::uint64_t seed_for(std::uint64_t base) {
  const char* type = std::getenv("VRX_DEBUG_CPU_TYPE");
  return base * 1000003u + (type ? static_cast<std::uint64_t>(std::atoi(type)) + 1 : 0);
}

struct fuzz_source {
  std::mt19937_64 engine;
  explicit fuzz_source(std::uint64_t seed) : engine(seed) {}
  std::uint64_t bits() { return engine(); }
  bool chance(unsigned percent) { return bits() % 100 < percent; }
  template <typename T, std::size_t N>
  T pick(const T (&list)[N]) {
    return list[bits() % N];
  }
  // A small size most of the time, otherwise an extreme or an arbitrary 32-bit value.
  int size(int largest) {
    static const int extremes[] = {INT_MIN, INT_MIN + 1, -65536, -2, -1, 0, 1, INT_MAX / 2 + 1, INT_MAX - 1, INT_MAX};
    if (chance(70)) return static_cast<int>(bits() % (largest + 1));
    if (chance(80)) return pick(extremes);
    return static_cast<int>(static_cast<std::uint32_t>(bits()));
  }
};

// An array of seeded noise (NaN and denormal patterns included) and its original bytes.
struct canary {
  std::vector<double> data, original;
  canary(std::size_t count, fuzz_source& source) : data(count) {
    for (double& v : data) {
      const std::uint64_t b = source.bits();
      std::memcpy(&v, &b, sizeof v);
    }
    original = data;
  }
  // Small integers instead, so that results of valid calls are exact.
  void fill_small(fuzz_source& source) {
    for (double& v : data) v = static_cast<double>(static_cast<int>(source.bits() % 9) - 4);
    original = data;
  }
  bool untouched() const { return std::memcmp(data.data(), original.data(), data.size() * sizeof(double)) == 0; }
  bool untouched_at(std::size_t i) const { return std::memcmp(&data[i], &original[i], sizeof(double)) == 0; }
  double* get() { return data.data(); }
};

bool same_value(double x, double y) {
  return (std::isnan(x) && std::isnan(y)) || std::memcmp(&x, &y, sizeof x) == 0;
}

// Elements of a matrix stored as `lines` lines of `length` elements, `ld` apart.
std::int64_t extent(std::int64_t lines, std::int64_t length, std::int64_t ld) {
  return lines <= 0 || length <= 0 ? 0 : (lines - 1) * ld + length;
}

// ---------------------------------------------------------------- cblas_dgemm
struct dgemm_args {
  int layout, ta, tb, m, n, k, lda, ldb, ldc;
  std::string text() const {
    std::ostringstream s;
    s << "cblas_dgemm(" << layout << ", " << ta << ", " << tb << ", m " << m << ", n " << n << ", k " << k
      << ", lda " << lda << ", ldb " << ldb << ", ldc " << ldc << ")";
    return s.str();
  }
};

int at_least_one(int v) { return v > 1 ? v : 1; }

// The parameter the call must report, 0 for none.
int dgemm_expected(const dgemm_args& g) {
  auto transpose_ok = [](int t) { return t == CblasNoTrans || t == CblasTrans || t == CblasConjTrans; };
  if (!transpose_ok(g.ta)) return 2;
  if (!transpose_ok(g.tb)) return 3;
  if (g.m < 0) return 4;
  if (g.n < 0) return 5;
  if (g.k < 0) return 6;
  if (g.layout != CblasRowMajor && g.layout != CblasColMajor) return 1;
  const bool row = g.layout == CblasRowMajor, a_plain = g.ta == CblasNoTrans, b_plain = g.tb == CblasNoTrans;
  if (g.lda < at_least_one(row == a_plain ? g.k : g.m)) return 9;
  if (g.ldb < at_least_one(row == b_plain ? g.n : g.k)) return 11;
  if (g.ldc < at_least_one(row ? g.n : g.m)) return 14;
  return 0;
}

// op(X)(i, j) of a matrix stored in the given layout, `plain` when not transposed.
double element(const double* x, int ld, bool row, bool plain, int i, int j) {
  if (!plain) std::swap(i, j);
  return row ? x[static_cast<std::size_t>(i) * ld + j] : x[static_cast<std::size_t>(j) * ld + i];
}
std::size_t position(int ld, bool row, int i, int j) {
  return row ? static_cast<std::size_t>(i) * ld + j : static_cast<std::size_t>(j) * ld + i;
}

dgemm_args draw_dgemm(fuzz_source& s) {
  static const int bad_layouts[] = {INT_MIN, -1, 0, 100, 103, 111, 999, INT_MAX};
  static const int bad_transposes[] = {INT_MIN, -1, 0, 78, 101, 110, 114, 999, INT_MAX};
  dgemm_args g;
  g.layout = s.chance(75) ? (s.chance(50) ? CblasRowMajor : CblasColMajor) : s.pick(bad_layouts);
  g.ta = s.chance(75) ? CblasNoTrans + static_cast<int>(s.bits() % 3) : s.pick(bad_transposes);
  g.tb = s.chance(75) ? CblasNoTrans + static_cast<int>(s.bits() % 3) : s.pick(bad_transposes);
  g.m = s.size(6);
  g.n = s.size(6);
  g.k = s.size(6);
  // Leading dimensions: usually just enough or a little more, else anything.
  const bool row = g.layout == CblasRowMajor, a_plain = g.ta == CblasNoTrans, b_plain = g.tb == CblasNoTrans;
  auto leading = [&](int needed) {
    if (s.chance(70) && needed >= 0 && needed <= 6) return at_least_one(needed) + static_cast<int>(s.bits() % 3);
    return s.size(8);
  };
  g.lda = leading(row == a_plain ? g.k : g.m);
  g.ldb = leading(row == b_plain ? g.n : g.k);
  g.ldc = leading(row ? g.n : g.m);
  return g;
}

constexpr std::size_t dgemm_capacity = 64;

void fuzz_dgemm(std::uint64_t seed, int rounds) {
  fuzz_source s(seed_for(seed));
  run_rounds(rounds, [&](stdout_tap& tap, fuzz_log& log) {
    const dgemm_args g = draw_dgemm(s);
    canary a(dgemm_capacity, s), b(dgemm_capacity, s), c(dgemm_capacity, s);
    const int expected = dgemm_expected(g);
    const bool row = g.layout == CblasRowMajor, a_plain = g.ta == CblasNoTrans, b_plain = g.tb == CblasNoTrans;
    const bool empty = expected == 0 && (g.m == 0 || g.n == 0);
    const double alpha = expected == 0 ? s.pick({1.0, -2.0, 0.5, 0.0}) : 3.0;
    const double beta = expected == 0 ? s.pick({0.0, 1.0, -1.0, 2.0}) : 3.0;
    bool work = false;
    if (expected == 0 && !empty) {
      // A valid product: run it only when it fits the arrays.
      const std::int64_t a_need = extent(row == a_plain ? g.m : g.k, row == a_plain ? g.k : g.m, g.lda);
      const std::int64_t b_need = extent(row == b_plain ? g.k : g.n, row == b_plain ? g.n : g.k, g.ldb);
      const std::int64_t c_need = extent(row ? g.m : g.n, row ? g.n : g.m, g.ldc);
      const std::int64_t cap = static_cast<std::int64_t>(dgemm_capacity);
      if (a_need > cap || b_need > cap || c_need > cap) return;
      work = true;
      a.fill_small(s);
      b.fill_small(s);
      c.fill_small(s);
    }
    // Null arrays wherever nothing is read: a failing call, an empty C, or k = 0 for A and B.
    const bool a_unread = !work || g.k == 0;
    const double* pa = a_unread && s.chance(35) ? nullptr : a.get();
    const double* pb = a_unread && s.chance(35) ? nullptr : b.get();
    double* pc = !work && s.chance(35) ? nullptr : c.get();
    cblas_dgemm(static_cast<CBLAS_LAYOUT>(g.layout), static_cast<CBLAS_TRANSPOSE>(g.ta),
                static_cast<CBLAS_TRANSPOSE>(g.tb), g.m, g.n, g.k, alpha, pa, g.lda, pb, g.ldb, beta, pc, g.ldc);
    const std::string out = tap.take(), want = expected ? report(expected, "cblas_dgemm") : "";
    log.expect(out == want, [&] { return g.text() + " printed \"" + out + "\", not \"" + want + "\""; });
    log.expect(a.untouched() && b.untouched(), [&] { return g.text() + " wrote A or B"; });
    if (!work) {
      log.expect(c.untouched(), [&] { return g.text() + " wrote C"; });
      return;
    }
    // C's elements hold the exact product (small integers); everything between them is untouched.
    std::vector<bool> inside(dgemm_capacity, false);
    for (int i = 0; i < g.m; ++i)
      for (int j = 0; j < g.n; ++j) {
        double sum = 0.0;
        for (int l = 0; l < g.k; ++l)
          sum += element(a.get(), g.lda, row, a_plain, i, l) * element(b.get(), g.ldb, row, b_plain, l, j);
        const std::size_t p = position(g.ldc, row, i, j);
        inside[p] = true;
        const double product = beta == 0.0 ? alpha * sum : alpha * sum + beta * c.original[p];
        log.expect(c.data[p] == product, [&] {
          return g.text() + " gave " + std::to_string(c.data[p]) + " at (" + std::to_string(i) + ", " +
                 std::to_string(j) + "), not " + std::to_string(product);
        });
      }
    for (std::size_t p = 0; p < dgemm_capacity; ++p)
      if (!inside[p]) log.expect(c.untouched_at(p), [&] { return g.text() + " wrote outside C at " + std::to_string(p); });
  });
}

// ---------------------------------------------------------------- vdsub
constexpr std::size_t vdsub_capacity = 48;

void fuzz_vdsub(std::uint64_t seed, int rounds) {
  fuzz_source s(seed_for(seed));
  run_rounds(rounds, [&](stdout_tap& tap, fuzz_log& log) {
    const int n = s.size(static_cast<int>(vdsub_capacity));
    canary a(vdsub_capacity, s), b(vdsub_capacity, s), y(vdsub_capacity, s);
    const double* pa = s.chance(20) ? nullptr : a.get();
    const double* pb = s.chance(20) ? nullptr : b.get();
    double* py = s.chance(20) ? nullptr : y.get();
    int expected = 0;
    std::int32_t status = 77;
    if (n < 0) {
      expected = 1;
      status = VRX_VMF_STATUS_BADSIZE;
    } else if (n > 0 && (!pa || !pb || !py)) {
      expected = !pa ? 2 : !pb ? 3 : 4;
      status = VRX_VMF_STATUS_BADMEM;
    }
    const bool work = expected == 0 && n > 0;
    if (work && n > static_cast<int>(vdsub_capacity)) return;
    vrx_vmf_set_status(77);
    vdsub(&n, pa, pb, py);
    const std::string out = tap.take(), want = expected ? report(expected, "vdSub") : "";
    auto text = [&] {
      return "vdsub(n " + std::to_string(n) + ", a " + (pa ? "set" : "null") + ", b " + (pb ? "set" : "null") +
             ", y " + (py ? "set" : "null") + ")";
    };
    log.expect(out == want, [&] { return text() + " printed \"" + out + "\", not \"" + want + "\""; });
    if (!work)
      log.expect(vrx_vmf_get_status() == status,
                 [&] { return text() + " left the status " + std::to_string(vrx_vmf_get_status()); });
    log.expect(a.untouched() && b.untouched(), [&] { return text() + " wrote a or b"; });
    for (std::size_t i = 0; i < vdsub_capacity; ++i) {
      if (work && i < static_cast<std::size_t>(n))
        log.expect(same_value(y.data[i], a.data[i] - b.data[i]), [&] { return text() + " wrong at " + std::to_string(i); });
      else
        log.expect(y.untouched_at(i), [&] { return text() + " wrote y[" + std::to_string(i) + "]"; });
    }
  });
}

// ---------------------------------------------------------------- djacobi, djacobix
// f_i(x) = (i + 1) * sum_j (j + 1) x_j, so column j of the Jacobian is (i + 1)(j + 1).
std::atomic<long> jacobi_calls{0};
void linear_values(const int* m, const int* n, const double* x, double* f) {
  jacobi_calls.fetch_add(1, std::memory_order_relaxed);
  double sum = 0.0;
  for (int j = 0; j < *n; ++j) sum += (j + 1) * x[j];
  for (int i = 0; i < *m; ++i) f[i] = (i + 1) * sum;
}
void plain_fcn(int* m, int* n, double* x, double* f) { linear_values(m, n, x, f); }
void data_fcn(int* m, int* n, double* x, double* f, void* user_data) {
  if (user_data == &jacobi_calls) linear_values(m, n, x, f);
}

constexpr std::size_t jacobi_capacity = 64;

void fuzz_jacobi(std::uint64_t seed, int rounds) {
  static const double steps[] = {0.0, -0.0, -1e-300, -1.0, -INFINITY, 1e-6, 1e-3, 0.5, NAN};
  fuzz_source s(seed_for(seed));
  run_rounds(rounds, [&](stdout_tap& tap, fuzz_log& log) {
    const int n = s.size(6), m = s.size(6);
    const double eps = s.pick(steps);
    const bool with_data = s.chance(50);
    canary fjac(jacobi_capacity, s), x(8, s);
    const bool refused = n < 1 || eps <= 0.0;
    // A valid call reads n points of x and writes m by n values: run those that fit.
    if (!refused && (n > 8 || static_cast<std::int64_t>(m) * n > static_cast<std::int64_t>(jacobi_capacity))) return;
    if (!refused)
      for (int j = 0; j < n; ++j) x.data[j] = x.original[j] = 0.25 * j - 0.5;
    const bool fjac_unused = refused || m <= 0;
    double* pf = fjac_unused && s.chance(35) ? nullptr : fjac.get();
    const double* px = refused && s.chance(35) ? nullptr : x.get();
    const bool null_fcn = refused && s.chance(50);
    jacobi_calls = 0;
    const int status = with_data ? djacobix(null_fcn ? nullptr : data_fcn, &n, &m, pf, px, &eps, &jacobi_calls)
                                 : djacobi(null_fcn ? nullptr : plain_fcn, &n, &m, pf, px, &eps);
    const std::string out = tap.take();
    auto text = [&] {
      std::ostringstream t;
      t << (with_data ? "djacobix" : "djacobi") << "(n " << n << ", m " << m << ", eps " << eps << ")";
      return t.str();
    };
    log.expect(out.empty(), [&] { return text() + " printed \"" + out + "\""; });
    log.expect(x.untouched(), [&] { return text() + " wrote x"; });
    log.expect(status == (refused ? 1502 : 1501), [&] { return text() + " returned " + std::to_string(status); });
    const long calls = jacobi_calls.load();
    log.expect(calls == (refused ? 0 : 2L * n), [&] { return text() + " called fcn " + std::to_string(calls) + " times"; });
    const std::size_t written = !refused && m > 0 ? static_cast<std::size_t>(m) * n : 0;
    for (std::size_t p = 0; p < jacobi_capacity; ++p) {
      if (p >= written) {
        log.expect(fjac.untouched_at(p), [&] { return text() + " wrote fjac[" + std::to_string(p) + "]"; });
        continue;
      }
      const double want = static_cast<double>((p % m + 1) * (p / m + 1)), got = fjac.data[p];
      const bool right = std::isnan(eps) ? std::isnan(got) : std::fabs(got - want) <= 1e-6 * want;
      log.expect(right, [&] { return text() + " gave " + std::to_string(got) + " at " + std::to_string(p); });
    }
  });
}

// ---------------------------------------------------------------- VRX_Domatcopy, VRX_Dimatcopy
struct matcopy_args {
  char ordering, trans;
  std::size_t rows, cols, lda, ldb;
  double alpha;
  std::string text(const char* name) const {
    std::ostringstream s;
    s << name << "(ordering " << static_cast<int>(ordering) << ", trans " << static_cast<int>(trans) << ", rows "
      << rows << ", cols " << cols << ", lda " << lda << ", ldb " << ldb << ", alpha " << alpha << ")";
    return s.str();
  }
};

bool transposing(char t) { return t == 'T' || t == 't' || t == 'C' || t == 'c'; }
bool copying(char t) { return t == 'N' || t == 'n' || t == 'R' || t == 'r'; }
bool row_major(char o) { return o == 'R' || o == 'r'; }
bool col_major(char o) { return o == 'C' || o == 'c'; }

std::size_t draw_extent(fuzz_source& s) {
  static const std::size_t extremes[] = {0,
                                         1,
                                         SIZE_MAX,
                                         SIZE_MAX - 1,
                                         SIZE_MAX / 2,
                                         SIZE_MAX / 2 + 1,
                                         static_cast<std::size_t>(INT_MAX),
                                         static_cast<std::size_t>(UINT32_MAX),
                                         static_cast<std::size_t>(static_cast<std::ptrdiff_t>(INT_MIN)),
                                         std::size_t(1) << 40};
  if (s.chance(70)) return s.bits() % 7;
  if (s.chance(80)) return s.pick(extremes);
  return s.bits();
}

matcopy_args draw_matcopy(fuzz_source& s) {
  static const char orderings[] = {'R', 'r', 'C', 'c'};
  static const char transpositions[] = {'N', 'n', 'R', 'r', 'T', 't', 'C', 'c'};
  matcopy_args g;
  g.ordering = s.chance(70) ? s.pick(orderings) : static_cast<char>(s.bits());
  g.trans = s.chance(70) ? s.pick(transpositions) : static_cast<char>(s.bits());
  g.rows = draw_extent(s);
  g.cols = draw_extent(s);
  // Source and target line lengths in row-major terms (column-major swaps them).
  const bool col = col_major(g.ordering);
  const std::size_t lines = col ? g.cols : g.rows, length = col ? g.rows : g.cols;
  const std::size_t target_length = transposing(g.trans) ? lines : length;
  auto leading = [&](std::size_t needed) {
    return s.chance(75) && needed <= 6 ? (needed ? needed : 1) + s.bits() % 3 : draw_extent(s);
  };
  g.lda = leading(length);
  g.ldb = leading(target_length);
  g.alpha = s.pick({1.0, -2.0, 0.5, 0.0});
  return g;
}

constexpr std::size_t matcopy_capacity = 64;

// Where element (i, j) of the row-major view goes: the target index, for the footprint.
std::size_t matcopy_target(const matcopy_args& g, std::size_t i, std::size_t j) {
  return transposing(g.trans) ? j * g.ldb + i : i * g.ldb + j;
}

enum class matcopy_kind { out_of_place, in_place };

void fuzz_matcopy(std::uint64_t seed, int rounds, matcopy_kind kind) {
  const char* name = kind == matcopy_kind::in_place ? "VRX_Dimatcopy" : "VRX_Domatcopy";
  fuzz_source s(seed_for(seed));
  run_rounds(rounds, [&](stdout_tap& tap, fuzz_log& log) {
    const matcopy_args g = draw_matcopy(s);
    const bool col = col_major(g.ordering);
    const bool letters_ok = (row_major(g.ordering) || col) && (transposing(g.trans) || copying(g.trans));
    // Documented no-op: an empty matrix or any other letter, whatever the other arguments.
    // In place, a transposition that is not a square exchange has no index map for lda = 0.
    const bool square = g.rows == g.cols && g.lda == g.ldb;
    const bool no_map = kind == matcopy_kind::in_place && transposing(g.trans) && !square && g.lda == 0;
    const bool no_op = g.rows == 0 || g.cols == 0 || !letters_ok || no_map;
    const std::size_t lines = col ? g.cols : g.rows, length = col ? g.rows : g.cols;
    canary a(matcopy_capacity, s), b(matcopy_capacity, s);
    if (!no_op) {
      // A valid copy: run it when the leading dimensions hold the lines and it fits the arrays.
      const std::size_t target_lines = transposing(g.trans) ? length : lines;
      const std::size_t target_length = transposing(g.trans) ? lines : length;
      if (lines > 8 || length > 8 || g.lda < length || g.ldb < target_length || g.lda > 16 || g.ldb > 16) return;
      if (static_cast<std::size_t>(extent(lines, length, g.lda)) > matcopy_capacity ||
          static_cast<std::size_t>(extent(target_lines, target_length, g.ldb)) > matcopy_capacity)
        return;
      a.fill_small(s);
    }
    const bool nulls = no_op && s.chance(35);
    if (kind == matcopy_kind::out_of_place)
      VRX_Domatcopy(g.ordering, g.trans, g.rows, g.cols, g.alpha, nulls ? nullptr : a.get(), g.lda,
                    nulls ? nullptr : b.get(), g.ldb);
    else
      VRX_Dimatcopy(g.ordering, g.trans, g.rows, g.cols, g.alpha, nulls ? nullptr : a.get(), g.lda, g.ldb);
    const std::string out = tap.take();
    log.expect(out.empty(), [&] { return g.text(name) + " printed \"" + out + "\""; });
    if (no_op) {
      log.expect(a.untouched() && b.untouched(), [&] { return g.text(name) + " is not a no-op"; });
      return;
    }
    // Target elements hold alpha times their source; outside the footprints nothing moved.
    const canary& written = kind == matcopy_kind::in_place ? a : b;
    std::vector<bool> inside(matcopy_capacity, false);
    for (std::size_t i = 0; i < lines; ++i)
      for (std::size_t j = 0; j < length; ++j) {
        const std::size_t p = matcopy_target(g, i, j);
        inside[p] = true;
        const double want = g.alpha * a.original[i * g.lda + j];
        log.expect(written.data[p] == want, [&] {
          return g.text(name) + " gave " + std::to_string(written.data[p]) + " for (" + std::to_string(i) + ", " +
                 std::to_string(j) + "), not " + std::to_string(want);
        });
      }
    if (kind == matcopy_kind::out_of_place) log.expect(a.untouched(), [&] { return g.text(name) + " wrote a"; });
    // In place, the gaps of the source may take carried values; beyond both matrices nothing may.
    const std::size_t source_end = static_cast<std::size_t>(extent(lines, length, g.lda));
    for (std::size_t p = 0; p < matcopy_capacity; ++p) {
      if (inside[p] || (kind == matcopy_kind::in_place && p < source_end)) continue;
      log.expect(written.untouched_at(p),
                 [&] { return g.text(name) + " wrote outside the target at " + std::to_string(p); });
    }
  });
}

// Rounds per export; the child runs of the other kernel families take a fifth of them.
int rounds(int full) {
  const char* share = std::getenv("ENTRY_FUZZ_DIVISOR");
  const int divisor = share ? std::atoi(share) : 1;
  return divisor > 1 ? full / divisor : full;
}
constexpr int fuzz_rounds = 3000;
constexpr int jacobi_rounds = 400;  // each valid call forks a team
}  // namespace

TEST(EntryFuzz, CblasDgemm) { fuzz_dgemm(1, rounds(fuzz_rounds)); }
TEST(EntryFuzz, Vdsub) { fuzz_vdsub(2, rounds(fuzz_rounds)); }
TEST(EntryFuzz, DjacobiAndDjacobix) { fuzz_jacobi(3, rounds(jacobi_rounds)); }
TEST(EntryFuzz, Domatcopy) { fuzz_matcopy(4, rounds(fuzz_rounds), matcopy_kind::out_of_place); }
TEST(EntryFuzz, Dimatcopy) { fuzz_matcopy(5, rounds(fuzz_rounds), matcopy_kind::in_place); }

// The rounds under every other kernel family this processor runs, each in a child
// with the CPU type and the vector-math kernel column forced.
TEST(EntryFuzzTypes, EveryKernelFamily) {
  char self[4096];
  const ssize_t length = readlink("/proc/self/exe", self, sizeof self - 1);
  ASSERT_GT(length, 0);
  self[length] = '\0';
  const std::pair<const char*, const char*> families[] = {{"0", "2"}, {"2", "3"}, {"3", "5"},
                                                          {"4", "6"}, {"5", "7"}, {"7", "9"}};
  for (const auto& [type, column] : families) {
    const vrx_child_result r = vrx_test_run(self, {"--gtest_filter=EntryFuzz.*", "--gtest_brief=1"},
                                            {{"VRX_DEBUG_CPU_TYPE", type}, {"VRX_VMF_CPU_CODE", column}, {"ENTRY_FUZZ_DIVISOR", "5"}});
    EXPECT_EQ(r.exit_status, 0) << "CPU type " << type << ", vector column " << column << ":\n" << r.output;
  }
}
