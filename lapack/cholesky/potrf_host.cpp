// The host routine of the Cholesky factorisation: the small kernel below the crossover,
// the sequential routine on one thread or when the tiles would not pay, and otherwise
// the tile path: the leading super-tile factored first (by this same routine), then a
// region of workers under the tile table. The entries stand where the offload gate goes.
#include "blas/level2/level2_common.h"
#include "lapack/cholesky/vrx_potrf.h"
#include "service/vrx_memory.h"
#include "service/vrx_serv.h"
#include "service/vrx_threads.h"

namespace {
template <typename T>
int sequential(bool upper, vrx_int n, T* a, vrx_int lda, vrx_int* info) {
  vrx_lapack_potrf_seq(upper, n, a, lda, info);
  return VRX_POTRF_PATH_SEQ;
}

// Largest power of two not above max(tiles / (t + 1), 1), halved while the super-tile
// is wider than lim elements.
vrx_int super_edge(vrx_int tiles, int t, vrx_int b, vrx_int lim) {
  const vrx_int most = tiles / (t + 1) > 1 ? tiles / (t + 1) : 1;
  vrx_int super = 1;
  while (super * 2 <= most) super *= 2;
  while (lim < b * super && super != 1) super /= 2;
  return super;
}

// The path choice; returns the path taken. `trace` is filled by the outermost call only.
template <typename T>
int choose(bool upper, vrx_int n, T* a, vrx_int lda, vrx_int* info, vrx_potrf_trace* trace) {
  *info = 0;
  if (n == 0) return VRX_POTRF_PATH_NONE;
  const char* uplo = upper ? "U" : "L";
  if (vrx_lapack_ilaenv<T>(3, "POTRF", uplo, n, -1, -1, -1) > n) {
    vrx_lapack_potrf_small(upper, n, a, lda, info);
    return VRX_POTRF_PATH_SMALL;
  }
  const int t = vrx_serv_get_max_threads() > 1 ? vrx_serv_get_max_threads() : 1;
  if (trace) trace->threads = t;
  if (t == 1) return sequential(upper, n, a, lda, info);
  const vrx_int b = vrx_lapack_ilaenv<T>(1, "POTRF", uplo, n, t, -1, -1);
  const vrx_int lim = vrx_lapack_ilaenv<T>(1, "POTRF", uplo, n, t, -3, -1);
  if (trace) {
    trace->b = b;
    trace->lim = lim;
  }
  if (b <= 1 || b >= n) return sequential(upper, n, a, lda, info);

  const vrx_int tiles = (n + b - 1) / b;
  const std::size_t bytes = sizeof(vrx_int) * static_cast<std::size_t>(vrx_potrf_table_words(tiles));
  vrx_int* table = static_cast<vrx_int*>(vrx_serv_malloc(bytes, 128));
  if (!table) {
    if (trace) trace->fallback = 1;
    return sequential(upper, n, a, lda, info);
  }
  const vrx_int super = super_edge(tiles, t, b, lim);
  vrx_lapack_potrf_table_init(table, tiles, super, t);
  if (trace) {
    trace->tiles = tiles;
    trace->super = super;
  }

  const vrx_int leading = n < b * super ? n : b * super;
  const int leading_path = choose(upper, leading, a, lda, info, nullptr);
  if (trace) trace->leading_path = leading_path;
  if (*info) {
    vrx_serv_free(table);
    return VRX_POTRF_PATH_TILES;
  }
  for (vrx_int i = 1; i <= super; ++i)
    for (vrx_int j = i; j <= super; ++j) *vrx_potrf_step(table, i, j) = 0;

  vrx_potrf_region<T> region = {upper, n, lda, b, a, table, info, 0, 0, 0, 0};
#pragma omp parallel num_threads(t)
  vrx_lapack_potrf_worker(&region);
  vrx_serv_free(table);
  if (region.error) *info = -1002;
  if (trace) {
    trace->region_threads = region.region_threads;
    trace->tasks_by_size = region.tasks_by_size;
    trace->tasks = region.tasks;
  }
  return VRX_POTRF_PATH_TILES;
}
}  // namespace

template <typename T>
void vrx_lapack_potrf_host(bool upper, vrx_int n, T* a, vrx_int lda, vrx_int* info) {
  vrx_potrf_trace* trace = vrx_lapack_potrf_trace();
  *trace = vrx_potrf_trace{};
  trace->path = choose(upper, n, a, lda, info, trace);
}

template void vrx_lapack_potrf_host<float>(bool, vrx_int, float*, vrx_int, vrx_int*);
template void vrx_lapack_potrf_host<double>(bool, vrx_int, double*, vrx_int, vrx_int*);
template void vrx_lapack_potrf_host<vrx_complex_float>(bool, vrx_int, vrx_complex_float*, vrx_int, vrx_int*);
template void vrx_lapack_potrf_host<vrx_complex_double>(bool, vrx_int, vrx_complex_double*, vrx_int, vrx_int*);

vrx_potrf_trace* vrx_lapack_potrf_trace() {
  static thread_local vrx_potrf_trace record;
  return &record;
}

// ---- the host routines and the entries by precision ----
void vrx_lapack_spotrf_host(const char* uplo, const vrx_int* n, float* a, const vrx_int* lda, vrx_int* info) {
  vrx_lapack_potrf_host(vrx_l2_letter(uplo, "U"), *n, a, *lda, info);
}
void vrx_lapack_dpotrf_host(const char* uplo, const vrx_int* n, double* a, const vrx_int* lda, vrx_int* info) {
  vrx_lapack_potrf_host(vrx_l2_letter(uplo, "U"), *n, a, *lda, info);
}
void vrx_lapack_cpotrf_host(const char* uplo, const vrx_int* n, vrx_complex_float* a, const vrx_int* lda,
                            vrx_int* info) {
  vrx_lapack_potrf_host(vrx_l2_letter(uplo, "U"), *n, a, *lda, info);
}
void vrx_lapack_zpotrf_host(const char* uplo, const vrx_int* n, vrx_complex_double* a, const vrx_int* lda,
                            vrx_int* info) {
  vrx_lapack_potrf_host(vrx_l2_letter(uplo, "U"), *n, a, *lda, info);
}
// A build without offload goes straight to the host routine.
void vrx_lapack_SPOTRF(const char* uplo, const vrx_int* n, float* a, const vrx_int* lda, vrx_int* info) {
  vrx_lapack_spotrf_host(uplo, n, a, lda, info);
}
void vrx_lapack_DPOTRF(const char* uplo, const vrx_int* n, double* a, const vrx_int* lda, vrx_int* info) {
  vrx_lapack_dpotrf_host(uplo, n, a, lda, info);
}
void vrx_lapack_CPOTRF(const char* uplo, const vrx_int* n, vrx_complex_float* a, const vrx_int* lda,
                       vrx_int* info) {
  vrx_lapack_cpotrf_host(uplo, n, a, lda, info);
}
void vrx_lapack_ZPOTRF(const char* uplo, const vrx_int* n, vrx_complex_double* a, const vrx_int* lda,
                       vrx_int* info) {
  vrx_lapack_zpotrf_host(uplo, n, a, lda, info);
}
