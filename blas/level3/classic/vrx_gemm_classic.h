// The classic threaded GEMM road of CPU types 0, 2, 3 and 4 in every precision: the
// decisions (small filter, compute road, strategy, profitability, partition), the
// per-thread split record and the seven workers. Templates over the element type T,
// instantiated for float, double, vrx_complex_float and vrx_complex_double beside
// this header. The road calls down into the packed driver, never the reverse.
#pragma once
#include <cstdint>
#include "blas/level3/packed/vrx_gemm_packed.h"
#include "blas/vrx_blas.h"

// ---- decisions (pure functions of their arguments) ----

// 1 when the shape is too small to thread at all.
int vrx_gemm_classic_small(vrx_int m, vrx_int n, vrx_int k);
// 0: the sequential dispatcher runs per thread; 1: the packed driver runs per thread.
int vrx_gemm_classic_compute_road_of(int cpu_type, int branch);
// The same, dispatched on the CPU type of the process.
int vrx_gemm_classic_compute_road();

// What the strategy is chosen from.
struct vrx_gemm_classic_facts {
  int cpu_type;
  int vendor_gate;   // the tuned paths may look at the processor
  int amd_family10;  // the other vendor's family 10h
  int amd_fma4;      // the other vendor's processors with FMA4
  int sse41;
  std::int64_t l2_bytes;
};
vrx_gemm_classic_facts vrx_gemm_classic_facts_of_process();
// Strategy code 0 to 8.
int vrx_gemm_classic_strategy(const vrx_gemm_classic_facts& facts);
// Strategy 1 keeps very short or very flat products on one thread outright.
int vrx_gemm_classic_strategy_sequential(int strategy, vrx_int m, vrx_int k);
// 1 when threading pays off for t threads.
int vrx_gemm_classic_profitable(int strategy, int t, vrx_int m, vrx_int n, vrx_int k);
// 1 when beta stays with the product (strategies 0, 5, 6); otherwise C is scaled first.
inline int vrx_gemm_classic_beta_with_product(int strategy) {
  return strategy == 0 || strategy == 5 || strategy == 6;
}

// ---- the split record ----

template <typename T>
struct vrx_gemm_split_t;
template <typename T>
struct vrx_gemm_classic_args_t;
template <typename T>
using vrx_gemm_worker_fn = void (*)(const vrx_gemm_split_t<T>* s, const vrx_gemm_classic_args_t<T>* args, int id);

// Workers by number (the trace below and the tests speak of them so).
enum {
  VRX_CLASSIC_SEQUENTIAL = 0,
  VRX_CLASSIC_ROWS = 1,
  VRX_CLASSIC_COLUMNS = 2,
  VRX_CLASSIC_GRID = 3,
  VRX_CLASSIC_SHARED_PANEL = 4,
  VRX_CLASSIC_RING = 5,
  VRX_CLASSIC_TWO_BY_MANY = 6,
  VRX_CLASSIC_GROUPED = 7,
  VRX_CLASSIC_ROW_SLICES = 8,  // one thread, slices of 128 rows
  VRX_CLASSIC_SCALE_ONLY = 9,  // alpha = 0: the parallel scaling alone
};

// Private to each thread after the fork; every thread decides the same from the same inputs.
template <typename T>
struct vrx_gemm_split_t {
  int threads;  // threads in use, forced even by some strategies
  int grid_m, grid_n;
  vrx_int block_m, block_n, block_k;
  vrx_gemm_fn<T> sequential;  // compute road 0
  vrx_gemm_fn<T> unpacked;    // the row's in-place kernel, for blocks without private buffers
  vrx_gemm_worker_fn<T> worker;
  int worker_id;
  vrx_gemm_pack_fn<T> pack_a, pack_b;
  T* buffer_a;
  T* buffer_b;
  std::size_t stride_a, stride_b;  // bytes from one shared buffer to the next
  unsigned char a_is_n, b_is_n, a_is_t, b_is_t;
  int a_code, b_code;  // packing codes of the ops: 0 N, 1 T, 2 C
  int mode;
  int count_b, count_a;
  int strategy;
  std::int64_t cache_bytes;
  int compute_road;
  int dynamic;
  vrx_int mr, nr;         // register block of the row (compute road 1), or of the SSE2 loop
  vrx_gemm_context_t<T> ctx;  // the loaded row with the call's block sizes (compute road 1)
};
typedef vrx_gemm_split_t<double> vrx_gemm_split;

