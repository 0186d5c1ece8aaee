// The choice of the QR column queue, made inside the scheduler's critical section: the
// column on the critical path first, then the thread's neighbourhood, its own stripe,
// and finally any column at the lowest level still open.
#include "lapack/qr/vrx_geqrf_queue.h"

namespace {
// Block columns one claim may take at level p: chunk, or an even share of what remains
// right of panel p when that is less than chunk per thread.
vrx_int share(const vrx_geqrf_queue_words* q, vrx_int p, int threads) {
  const vrx_int remaining = q->nblk - p;
  if (remaining >= q->chunk * threads) return q->chunk;
  const vrx_int s = (remaining + 1) / threads;
  return s < 1 ? 1 : s;
}

// Column c waits for panel p and no thread holds it.
bool open_at(const vrx_geqrf_queue_words* q, vrx_int c, vrx_int p) {
  return c > p && c <= q->nblk && q->status[c] == p;
}

// The run from c: adjacent columns at level p up to s of them, ending where the next
// group of s columns counted from the panel begins. The column that becomes the next
// panel goes alone, so that its factorisation starts as early as possible.
void claim_run(vrx_geqrf_queue_words* q, vrx_int c, vrx_int p, vrx_int s, vrx_geqrf_claim* next) {
  next->panel = p;
  next->first = c;
  next->factor = c == p + 1 && p < q->npan;
  vrx_int count = 1;
  if (!next->factor)
    while (count < s && open_at(q, c + count, p) && (c + count - p - 1) % s != 0) ++count;
  for (vrx_int i = 0; i < count; ++i) q->status[c + i] = -1;
  next->count = count;
}

bool any_held(const vrx_geqrf_queue_words* q) {
  for (vrx_int c = 1; c <= q->nblk; ++c)
    if (q->status[c] < 0) return true;
  return false;
}

vrx_int first_open(const vrx_geqrf_queue_words* q, vrx_int from, vrx_int step, vrx_int p) {
  for (vrx_int c = from; c <= q->nblk; c += step)
    if (open_at(q, c, p)) return c;
  return 0;
}
}  // namespace

int vrx_lapack_geqrf_choose(vrx_geqrf_queue_words* q, int tid, int threads, vrx_int last_col,
                            const vrx_geqrf_claim* done, vrx_geqrf_claim* next) {
  if (threads < 1) threads = 1;
  for (vrx_int i = 0; i < done->count; ++i) q->status[done->first + i] = done->panel + 1;
  // Waiting threads poll `factored` and `scan_level` outside the critical section. The
  // level may have moved on while these columns were held: it comes back to them.
  if (done->count > 0 && done->factor) __atomic_store_n(&q->factored, done->panel + 1, __ATOMIC_RELEASE);
  if (done->count > 0 && done->panel + 1 < q->scan_level)
    __atomic_store_n(&q->scan_level, done->panel + 1, __ATOMIC_RELEASE);
  next->count = 0;
  for (;;) {
    const vrx_int p = q->scan_level;
    if (p > q->npan) return any_held(q) ? VRX_GEQRF_CLAIM_WAIT : VRX_GEQRF_CLAIM_FINISHED;
    if (p > q->factored) return VRX_GEQRF_CLAIM_WAIT;
    const vrx_int s = share(q, p, threads);
    vrx_int c = 0;
    if (open_at(q, q->factored + 1, p))
      c = q->factored + 1;
    else if (last_col > 0 && open_at(q, last_col + 1, p))
      c = last_col + 1;
    else if (!(c = first_open(q, tid * s + s + 1, s * threads, p)))
      c = first_open(q, p + 1, 1, p);
    if (c) {
      claim_run(q, c, p, s, next);
      return VRX_GEQRF_CLAIM_TASK;
    }
    // Columns held at this level lower it again when they come back short of the end.
    __atomic_store_n(&q->scan_level, p + 1, __ATOMIC_RELEASE);
  }
}
