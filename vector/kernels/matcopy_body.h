// The one logic of the matrix copies, compiled in each class folder with that class's
// vector width (see blas/kernels/vrx_simd.h). Column-major calls swap rows and cols and
// run the row-major code: the memory pattern is the same. No scratch memory anywhere;
// the 8 by 8 tile buffers live on the stack.
#pragma once
#include <omp.h>
#include <cstddef>
#include <cstdint>
#include "blas/kernels/vrx_simd.h"
#include "vector/vrx_matcopy.h"

namespace {
typedef std::size_t mc_size;

bool mc_transposing(char t) { return t == 'T' || t == 't' || t == 'C' || t == 'c'; }
bool mc_plain(char t) { return t == 'N' || t == 'n' || t == 'R' || t == 'r'; }
bool mc_row_major(char o) { return o == 'R' || o == 'r'; }
bool mc_col_major(char o) { return o == 'C' || o == 'c'; }
bool mc_power_of_two(mc_size v) { return v && !(v & (v - 1)); }

// ---- register transposition of W by W blocks (W doubles per register) ----
template <typename V, int W>
inline void mc_transpose_registers(V* r) {
  if constexpr (W == 2) {
    const V a = r[0], b = r[1];
    r[0] = __builtin_shufflevector(a, b, 0, 2);
    r[1] = __builtin_shufflevector(a, b, 1, 3);
  } else if constexpr (W == 4) {
    const V t0 = __builtin_shufflevector(r[0], r[1], 0, 4, 2, 6), t1 = __builtin_shufflevector(r[0], r[1], 1, 5, 3, 7);
    const V t2 = __builtin_shufflevector(r[2], r[3], 0, 4, 2, 6), t3 = __builtin_shufflevector(r[2], r[3], 1, 5, 3, 7);
    r[0] = __builtin_shufflevector(t0, t2, 0, 1, 4, 5);
    r[1] = __builtin_shufflevector(t1, t3, 0, 1, 4, 5);
    r[2] = __builtin_shufflevector(t0, t2, 2, 3, 6, 7);
    r[3] = __builtin_shufflevector(t1, t3, 2, 3, 6, 7);
  } else if constexpr (W == 8) {
    V t[8], u[8];
    for (int p = 0; p < 8; p += 2) {
      t[p] = __builtin_shufflevector(r[p], r[p + 1], 0, 8, 2, 10, 4, 12, 6, 14);
      t[p + 1] = __builtin_shufflevector(r[p], r[p + 1], 1, 9, 3, 11, 5, 13, 7, 15);
    }
    for (int h = 0; h < 8; h += 4) {
      u[h] = __builtin_shufflevector(t[h], t[h + 2], 0, 1, 8, 9, 4, 5, 12, 13);
      u[h + 2] = __builtin_shufflevector(t[h], t[h + 2], 2, 3, 10, 11, 6, 7, 14, 15);
      u[h + 1] = __builtin_shufflevector(t[h + 1], t[h + 3], 0, 1, 8, 9, 4, 5, 12, 13);
      u[h + 3] = __builtin_shufflevector(t[h + 1], t[h + 3], 2, 3, 10, 11, 6, 7, 14, 15);
    }
    for (int c = 0; c < 4; ++c) {
      r[c] = __builtin_shufflevector(u[c], u[c + 4], 0, 1, 2, 3, 8, 9, 10, 11);
      r[c + 4] = __builtin_shufflevector(u[c], u[c + 4], 4, 5, 6, 7, 12, 13, 14, 15);
    }
  }
}

// dst(j, i) := alpha src(i, j) for an 8 by 8 tile; rows `lds` and `ldd` apart. With
// `stream` the target rows go out with non-temporal stores (double only); each target
// row of the tile must then start on a 64-byte boundary, so every store completes a line.
template <bool stream = false, typename T>
inline void mc_tile8(const T* src, mc_size lds, T* dst, mc_size ldd, T alpha) {
  constexpr int W = vrx_lanes<T>;
  if constexpr (sizeof(T) == 8 && W >= 2 && W <= 8) {
    typedef vrx_vec_t<T> V;
    const V va = vrx_splat<V>(alpha);
    for (int bi = 0; bi < 8; bi += W) {
      for (int bj = 0; bj < 8; bj += W) {
        V r[W];
        for (int k = 0; k < W; ++k) r[k] = va * vrx_load<V>(src + (bi + k) * lds + bj);
        mc_transpose_registers<V, W>(r);
        for (int k = 0; k < W; ++k) {
          T* out = dst + (bj + k) * ldd + bi;
          if constexpr (stream) __builtin_nontemporal_store(r[k], reinterpret_cast<V*>(out));
          else vrx_store(out, r[k]);
        }
      }
    }
  } else {
    for (int i = 0; i < 8; ++i)
      for (int j = 0; j < 8; ++j) dst[j * ldd + i] = alpha * src[i * lds + j];
  }
}

// ---- rows ----
// dst[0:cols] := alpha src[0:cols]; the strips may overlap (the in-place move).
template <typename T>
void mc_scale_row(const T* src, T* dst, mc_size cols, T alpha) {
  const bool apart = dst == src || dst + cols <= src || src + cols <= dst;
  if (cols > 6 && apart) {
    typedef vrx_vec_t<T> V;
    constexpr int L = vrx_lanes<T>;
    const V va = vrx_splat<V>(alpha);
    mc_size k = 0;
    if (reinterpret_cast<std::uintptr_t>(dst) % 16 != 0) {
      dst[0] = alpha * src[0];
      k = 1;
    }
    if constexpr (L >= 2) {
      constexpr int step = L >= 8 ? L : 8;
      for (; k + step <= cols; k += step)
        for (int q = 0; q < step; q += L) vrx_store(dst + k + q, va * vrx_load<V>(src + k + q));
    }
    for (; k < cols; ++k) dst[k] = alpha * src[k];
    return;
  }
  if (dst <= src) {
    mc_size k = 0;
    for (; k + 2 <= cols; k += 2) {
      const T v0 = src[k], v1 = src[k + 1];
      dst[k] = alpha * v0;
      dst[k + 1] = alpha * v1;
    }
    for (; k < cols; ++k) dst[k] = alpha * src[k];
    return;
  }
  // The target lies ahead of its own source: walk from the end.
  for (mc_size k = cols; k-- > 0;) dst[k] = alpha * src[k];
}

// ---- out of place: one general routine with element strides ----
// Source rows [i_begin, i_end) (a multiple of 8 apart) of the transposition through the
// 8 by 8 tiles, in bands of 64 rows: each group of eight target rows is finished for the
// band before the next, so few pages and lines are open at a time, and the source lines
// of a later tile are fetched ahead. Columns beyond the last full tile go singly.
template <bool stream, typename T>
void mc_transpose_rows(mc_size i_begin, mc_size i_end, mc_size cols, T alpha, const T* a, mc_size lda, T* b,
                       mc_size ldb) {
  constexpr mc_size band = 64, ahead = 256 / sizeof(T);
  const mc_size cols8 = cols & ~mc_size(7);
  for (mc_size i0 = i_begin; i0 < i_end; i0 += band) {
    const mc_size i1 = i0 + band < i_end ? i0 + band : i_end;
    for (mc_size j = 0; j < cols8; j += 8)
      for (mc_size i = i0; i < i1; i += 8) {
        for (mc_size k = 0; k < 8; ++k) __builtin_prefetch(a + (i + k) * lda + j + ahead, 0, 3);
        mc_tile8<stream>(a + i * lda + j, lda, b + j * ldb + i, ldb, alpha);
      }
    for (mc_size j = cols8; j < cols; ++j)
      for (mc_size k = i0; k < i1; ++k) b[j * ldb + k] = alpha * a[k * lda + j];
  }
}

// Source rows [i_begin, i_end) of the transposition one element at a time.
template <typename T>
void mc_transpose_elements(mc_size i_begin, mc_size i_end, mc_size cols, T alpha, const T* a, mc_size lda, T* b,
                           mc_size ldb) {
  for (mc_size i = i_begin; i < i_end; ++i)
    for (mc_size j = 0; j < cols; ++j) b[j * ldb + i] = alpha * a[i * lda + j];
}

// Source rows to leave out in front so that every target row of the tiles starts on a
// 64-byte boundary; `rows` + 1 when no choice of them does (the target cannot stream).
template <typename T>
mc_size mc_stream_peel(mc_size rows, const T* b, mc_size ldb) {
  const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(b);
  if (sizeof(T) != 8 || address % sizeof(T) != 0 || ldb % 8 != 0) return rows + 1;
  return (64 - address % 64) % 64 / sizeof(T);
}

// b := alpha a (rows by cols, row-major, rows lda apart, elements sa apart), or its
// transpose (cols by rows, rows ldb apart, elements sb apart). `stream` asks for
// non-temporal stores on a transposition whose target is too large to stay in cache.
template <typename T>
void mc_copy_general(bool transpose, mc_size rows, mc_size cols, T alpha, const T* a, mc_size lda, mc_size sa, T* b,
                     mc_size ldb, mc_size sb, bool stream = false) {
  if (sa != 1 || sb != 1) {
    for (mc_size i = 0; i < rows; ++i)
      for (mc_size j = 0; j < cols; ++j) {
        const T v = alpha * a[i * lda + j * sa];
        if (transpose) b[j * ldb + i * sb] = v;
        else b[i * ldb + j * sb] = v;
      }
    return;
  }
  if (!transpose) {
    for (mc_size i = 0; i < rows; ++i) mc_scale_row(a + i * lda, b + i * ldb, cols, alpha);
    return;
  }
  const mc_size peel = stream ? mc_stream_peel(rows, b, ldb) : rows + 1;
  if (peel + 8 <= rows) {
    // Rows before `peel` and after the last group of eight go element by element.
    const mc_size end = peel + ((rows - peel) & ~mc_size(7));
    mc_transpose_elements(0, peel, cols, alpha, a, lda, b, ldb);
    mc_transpose_rows<true>(peel, end, cols, alpha, a, lda, b, ldb);
    mc_transpose_elements(end, rows, cols, alpha, a, lda, b, ldb);
    __builtin_ia32_sfence();  // the streamed lines are visible before the call returns
    return;
  }
  const mc_size rows8 = rows & ~mc_size(7);
  mc_transpose_rows<false>(0, rows8, cols, alpha, a, lda, b, ldb);
  mc_transpose_elements(rows8, rows, cols, alpha, a, lda, b, ldb);
}

// Tile of one thread: a power-of-two grid when everything is a power of two, else a cut
// of the rows. Answers false for a thread with nothing to do.
bool mc_thread_tile(mc_size part, mc_size parts, mc_size rows, mc_size cols, mc_size* r0, mc_size* nr, mc_size* c0,
                    mc_size* nc) {
  if (mc_power_of_two(parts) && mc_power_of_two(rows) && mc_power_of_two(cols) && parts <= rows * cols) {
    mc_size tr = rows, tc = cols, column_tiles = 1;
    for (mc_size t = parts; t > 1; t /= 2) {
      if (tr >= tc) {
        tr /= 2;
      } else {
        tc /= 2;
        column_tiles *= 2;
      }
    }
    *r0 = (part / column_tiles) * tr;
    *c0 = (part % column_tiles) * tc;
    *nr = tr;
    *nc = tc;
    return true;
  }
  const mc_size q = rows / parts, r = rows % parts;
  *nr = q + (part >= parts - r ? 1 : 0);
  *r0 = q * part + (part > parts - r ? part - (parts - r) : 0);
  *c0 = 0;
  *nc = cols;
  return *nr > 0;
}

template <typename T>
void mc_omatcopy(char ordering, char trans, mc_size rows, mc_size cols, T alpha, const T* a, mc_size lda, T* b,
                 mc_size ldb) {
  if (rows == 0 || cols == 0) return;
  const bool transpose = mc_transposing(trans);
  if (!transpose && !mc_plain(trans)) return;
  if (mc_col_major(ordering)) {
    const mc_size t = rows;
    rows = cols;
    cols = t;
  } else if (!mc_row_major(ordering)) {
    return;
  }
  const int threads = rows >= 17 && cols >= 17 && rows * cols * sizeof(T) > 32768 ? vrx_matcopy_threads() : 1;
  const bool stream = rows * cols * sizeof(T) >= vrx_matcopy_stream_bytes;
  if (threads <= 1) return mc_copy_general(transpose, rows, cols, alpha, a, lda, 1, b, ldb, 1, stream);
#pragma omp parallel num_threads(threads)
  {
    const mc_size team = static_cast<mc_size>(omp_get_num_threads());
    for (mc_size part = static_cast<mc_size>(omp_get_thread_num()); part < static_cast<mc_size>(threads);
         part += team) {
      mc_size r0, nr, c0, nc;
      if (!mc_thread_tile(part, static_cast<mc_size>(threads), rows, cols, &r0, &nr, &c0, &nc)) continue;
      T* target = transpose ? b + c0 * ldb + r0 : b + r0 * ldb + c0;
      mc_copy_general(transpose, nr, nc, alpha, a + r0 * lda + c0, lda, 1, target, ldb, 1, stream);
    }
  }
}

// ---- in place ----
// Exchange of the 8 by 8 tiles (ti, tj) and (tj, ti) of a square matrix, or the
// transposition of a diagonal tile, through a stack tile.
template <typename T>
void mc_exchange_tiles(T* ab, mc_size ld, mc_size ti, mc_size tj) {
  T tile[64];
  T* p = ab + ti * 8 * ld + tj * 8;
  T* q = ab + tj * 8 * ld + ti * 8;
  mc_tile8(p, ld, tile, 8, T(1));
  if (ti != tj) mc_tile8(q, ld, p, ld, T(1));
  for (int r = 0; r < 8; ++r)
    for (int c = 0; c < 8; ++c) q[r * ld + c] = tile[r * 8 + c];
}

// Elementwise exchange of (i, j) and (j, i), both scaled, for columns [from, n).
template <typename T>
void mc_square_elements(mc_size n, T alpha, T* ab, mc_size ld, mc_size from) {
  for (mc_size j = from; j < n; ++j) {
    T* row = ab + j * ld;  // row j: elements (j, 0..j)
    T* column = ab + j;    // column j: elements (0..j, j), ld apart
    mc_size i = 0;
    for (; i + 8 <= j; i += 8)
      for (int u = 0; u < 8; ++u) {
        const T v = column[(i + u) * ld];
        column[(i + u) * ld] = alpha * row[i + u];
        row[i + u] = alpha * v;
      }
    for (; i < j; ++i) {
      const T v = column[i * ld];
      column[i * ld] = alpha * row[i];
      row[i] = alpha * v;
    }
    row[j] *= alpha;
  }
}

// Threads take every t-th diagonal block of 16 (8 at the fringe) and exchange the blocks
// of their block row with those of the matching block column.
template <typename T>
bool mc_square_threaded(mc_size n, T* ab, mc_size ld) {
  if (reinterpret_cast<std::uintptr_t>(ab) % 64 != 0 || n % 8 != 0 || ld % 8 != 0) return false;
  const mc_size tiles = n / 8, blocks = (tiles + 1) / 2;
  const int threads = vrx_matcopy_threads();
#pragma omp parallel num_threads(threads > 0 ? threads : 1)
  {
    const mc_size team = static_cast<mc_size>(omp_get_num_threads());
    for (mc_size bi = static_cast<mc_size>(omp_get_thread_num()); bi < blocks; bi += team) {
      const mc_size ti0 = 2 * bi, ti1 = ti0 + 2 < tiles ? ti0 + 2 : tiles;
      for (mc_size ti = ti0; ti < ti1; ++ti)
        for (mc_size tj = ti; tj < tiles; ++tj) mc_exchange_tiles(ab, ld, ti, tj);
    }
  }
  return true;
}

// Sequential tile exchange; the fringe beyond the last full tile goes element by element.
template <typename T>
bool mc_square_sequential(mc_size n, T* ab, mc_size ld) {
  if (n % 8 != 0 && ld % 8 != 0) return false;
  const mc_size tiles = n / 8;
  if (n * n * sizeof(T) < 262144) {
    for (mc_size ti = 0; ti < tiles; ++ti)
      for (mc_size tj = ti; tj < tiles; ++tj) mc_exchange_tiles(ab, ld, ti, tj);
  } else {
    // Groups of 8 by 8 tiles, so that both partners of an exchange stay in cache.
    constexpr mc_size group = 8;
    for (mc_size gi = 0; gi < tiles; gi += group)
      for (mc_size gj = gi; gj < tiles; gj += group)
        for (mc_size ti = gi; ti < gi + group && ti < tiles; ++ti)
          for (mc_size tj = gj > ti ? gj : ti; tj < gj + group && tj < tiles; ++tj) mc_exchange_tiles(ab, ld, ti, tj);
  }
  mc_square_elements(n, T(1), ab, ld, tiles * 8);
  return true;
}

template <typename T>
void mc_square(mc_size n, T alpha, T* ab, mc_size ld) {
  if (alpha == T(1)) {
    if (n >= 65 && mc_square_threaded(n, ab, ld)) return;
    if (mc_square_sequential(n, ab, ld)) return;
  }
  mc_square_elements(n, alpha, ab, ld, 0);
}

// In-place transposition by following the cycles of the index map p -> next(p); each
// cycle is moved once, from its smallest real element. Row gaps are holes: never read
// as data, written only when a carried value lands there.
template <typename T>
void mc_cycles(mc_size rows, mc_size cols, T alpha, T* ab, mc_size lda, mc_size ldb) {
  auto next = [&](mc_size p) { return p / lda + (p % lda) * ldb; };
  auto real = [&](mc_size q) { return q % lda < cols && q / lda < rows; };
  // With valid leading dimensions the map permutes [0, lda * ldb), so no cycle is longer;
  // the bound only keeps inconsistent arguments from walking forever.
  const mc_size longest = lda * ldb + 1;
  for (mc_size i = 0; i < rows; ++i) {
    for (mc_size j = 0; j < cols; ++j) {
      const mc_size p = i * lda + j;
      mc_size q = next(p), steps = 1;
      while ((q > p || q % lda >= cols) && steps < longest) {
        q = next(q);
        ++steps;
      }
      if (q != p) continue;
      T carry = ab[p];
      bool held = true;
      q = p;
      do {
        q = next(q);
        const bool data = real(q);
        const T value = data ? ab[q] : T(0);
        if (held) ab[q] = alpha * carry;
        carry = value;
        held = data;
      } while (q != p);
    }
  }
}

template <typename T>
void mc_imatcopy(char ordering, char trans, mc_size rows, mc_size cols, T alpha, T* ab, mc_size lda, mc_size ldb) {
  if (rows == 0 || cols == 0) return;
  const bool row = mc_row_major(ordering), col = mc_col_major(ordering);
  if (col) {
    const mc_size t = rows;
    rows = cols;
    cols = t;
  }
  if (mc_transposing(trans) && (row || col)) {
    if (rows == cols && lda == ldb) return mc_square(rows, alpha, ab, lda);
    if (lda == 0) return;  // no index map to follow (it divides by lda): nothing is done
    return mc_cycles(rows, cols, alpha, ab, lda, ldb);
  }
  if (!mc_plain(trans) || !(row || col)) return;
  if (rows == cols && cols == lda && lda == ldb) {
    mc_scale_row(ab, ab, rows * cols, alpha);
    return;
  }
  // Rows move toward the front in ascending order, toward the back in descending order,
  // so that no row is overwritten before it is read.
  if (lda >= ldb) {
    for (mc_size i = 0; i < rows; ++i) mc_scale_row(ab + i * lda, ab + i * ldb, cols, alpha);
  } else {
    for (mc_size i = rows; i-- > 0;) mc_scale_row(ab + i * lda, ab + i * ldb, cols, alpha);
  }
}
}  // namespace