// The call as it reached the road; beta is the one the workers apply.
template <typename T>
struct vrx_gemm_classic_args_t {
  const char* transa;
  const char* transb;
  vrx_int m, n, k;
  T alpha;
  const T* a;
  vrx_int lda;
  const T* b;
  vrx_int ldb;
  T beta;
  T* c;
  vrx_int ldc;
};
typedef vrx_gemm_classic_args_t<double> vrx_gemm_classic_args;

// Fills grid, blocks, mode, shared counts and worker of `s` for its thread count,
// strategy, compute road and cache size. s->threads may come back even.
template <typename T>
void vrx_gemm_classic_partition(vrx_gemm_split_t<T>* s, vrx_int m, vrx_int n, vrx_int k);
// Bytes of one shared A and one shared B buffer of the chosen worker (0 when none).
template <typename T>
void vrx_gemm_classic_shared_sizes(const vrx_gemm_split_t<T>* s, vrx_int m, vrx_int n, vrx_int k, std::size_t* a_bytes,
                                   std::size_t* b_bytes);

// The block functions of the other vendor's strategies 6 and 8 (compute road 0).
template <typename T>
void vrx_gemm_classic_amd_blocks(vrx_gemm_split_t<T>* s, vrx_int m, vrx_int n, vrx_int k);

// ---- cuts ----

// Share of thread `id` among t of an extent L (the rows and columns workers' rule).
void vrx_gemm_classic_cut(vrx_int extent, int t, int id, int dynamic, vrx_int* first, vrx_int* count);
// Share of part `id` among `parts` when every part but the last is a multiple of `unit`.
void vrx_gemm_classic_chunk(vrx_int extent, int parts, int id, vrx_int unit, vrx_int* first, vrx_int* count);
// Height of the packed panel that starts `left` rows before the end of its block.
inline vrx_int vrx_gemm_classic_panel(vrx_int left, vrx_int full) {
  if (left >= full) return full;
  vrx_int h = full >> 1;
  while (h > left) h >>= 1;
  return h;
}

// ---- the per-thread compute routine and the workers ----

// C block (i0, j0) of mb x nb += the product over k from l0, kb deep, with `beta`.
template <typename T>
void vrx_gemm_classic_compute(const vrx_gemm_split_t<T>* s, const vrx_gemm_classic_args_t<T>* args, vrx_int i0,
                              vrx_int j0, vrx_int l0, vrx_int mb, vrx_int nb, vrx_int kb, T beta);
// Where op(A)(i, l) and op(B)(l, j) lie.
template <typename T>
inline const T* vrx_gemm_classic_a_at(const vrx_gemm_split_t<T>* s, const vrx_gemm_classic_args_t<T>* g, vrx_int i,
                                      vrx_int l) {
  return s->a_is_n ? g->a + i + l * g->lda : g->a + l + i * g->lda;
}
template <typename T>
inline const T* vrx_gemm_classic_b_at(const vrx_gemm_split_t<T>* s, const vrx_gemm_classic_args_t<T>* g, vrx_int l,
                                      vrx_int j) {
  return s->b_is_n ? g->b + l + j * g->ldb : g->b + j + l * g->ldb;
}
// Scales the thread's own tile by beta unless beta is 0 or 1; answers whether the first
// k block must store rather than add (beta = 0).
template <typename T>
int vrx_gemm_classic_own_tile_beta(const vrx_gemm_classic_args_t<T>* g, vrx_int i0, vrx_int j0, vrx_int mb, vrx_int nb);

