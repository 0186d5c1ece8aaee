// Eigenvalues and eigenvectors of a symmetric tridiagonal matrix by the implicit QL/QR
// iteration with Wilkinson shifts. The rotations of each sweep are gathered, several
// sweeps at a time, and applied to Z by the rotation engine in one pass; nothing reads Z
// until the end, so the result is that of one application per sweep. Z is real or
// complex, d and e real.
#include <cmath>

#include "blas/level2/level2_common.h"
#include "lapack/aux/vrx_plane_rotation.h"
#include "lapack/solve/vrx_solve.h"
#include "lapack/syev/vrx_rotations.h"
#include "lapack/syev/vrx_syev.h"
#include "lapack/syev/vrx_tridiagonal.h"
#include "service/vrx_memory.h"
#include "service/vrx_threads.h"

namespace {
// The rotations of the sweeps not yet applied to Z. Slot i holds a sweep's cosines and
// sines at c + i stride and s + i stride, indexed by the lower of the two columns each
// rotation turns; the slot's sweep covers rotations first[i] to last[i]. Sweeps of one
// rotation fit either direction; longer ones of the other direction close the batch.
template <typename T>
struct rotation_gather {
  typedef vrx_real_t<T> R;
  T* z;
  vrx_int ldz, n;
  R* c;
  R* s;
  vrx_int stride, capacity, count;
  vrx_int* first;
  vrx_int* last;
  bool backward, directed;  // directed: a gathered sweep has more than one rotation
  vrx_int low, high;  // rotations covered by the gathered sweeps together
  void* owned;        // the gathered tables, when not the caller's work
  vrx_int single_first, single_last;
};

template <typename T>
void apply_gathered(rotation_gather<T>& g) {
  typedef vrx_real_t<T> R;
  if (g.count == 0) return;
  // Sweeps shorter than the batch's span rotate nothing outside their own.
  for (vrx_int i = 0; i < g.count; ++i) {
    R* c = g.c + i * g.stride;
    R* s = g.s + i * g.stride;
    for (vrx_int j = g.low; j <= g.high; ++j)
      if (j < g.first[i] || j > g.last[i]) c[j] = 1, s[j] = 0;
  }
  vrx_lapack_rotations_apply<T>("R", "V", g.backward ? "B" : "F", g.n, g.high - g.low + 2, g.c + g.low, g.s + g.low,
                                g.z + g.low * g.ldz, g.ldz, g.count, g.stride);
  g.count = 0;
  g.directed = false;
}

// The slot for a sweep of rotations first..last, applying what was gathered when the
// slot would not fit the batch.
template <typename T>
vrx_int open_sweep(rotation_gather<T>& g, bool backward, vrx_int first, vrx_int last) {
  if (first < last) {
    if (g.directed && g.backward != backward) apply_gathered(g);
    g.backward = backward;
    g.directed = true;
  }
  if (g.count == 0) g.low = first, g.high = last;
  g.low = first < g.low ? first : g.low;
  g.high = last > g.high ? last : g.high;
  g.first[g.count] = first;
  g.last[g.count] = last;
  return g.count * g.stride;
}

template <typename T>
void close_sweep(rotation_gather<T>& g) {
  if (++g.count == g.capacity) apply_gathered(g);
}

// Gathers up to the batch of the rotation engine in a table of its own; one sweep at a
// time in the caller's work when the batch is too small to pay or the table cannot be had.
template <typename T>
void gather_start(rotation_gather<T>& g, T* z, vrx_int ldz, vrx_int n, vrx_real_t<T>* work) {
  typedef vrx_real_t<T> R;
  g = rotation_gather<T>{};
  g.z = z;
  g.ldz = ldz;
  g.n = n;
  g.stride = n - 1;
  g.c = work;
  g.s = work + g.stride;
  g.capacity = 1;
  g.first = &g.single_first;
  g.last = &g.single_last;
  const vrx_routine_name_buffer name = vrx_routine_name<T>("STEQR");
  const vrx_int threads = vrx_serv_get_max_threads();
  const vrx_int batch_key = 1, smallest_key = 2;
  const vrx_int batch = vrx_lapack_rotation_batch(&batch_key, name.text, "V", &n, &threads);
  if (batch < 2 || batch < vrx_lapack_rotation_batch(&smallest_key, name.text, "V", &n, &threads)) return;
  const std::size_t table = static_cast<std::size_t>(batch) * 2 * g.stride;
  void* block = vrx_serv_malloc(table * sizeof(R) + 2 * batch * sizeof(vrx_int), 64);
  if (!block) return;
  g.owned = block;
  g.c = static_cast<R*>(block);
  g.s = g.c + batch * g.stride;
  g.first = reinterpret_cast<vrx_int*>(g.c + table);
  g.last = g.first + batch;
  g.capacity = batch;
}

template <typename T>
void gather_finish(rotation_gather<T>& g) {
  apply_gathered(g);
  if (g.owned) vrx_serv_free(g.owned);
  g.owned = nullptr;
}

// The 2 by 2 block of rows top and top + 1, solved directly; its rotation joins the
// gathered ones (null: no vectors wanted).
template <typename T>
void solve_pair(vrx_real_t<T>* d, vrx_real_t<T>* e, vrx_int top, rotation_gather<T>* gather) {
  typedef vrx_real_t<T> R;
  R rt1, rt2;
  if (gather) {
    R c, s;
    vrx_lapack_laev2(d[top], e[top], d[top + 1], &rt1, &rt2, &c, &s);
    const vrx_int slot = open_sweep(*gather, gather->backward, top, top);
    gather->c[slot + top] = c;
    gather->s[slot + top] = s;
    close_sweep(*gather);
  } else {
    vrx_lapack_lae2(d[top], e[top], d[top + 1], &rt1, &rt2);
  }
  d[top] = rt1;
  d[top + 1] = rt2;
  e[top] = 0;
}

// One block from row l towards lend. Each sweep chases from m back to l; its rotations
// turn the columns of Z between m and l, the pair nearest m first.
template <typename T>
void iterate(vrx_real_t<T>* d, vrx_real_t<T>* e, vrx_int l, vrx_int lend, const vrx_tridiagonal_constants<vrx_real_t<T>>& k,
             vrx_int* sweeps, vrx_int max_sweeps, rotation_gather<T>* gather) {
  typedef vrx_real_t<T> R;
  const vrx_int step = lend > l ? 1 : -1;
  const auto negligible = [&](vrx_int off, vrx_int a, vrx_int b) {
    return e[off] * e[off] <= (k.eps2 * std::fabs(d[a])) * std::fabs(d[b]) + k.safmin;
  };
  while ((lend - l) * step >= 0) {
    const vrx_int m = vrx_tridiagonal_split(e, l, lend, step, negligible);
    if (m == l) {
      l += step;
      continue;
    }
    if (m == l + step) {
      solve_pair(d, e, step > 0 ? l : m, gather);
      l += 2 * step;
      continue;
    }
    if (*sweeps == max_sweeps) return;
    ++*sweeps;
    // The shifted start from the 2 by 2 at l and the far end d[m].
    const vrx_int l_off = vrx_tridiagonal_between(l, step);
    const R p0 = d[l], el = e[l_off];
    R g = (d[l + step] - p0) / (2 * el);
    g = d[m] - p0 + el / (g + vrx_tridiagonal_sign(std::hypot(g, R(1)), g));
    R s = 1, c = 1, p = 0;
    const vrx_int slot = gather ? open_sweep(*gather, step > 0, step > 0 ? l : m, (step > 0 ? m : l) - 1) : 0;
    for (vrx_int row = m; row != l; row -= step) {
      const vrx_int next = row - step, off = vrx_tridiagonal_between(next, step);
      const R f = s * e[off], b = c * e[off];
      R r;
      vrx_lapack_lartg(g, f, &c, &s, &r);
      if (row != m) e[vrx_tridiagonal_between(row, step)] = r;
      g = d[row] - p;
      r = (d[next] - g) * s + 2 * c * b;
      p = s * r;
      d[row] = g + p;
      g = c * r - b;
      // Z's columns off and off + 1; downwards the sweep's sine enters negated.
      if (gather) gather->c[slot + off] = c, gather->s[slot + off] = step > 0 ? -s : s;
    }
    if (gather) close_sweep(*gather);
    d[l] -= p;
    e[l_off] = g;
  }
}

// Ascending eigenvalues by selection, each exchange carrying its column of Z along.
template <typename T>
void sort_with_vectors(vrx_int n, vrx_real_t<T>* d, T* z, vrx_int ldz) {
  typedef vrx_real_t<T> R;
  for (vrx_int i = 0; i + 1 < n; ++i) {
    vrx_int k = i;
    R p = d[i];
    for (vrx_int j = i + 1; j < n; ++j)
      if (d[j] < p) k = j, p = d[j];
    if (k == i) continue;
    d[k] = d[i];
    d[i] = p;
    vrx_blas_level1<T>()->swap(n, z + i * ldz, z + k * ldz);
  }
}

int first_bad_argument(int vectors, vrx_int n, vrx_int ldz) {
  if (vectors < 0) return 1;
  if (n < 0) return 2;
  if (ldz < 1 || (vectors > 0 && ldz < (n > 1 ? n : 1))) return 6;
  return 0;
}
}  // namespace

