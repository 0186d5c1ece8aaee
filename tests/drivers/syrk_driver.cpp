// Rank-k and rank-2k updates of one precision through the published names (SYRK,
// SYR2K, and HERK, HER2K for the complex ones) under this process's settings (CPU
// type, thread count, dynamic mode, reproducibility branch), checked against a wider
// reference: the stored triangle, the opposite triangle and the padding unchanged bit
// for bit, a real diagonal for the Hermitian forms, the same bits on a second run.
//   syrk_driver LETTER [refuse|nobuffer]
//     refuse: every scratch allocation of the level-3 routines fails; nobuffer: only
//     the 131072-byte copy buffer of the sequential pass does.
//   syrk_driver border
//     DSYRK on both sides of n = 499 with k = 20 n, checked against DGEMM's product
//     (too large for the wide reference); prints "N K ROAD" per shape, then "ok".
// Prints one line per shape, "N K ROAD ROAD2" with the road each form took (see
// vrx_syrk_trace: the number, then c0/c1 whether the copy buffer was had, w0/w1 the
// workspace), then "ok COUNT" and exits 0, or what went wrong and exits 1.
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "blas/level3/syrk/vrx_syrk.h"
#include "service/vrx_serv.h"
#include "support/symmetric_reference.h"

namespace {
void* refuse(std::size_t, int) { return nullptr; }
void* refuse_copy_buffer(std::size_t size, int alignment) {
  return size == 131072 ? nullptr : vrx_serv_malloc(size, alignment);
}

std::string trace_text() {
  const vrx_syrk_trace t = vrx_syrk_last_trace();
  std::string s = std::to_string(t.road);
  if (t.copy_buffer >= 0) s += "c" + std::to_string(t.copy_buffer);
  if (t.workspace >= 0) s += "w" + std::to_string(t.workspace);
  return s;
}

struct shape {
  int64_t n, k;
  bool every_form;  // all uplo, trans and scalar combinations, or a sample
};

template <typename T>
bool check(const vrx_test_rank_update<T>& u, std::string* trace) {
  const std::vector<T> c = vrx_test_rank_update_run(u);
  *trace = trace_text();
  bool good = vrx_test_rank_update_bad_elements(u, c) == 0;
  const std::vector<T> again = vrx_test_rank_update_run(u);
  if (std::memcmp(again.data(), c.data(), c.size() * sizeof(T)) != 0) {
    std::printf("a second run differs\n");
    good = false;
  }
  if (!good)
    std::printf("%s%s %c%c n %lld k %lld failed\n", u.hermitian ? "HE" : "SY", u.two ? "R2K" : "RK", u.uplo,
                u.trans, (long long)u.n, (long long)u.k);
  return good;
}

template <typename T>
int run() {
  typedef vrx_traits<T> tr;
  const shape shapes[] = {{16, 16, true},   {17, 5, true},    {5, 17, false},  {4, 40, true},   {15, 300, false},
                          {20, 399, false}, {20, 400, false}, {100, 30, true}, {97, 1, false}, {300, 12, false}};
  const T scalars[][2] = {{tr::make(0.75f, -0.5f), tr::make(-1.25f, 0.25f)}, {tr::make(1, 0), tr::make(0, 0)},
                          {tr::make(0, 0), tr::make(2, 0)}, {tr::make(-1, 0), tr::make(1, 0)}};
  int count = 0;
  bool good = true;
  unsigned seed = 1;
  for (const shape& s : shapes) {
    std::string roads[2];
    for (int form = 0; form < 4; ++form) {
      const bool hermitian = form >= 2, two = form % 2 == 1;
      if (hermitian && !tr::is_complex) continue;
      int variant = 0;
      for (char uplo : {'L', 'U'})
        for (char trans : {'N', hermitian ? 'C' : (tr::is_complex ? 'T' : 'C')})
          for (const auto& ab : scalars) {
            const bool first = variant++ == 0;
            if (!s.every_form && !first && variant % 3 != 0) continue;
            const vrx_test_rank_update<T> u =
                vrx_test_make_rank_update<T>(hermitian, two, uplo, trans, s.n, s.k, ab[0], ab[1], seed++);
            std::string trace;
            good = check(u, &trace) && good;
            ++count;
            if (first && form < 2) roads[form] = trace;
          }
    }
    std::printf("%lld %lld %s %s\n", (long long)s.n, (long long)s.k, roads[0].c_str(), roads[1].c_str());
  }
  if (!good) return 1;
  std::printf("ok %d\n", count);
  return 0;
}
}  // namespace

// One triangle of DSYRK against the same triangle of DGEMM's A A^T: both within the
// rounding of a k-term sum; the other triangle untouched.
int border() {
  bool good = true;
  const struct {
    int64_t n, k;
    char uplo;
  } cases[] = {{499, 9980, 'L'}, {500, 10000, 'U'}};
  for (const auto& s : cases) {
    const vrx_test_rank_update<double> u =
        vrx_test_make_rank_update<double>(false, false, s.uplo, 'N', s.n, s.k, 0.5, -1.0, 5);
    const std::vector<double> c = vrx_test_rank_update_run(u);
    const std::string trace = trace_text();
    std::vector<double> g = u.c;
    const vrx_int n = s.n, k = s.k, lda = u.lda, ldc = u.ldc;
    vrx_blas_dgemm("N", "T", &n, &n, &k, &u.alpha, u.a.data(), &lda, u.a.data(), &lda, &u.beta, g.data(), &ldc);
    const double limit = 4.0 * (2 * s.k + 2) * DBL_EPSILON * (0.5 * s.k + 1.0);
    int64_t bad = 0;
    for (int64_t j = 0; j < s.n; ++j)
      for (int64_t i = 0; i < u.ldc; ++i) {
        const std::size_t at = static_cast<std::size_t>(i + j * u.ldc);
        const bool stored = i < s.n && (s.uplo == 'L' ? i >= j : i <= j);
        if (stored ? !(std::fabs(c[at] - g[at]) <= limit) : std::memcmp(&c[at], &u.c[at], sizeof(double)) != 0) ++bad;
      }
    if (bad) {
      std::printf("n %lld: %lld elements wrong\n", (long long)s.n, (long long)bad);
      good = false;
    }
    std::printf("%lld %lld %s\n", (long long)s.n, (long long)s.k, trace.c_str());
  }
  if (!good) return 1;
  std::printf("ok\n");
  return 0;
}

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  if (std::strcmp(argv[1], "border") == 0) return border();
  if (argc > 2 && std::strcmp(argv[2], "refuse") == 0) vrx_l3_scratch_alloc = refuse;
  if (argc > 2 && std::strcmp(argv[2], "nobuffer") == 0) vrx_l3_scratch_alloc = refuse_copy_buffer;
  switch (argv[1][0]) {
    case 'S': return run<float>();
    case 'D': return run<double>();
    case 'C': return run<vrx_complex_float>();
    case 'Z': return run<vrx_complex_double>();
    default: return 2;
  }
}
