// The classic threaded GEMM road of CPU types 0, 2, 3 and 4: the decisions (small
// filter, compute road, strategy, profitability, partition), the per-thread split
// record, the seven workers and the shared-operand modes of the packed driver.
#pragma once
#include <cstdint>
#include "blas/vrx_blas.h"
#include "blas/vrx_gemm_packed.h"

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

struct vrx_gemm_split;
struct vrx_gemm_classic_args;
typedef void (*vrx_gemm_worker_fn)(const vrx_gemm_split* s, const vrx_gemm_classic_args* args, int id);
typedef void (*vrx_gemm_scale_fn)(vrx_int m, vrx_int n, double beta, double* c, vrx_int ldc);

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
struct vrx_gemm_split {
  int threads;  // threads in use, forced even by some strategies
  int grid_m, grid_n;
  vrx_int block_m, block_n, block_k;
  vrx_dgemm_fn sequential;  // compute road 0
  vrx_dgemm_fn unpacked;    // the row's in-place kernel, for blocks without private buffers
  vrx_gemm_worker_fn worker;
  int worker_id;
  vrx_gemm_pack_fn pack_a, pack_b;
  double* buffer_a;
  double* buffer_b;
  std::size_t stride_a, stride_b;  // bytes from one shared buffer to the next
  unsigned char a_is_n, b_is_n, a_is_t, b_is_t;
  int mode;
  int count_b, count_a;
  int strategy;
  std::int64_t cache_bytes;
  int compute_road;
  int dynamic;
  vrx_int mr, nr;         // register block of the row (compute road 1), or of the SSE2 loop
  vrx_gemm_context ctx;   // the loaded row with the call's block sizes (compute road 1)
};

// The call as it reached the road; beta is the one the workers apply.
struct vrx_gemm_classic_args {
  const char* transa;
  const char* transb;
  vrx_int m, n, k;
  double alpha;
  const double* a;
  vrx_int lda;
  const double* b;
  vrx_int ldb;
  double beta;
  double* c;
  vrx_int ldc;
};

// Fills grid, blocks, mode, shared counts and worker of `s` for its thread count,
// strategy, compute road and cache size. s->threads may come back even.
void vrx_gemm_classic_partition(vrx_gemm_split* s, vrx_int m, vrx_int n, vrx_int k);
// Bytes of one shared A and one shared B buffer of the chosen worker (0 when none).
void vrx_gemm_classic_shared_sizes(const vrx_gemm_split* s, vrx_int m, vrx_int n, vrx_int k, std::size_t* a_bytes,
                                   std::size_t* b_bytes);

// The block functions of the other vendor's strategies 6 and 8 (compute road 0).
void vrx_gemm_classic_amd_blocks(vrx_gemm_split* s, vrx_int m, vrx_int n, vrx_int k);

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
void vrx_gemm_classic_compute(const vrx_gemm_split* s, const vrx_gemm_classic_args* args, vrx_int i0, vrx_int j0,
                              vrx_int l0, vrx_int mb, vrx_int nb, vrx_int kb, double beta);
// Where op(A)(i, l) and op(B)(l, j) lie.
inline const double* vrx_gemm_classic_a_at(const vrx_gemm_split* s, const vrx_gemm_classic_args* g, vrx_int i,
                                           vrx_int l) {
  return s->a_is_n ? g->a + i + l * g->lda : g->a + l + i * g->lda;
}
inline const double* vrx_gemm_classic_b_at(const vrx_gemm_split* s, const vrx_gemm_classic_args* g, vrx_int l,
                                           vrx_int j) {
  return s->b_is_n ? g->b + l + j * g->ldb : g->b + j + l * g->ldb;
}
// Scales the thread's own tile by beta unless beta is 0 or 1; answers whether the first
// k block must store rather than add (beta = 0).
int vrx_gemm_classic_own_tile_beta(const vrx_gemm_classic_args* g, vrx_int i0, vrx_int j0, vrx_int mb, vrx_int nb);

