// The classic front of the rank-k and rank-2k updates (CPU types 0, 2, 3 and 4): the
// reproducible form, the order-4 kernel, the split of k for a small triangle with a
// long k, the small-n kernel, and a fork over bands of whole tiles of the triangle.
#include <omp.h>

#include "blas/level3/gemm/vrx_gemm_roads.h"
#include "blas/level3/syrk/vrx_syrk.h"
#include "blas/level3/team/vrx_l3_team.h"
#include "service/vrx_serv.h"

namespace {
// Bands of the classic fork start on multiples of this.
constexpr vrx_int band_align = 8;

// The GEMM entry of T (it forks by itself).
template <typename T>
constexpr vrx_gemm_fn<T> gemm_entry() {
  if constexpr (std::is_same_v<T, float>) return vrx_blas_sgemm;
  else if constexpr (std::is_same_v<T, double>) return vrx_blas_dgemm;
  else if constexpr (std::is_same_v<T, vrx_complex_float>) return vrx_blas_cgemm;
  else return vrx_blas_zgemm;
}

// The reproducible form is taken on CPU types 0 and 1 and under the branches that pin
// the code path.
bool reproducible_form(int cpu) {
  if (cpu < 2) return true;
  const int branch = vrx_serv_cbwr_get(1);
  if (branch == 1) return false;
  if (branch >= 3 && branch <= 7) return true;
  if (branch != 2) return false;
  const int automatic = vrx_serv_cbwr_auto_branch();
  return automatic >= 4 && automatic <= 7;
}

// The sub-problem of the diagonal block [j0, j0 + d), or of the k slice [l0, l0 + kb).
template <typename T>
vrx_syrk_problem<T> diagonal_block(const vrx_syrk_problem<T>* p, vrx_int j0, vrx_int d) {
  vrx_syrk_problem<T> q = *p;
  q.n = d;
  q.a = vrx_syrk_rows(p, p->a, p->lda, j0);
  q.b = vrx_syrk_rows(p, p->b, p->ldb, j0);
  q.c = p->c + j0 + j0 * p->ldc;
  return q;
}
template <typename T>
vrx_syrk_problem<T> k_slice(const vrx_syrk_problem<T>* p, vrx_l3_part slice) {
  vrx_syrk_problem<T> q = *p;
  q.k = slice.count;
  q.a = p->transposed ? p->a + slice.start : p->a + slice.start * p->lda;
  q.b = p->transposed ? p->b + slice.start : p->b + slice.start * p->ldb;
  return q;
}

// Column blocks, one per thread: the diagonal blocks by the sequential entry in a fork,
// the blocks off the diagonal by ordinary GEMM calls.
template <typename T>
void reproducible(const vrx_syrk_problem<T>* p, int t) {
  if (p->n <= 16 || t <= 1) {
    vrx_syrk_note(VRX_SYRK_SEQUENTIAL, 1);
    vrx_syrk_sequential(p);
    return;
  }
  vrx_syrk_note(VRX_SYRK_REPRODUCIBLE, t);
#pragma omp parallel num_threads(t)
  {
    // The blocks are those of t threads whatever the runtime delivers.
    for (int i = omp_get_thread_num(); i < t; i += omp_get_num_threads()) {
      const vrx_l3_part block = vrx_l3_cut(p->n, t, i);
      const vrx_syrk_problem<T> q = diagonal_block(p, block.start, block.count);
      if (block.count > 0) vrx_syrk_sequential(&q);
    }
  }
  for (int i = 0; i < t; ++i) {
    const vrx_l3_part block = vrx_l3_cut(p->n, t, i);
    if (block.count == 0) continue;
    const vrx_int c0 = block.start, c1 = block.start + block.count;
    if (p->lower && c1 < p->n)
      vrx_syrk_gemm_block(p, gemm_entry<T>(), c1, c0, p->n - c1, c1 - c0, p->beta, p->c + c1 + c0 * p->ldc, p->ldc);
    if (!p->lower && c0 > 0)
      vrx_syrk_gemm_block(p, gemm_entry<T>(), 0, c0, c0, c1 - c0, p->beta, p->c + c0 * p->ldc, p->ldc);
  }
}

// Each thread beyond the first forms its slice of k into a private n by n result; the
// results are added into the triangle. Answers false without the workspace.
template <typename T>
bool split_k(const vrx_syrk_problem<T>* p, int t) {
  const std::size_t slab = static_cast<std::size_t>(p->n) * static_cast<std::size_t>(p->n);
  T* work = static_cast<T*>(vrx_l3_scratch_alloc(slab * sizeof(T) * static_cast<std::size_t>(t - 1), 128));
  if (vrx_serv_check_ptr_quiet(work, "syrk")) return false;
  vrx_syrk_note(VRX_SYRK_K_SPLIT, t);
  vrx_syrk_note_workspace(1);
#pragma omp parallel num_threads(t)
  {
    const int team = omp_get_num_threads(), id = omp_get_thread_num();
    vrx_syrk_problem<T> q = k_slice(p, vrx_l3_cut_k(p->k, team, id));
    if (id > 0) {
      q.c = work + (id - 1) * slab;
      q.ldc = p->n;
      q.beta = T{};
    }
    vrx_syrk_sequential(&q);
#pragma omp barrier
    const vrx_l3_part cols = vrx_l3_cut(p->n, team, id);
    for (vrx_int j = cols.start; j < cols.start + cols.count; ++j) {
      const vrx_int first = p->lower ? j : 0, end = p->lower ? p->n : j + 1;
      T* cj = p->c + j * p->ldc;
      for (int s = 0; s + 1 < team; ++s) {
        const T* wj = work + s * slab + j * p->n;
        for (vrx_int i = first; i < end; ++i) cj[i] += wj[i];
      }
    }
  }
  vrx_serv_free(work);
  return true;
}

// Bands of whole tiles of about equal area, each thread with its own copy buffer.
template <typename T>
void tiles(const vrx_syrk_problem<T>* p, int t) {
  vrx_syrk_note(VRX_SYRK_TILES, t);
#pragma omp parallel num_threads(t)
  {
    const int team = omp_get_num_threads(), id = omp_get_thread_num();
    const vrx_int c0 = vrx_syrk_band_start(p->lower, p->n, team, id, band_align);
    const vrx_int c1 = vrx_syrk_band_start(p->lower, p->n, team, id + 1, band_align);
    vrx_syrk_sequential_band(p, c0, c1);
  }
}
}  // namespace

template <typename T>
void vrx_syrk_classic(const vrx_syrk_problem<T>* p, int t) {
  if (reproducible_form(vrx_serv_cpu_detect())) {
    reproducible(p, t);
    return;
  }
  if (p->n == 4) {
    vrx_syrk_note(VRX_SYRK_ORDER_FOUR, 1);
    vrx_syrk_unpacked_diagonal(p, 0, 4, p->beta);
    return;
  }
  const bool split = p->n >= 16 && p->n <= 499 && p->k >= 20 * p->n && t >= 2;
  if (split && split_k(p, t)) return;
  if (8 * t > p->n) {
    vrx_syrk_note(VRX_SYRK_SMALL_N, 1);
    vrx_syrk_sequential(p);
  } else if (t < 2) {
    vrx_syrk_note(VRX_SYRK_SEQUENTIAL, 1);
    vrx_syrk_sequential(p);
  } else {
    tiles(p, t);
  }
  if (split) vrx_syrk_note_workspace(0);
}

#define VRX_INSTANTIATE(T) template void vrx_syrk_classic(const vrx_syrk_problem<T>*, int);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