template <typename T>
void vrx_lapack_steqr(const char* compz, vrx_int n, vrx_real_t<T>* d, vrx_real_t<T>* e, T* z, vrx_int ldz,
                      vrx_real_t<T>* work, vrx_int* info) {
  typedef vrx_real_t<T> R;
  *info = 0;
  // 0: eigenvalues only, 1: Z holds the reduction's Q, 2: Z starts as the identity.
  const int vectors = vrx_l2_letter(compz, "N") ? 0 : vrx_l2_letter(compz, "V") ? 1 : vrx_l2_letter(compz, "I") ? 2 : -1;
  if (vrx_lapack_reject<T>("STEQR", first_bad_argument(vectors, n, ldz), info) || n == 0) return;
  const T zero = vrx_traits<T>::make(0, 0), one = vrx_traits<T>::make(1, 0);
  if (vectors == 2) vrx_lapack_laset<T>("Full", n, n, zero, one, z, ldz);
  if (n == 1) return;
  rotation_gather<T> gather;
  if (vectors > 0) gather_start(gather, z, ldz, n, work);
  rotation_gather<T>* const gathered = vectors > 0 ? &gather : nullptr;
  const vrx_tridiagonal_constants<R> k = vrx_tridiagonal_constants_of<R>();
  vrx_int sweeps = 0;
  const vrx_int max_sweeps = vrx_lapack_tridiagonal_sweeps_per_order * n;
  // A block's rotations are applied when it ends: the next block turns other columns.
  const auto block = [&](vrx_int l, vrx_int lend) {
    iterate(d, e, l, lend, k, &sweeps, max_sweeps, gathered);
    if (gathered) apply_gathered(gather);
  };
  const bool converged = vrx_tridiagonal_blocks(n, d, e, false, k, &sweeps, max_sweeps, block, info);
  if (gathered) gather_finish(gather);
  if (!converged) return;
  if (vectors == 0)
    vrx_tridiagonal_sort(n, d);
  else
    sort_with_vectors(n, d, z, ldz);
}

