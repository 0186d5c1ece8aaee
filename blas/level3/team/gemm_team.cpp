// The team road of GEMM (CPU types 5 and 7): the cost model fixes the thread count,
// then a team of OpenMP threads runs the level-3 driver on the parts of C.
#include <omp.h>

#include "blas/level3/driver/vrx_l3_sync.h"
#include "blas/level3/team/vrx_l3_team.h"
#include "service/vrx_serv.h"

template <typename T>
int vrx_l3_team_plan(vrx_int m, vrx_int n, vrx_int k, vrx_l3_team<T>* team) {
  *team = vrx_l3_team<T>{};
  team->cpu = static_cast<std::uint32_t>(vrx_serv_cpu_detect());
  team->max_threads = vrx_serv_domain_get_max_threads(VRX_DOMAIN_BLAS);
  team->road = static_cast<std::uint32_t>(vrx_blas_dgemm_road());
  team->threads = vrx_l3_team_thread_count<T>(static_cast<int>(team->cpu), m, n, k, team->max_threads);
  team->group = -1;
  team->grid_m = team->grid_n = team->grid_k = 1;
  team->split = 1;
  return team->threads;
}

template <typename T>
void vrx_blas_gemm_team(const vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b,
                        const vrx_l3_view<T>* c, const vrx_l3_team<T>* team) {
  // The records one group of threads shares: a blocking, a barrier and the failure flag.
  vrx_l3_blocking<T> shared_blocking{};
  vrx_l3_sync sync;
  vrx_l3_sync_reset(&sync);
  vrx_int failed = 0;
  vrx_l3_team<T> base = *team;
  base.group = 0;
  base.shared_blocking = &shared_blocking;
  base.sync = &sync;
  base.failed = &failed;
  const int threads = team->threads > 1 ? team->threads : 1;
#pragma omp parallel num_threads(threads)
  {
    vrx_l3_call<T> own_call = *call;
    const vrx_l3_view<T> own_a = *a, own_b = *b, own_c = *c;
    vrx_l3_team<T> own_team = base;
    own_team.id = omp_get_thread_num();
    own_team.threads = omp_get_num_threads();  // what the runtime delivered, maybe fewer
    vrx_l3_team_worker(&own_call, &own_a, &own_b, &own_c, &own_team);
  }
}

template <typename T>
int vrx_blas_gemm_team_road(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                            const vrx_int* k, const T* alpha, const T* a, const vrx_int* lda, const T* b,
                            const vrx_int* ldb, const T* beta, T* c, const vrx_int* ldc) {
  vrx_l3_team<T> team;
  if (vrx_l3_team_plan(*m, *n, *k, &team) < 2) return 0;
  if (!vrx_l3_kernels_for<T>(static_cast<int>(team.cpu))) return 0;
  const vrx_l3_call<T> call = vrx_l3_gemm_call<T>(transa, transb, *alpha, *beta);
  const vrx_l3_view<T> va = vrx_l3_make_view<T>(a, *m, *k, *lda, vrx_l3_layout_flag(*transa));
  const vrx_l3_view<T> vb = vrx_l3_make_view<T>(b, *k, *n, *ldb, vrx_l3_layout_flag(*transb));
  const vrx_l3_view<T> vc = vrx_l3_make_c_view<T>(c, *m, *n, *ldc);
  vrx_blas_gemm_team(&call, &va, &vb, &vc, &team);
  return 1;
}

#define VRX_INSTANTIATE(T)                                                                                  \
  template int vrx_l3_team_plan(vrx_int, vrx_int, vrx_int, vrx_l3_team<T>*);                                \
  template void vrx_blas_gemm_team(const vrx_l3_call<T>*, const vrx_l3_view<T>*, const vrx_l3_view<T>*,      \
                                   const vrx_l3_view<T>*, const vrx_l3_team<T>*);                            \
  template int vrx_blas_gemm_team_road(const char*, const char*, const vrx_int*, const vrx_int*,             \
                                       const vrx_int*, const T*, const T*, const vrx_int*, const T*,        \
                                       const vrx_int*, const T*, T*, const vrx_int*);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
