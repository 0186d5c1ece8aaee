// Trust-region least squares beside MINPACK's lmder on published test problems with known
// minima: function and Jacobian evaluations and the final ||F|| of each, and the median
// ratio of evaluations; then the storage of a handle, measured from its blocks, against
// 2n^2 + 4n + 2m doubles (no bounds) and 3n^2 + mn + 7n + 2m (bounds), and the blocks a
// whole solve takes and keeps.
#include <algorithm>
#include <cfloat>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "bench_support.h"
#include "optim/trn/vrx_trn.h"
#include "service/vrx_serv.h"
#include "tests/support/nls_run.h"

namespace {
// ---- lmder on one problem ----
const nls_problem* lmder_problem = nullptr;

void lmder_callback(const int* m, const int* n, const double* x, double* fvec, double* fjac, const int*, int* iflag) {
  if (*iflag == 1) lmder_problem->residual(*n, *m, x, fvec);
  if (*iflag == 2) lmder_problem->jacobian(*n, *m, x, fjac);
}

struct lmder_outcome {
  int info = 0, nfev = 0, njev = 0;
  double final_norm = 0.0;
};

lmder_outcome run_lmder(bench_lmder_fn lmder, const nls_problem& p) {
  const int m = p.m, n = p.n, ld = p.m, maxfev = 100000, mode = 1, nprint = 0;
  const double tol = 1e-10, gtol = 0.0, factor = 100.0;
  std::vector<double> x(n), fvec(m), fjac(static_cast<size_t>(m) * n), diag(n), qtf(n), wa1(n), wa2(n), wa3(n), wa4(m);
  std::vector<int> ipvt(n);
  p.start(n, x.data());
  lmder_problem = &p;
  lmder_outcome out;
  lmder(lmder_callback, &m, &n, x.data(), fvec.data(), fjac.data(), &ld, &tol, &tol, &gtol, &maxfev, diag.data(), &mode,
        &factor, &nprint, &out.info, &out.nfev, &out.njev, ipvt.data(), qtf.data(), wa1.data(), wa2.data(), wa3.data(),
        wa4.data());
  p.residual(n, m, x.data(), fvec.data());
  out.final_norm = nls_detail::norm(fvec);
  return out;
}

double median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  const size_t k = v.size() / 2;
  return v.size() % 2 ? v[k] : 0.5 * (v[k - 1] + v[k]);
}

void evaluation_table() {
  const bench_lmder_fn lmder = bench_open_lmder();
  if (!lmder) std::printf("MINPACK (minpack-dev) is not installed: our counts only\n");
  std::printf(
      "| Problem | n | m | known ||F|| | dtrnlsp F | dtrnlsp J | dtrnlsp ||F|| | st_cr | lmder F | lmder J | "
      "lmder ||F|| | info | evaluations / lmder's |\n");
  std::printf("|---|---|---|---|---|---|---|---|---|---|---|---|---|\n");
  std::vector<double> ratios, f_ratios, j_ratios;
  for (const nls_problem& p : nls_problem_set()) {
    const nls_outcome ours = nls_solve(p);
    std::printf("| %s | %d | %d | %.6g | %d | %d | %.9g | %d |", p.name, p.n, p.m, p.best_norm, ours.f_evals,
                ours.j_evals, ours.final_norm, ours.st_cr);
    if (lmder) {
      const lmder_outcome peer = run_lmder(lmder, p);
      const double ratio = double(ours.f_evals + ours.j_evals) / (peer.nfev + peer.njev);
      ratios.push_back(ratio);
      f_ratios.push_back(double(ours.f_evals) / peer.nfev);
      j_ratios.push_back(double(ours.j_evals) / peer.njev);
      std::printf(" %d | %d | %.9g | %d | %.2f |\n", peer.nfev, peer.njev, peer.final_norm, peer.info, ratio);
    } else {
      std::printf(" | | | | |\n");
    }
  }
  if (!ratios.empty())
    std::printf("\nMedian over %zu problems of our evaluations over lmder's: F and J together %.2f, F %.2f, J %.2f\n",
                ratios.size(), median(ratios), median(f_ratios), median(j_ratios));
}

// ---- storage, read from the headers of the handle's direct blocks ----
double block_doubles(const void* p) {
  const DirectHeader* header = static_cast<const DirectHeader*>(p) - 1;
  return static_cast<double>(header->total - header->alignment - sizeof(DirectHeader)) / sizeof(double);
}