#define VRX_STEQR_INSTANCE(T)                                                                                \
  template void vrx_lapack_steqr<T>(const char*, vrx_int, vrx_real_t<T>*, vrx_real_t<T>*, T*, vrx_int,       \
                                    vrx_real_t<T>*, vrx_int*);
VRX_STEQR_INSTANCE(float)
VRX_STEQR_INSTANCE(double)
VRX_STEQR_INSTANCE(vrx_complex_float)
VRX_STEQR_INSTANCE(vrx_complex_double)
#undef VRX_STEQR_INSTANCE

extern "C" {
void SSTEQR(const char* compz, const vrx_int* n, float* d, float* e, float* z, const vrx_int* ldz, float* work,
            vrx_int* info) {
  vrx_lapack_steqr(compz, *n, d, e, z, *ldz, work, info);
}
void DSTEQR(const char* compz, const vrx_int* n, double* d, double* e, double* z, const vrx_int* ldz, double* work,
            vrx_int* info) {
  vrx_lapack_steqr(compz, *n, d, e, z, *ldz, work, info);
}
void CSTEQR(const char* compz, const vrx_int* n, float* d, float* e, vrx_complex_float* z, const vrx_int* ldz,
            float* work, vrx_int* info) {
  vrx_lapack_steqr(compz, *n, d, e, z, *ldz, work, info);
}
void ZSTEQR(const char* compz, const vrx_int* n, double* d, double* e, vrx_complex_double* z, const vrx_int* ldz,
            double* work, vrx_int* info) {
  vrx_lapack_steqr(compz, *n, d, e, z, *ldz, work, info);
}
}
