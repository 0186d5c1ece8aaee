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

// One unreduced block's iteration; the gather is null when no vectors are wanted.
template <typename T>
struct implicit_block {
  typedef vrx_real_t<T> R;
  R* d;
  R* e;
  vrx_int l, lend;
  vrx_int* sweeps;
  vrx_int max_sweeps;
  const vrx_tridiagonal_constants<R>* k;
  rotation_gather<T>* gather;
};

template <typename R>
bool negligible(R e, R d1, R d2, const vrx_tridiagonal_constants<R>& k) {
  return e * e <= (k.eps2 * std::fabs(d1)) * std::fabs(d2) + k.safmin;
}

// The 2 by 2 block of rows top and top + 1, solved directly; its rotation joins the
// gathered ones.
template <typename T>
void solve_pair(implicit_block<T>& b, vrx_int top) {
  typedef vrx_real_t<T> R;
  R* d = b.d;
  R rt1, rt2;
  if (b.gather) {
    R c, s;
    vrx_lapack_laev2(d[top], b.e[top], d[top + 1], &rt1, &rt2, &c, &s);
    const vrx_int slot = open_sweep(*b.gather, b.gather->backward, top, top);
    b.gather->c[slot + top] = c;
    b.gather->s[slot + top] = s;
    close_sweep(*b.gather);
  } else {
    vrx_lapack_lae2(d[top], b.e[top], d[top + 1], &rt1, &rt2);
  }
  d[top] = rt1;
  d[top + 1] = rt2;
  b.e[top] = 0;
}

// The shifted start g of a sweep from the 2 by 2 at l (neighbour on the diagonal, their
// off-diagonal el) and the far end d[m] of the sweep.
template <typename R>
R sweep_start(R p, R neighbour, R el, R dm) {
  R g = (neighbour - p) / (2 * el);
  const R r = std::hypot(g, R(1));
  return dm - p + el / (g + vrx_tridiagonal_sign(r, g));
}

// QL: eigenvalues found at the top, l moving down to lend; each sweep chases from m up
// to l and turns columns l..m of Z, last pair first.
template <typename T>
void iterate_down(implicit_block<T>& b) {
  typedef vrx_real_t<T> R;
  R* d = b.d;
  R* e = b.e;
  vrx_int l = b.l;
  const vrx_int lend = b.lend;
  while (l <= lend) {
    vrx_int m = lend;
    for (vrx_int i = l; i < lend; ++i)
      if (negligible(e[i], d[i], d[i + 1], *b.k)) {
        m = i;
        break;
      }
    if (m < lend) e[m] = 0;
    if (m == l) {
      ++l;
      continue;
    }
    if (m == l + 1) {
      solve_pair(b, l);
      l += 2;
      continue;
    }
    if (*b.sweeps == b.max_sweeps) return;
    ++*b.sweeps;
    const R p0 = d[l];
    R g = sweep_start(p0, d[l + 1], e[l], d[m]);
    R s = 1, c = 1, p = 0;
    const vrx_int slot = b.gather ? open_sweep(*b.gather, true, l, m - 1) : 0;
    for (vrx_int i = m - 1; i >= l; --i) {
      const R f = s * e[i], bb = c * e[i];
      R r;
      vrx_lapack_lartg(g, f, &c, &s, &r);
      if (i != m - 1) e[i + 1] = r;
      g = d[i + 1] - p;
      r = (d[i] - g) * s + 2 * c * bb;
      p = s * r;
      d[i + 1] = g + p;
      g = c * r - bb;
      if (b.gather) b.gather->c[slot + i] = c, b.gather->s[slot + i] = -s;
    }
    if (b.gather) close_sweep(*b.gather);
    d[l] -= p;
    e[l] = g;
  }
}

// QR: eigenvalues found at the bottom, l moving up to lend; each sweep chases from m
// down to l and turns columns m..l of Z, first pair first.
template <typename T>
void iterate_up(implicit_block<T>& b) {
  typedef vrx_real_t<T> R;
  R* d = b.d;
  R* e = b.e;
  vrx_int l = b.l;
  const vrx_int lend = b.lend;
  while (l >= lend) {
    vrx_int m = lend;
    for (vrx_int i = l; i > lend; --i)
      if (negligible(e[i - 1], d[i], d[i - 1], *b.k)) {
        m = i;
        break;
      }
    if (m > lend) e[m - 1] = 0;
    if (m == l) {
      --l;
      continue;
    }
    if (m == l - 1) {
      solve_pair(b, m);
      l -= 2;
      continue;
    }
    if (*b.sweeps == b.max_sweeps) return;
    ++*b.sweeps;
    const R p0 = d[l];
    R g = sweep_start(p0, d[l - 1], e[l - 1], d[m]);
    R s = 1, c = 1, p = 0;
    const vrx_int slot = b.gather ? open_sweep(*b.gather, false, m, l - 1) : 0;
    for (vrx_int i = m; i < l; ++i) {
      const R f = s * e[i], bb = c * e[i];
      R r;
      vrx_lapack_lartg(g, f, &c, &s, &r);
      if (i != m) e[i - 1] = r;
      g = d[i] - p;
      r = (d[i + 1] - g) * s + 2 * c * bb;
      p = s * r;
      d[i] = g + p;
      g = c * r - bb;
      if (b.gather) b.gather->c[slot + i] = c, b.gather->s[slot + i] = s;
    }
    if (b.gather) close_sweep(*b.gather);
    d[l] -= p;
    e[l - 1] = g;
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
  const vrx_tridiagonal_constants<R> k = vrx_tridiagonal_constants_of<R>();
  vrx_int sweeps = 0;
  const vrx_int max_sweeps = vrx_lapack_tridiagonal_sweeps_per_order * n;
  for (vrx_int first = 0; first < n;) {
    if (first > 0) e[first - 1] = 0;
    const vrx_int last = vrx_tridiagonal_block_end(n, d, e, first, k.eps);
    const vrx_int top = first, len = last - first + 1;
    first = last + 1;
    if (len == 1) continue;
    const vrx_tridiagonal_scaling<R> scaling = vrx_tridiagonal_scale(len, d + top, e + top, k);
    if (scaling.anorm == 0) continue;
    implicit_block<T> block = {d, e, top, last, &sweeps, max_sweeps, &k, vectors > 0 ? &gather : nullptr};
    if (std::fabs(d[last]) < std::fabs(d[top])) {
      block.l = last;
      block.lend = top;
      iterate_up(block);
    } else {
      iterate_down(block);
    }
    vrx_tridiagonal_unscale(len, d + top, e + top, scaling);
    if (sweeps >= max_sweeps) {
      if (vectors > 0) gather_finish(gather);
      *info = vrx_tridiagonal_unconverged(n, e);
      return;
    }
  }
  if (vectors == 0) {
    vrx_tridiagonal_sort(n, d);
    return;
  }
  gather_finish(gather);
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