template <typename T>
void vrx_gemm_worker_rows(const vrx_gemm_split_t<T>* s, const vrx_gemm_classic_args_t<T>* args, int id);
template <typename T>
void vrx_gemm_worker_columns(const vrx_gemm_split_t<T>* s, const vrx_gemm_classic_args_t<T>* args, int id);
template <typename T>
void vrx_gemm_worker_grid(const vrx_gemm_split_t<T>* s, const vrx_gemm_classic_args_t<T>* args, int id);
template <typename T>
void vrx_gemm_worker_shared_panel(const vrx_gemm_split_t<T>* s, const vrx_gemm_classic_args_t<T>* args, int id);
template <typename T>
void vrx_gemm_worker_ring(const vrx_gemm_split_t<T>* s, const vrx_gemm_classic_args_t<T>* args, int id);
template <typename T>
void vrx_gemm_worker_two_by_many(const vrx_gemm_split_t<T>* s, const vrx_gemm_classic_args_t<T>* args, int id);
template <typename T>
void vrx_gemm_worker_grouped(const vrx_gemm_split_t<T>* s, const vrx_gemm_classic_args_t<T>* args, int id);

// The worker of `s` by number.
template <typename T>
void vrx_gemm_classic_set_worker(vrx_gemm_split_t<T>* s, int worker_id);
// Row split when m > n, else column split.
template <typename T>
inline void vrx_gemm_classic_rows_or_columns(vrx_gemm_split_t<T>* s, vrx_int m, vrx_int n) {
  vrx_gemm_classic_set_worker(s, m > n ? VRX_CLASSIC_ROWS : VRX_CLASSIC_COLUMNS);
}

// C := beta C on t threads, by the scaling kernel of the CPU type.
template <typename T>
void vrx_gemm_classic_parallel_scale(int t, vrx_int m, vrx_int n, vrx_int k, T beta, T* c, vrx_int ldc);
// The pieces of the parallel scaling: rows or columns, and the chunk of one thread.
int vrx_gemm_classic_scale_by_columns(int t, vrx_int m, vrx_int n, vrx_int k);
template <typename T>
vrx_gemm_scale_c_fn<T> vrx_gemm_classic_scale_kernel();

// ---- the fork ----

// The split every thread starts from: strategy, compute road, the kernel-table row of
// the CPU type with the call's block sizes (compute road 1), the ops of A and B.
template <typename T>
void vrx_gemm_classic_base(vrx_gemm_split_t<T>* base, int strategy, int compute_road, int cpu_type, int sse41,
                           bool a_is_n, bool b_is_n, vrx_int m, vrx_int n, vrx_int k);
// Forks t threads; each decides the partition unless base->worker is already set,
// the shared buffers are allocated once (on failure: a row or column split), and
// every thread runs the worker. One delivered thread runs the sequential product.
template <typename T>
void vrx_gemm_classic_fork(const vrx_gemm_split_t<T>* base, const vrx_gemm_classic_args_t<T>* args, int t);

// ---- for tests ----
// What the calling thread's last call of the classic road decided (one record per
// thread; thread 0 of the team, which is the caller, writes it).
struct vrx_gemm_classic_trace {
  int strategy;
  int compute_road;
  int worker;
  int team;
  int threads;
  int grid_m, grid_n;
  int mode;
  int fallback;  // a shared buffer could not be had
};
vrx_gemm_classic_trace vrx_gemm_classic_last_trace();
void vrx_gemm_classic_record_trace(const vrx_gemm_classic_trace& trace);
void vrx_gemm_classic_note(int strategy, int compute_road, int worker, int team, int fallback);
template <typename T>
void vrx_gemm_classic_note_split(int team, const vrx_gemm_split_t<T>* s, int fallback);
// The sequential product of T (the dispatcher of its precision).
template <typename T>
vrx_gemm_fn<T> vrx_gemm_classic_sequential();
// The classic road of T.
template <typename T>
void vrx_gemm_classic(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n, const vrx_int* k,
                      const T* alpha, const T* a, const vrx_int* lda, const T* b, const vrx_int* ldb, const T* beta,
                      T* c, const vrx_int* ldc);
