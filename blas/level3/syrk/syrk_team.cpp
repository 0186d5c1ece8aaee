// The team road of the triangular kinds (CPU types 5 and 7): the records of GEMM's
// team road with another kind, forked through its machinery. Each thread takes a band
// of columns of the triangle of about equal area and runs the triangle routines of the
// operations on it. A rank-2k update with a shared buffer forms W = alpha op(A) op(B)^T
// once through the level-3 driver, in column chunks, and adds W and its transpose into
// the triangle.
#include "blas/level3/driver/vrx_l3_sync.h"
#include "blas/level3/syrk/vrx_syrk.h"
#include "blas/level3/syrk/vrx_syrk_ops.h"
#include "blas/level3/team/vrx_l3_team.h"
#include "service/vrx_serv.h"

namespace {
// The thread's band of columns of the triangle and the rows of the triangle in it:
// beta and the products through the triangle routines of the operations.
template <typename T>
void run_band(vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b, const vrx_l3_view<T>* c,
              const vrx_l3_team<T>* team, const vrx_l3_ops<T>* ops) {
  const bool lower = vrx_blas_uplo_code(call->uplo) == 1;
  const vrx_int n = c->rows, k = a->cols;
  const int parts = team->threads > 1 ? team->threads : 1;
  const vrx_int c0 = vrx_syrk_band_start(lower, n, parts, team->id, ops->shape.nr);
  const vrx_int c1 = vrx_syrk_band_start(lower, n, parts, team->id + 1, ops->shape.nr);
  if (c1 <= c0) return;
  const vrx_int r0 = lower ? c0 : 0, r1 = lower ? n : c1;
  const vrx_l3_view<T> sa = vrx_l3_sub_view(a, r0, 0, r1 - r0, k), sb = vrx_l3_sub_view(b, 0, c0, k, c1 - c0);
  const vrx_l3_view<T> sc = vrx_l3_sub_view(c, r0, c0, r1 - r0, c1 - c0);
  if (k < 1 || vrx_traits<T>::is_zero(call->alpha)) ops->triangle_scale(call, &sa, &sb, &sc, ops);
  else ops->triangle_kernel(call, &sa, &sb, &sc, ops);
}

// Columns of thread i among t for the shared buffer: chunks of c = n / t, raised by one
// when t < n - c (t - 1); the last thread takes the rest.
vrx_l3_part column_chunk(vrx_int n, vrx_int t, vrx_int i) {
  vrx_int c = n / t;
  if (t < n - c * (t - 1)) ++c;
  vrx_l3_part part{i * c, i == t - 1 ? n - i * c : c};
  if (part.start >= n || part.count <= 0) return {0, 0};
  if (part.start + part.count > n) part.count = n - part.start;
  return part;
}

// C(i, j) := beta C(i, j) + W(i, j) + W(j, i) (conjugated when Hermitian) over the
// triangle's rows of columns [j0, j0 + count), in square tiles so that the transposed
// reads of W stay in cache.
template <typename T>
void add_symmetrized(const vrx_l3_call<T>* call, const vrx_l3_view<T>* c, const T* w, vrx_int n, vrx_l3_part cols) {
  typedef vrx_traits<T> tr;
  constexpr vrx_int tile = 64;
  const bool lower = vrx_blas_uplo_code(call->uplo) == 1, hermitian = vrx_l3_hermitian_result(call);
  const T beta = call->beta;
  const vrx_int j_end = cols.start + cols.count;
  for (vrx_int jt = cols.start; jt < j_end; jt += tile) {
    const vrx_int jt_end = jt + tile < j_end ? jt + tile : j_end;
    const vrx_int rows_from = lower ? jt : 0, rows_to = lower ? n : jt_end;
    for (vrx_int it = rows_from; it < rows_to; it += tile) {
      const vrx_int it_end = it + tile < rows_to ? it + tile : rows_to;
      for (vrx_int j = jt; j < jt_end; ++j) {
        T* cj = c->address(0, j, c);
        const vrx_int first = lower ? (it > j ? it : j) : it, end = lower ? it_end : (it_end < j + 1 ? it_end : j + 1);
        for (vrx_int i = first; i < end; ++i) {
          const T wt = hermitian ? tr::conj(w[j + i * n]) : w[j + i * n];
          const T sum = w[i + j * n] + wt;
          cj[i] = tr::is_zero(beta) ? sum : (tr::is_one(beta) ? cj[i] + sum : beta * cj[i] + sum);
        }
        if (hermitian && j >= first && j < end) cj[j] = tr::make(tr::real_part(cj[j]), 0);
      }
    }
  }
}

// Answers false when the shared buffer could not be had (every thread then walks).
template <typename T>
bool rank_2k_shared(vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b, const vrx_l3_view<T>* c,
                    const vrx_l3_team<T>* team, const vrx_l3_ops<T>* ops) {
  const vrx_int n = c->rows, k = a->cols;
  const int id = team->id, t = team->threads;
  vrx_l3_barrier(team->sync, id, t);
  if (id == 0) {
    void* raw = vrx_l3_scratch_alloc(static_cast<std::size_t>(n) * static_cast<std::size_t>(n) * sizeof(T), 128);
    *team->failed = vrx_serv_check_ptr_quiet(raw, "DSYR2K");
    team->shared_blocking->raw = raw;
    vrx_syrk_note_workspace(raw != nullptr);
  }
  vrx_l3_barrier(team->sync, id, t);
  T* w = static_cast<T*>(team->shared_blocking->raw);
  if (!w) return false;
  const vrx_l3_part cols = column_chunk(n, t, id);
  if (cols.count > 0) {
    const vrx_l3_view<T> sb = vrx_l3_sub_view(b, 0, cols.start, k, cols.count);
    const vrx_l3_view<T> sw = vrx_l3_make_c_view<T>(w + cols.start * n, n, cols.count, n);
    vrx_l3_call<T> own = *call;
    own.beta = T{};
    ops->driver(&own, a, &sb, &sw, nullptr, ops);
  }
  vrx_l3_barrier(team->sync, id, t);
  add_symmetrized(call, c, w, n, cols);
  vrx_l3_barrier(team->sync, id, t);
  if (id == 0) vrx_serv_free(w);
  return true;
}
}  // namespace

