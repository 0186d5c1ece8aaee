// The engine entry of the triangular solve and product, and the sequential kernel of
// CPU types 5 and 7. The entry sorts by road, takes the thread count from the thread
// model, splits large triangles with few right-hand sides per thread so that most of
// the work becomes the threaded GEMM, and forks a team on each remaining part.
#include <omp.h>

#include <type_traits>

#include "blas/level3/driver/vrx_l3_sync.h"
#include "blas/level3/team/vrx_l3_team.h"
#include "blas/level3/trsm/vrx_tri_recursion.h"
#include "blas/level3/trsm/vrx_tri_team.h"
#include "blas/level3/trsm/vrx_tri_split.h"
#include "service/vrx_serv.h"

namespace {
thread_local vrx_tri_trace trace;

// The entry splits triangles of this order or more when a thread has fewer than
// split_width right-hand sides.
constexpr vrx_int split_order = 768, split_width = 65;

vrx_tri_codes codes_of(const char* side, const char* uplo, const char* transa, const char* diag) {
  return {vrx_blas_side_code(side), vrx_blas_uplo_code(uplo), vrx_blas_transa_code(transa),
          vrx_blas_diag_code(diag)};
}

// The engine's GEMM; double's passes the offload gate.
template <typename T>
void engine_gemm(const char* ta, const char* tb, const vrx_int* m, const vrx_int* n, const vrx_int* k,
                 const T* alpha, const T* a, const vrx_int* lda, const T* b, const vrx_int* ldb, const T* beta,
                 T* c, const vrx_int* ldc) {
  if constexpr (std::is_same_v<T, double>)
    vrx_blas_dgemm_gate(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc, 1, 1);
  else if constexpr (std::is_same_v<T, float>)
    vrx_blas_sgemm(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  else if constexpr (std::is_same_v<T, vrx_complex_float>)
    vrx_blas_cgemm(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  else
    vrx_blas_zgemm(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

// Part `id` of `length` among `parts` in whole register extents r: the excess of up to
// r goes to thread 0; a larger one is dealt out r at a time from thread 0 on, the last
// of those taking any rest.
vrx_l3_part register_cut(vrx_int length, vrx_int parts, vrx_int id, vrx_int r) {
  const vrx_int c = length / parts / r * r, excess = length - parts * c;
  vrx_int start, count;
  if (excess <= r) {
    start = id == 0 ? 0 : excess + id * c;
    count = id == 0 ? c + excess : c;
  } else {
    const vrx_int more = excess / r, rest = excess - more * r;
    if (id < more) {
      start = id * (c + r);
      count = c + r + (id == more - 1 ? rest : 0);
    } else {
      start = more * (c + r) + rest + (id - more) * c;
      count = c;
    }
  }
  if (count <= 0) return {0, 0};
  return {start, count};
}

// The records of one triangular call on the team road.
template <typename T>
struct tri_problem {
  std::uint32_t kind;
  int cpu;
  int threads;
  const char *side, *uplo, *transa, *diag;
  vrx_tri_codes codes;
  const T* a;
  vrx_int lda;
  T* b;
  vrx_int m, n, ldb;
};

// Forks the team on the triangle of order s at r0 against its part of B.
template <typename T>
void fork_team(const tri_problem<T>* p, vrx_int r0, vrx_int s, T alpha) {
  const bool left = p->codes.side != 1;
  const vrx_int m = left ? s : p->m, n = left ? p->n : s;
  const vrx_l3_call<T> call = vrx_tri_call(p->kind, p->side, p->uplo, p->transa, p->diag, alpha);
  const vrx_l3_view<T> av = vrx_tri_a_view(p->codes, p->a + r0 + r0 * p->lda, s, p->lda);
  const vrx_l3_view<T> bv = vrx_l3_make_c_view<T>(p->b + (left ? r0 : r0 * p->ldb), m, n, p->ldb);
  vrx_l3_team<T> team{};
  team.cpu = static_cast<std::uint32_t>(p->cpu);
  team.threads = p->threads;
  team.split = left ? 1 : 0;
  // Only the product with A on the left cooperates, on tall triangles and wide B.
  team.team_mode = p->kind == VRX_L3_TRMM && left && m >= 2501 && n > 256 ? 1 : 0;
  team.rounding = 2;
  vrx_l3_kernel_shape shape;
  vrx_l3_ops<T> ops;
  vrx_l3_init_shape_for<T>(p->cpu, &team, &shape);
  if (!vrx_l3_init_ops_with(vrx_l3_kernels_for<T>(p->cpu), &call, &av, &bv, &bv, &shape, &ops)) {
    ops.fallback = nullptr;
  }
  ++trace.forks;
  trace.team_mode = static_cast<int>(team.team_mode);
  if (!ops.fallback) {  // no operations for this type: one thread, no packing
    const vrx_tri_codes codes = p->codes;
    vrx_tri_unpacked(p->kind, codes, m, n, alpha, av.data, p->lda, bv.data, p->ldb);
    return;
  }
  vrx_l3_blocking<T> shared{};
  vrx_l3_sync sync;
  vrx_l3_sync_reset(&sync);
  vrx_int failed = 0;
#pragma omp parallel num_threads(p->threads)
  {
    vrx_l3_call<T> own_call = call;
    const vrx_l3_view<T> own_a = av, own_b = bv;
    const vrx_l3_ops<T> own_ops = ops;
    vrx_l3_team<T> own_team = team;
    own_team.id = omp_get_thread_num();
    own_team.threads = omp_get_num_threads();
    if (own_team.threads == 1) {
      own_ops.driver(&own_call, &own_a, &own_b, &own_b, nullptr, &own_ops);
    } else {
      const vrx_int length = left ? own_b.cols : own_b.rows;
      const vrx_int r = left ? shape.nr : shape.mr;
      const vrx_l3_part part = register_cut(length, own_team.threads, own_team.id, r);
      const vrx_l3_view<T> slice = left ? vrx_l3_sub_view(&own_b, 0, part.start, own_b.rows, part.count)
                                        : vrx_l3_sub_view(&own_b, part.start, 0, part.count, own_b.cols);
      const vrx_tri_group<T> group{own_team.id, own_team.threads, &sync, &shared, &failed};
      vrx_tri_worker(&own_call, &own_a, &slice, &group, &own_ops);
    }
  }
}

// The entry's split: whole parts forked, couplings by the engine's GEMM.
template <typename T>
struct entry_step {
  const tri_problem<T>* p;
  vrx_int width;  // right-hand sides per thread

  vrx_int cut(vrx_int s) const {
    if (s < split_order || width >= split_width) return 0;
    const vrx_int h = (s / 2 + 7) / 8 * 8;
    ++trace.splits;
    trace.last_h = h;
    return h;
  }
  void whole(vrx_int r0, vrx_int s, T alpha) const { fork_team(p, r0, s, alpha); }
  void couple(vrx_int p0, vrx_int plen, vrx_int q0, vrx_int qlen, T coef, T beta) const {
    const char ta = p->codes.trans == 0 ? 'N' : (p->codes.trans == 2 ? 'C' : 'T'), tn = 'N';
    const vrx_int lda = p->lda, ldb = p->ldb;
    auto op_block = [&](vrx_int r, vrx_int c) {
      return p->codes.trans == 0 ? p->a + r + c * lda : p->a + c + r * lda;
    };
    if (p->codes.side != 1)
      engine_gemm<T>(&ta, &tn, &plen, &p->n, &qlen, &coef, op_block(p0, q0), &lda, p->b + q0, &ldb, &beta,
                     p->b + p0, &ldb);
    else
      engine_gemm<T>(&tn, &ta, &p->m, &plen, &qlen, &coef, p->b + q0 * ldb, &ldb, op_block(q0, p0), &lda, &beta,
                     p->b + p0 * ldb, &ldb);
  }
};

}  // namespace

vrx_tri_trace* vrx_tri_trace_record() { return &trace; }

template <typename T>
vrx_l3_view<T> vrx_tri_a_view(vrx_tri_codes codes, const T* a, vrx_int s, vrx_int lda) {
  const std::uint32_t layout =
      codes.trans == 0 ? VRX_L3_PLAIN : (codes.trans == 2 ? VRX_L3_CONJUGATED : VRX_L3_TRANSPOSED);
  vrx_l3_view<T> v = vrx_l3_make_view<T>(a, s, s, lda, layout);
  v.flags |= codes.uplo == 0 ? VRX_L3_TRI_UPPER : VRX_L3_TRI_LOWER;
  if (codes.diag == 0) v.flags |= VRX_L3_TRI_UNIT;
  return v;
}

template <typename T>
vrx_l3_call<T> vrx_tri_call(std::uint32_t kind, const char* side, const char* uplo, const char* transa,
                            const char* diag, T alpha) {
  vrx_l3_call<T> call{};
  call.side = side;
  call.uplo = uplo;
  call.transa = transa;
  call.diag = diag;
  call.alpha = alpha;
  call.beta = vrx_traits<T>::make(1, 0);
  call.type_a = call.type_b = call.type_c = vrx_traits<T>::type_code;
  call.code_a = vrx_blas_transa_code(transa);
  call.kind = kind;
  return call;
}

template <typename T>
vrx_tri_codes vrx_tri_codes_of(const vrx_l3_call<T>* call) {
  return codes_of(call->side, call->uplo, call->transa, call->diag);
}

template <typename T>
void vrx_tri_entry(std::uint32_t kind, vrx_trsm_fn<T> classic, vrx_trsm_fn<T> sequential, const char* side,
                   const char* uplo, const char* transa, const char* diag, const vrx_int* m, const vrx_int* n,
                   const T* alpha, const T* a, const vrx_int* lda, T* b, const vrx_int* ldb) {
  if (vrx_tri_quick_return(*m, *n, *alpha, b, *ldb)) return;
  const int road = vrx_blas_dgemm_road();
  if (road != 2 && road != 198) {
    classic(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
    return;
  }
  const vrx_tri_codes codes = codes_of(side, uplo, transa, diag);
  const int t = vrx_serv_domain_get_max_threads(VRX_DOMAIN_BLAS);
  const vrx_tri_plan plan = vrx_l3_tri_plan(codes, *m, *n, t);
  if (plan.threads < 2) {
    sequential(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
    return;
  }
  const bool left = codes.side != 1;
  const tri_problem<T> problem{
      kind, vrx_serv_cpu_detect(), plan.threads, side, uplo, transa, diag, codes, a, *lda, b, *m, *n, *ldb};
  entry_step<T> step{&problem, (left ? *n : *m) / plan.threads};
  vrx_tri_recurse(step, kind == VRX_L3_TRSM, vrx_tri_forward(codes), 0, left ? *m : *n, *alpha);
}

template <typename T>
void vrx_tri_sequential(std::uint32_t kind, const char* side, const char* uplo, const char* transa,
                        const char* diag, const vrx_int* m, const vrx_int* n, const T* alpha, const T* a,
                        const vrx_int* lda, T* b, const vrx_int* ldb) {
  const vrx_tri_codes codes = codes_of(side, uplo, transa, diag);
  const int cpu = vrx_serv_cpu_detect();
  if (cpu != VRX_CPU_AVX2 && cpu != VRX_CPU_AVX512) {
    if (kind == VRX_L3_TRSM)
      vrx_l3_trsm_sequential_classic(cpu, vrx_serv_cbwr_get(1), codes, *m, *n, *alpha, a, *lda, b, *ldb);
    else
      vrx_l3_trmm_sequential_classic(cpu, vrx_serv_cbwr_get(1), codes, *m, *n, *alpha, a, *lda, b, *ldb);
    return;
  }
  if (vrx_tri_quick_return(*m, *n, *alpha, b, *ldb)) return;
  const bool left = codes.side != 1;
  vrx_l3_call<T> call = vrx_tri_call(kind, side, uplo, transa, diag, *alpha);
  const vrx_l3_view<T> av = vrx_tri_a_view(codes, a, left ? *m : *n, *lda);
  const vrx_l3_view<T> bv = vrx_l3_make_c_view<T>(b, *m, *n, *ldb);
  vrx_l3_kernel_shape shape;
  vrx_l3_ops<T> ops;
  vrx_l3_init_shape_for<T>(cpu, nullptr, &shape);
  if (!vrx_l3_init_ops_with(vrx_l3_kernels_for<T>(cpu), &call, &av, &bv, &bv, &shape, &ops) || *m < ops.min_m ||
      *n < ops.min_n) {
    vrx_tri_unpacked(kind, codes, *m, *n, *alpha, a, *lda, b, *ldb);
    return;
  }
  ops.driver(&call, &av, &bv, &bv, nullptr, &ops);
}

#define VRX_INSTANTIATE(T)                                                                                    \
  template vrx_l3_view<T> vrx_tri_a_view(vrx_tri_codes, const T*, vrx_int, vrx_int);                          \
  template vrx_l3_call<T> vrx_tri_call(std::uint32_t, const char*, const char*, const char*, const char*, T); \
  template vrx_tri_codes vrx_tri_codes_of(const vrx_l3_call<T>*);                                             \
  template void vrx_tri_entry(std::uint32_t, vrx_trsm_fn<T>, vrx_trsm_fn<T>, const char*, const char*,        \
                              const char*, const char*, const vrx_int*, const vrx_int*, const T*, const T*,   \
                              const vrx_int*, T*, const vrx_int*);                                            \
  template void vrx_tri_sequential(std::uint32_t, const char*, const char*, const char*, const char*,         \
                                   const vrx_int*, const vrx_int*, const T*, const T*, const vrx_int*, T*,    \
                                   const vrx_int*);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