void storage_table() {
  std::printf("\n| Solver | n | m | doubles in the arrays | formula | records (bytes) |\n|---|---|---|---|---|---|\n");
  const int sizes[][2] = {{2, 3}, {10, 20}, {100, 150}, {200, 400}};
  const double eps[6] = {1e-10, 1e-10, 1e-10, 1e-10, 1e-10, 1e-10};
  const int iter = 100;
  const double rs = 0.0;
  for (const auto& size : sizes) {
    const int n = size[0], m = size[1];
    std::vector<double> x(n, 1.0), lw(n, -DBL_MAX), up(n, DBL_MAX);
    dtrnlsp_handle_t h = nullptr;
    if (dtrnlsp_init(&h, &n, &m, x.data(), eps, &iter, &iter, &rs) != TRN_SUCCESS) continue;
    const vrx_trn_state* st = static_cast<vrx_trn_state*>(static_cast<vrx_trn_handle*>(h)->state);
    double arrays = 0;
    for (const double* a : {st->s, st->work_m, st->f_save, st->h, st->l, st->w2, st->g, st->w1})
      arrays += block_doubles(a);
    std::printf("| dtrnlsp | %d | %d | %.0f | %.0f | %.0f + %.0f + %.0f + %.0f |\n", n, m, arrays,
                2.0 * n * n + 4.0 * n + 2.0 * m, block_doubles(h) * 8, block_doubles(st) * 8,
                block_doubles(st->iter_rec) * 8, block_doubles(st->res_rec) * 8);
    dtrnlsp_delete(&h);
    if (dtrnlspbc_init(&h, &n, &m, x.data(), lw.data(), up.data(), eps, &iter, &iter, &rs) != TRN_SUCCESS) continue;
    const vrx_trnbc_state* bc = static_cast<vrx_trnbc_state*>(static_cast<vrx_trn_handle*>(h)->state);
    arrays = 0;
    for (const double* a :
         {bc->s, bc->work_m, bc->f_save, bc->g, bc->h, bc->l, bc->l2, bc->jw, bc->w1, bc->w2, bc->w3, bc->w4, bc->w5})
      arrays += block_doubles(a);
    std::printf("| dtrnlspbc | %d | %d | %.0f | %.0f | %.0f + %.0f + %.0f + %.0f |\n", n, m, arrays,
                3.0 * n * n + double(m) * n + 7.0 * n + 2.0 * m, block_doubles(h) * 8, block_doubles(bc) * 8,
                block_doubles(bc->iter_rec) * 8, block_doubles(bc->res_rec) * 8);
    dtrnlspbc_delete(&h);
  }
}

// ---- blocks a solve takes, counted at the base allocator ----
vrx_base_allocator underlying;
long taken = 0, live = 0;
void* count(void* p) {
  if (p) ++taken, ++live;
  return p;
}
void* counted_malloc(std::size_t size) { return count(underlying.malloc(size)); }
void counted_free(void* p) {
  if (p) --live;
  underlying.free(p);
}

void allocation_table() {
  vrx_serv_free(vrx_serv_malloc(64, 64));
  underlying = vrx_serv_base_allocator;
  vrx_serv_base_allocator.malloc = counted_malloc;
  vrx_serv_base_allocator.free = counted_free;
  std::printf(
      "\n| Problem | solver | requests | blocks taken during the loop | still held after it "
      "|\n|---|---|---|---|---|\n");
  const std::vector<nls_problem> set = nls_problem_set();
  for (const nls_problem& p : {set[0], set[set.size() - 1]}) {
    for (bool bounded : {false, true}) {
      std::vector<double> lw(p.n, -DBL_MAX), up(p.n, DBL_MAX);
      nls_options o;
      if (bounded) o.lw = lw.data(), o.up = up.data();
      // Blocks of init and delete counted apart: run the loop once to learn them.
      const long before = taken, live_before = live;
      const nls_outcome r = nls_solve(p, o);
      const long blocks = bounded ? 17 : 12;
      std::printf("| %s | %s | %zu | %ld | %ld |\n", p.name, bounded ? "dtrnlspbc" : "dtrnlsp", r.requests.size(),
                  taken - before - blocks, live - live_before);
    }
  }
  vrx_serv_base_allocator = underlying;
}
}  // namespace

int main() {
  // Every block through the direct path, whose header tells its size.
  setenv("VRX_DISABLE_FAST_MM", "1", 1);
  evaluation_table();
  storage_table();
  allocation_table();
  return 0;
}