void vrx_gemm_worker_rows(const vrx_gemm_split* s, const vrx_gemm_classic_args* args, int id);
void vrx_gemm_worker_columns(const vrx_gemm_split* s, const vrx_gemm_classic_args* args, int id);
void vrx_gemm_worker_grid(const vrx_gemm_split* s, const vrx_gemm_classic_args* args, int id);
void vrx_gemm_worker_shared_panel(const vrx_gemm_split* s, const vrx_gemm_classic_args* args, int id);
void vrx_gemm_worker_ring(const vrx_gemm_split* s, const vrx_gemm_classic_args* args, int id);
void vrx_gemm_worker_two_by_many(const vrx_gemm_split* s, const vrx_gemm_classic_args* args, int id);
void vrx_gemm_worker_grouped(const vrx_gemm_split* s, const vrx_gemm_classic_args* args, int id);

// The worker of `s` by number.
void vrx_gemm_classic_set_worker(vrx_gemm_split* s, int worker_id);
// Row split when m > n, else column split.
inline void vrx_gemm_classic_rows_or_columns(vrx_gemm_split* s, vrx_int m, vrx_int n) {
  vrx_gemm_classic_set_worker(s, m > n ? VRX_CLASSIC_ROWS : VRX_CLASSIC_COLUMNS);
}

// C := beta C on t threads, by the scaling kernel of the CPU type.
void vrx_gemm_classic_parallel_scale(int t, vrx_int m, vrx_int n, vrx_int k, double beta, double* c, vrx_int ldc);
// The pieces of the parallel scaling: rows or columns, and the chunk of one thread.
int vrx_gemm_classic_scale_by_columns(int t, vrx_int m, vrx_int n, vrx_int k);
vrx_gemm_scale_fn vrx_gemm_classic_scale_kernel();

// ---- shared-operand modes of the packed driver ----
// One k block (k <= ctx->kc) of C(m x n) (+)= op(A) op(B) alpha:
//   8:  `shared` holds op(A) packed with alpha; B block and strips private.
//   16: `shared` holds op(A) packed with alpha; only the strips private.
//   32: `shared` holds op(B) packed; A packed a panel at a time into the private strips.
//   64: nothing shared; A block and strips private, B taken a strip at a time.
// The private buffers come from vrx_gemm_shared_mode_prepare; `store` writes C
// without reading it.
int vrx_gemm_shared_mode_code(int mode);
// Sizes and allocates the private buffers of `mode` for blocks of at most m x n x k; -1 on failure.
int vrx_gemm_shared_mode_prepare(vrx_gemm_context* ctx, int mode, vrx_int m, vrx_int n, vrx_int k);
void vrx_gemm_shared_mode_run(vrx_gemm_context* ctx, int mode, int a_trans, int b_trans, vrx_int m, vrx_int n,
                              vrx_int k, double alpha, const double* a, vrx_int lda, const double* b, vrx_int ldb,
                              const double* shared, double* c, vrx_int ldc, int store);
// Packs rows [first, first + count) of an m-row block of op(A) into its panels of `packed`
// (the block is kb deep), k columns [l_first, l_first + l_count) only.
void vrx_gemm_pack_a_part(const vrx_gemm_context* ctx, int a_trans, vrx_int m, vrx_int kb, vrx_int first,
                          vrx_int count, vrx_int l_first, vrx_int l_count, double alpha, const double* a, vrx_int lda,
                          double* packed);

// ---- the fork ----

// The split every thread starts from: strategy, compute road, the kernel-table row of
// the CPU type with the call's block sizes (compute road 1), the ops of A and B.
void vrx_gemm_classic_base(vrx_gemm_split* base, int strategy, int compute_road, int cpu_type, int sse41,
                           bool a_is_n, bool b_is_n, vrx_int m, vrx_int n, vrx_int k);
// Forks t threads; each decides the partition unless base->worker is already set,
// the shared buffers are allocated once (on failure: a row or column split), and
// every thread runs the worker. One delivered thread runs the sequential product.
void vrx_gemm_classic_fork(const vrx_gemm_split* base, const vrx_gemm_classic_args* args, int t);

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
void vrx_gemm_classic_note(int strategy, int compute_road, int worker, int team, const vrx_gemm_split* s,
                           int fallback);
