// The team road of GEMM (CPU types 5 and 7): the cost model that fixes the thread
// count, the layouts that cut C (and k) among the threads, and the team's workers.
// Every thread decides the layout by itself from identical inputs.
#pragma once
#include "blas/vrx_l3.h"

// Work in units of the register block's flops per cycle: wider registers, cheaper work.
// 2 m / d with d = 32 or 16 is an exact multiplication by a power of two (a division
// would cost more than the whole of a tiny product's decision).
// Elements of T: d counts multiply-adds of T per cycle, so half the real width doubles it
// and a complex multiply-add (four real ones) quarters it; all are powers of two.
template <typename T>
inline double vrx_l3_team_cost(int cpu, vrx_int m, vrx_int n, vrx_int k) {
  constexpr double element_scale =
      (vrx_is_complex<T> ? 4.0 : 1.0) * static_cast<double>(sizeof(vrx_real_t<T>)) / 8.0;
  const double two_over_d = (cpu == VRX_CPU_AVX512 ? 0.0625 : 0.125) * element_scale;
  return (static_cast<double>(m) * two_over_d) * static_cast<double>(n) * static_cast<double>(k);
}

// Threads for an m by n by k product when `max_threads` may be used; 1 means sequential.
template <typename T>
int vrx_l3_team_thread_count(int cpu, vrx_int m, vrx_int n, vrx_int k, int max_threads);
// True when the product is too small to fork at any thread count.
template <typename T>
inline bool vrx_l3_team_one_thread_at_any_count(int cpu, vrx_int m, vrx_int n, vrx_int k) {
  return vrx_l3_team_cost<T>(cpu, m, n, k) < 3000.0;
}

// Whether a small C (m, n at most 378) should rather split k among `threads` threads.
bool vrx_l3_team_k_split_model(int threads, vrx_int m, vrx_int n, vrx_int k);

// Fills split, team_mode, grid_m, grid_n, grid_k and pack_threads of `team` for an
// m by n by k product from team->threads (two or more), team->cpu and team->road.
template <typename T>
void vrx_l3_team_layout(vrx_l3_team<T>* team, vrx_int m, vrx_int n, vrx_int k);

// A run of a length cut among parts.
struct vrx_l3_part {
  vrx_int start;
  vrx_int count;  // 0: the part is empty
};
// Part `index` of `parts`: equal parts, the rest on the last one (rows and columns).
vrx_l3_part vrx_l3_cut(vrx_int length, vrx_int parts, vrx_int index);
// Part `index` of `parts` for k: the first parts take one more.
vrx_l3_part vrx_l3_cut_k(vrx_int length, vrx_int parts, vrx_int index);
// The finer cut of the two-dimensional grid. With `dynamic` on an uneven cut shrinks
// the number of parts; the answer is the number of parts in use.
vrx_int vrx_l3_cut_grid(vrx_int length, vrx_int parts, bool rows, bool dynamic, vrx_int index,
                        vrx_l3_part* part);

// Thread count and records of the team road for the calling thread: CPU type, domain
// thread count, road and the cost model's count (1: the call stays sequential).
template <typename T>
int vrx_l3_team_plan(vrx_int m, vrx_int n, vrx_int k, vrx_l3_team<T>* team);

// Forks team->threads threads; each takes a private copy of the records, decides the
// layout for the threads really delivered and runs its part.
template <typename T>
void vrx_blas_gemm_team(const vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b,
                        const vrx_l3_view<T>* c, const vrx_l3_team<T>* team);
// The team road from the caller's arguments; answers 0 when the call should run
// sequentially instead (one thread, or no kernels for the CPU type).
template <typename T>
int vrx_blas_gemm_team_road(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                            const vrx_int* k, const T* alpha, const T* a, const vrx_int* lda, const T* b,
                            const vrx_int* ldb, const T* beta, T* c, const vrx_int* ldc);

// One thread's work, on its private copies (team->id, team->threads as delivered).
template <typename T>
void vrx_l3_team_worker(vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b,
                        const vrx_l3_view<T>* c, vrx_l3_team<T>* team);
// One thread of a product whose result is one triangle of C (SYRK, SYR2K, GEMM into a
// triangle): its own cut of the triangle, with the triangle routines of the operations.
template <typename T>
void vrx_l3_team_triangle(vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b,
                          const vrx_l3_view<T>* c, vrx_l3_team<T>* team);
// The workers of the layouts that need more than one driver run per thread.
template <typename T>
void vrx_l3_team_k_split(vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b,
                         const vrx_l3_view<T>* c, const vrx_l3_team<T>* team, const vrx_l3_ops<T>* ops);
template <typename T>
void vrx_l3_team_cooperating(vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b,
                             const vrx_l3_view<T>* c, const vrx_l3_team<T>* team, const vrx_l3_ops<T>* ops);

// Leading dimension of a k-split slab for C with m rows: 64 above a multiple of 256.
inline vrx_int vrx_l3_slab_ld(vrx_int m) { return (m + 255) / 256 * 256 + 64; }

// Sums the k-split slabs into C for `rows` rows: c := slab 0 + the others + c, the
// slabs `slab_stride` apart. With 18 or more parts the slabs after the first go in
// groups of 16, then pairs, then singly.
template <typename T>
void vrx_l3_team_reduce(T* c, const T* slabs, vrx_int slab_stride, int slab_count, vrx_int rows,
                        int parts);
