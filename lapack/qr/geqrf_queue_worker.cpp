// The worker of the QR queue path: each claim applies one factored panel to a run of
// block columns with the sequential BLAS, and the thread that gives the next panel's
// column its last update factors that panel at once, storing its T at the panel's own
// place in the shared array of factors.
#include <omp.h>

#include "lapack/householder/vrx_householder.h"
#include "lapack/qr/vrx_geqrf_queue.h"
#include "lapack/sched/vrx_task_queue.h"
#include "service/vrx_spin_barrier.h"

namespace {
constexpr int recheck_rounds = 256;

vrx_int smaller(vrx_int a, vrx_int b) { return a < b ? a : b; }

// Reflectors of panel p (from 1): its width, or the rows left when fewer.
template <typename T>
vrx_int panel_reflectors(const vrx_geqrf_queue_region<T>* r, vrx_int p) {
  const vrx_int j = (p - 1) * r->nb;
  return smaller(smaller(r->nb, r->n - j), r->m - j);
}

template <typename T>
T* panel_factor(const vrx_geqrf_queue_region<T>* r, vrx_int p) {
  return r->factors + (p - 1) * r->nb * r->nb;
}

// Panel p applied to block columns first..first + count - 1, rows from the panel's top.
template <typename T>
void apply_panel(const vrx_geqrf_queue_region<T>* r, vrx_int p, vrx_int first, vrx_int count, T* work) {
  const vrx_int j = (p - 1) * r->nb;
  const vrx_int col = (first - 1) * r->nb;
  const vrx_int width = smaller((first - 1 + count) * r->nb, r->n) - col;
  const T* v = r->a + j * r->lda + j;
  vrx_lapack_larfb("Left", "Conjugate transpose", "Forward", "Columnwise", r->m - j, width, panel_reflectors(r, p), v,
                   r->lda, panel_factor(r, p), r->nb, r->a + col * r->lda + j, r->lda, work, r->words.chunk * r->nb,
                   true);
}

// Factors panel p with LAQRF; a block column wider than the rows left keeps its extra
// columns, which the panel's reflectors then update. True when the hook asked to stop.
template <typename T>
bool factor_panel(vrx_geqrf_queue_region<T>* r, vrx_int p, int tid, T* work) {
  const vrx_int j = (p - 1) * r->nb;
  const vrx_int width = smaller(r->nb, r->n - j), reflectors = panel_reflectors(r, p);
  T* panel = r->a + j * r->lda + j;
  T* panel_work = r->panel_work ? r->panel_work + static_cast<vrx_int>(tid) * r->words.chunk * r->nb : nullptr;
  vrx_lapack_laqrf(r->m - j, reflectors, panel, r->lda, r->tau + j, panel_factor(r, p), r->nb, panel_work,
                   panel_work ? r->words.chunk * r->nb : 0);
  if (width > reflectors)
    vrx_lapack_larfb("Left", "Conjugate transpose", "Forward", "Columnwise", r->m - j, width - reflectors,
                     reflectors, panel, r->lda, panel_factor(r, p), r->nb, panel + reflectors * r->lda, r->lda, work,
                     r->words.chunk * r->nb, true);
  return vrx_lapack_geqrf_progress<T>(tid, j + reflectors);
}

struct choice_call {
  vrx_geqrf_queue_words* words;
  int tid, threads;
  vrx_int last_col;
  vrx_geqrf_claim* claim;
  int answer;
  vrx_int factored, scan_level;  // as the choice left them
};
}  // namespace

template <typename T>
void vrx_lapack_geqrf_worker(vrx_geqrf_queue_region<T>* r) {
  const int tid = omp_get_thread_num(), threads = omp_get_num_threads();
  if (tid == 0) r->region_threads = threads;
  T* work = r->update_work + static_cast<vrx_int>(tid) * r->words.chunk * r->nb * r->nb;
  vrx_geqrf_claim claim = {};
  vrx_int last_col = 0;
  int spins = 0;
  while (!__atomic_load_n(&r->stop, __ATOMIC_ACQUIRE)) {
    choice_call call = {&r->words, tid, threads, last_col, &claim, 0, 0, 0};
    vrx_lapack_sched_locked(
        [](void* context) {
          choice_call* c = static_cast<choice_call*>(context);
          vrx_geqrf_claim done = *c->claim;
          c->answer = vrx_lapack_geqrf_choose(c->words, c->tid, c->threads, c->last_col, &done, c->claim);
          c->factored = c->words->factored;
          c->scan_level = c->words->scan_level;
        },
        &call);
    if (call.answer == VRX_GEQRF_CLAIM_FINISHED) break;
    if (call.answer == VRX_GEQRF_CLAIM_WAIT) {
      // A panel or a held column is on its way: poll until one of the words moves, and
      // ask again now and then all the same (a column coming back finished moves neither).
      for (int round = 0; round < recheck_rounds && !__atomic_load_n(&r->stop, __ATOMIC_ACQUIRE); ++round) {
        if (__atomic_load_n(&r->words.factored, __ATOMIC_ACQUIRE) != call.factored ||
            __atomic_load_n(&r->words.scan_level, __ATOMIC_ACQUIRE) != call.scan_level)
          break;
        vrx_serv_spin_wait_round(&spins);
      }
      continue;
    }
    spins = 0;
    apply_panel(r, claim.panel, claim.first, claim.count, work);
    last_col = claim.first + claim.count - 1;
    if (claim.factor) {
      __atomic_add_fetch(&r->panels_by_workers, 1, __ATOMIC_RELAXED);
      if (factor_panel(r, claim.panel + 1, tid, work)) __atomic_store_n(&r->stop, 1, __ATOMIC_RELEASE);
    }
  }
}

#define VRX_GEQRF_WORKER_INSTANCE(T) template void vrx_lapack_geqrf_worker<T>(vrx_geqrf_queue_region<T>*);
VRX_GEQRF_WORKER_INSTANCE(float)
VRX_GEQRF_WORKER_INSTANCE(double)
VRX_GEQRF_WORKER_INSTANCE(vrx_complex_float)
VRX_GEQRF_WORKER_INSTANCE(vrx_complex_double)
#undef VRX_GEQRF_WORKER_INSTANCE
