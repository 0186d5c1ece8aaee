// The sequential rank-k and rank-2k updates: beta on the stored triangle first, then
// the triangle in bands of rectangles (the sequential GEMM of the CPU type) and
// diagonal tiles (computed whole into the copy buffer, their triangle added to C).
// Chosen by CPU type; the portable entry reads A and B where they lie.
#include "blas/level3/gemm/vrx_gemm_roads.h"
#include "blas/level3/syrk/vrx_syrk.h"
#include "blas/level3/syrk/vrx_triangle_scale.h"
#include "service/vrx_dispatch.h"
#include "service/vrx_serv.h"

namespace {
// The copy buffer of the diagonal tiles and the largest tile it holds.
constexpr std::size_t copy_buffer_bytes = 131072;
template <typename T>
constexpr vrx_int copy_tile() {
  vrx_int d = 8;
  while (static_cast<std::size_t>((d + 8) * (d + 8)) * sizeof(T) <= copy_buffer_bytes) d += 8;
  return d;
}
static_assert(copy_tile<double>() == 128 && copy_tile<vrx_complex_double>() == 88);

// Answers false when the call leaves C as it stands.
template <typename T>
bool changes_c(const vrx_syrk_problem<T>* p) {
  if (p->n < 1) return false;
  return !((vrx_traits<T>::is_zero(p->alpha) || p->k < 1) && vrx_traits<T>::is_one(p->beta));
}

template <typename T>
void unpacked_pass(const vrx_syrk_problem<T>* p) {
  if (!changes_c(p)) return;
  vrx_syrk_unpacked_diagonal(p, 0, p->n, p->beta);
}

template <typename T>
void copy_buffer_pass(const vrx_syrk_problem<T>* p) {
  if (!changes_c(p)) return;
  vrx_scale_triangle(p->lower, p->hermitian, p->n, p->n, 0, p->beta, p->c, p->ldc);
  if (vrx_traits<T>::is_zero(p->alpha) || p->k < 1) return;
  vrx_syrk_problem<T> q = *p;
  q.beta = vrx_traits<T>::make(1, 0);
  vrx_syrk_sequential_band(&q, 0, q.n);
}

// CPU types 5 and 7: diagonal tiles by the triangle routines of the level-3 operations.
template <typename T>
void driver_pass(const vrx_syrk_problem<T>* p) {
  if (!changes_c(p)) return;
  if (!vrx_syrk_driver_pass(p)) copy_buffer_pass(p);
}

template <typename T>
using pass_fn = void (*)(const vrx_syrk_problem<T>* p);
template <typename T>
constexpr vrx_variants<pass_fn<T>> pass_variants = {
    .portable = unpacked_pass<T>,
    .compatible = copy_buffer_pass<T>,
    .sse2 = copy_buffer_pass<T>,
    .ssse3 = copy_buffer_pass<T>,
    .sse42 = copy_buffer_pass<T>,
    .avx = copy_buffer_pass<T>,
    .avx2 = driver_pass<T>,
    .avx512 = driver_pass<T>,
};
template <typename T>
pass_fn<T> pass_cache = nullptr;

thread_local vrx_syrk_trace last_trace = {};
}  // namespace

template <typename T>
void vrx_syrk_sequential_band(const vrx_syrk_problem<T>* p, vrx_int c0, vrx_int c1) {
  T* buffer = static_cast<T*>(vrx_l3_scratch_alloc(copy_buffer_bytes, 128));
  const bool had = !vrx_serv_check_ptr_quiet(buffer, "DSYRK");
  vrx_syrk_note_copy_buffer(had);
  vrx_syrk_band(p, vrx_gemm_members<T>::sequential, c0, c1, copy_tile<T>(), buffer);
  if (had) vrx_serv_free(buffer);
}

template <typename T>
void vrx_syrk_sequential_pass(const vrx_syrk_problem<T>* p) {
  copy_buffer_pass(p);
}

template <typename T>
void vrx_syrk_sequential(const vrx_syrk_problem<T>* p) {
  vrx_serv_dispatch(&pass_cache<T>, pass_variants<T>)(p);
}

vrx_syrk_trace vrx_syrk_last_trace() { return last_trace; }
void vrx_syrk_note(int road, int threads) { last_trace = {road, threads, -1, -1}; }
void vrx_syrk_note_copy_buffer(int had) { last_trace.copy_buffer = had; }
void vrx_syrk_note_workspace(int had) { last_trace.workspace = had; }

#define VRX_INSTANTIATE(T)                                                  \
  template void vrx_syrk_sequential_pass(const vrx_syrk_problem<T>*);      \
  template void vrx_syrk_sequential_band(const vrx_syrk_problem<T>*, vrx_int, vrx_int); \
  template void vrx_syrk_sequential(const vrx_syrk_problem<T>*);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
