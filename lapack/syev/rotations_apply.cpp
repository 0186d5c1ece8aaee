// The threaded rotation engine: small targets and one thread take the sequential kernel;
// otherwise each thread of the LAPACK domain applies the whole batch to an equal slice of
// the lines the rotations do not couple (rows for side "R", columns for "L"), so the
// slices never meet and the region needs no barrier.
#include <omp.h>

#include "blas/level2/level2_common.h"
#include "lapack/sched/vrx_team_sync.h"
#include "lapack/syev/vrx_rotations.h"
#include "lapack/vrx_lapack.h"
#include "service/vrx_threads.h"

namespace {
// Crossover questions of key 3: n1 = 1 on the rotated lines, n1 = 3 on the sliced ones.
constexpr vrx_int rotated_question = 1, sliced_question = 3;
constexpr int cache_line_bytes = 64;

template <typename T>
using region_fn = void(int threads, vrx_int m, vrx_int n, const vrx_real_t<T>* c, const vrx_real_t<T>* s, T* a,
                       vrx_int lda, vrx_int sweeps, vrx_int ldcs);

// One forked region per side and direction, pivot "V". Row slices start on cache lines
// so that two threads never write the same line.
template <typename T, bool Left, bool Backward>
void region(int threads, vrx_int m, vrx_int n, const vrx_real_t<T>* c, const vrx_real_t<T>* s, T* a, vrx_int lda,
            vrx_int sweeps, vrx_int ldcs) {
  const char* side = Left ? "L" : "R";
  const char* direct = Backward ? "B" : "F";
  const vrx_int unit = Left || sizeof(T) >= cache_line_bytes ? 1 : cache_line_bytes / sizeof(T);
#pragma omp parallel num_threads(threads)
  {
    vrx_int first = 0, count = 0;
    vrx_lapack_split_units(Left ? n : m, unit, omp_get_num_threads(), omp_get_thread_num(), &first, &count);
    if (count > 0) {
      if (Left)
        vrx_lapack_rotation_kernel<T>(side, "V", direct, m, count, c, s, a + first * lda, lda, sweeps, ldcs);
      else
        vrx_lapack_rotation_kernel<T>(side, "V", direct, count, n, c, s, a + first, lda, sweeps, ldcs);
    }
  }
}

template <typename T>
constexpr region_fn<T>* regions[2][2] = {{region<T, false, false>, region<T, false, true>},
                                         {region<T, true, false>, region<T, true, true>}};
}  // namespace

template <typename T>
void vrx_lapack_rotations_apply(const char* side, const char* pivot, const char* direct, vrx_int m, vrx_int n,
                                const vrx_real_t<T>* c, const vrx_real_t<T>* s, T* a, vrx_int lda, vrx_int sweeps,
                                vrx_int ldcs) {
  const bool left = vrx_l2_letter(side, "L");
  const vrx_int lines = left ? m : n, across = left ? n : m;
  if (lines < 2 || across < 1 || sweeps < 1) return;
  const char* family = left ? "BDSQR" : "STEQR";
  const bool threaded = vrx_lapack_ilaenv<T>(3, family, " ", rotated_question, lines, -1, -1) < lines &&
                        vrx_l2_letter(pivot, "V") &&
                        vrx_lapack_ilaenv<T>(3, family, " ", sliced_question, across, -1, -1) < across;
  const int threads = threaded ? vrx_serv_get_max_threads() : 1;
  if (threads < 2) {
    vrx_lapack_rotation_kernel<T>(side, pivot, direct, m, n, c, s, a, lda, sweeps, ldcs);
    return;
  }
  regions<T>[left][vrx_l2_letter(direct, "B")](threads, m, n, c, s, a, lda, sweeps, ldcs);
}

#define VRX_ROTATIONS_APPLY_INSTANCE(T)                                                                        \
  template void vrx_lapack_rotations_apply<T>(const char*, const char*, const char*, vrx_int, vrx_int,         \
                                              const vrx_real_t<T>*, const vrx_real_t<T>*, T*, vrx_int, vrx_int, \
                                              vrx_int);
VRX_ROTATIONS_APPLY_INSTANCE(float)
VRX_ROTATIONS_APPLY_INSTANCE(double)
VRX_ROTATIONS_APPLY_INSTANCE(vrx_complex_float)
VRX_ROTATIONS_APPLY_INSTANCE(vrx_complex_double)
#undef VRX_ROTATIONS_APPLY_INSTANCE