template <typename T>
void vrx_l3_team_triangle(vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b,
                          const vrx_l3_view<T>* c, vrx_l3_team<T>* team) {
  vrx_l3_kernel_shape shape;
  vrx_l3_ops<T> ops;
  vrx_l3_init_shape_for<T>(static_cast<int>(team->cpu), team, &shape);
  if (!vrx_l3_init_ops_with(vrx_l3_kernels_for<T>(static_cast<int>(team->cpu)), call, a, b, c, &shape, &ops)) return;
  const bool rank_2k = call->kind == VRX_L3_SYR2K && a->cols > 0 && !vrx_traits<T>::is_zero(call->alpha);
  if (rank_2k && team->threads > 1 && rank_2k_shared(call, a, b, c, team, &ops)) return;
  run_band(call, a, b, c, team, &ops);
}

namespace {
// The call, views and team records of the problem; answers false when the CPU type has
// no level-3 kernels.
template <typename T>
struct team_records {
  vrx_l3_call<T> call;
  vrx_l3_view<T> a, b, c;
  vrx_l3_team<T> team;
};
template <typename T>
bool make_records(const vrx_syrk_problem<T>* p, team_records<T>* r) {
  vrx_l3_team_plan(p->n, p->n, p->k, &r->team);
  if (!vrx_l3_kernels_for<T>(static_cast<int>(r->team.cpu))) return false;
  r->call = vrx_l3_gemm_call<T>(&p->first, &p->second, p->alpha, p->beta);
  r->call.uplo = p->lower ? "L" : "U";
  r->call.kind = p->two ? VRX_L3_SYR2K : VRX_L3_SYRK;
  // op(A) in A's place, op(X)^T in B's place (X is B for the rank-2k update).
  r->a = vrx_l3_make_view<T>(p->a, p->n, p->k, p->lda, vrx_l3_layout_flag(p->first));
  r->b = vrx_l3_make_view<T>(p->b, p->k, p->n, p->ldb, vrx_l3_layout_flag(p->second));
  r->c = vrx_l3_make_c_view<T>(p->c, p->n, p->n, p->ldc);
  return true;
}
}  // namespace

template <typename T>
int vrx_syrk_team_road(const vrx_syrk_problem<T>* p, int t) {
  team_records<T> r;
  if (!make_records(p, &r)) return 0;
  r.team.threads = t;
  vrx_syrk_note(VRX_SYRK_TEAM, t);
  vrx_blas_gemm_team(&r.call, &r.a, &r.b, &r.c, &r.team);
  return 1;
}

template <typename T>
int vrx_syrk_driver_pass(const vrx_syrk_problem<T>* p) {
  team_records<T> r;
  if (!make_records(p, &r)) return 0;
  r.team.threads = 1;
  r.team.id = 0;
  vrx_l3_team_triangle(&r.call, &r.a, &r.b, &r.c, &r.team);
  return 1;
}

#define VRX_INSTANTIATE(T)                                                                                  \
  template void vrx_l3_team_triangle(vrx_l3_call<T>*, const vrx_l3_view<T>*, const vrx_l3_view<T>*,          \
                                     const vrx_l3_view<T>*, vrx_l3_team<T>*);                                \
  template int vrx_syrk_team_road(const vrx_syrk_problem<T>*, int);                                          \
  template int vrx_syrk_driver_pass(const vrx_syrk_problem<T>*);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