// Defines the variants of one class.
#define VRX_MATCOPY_VARIANTS(cls)                                                                          \
  void vrx_dimatcopy_##cls(char o, char t, std::size_t r, std::size_t c, double alpha, double* ab,          \
                           std::size_t lda, std::size_t ldb) {                                             \
    mc_imatcopy(o, t, r, c, alpha, ab, lda, ldb);                                                          \
  }                                                                                                        \
  void vrx_domatcopy_##cls(char o, char t, std::size_t r, std::size_t c, double alpha, const double* a,    \
                           std::size_t lda, double* b, std::size_t ldb) {                                  \
    mc_omatcopy(o, t, r, c, alpha, a, lda, b, ldb);                                                        \
  }                                                                                                        \
  void vrx_simatcopy_##cls(char o, char t, std::size_t r, std::size_t c, float alpha, float* ab,           \
                           std::size_t lda, std::size_t ldb) {                                             \
    mc_imatcopy(o, t, r, c, alpha, ab, lda, ldb);                                                          \
  }                                                                                                        \
  void vrx_somatcopy_##cls(char o, char t, std::size_t r, std::size_t c, float alpha, const float* a,      \
                           std::size_t lda, float* b, std::size_t ldb) {                                   \
    mc_omatcopy(o, t, r, c, alpha, a, lda, b, ldb);                                                        \
  }
