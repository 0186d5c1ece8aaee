// The sequential rotation kernel. The target is walked in strips across the rotated
// lines (rows for side "R", columns for "L"); within a strip of pivot "V" the sweeps of
// the batch advance together as a wavefront, sweep i + 1 two rotations behind sweep i,
// so that the few lines the front covers stay in cache while every sweep passes over
// them. Each rotation is applied as a pair of lines (the DROT of the strip), and every
// element still sees its rotations in the order of the batch, so the result is the one
// of sweep-by-sweep application. The other pivots share one line among all rotations and
// go sweep by sweep.
#include "blas/level2/level2_common.h"
#include "lapack/syev/vrx_rotations.h"
#include "lapack/vrx_lapack.h"

namespace {
// Sweep i + 1 may apply its rotation at position p once sweep i has applied positions up
// to p + 1: the three rotations of sweep i that touch the pair of lines come first.
constexpr vrx_int wavefront_lag = 2;
// The tuning answer's narrow strips (6 lines for small orders) spend more on the loop
// over a strip than the cache saves; below this many lines a strip does not pay.
constexpr vrx_int narrowest_strip = 256;

template <typename T>
struct rotation_batch_target {
  typedef vrx_real_t<T> R;
  bool left;      // rows are rotated (side "L"), else columns
  char pivot;     // 'V', 'T' or 'B'
  bool backward;  // direct "B"
  vrx_int lines;  // rotated lines; lines - 1 rotations per sweep
  const R* c;
  const R* s;
  vrx_int sweeps, ldcs;
  void (*rot)(vrx_int n, T* x, T* y, R c, R s);  // the unit-stride pair, for side "R"
  T* a;
  vrx_int lda;
};

// Rotation j of a sweep on elements [first, first + count) of its two lines.
template <typename T>
void rotate(const rotation_batch_target<T>& t, vrx_int sweep, vrx_int j, vrx_int first, vrx_int count) {
  typedef vrx_real_t<T> R;
  const R c = t.c[sweep * t.ldcs + j], s = t.s[sweep * t.ldcs + j];
  if (c == 1 && s == 0) return;
  const vrx_int x = t.pivot == 'T' ? 0 : j;
  const vrx_int y = t.pivot == 'B' ? t.lines - 1 : j + 1;
  if (!t.left) {
    t.rot(count, t.a + x * t.lda + first, t.a + y * t.lda + first, c, s);
    return;
  }
  T* column = t.a + first * t.lda;
  for (vrx_int i = 0; i < count; ++i, column += t.lda) {
    const T u = column[x], v = column[y];
    column[x] = c * u + s * v;
    column[y] = c * v - s * u;
  }
}

// Rotation number `position` in the order of the sweep's direction.
template <typename T>
vrx_int rotation_at(const rotation_batch_target<T>& t, vrx_int position) {
  return t.backward ? t.lines - 2 - position : position;
}

template <typename T>
void sweep_by_sweep(const rotation_batch_target<T>& t, vrx_int first, vrx_int count) {
  for (vrx_int sweep = 0; sweep < t.sweeps; ++sweep)
    for (vrx_int p = 0; p < t.lines - 1; ++p) rotate(t, sweep, rotation_at(t, p), first, count);
}

// At each step every sweep whose position (step - lag sweep) lies in the sequence
// applies that rotation; within a step the rotations touch disjoint lines.
template <typename T>
void wavefront(const rotation_batch_target<T>& t, vrx_int first, vrx_int count) {
  const vrx_int rotations = t.lines - 1;
  const vrx_int steps = rotations + wavefront_lag * (t.sweeps - 1);
  for (vrx_int step = 0; step < steps; ++step) {
    const vrx_int oldest = step < rotations ? 0 : (step - rotations) / wavefront_lag + 1;
    const vrx_int newest = step / wavefront_lag < t.sweeps - 1 ? step / wavefront_lag : t.sweeps - 1;
    for (vrx_int sweep = oldest; sweep <= newest; ++sweep)
      rotate(t, sweep, rotation_at(t, step - wavefront_lag * sweep), first, count);
  }
}
}  // namespace

template <typename T>
void vrx_lapack_rotation_kernel(const char* side, const char* pivot, const char* direct, vrx_int m, vrx_int n,
                                const vrx_real_t<T>* c, const vrx_real_t<T>* s, T* a, vrx_int lda, vrx_int sweeps,
                                vrx_int ldcs) {
  rotation_batch_target<T> t;
  t.left = vrx_l2_letter(side, "L");
  t.pivot = vrx_l2_letter(pivot, "T") ? 'T' : vrx_l2_letter(pivot, "B") ? 'B' : 'V';
  t.backward = vrx_l2_letter(direct, "B");
  t.lines = t.left ? m : n;
  t.c = c;
  t.s = s;
  t.sweeps = sweeps;
  t.ldcs = ldcs;
  t.rot = vrx_blas_level1<T>()->rot;
  t.a = a;
  t.lda = lda;
  const vrx_int across = t.left ? n : m;
  if (t.lines < 2 || across < 1 || sweeps < 1) return;
  vrx_int strip = vrx_lapack_ilaenv<T>(1, t.left ? "BDSQR" : "STEQR", " ", t.lines, 1, -1, -1);
  if (strip < narrowest_strip) strip = narrowest_strip;
  for (vrx_int first = 0; first < across; first += strip) {
    const vrx_int count = across - first < strip ? across - first : strip;
    if (t.pivot == 'V' && sweeps > 1)
      wavefront(t, first, count);
    else
      sweep_by_sweep(t, first, count);
  }
}

#define VRX_ROTATION_KERNEL_INSTANCE(T)                                                                        \
  template void vrx_lapack_rotation_kernel<T>(const char*, const char*, const char*, vrx_int, vrx_int,         \
                                              const vrx_real_t<T>*, const vrx_real_t<T>*, T*, vrx_int, vrx_int, \
                                              vrx_int);
VRX_ROTATION_KERNEL_INSTANCE(float)
VRX_ROTATION_KERNEL_INSTANCE(double)
VRX_ROTATION_KERNEL_INSTANCE(vrx_complex_float)
VRX_ROTATION_KERNEL_INSTANCE(vrx_complex_double)
#undef VRX_ROTATION_KERNEL_INSTANCE
