// Child-process driver for CPU detection, dispatch and the reproducibility branch.
// Arguments run in order:
//   fake=<profile>  present a made-up processor (tests/service/cpu_fake_processor.h)
//   type | class | branch | stored | optin | cache | gates   print one fact as "<name>=<value>"
//   variant         print the variant a fresh dispatcher picks
//   gemm            run cblas_dgemm on integer data and print "gemm ok" or the first bad shape
#include <cstdio>
#include <cstring>
#include <vector>

#include "customvrx.h"
#include "service/cpu_fake_processor.h"
#include "service/vrx_dispatch.h"

namespace {
const char* variant_name(int slot) {
  static const char* const names[8] = {"portable", "compatible", "sse2", "ssse3", "sse42", "avx", "avx2", "avx512"};
  return names[slot];
}

template <int Slot>
int variant() { return Slot; }

typedef int (*variant_fn)();
variant_fn variant_cache = nullptr;
constexpr vrx_variants<variant_fn> all_variants = {variant<0>, variant<1>, variant<2>, variant<3>,
                                                   variant<4>, variant<5>, variant<6>, variant<7>};

// Integer data keeps every product and sum exact, so the result must match to the last bit.
bool gemm_matches(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE ta, CBLAS_TRANSPOSE tb, int m, int n, int k, double alpha,
                  double beta) {
  const bool row = layout == CblasRowMajor;
  const bool at = ta != CblasNoTrans, bt = tb != CblasNoTrans;
  // Stored shapes: op(A) is m x k, op(B) is k x n.
  const int a_rows = at ? k : m, a_cols = at ? m : k, b_rows = bt ? n : k, b_cols = bt ? k : n;
  const int lda = (row ? a_cols : a_rows) + 3, ldb = (row ? b_cols : b_rows) + 1, ldc = (row ? n : m) + 2;
  std::vector<double> a(static_cast<size_t>(lda) * (row ? a_rows : a_cols));
  std::vector<double> b(static_cast<size_t>(ldb) * (row ? b_rows : b_cols));
  std::vector<double> c(static_cast<size_t>(ldc) * (row ? m : n));
  unsigned seed = static_cast<unsigned>(m * 131 + n * 17 + k);
  auto next = [&seed] {
    seed = seed * 1103515245u + 12345u;
    return static_cast<double>(static_cast<int>((seed >> 16) % 7) - 3);
  };
  for (double& x : a) x = next();
  for (double& x : b) x = next();
  for (double& x : c) x = next();
  auto at_of = [&](const std::vector<double>& v, int ld, int i, int j) { return row ? v[i * ld + j] : v[j * ld + i]; };
  auto op_a = [&](int i, int p) { return at ? at_of(a, lda, p, i) : at_of(a, lda, i, p); };
  auto op_b = [&](int p, int j) { return bt ? at_of(b, ldb, j, p) : at_of(b, ldb, p, j); };

  std::vector<double> expected(c);
  for (int i = 0; i < m; ++i)
    for (int j = 0; j < n; ++j) {
      double sum = 0;
      for (int p = 0; p < k; ++p) sum += op_a(i, p) * op_b(p, j);
      double& e = row ? expected[i * ldc + j] : expected[j * ldc + i];
      e = alpha * sum + (beta == 0 ? 0.0 : beta * e);
    }
  cblas_dgemm(layout, ta, tb, m, n, k, alpha, a.data(), lda, b.data(), ldb, beta, c.data(), ldc);
  for (std::size_t i = 0; i < c.size(); ++i)  // padding must stay untouched too; the sign of a zero may differ
    if (c[i] != expected[i]) return false;
  return true;
}

void run_gemm() {
  static const int shapes[][3] = {{1, 1, 1}, {1, 37, 5}, {29, 1, 8}, {9, 11, 1},  {7, 5, 3},
                                  {17, 13, 9}, {64, 64, 64}, {129, 67, 200}, {300, 40, 257}, {33, 250, 130}};
  const CBLAS_TRANSPOSE ops[] = {CblasNoTrans, CblasTrans};
  for (const auto& s : shapes)
    for (CBLAS_LAYOUT layout : {CblasColMajor, CblasRowMajor})
      for (CBLAS_TRANSPOSE ta : ops)
        for (CBLAS_TRANSPOSE tb : ops)
          for (double beta : {0.0, 1.0, -2.0})
            if (!gemm_matches(layout, ta, tb, s[0], s[1], s[2], 2.0, beta)) {
              std::printf("gemm wrong m=%d n=%d k=%d layout=%d ta=%d tb=%d beta=%g\n", s[0], s[1], s[2], layout, ta,
                          tb, beta);
              return;
            }
  std::printf("gemm ok\n");
}
}  // namespace

int main(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    const char* action = argv[i];
    if (std::strncmp(action, "fake=", 5) == 0) {
      const vrx_fake_cpu* cpu = vrx_fake_profile(action + 5);
      if (!cpu) {
        std::printf("unknown profile %s\n", action + 5);
        return 2;
      }
      vrx_fake_install(*cpu);
    } else if (!std::strcmp(action, "type")) {
      std::printf("type=%d\n", vrx_serv_cpu_detect());
    } else if (!std::strcmp(action, "class")) {
      std::printf("class=%d\n", vrx_serv_cpu_class(1));
    } else if (!std::strcmp(action, "branch")) {
      std::printf("branch=%d\n", vrx_serv_cbwr_get(1));
    } else if (!std::strcmp(action, "stored")) {
      std::printf("stored=%d\n", vrx_serv_cbwr_get(-1));
    } else if (!std::strcmp(action, "optin")) {
      std::printf("optin=%d\n", vrx_serv_avx512_enabled());
    } else if (!std::strcmp(action, "cache")) {
      std::int32_t record[5];
      vrx_serv_cache_record(record);
      std::printf("cache=%d %d %d %d %d\n", record[0], record[1], record[2], record[3], record[4]);
    } else if (!std::strcmp(action, "gates")) {
      std::printf("gates=%d %d %d %d %d\n", vrx_serv_vendor_gate(), vrx_serv_has_sse41_gate(), vrx_serv_cpu_code(),
                  vrx_serv_amd_fma4(), vrx_serv_amd_family10());
    } else if (!std::strcmp(action, "variant")) {
      std::printf("variant=%s\n", variant_name(vrx_serv_dispatch(&variant_cache, all_variants)()));
    } else if (!std::strcmp(action, "gemm")) {
      run_gemm();
    } else {
      std::printf("unknown action %s\n", action);
      return 2;
    }
    std::fflush(stdout);
  }
  return 0;
}
