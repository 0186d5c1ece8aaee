// The classic threaded road of TRSM and TRMM in S, D, C and Z under this process's
// settings (CPU type, branch, thread count, dynamic mode), checked against the wide
// reference, with the road's decision checked against the thread model.
//   trsm_classic_driver
// For each call prints "ROUTINE CODES MxN planned P team T unit U" (the road's trace),
// then "ok" and exits 0; on a wrong result or a decision that differs from the model,
// prints what went wrong and exits 1.
#include <cstdio>

#include "blas/level3/trsm/vrx_tri_classic.h"
#include "blas/tri_test_support.h"
#include "blas/vrx_l3.h"
#include "service/vrx_serv.h"

namespace {
template <typename T>
void through_road(bool solve, const vrx_test_triangular<T>& p, std::vector<T>* b) {
  const vrx_int m = p.m, n = p.n, lda = p.lda, ldb = p.ldb;
  const vrx_trsm_fn<T> road =
      solve ? vrx_test_tri_members<T>::solve_classic : vrx_test_tri_members<T>::product_classic;
  road(&p.side, &p.uplo, &p.trans, &p.diag, &m, &n, &p.alpha, p.a.data(), &lda, b->data(), &ldb);
}

struct call {
  const char* codes;
  int64_t m, n;
};
// m = n = 16 (never threaded), both sides of the model's thresholds for small thread
// counts, many right-hand sides per thread, m on both sides of 513 (slices cut at
// multiples of 4), side R with few rows.
const call calls[] = {{"LUNN", 16, 16}, {"RLCU", 16, 16}, {"LLTN", 40, 40}, {"RUNU", 40, 40},
                      {"LUCN", 30, 70}, {"RLTN", 90, 24}, {"LLNU", 512, 13}, {"LUTN", 520, 13},
                      {"RUCN", 530, 20}, {"RLNN", 7, 60}};

template <typename T>
bool run() {
  const int t = vrx_serv_domain_get_max_threads(VRX_DOMAIN_BLAS);
  bool good = true;
  unsigned seed = 1;
  for (const call& c : calls)
    for (bool solve : {true, false}) {
      const vrx_test_triangular<T> p =
          vrx_test_make_triangular<T>(c.codes, c.m, c.n, vrx_test_tri_alpha<T>(seed), seed);
      ++seed;
      std::vector<T> b = p.b;
      through_road<T>(solve, p, &b);
      const vrx_tri_classic_trace trace = vrx_tri_classic_last_trace();
      const char* routine = solve ? "TRSM" : "TRMM";
      std::printf("%c%s %s %lldx%lld planned %d team %d unit %lld\n", vrx_traits<T>::letter, routine, c.codes,
                  (long long)c.m, (long long)c.n, trace.planned, trace.team, (long long)trace.unit);
      const int planned = vrx_l3_tri_plan(vrx_test_tri_codes(p), c.m, c.n, t).threads;
      if (trace.kind != (solve ? VRX_L3_TRSM : VRX_L3_TRMM) || trace.planned != planned) {
        std::printf("the road planned %d threads, the model %d\n", trace.planned, planned);
        good = false;
      }
      if (vrx_test_triangular_bad_elements(p, solve, b) != 0) {
        std::printf("wrong result\n");
        good = false;
      }
    }
  return good;
}
}  // namespace

int main() {
  const bool good = run<float>() & run<double>() & run<vrx_complex_float>() & run<vrx_complex_double>();
  if (!good) return 1;
  std::printf("ok\n");
  return 0;
}
