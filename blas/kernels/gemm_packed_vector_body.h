// Register-block GEMM bodies written once over the real type and a vector width,
// compiled in each instruction-class folder with that class's flags. Everything here
// has internal linkage, so the copies built for different classes never mix at link time.
//
// Complex products run on the real bodies: op(A) is packed as the real matrix of
// twice its extents whose 2 x 2 blocks are [re -im; im re], op(B) with each value's
// (re, im) as two consecutive k steps, and C is seen as a real matrix of twice its
// rows. Every real multiply-add is then one term of a complex product, and no complex
// multiply is ever called.
//
// A translation unit defines VRX_GEMM_VECTOR_BYTES (16 or 32) before including it.
#pragma once
#include <cstring>
#include <type_traits>
#include "blas/kernels/vrx_simd.h"
#include "blas/level3/packed/vrx_gemm_kernels.h"
#include "blas/vrx_scale_matrix.h"

#ifndef VRX_GEMM_VECTOR_BYTES
#error "define VRX_GEMM_VECTOR_BYTES before including this body"
#endif

namespace {

typedef vrx_vec_of<double, 16>::type gemm_v2;

template <typename R, typename V>
struct gemm_lanes {
  static constexpr int value = sizeof(V) / sizeof(R);
};

template <typename R, typename V>
inline V gemm_load(const R* p) {
  if constexpr (sizeof(V) == sizeof(R)) {
    return *p;
  } else {
    V v;
    std::memcpy(&v, p, sizeof(V));
    return v;
  }
}
template <typename R, typename V>
inline void gemm_store(R* p, V v) {
  if constexpr (sizeof(V) == sizeof(R)) {
    *p = v;
  } else {
    std::memcpy(p, &v, sizeof(V));
  }
}
template <typename R, typename V>
inline V gemm_splat(R x) {
  constexpr int L = sizeof(V) / sizeof(R);
  if constexpr (L == 1) {
    return x;
  } else if constexpr (L == 2) {
    return V{x, x};
  } else if constexpr (L == 4) {
    return V{x, x, x, x};
  } else {
    return V{x, x, x, x, x, x, x, x};
  }
}

// The vector used for a block of H rows: the widest the class offers when its lanes
// divide H, else 16 bytes, else (single precision) pairs, else one value.
template <typename R, int H>
struct gemm_rows_vector {
  static constexpr int wide = VRX_GEMM_VECTOR_BYTES / sizeof(R);
  static constexpr int narrow = 16 / sizeof(R);
  static constexpr int bytes = H % wide == 0     ? VRX_GEMM_VECTOR_BYTES
                               : H % narrow == 0 ? 16
                               : H % 2 == 0      ? 2 * sizeof(R)
                                                 : sizeof(R);
  typedef typename vrx_vec_of<R, bytes>::type type;
};

// Every cache line of an H by W tile of C, before the k loop needs it.
template <typename R, int H, int W>
[[gnu::always_inline]] inline void gemm_prefetch_c(const R* c, vrx_int ldc) {
  constexpr int bytes = H * static_cast<int>(sizeof(R));
  for (int j = 0; j < W; ++j) {
    const char* cj = reinterpret_cast<const char*>(c + j * ldc);
    for (int p = 0; p < bytes; p += 64) __builtin_prefetch(cj + p, 1, 3);
    if constexpr (H > 1) __builtin_prefetch(cj + bytes - 1, 1, 3);
  }
}

// One register block: C(H x W) (+)= Apanel(H x k) * Bpanel(k x W). The A panel holds
// H values per k step, the B panel W values per k step.
template <typename R, int H, int W>
[[gnu::always_inline]] inline void gemm_tile(vrx_int k, const R* __restrict a, const R* __restrict b,
                                             R* __restrict c, vrx_int ldc, int store) {
  typedef typename gemm_rows_vector<R, H>::type V;
  constexpr int L = gemm_lanes<R, V>::value;
  constexpr int MV = H / L;
  V acc[W][MV];
  for (int j = 0; j < W; ++j)
    for (int v = 0; v < MV; ++v) acc[j][v] = gemm_splat<R, V>(R(0));
  gemm_prefetch_c<R, H, W>(c, ldc);
#pragma clang loop unroll_count(4)
  for (vrx_int l = 0; l < k; ++l) {
    V av[MV];
    for (int v = 0; v < MV; ++v) av[v] = gemm_load<R, V>(a + l * H + v * L);
    for (int j = 0; j < W; ++j) {
      const V bj = gemm_splat<R, V>(b[l * W + j]);
      for (int v = 0; v < MV; ++v) acc[j][v] += av[v] * bj;
    }
  }
  for (int j = 0; j < W; ++j)
    for (int v = 0; v < MV; ++v) {
      R* cp = c + j * ldc + v * L;
      gemm_store<R, V>(cp, store ? acc[j][v] : gemm_load<R, V>(cp) + acc[j][v]);
    }
}

// Tail blocks come in powers of two below the full block.
template <typename R, int H, int W>
inline void gemm_tile_cols(vrx_int w, vrx_int k, const R* a, const R* b, R* c, vrx_int ldc, int store) {
  if constexpr (W >= 1) {
    if (w & W) {
      gemm_tile<R, H, W>(k, a, b, c, ldc, store);
      return;
    }
    if constexpr (W > 1) gemm_tile_cols<R, H, W / 2>(w, k, a, b, c, ldc, store);
  }
}
template <typename R, int H, int W>
inline void gemm_tile_any(vrx_int h, vrx_int w, vrx_int k, const R* a, const R* b, R* c, vrx_int ldc, int store) {
  if (h == H) {
    if (w == W)
      gemm_tile<R, H, W>(k, a, b, c, ldc, store);
    else
      gemm_tile_cols<R, H, W / 2>(w, k, a, b, c, ldc, store);
  } else if constexpr (H > 1) {
    gemm_tile_any<R, H / 2, W>(h, w, k, a, b, c, ldc, store);
  }
}

// The packed kernel: every panel of A starts at i * k, every panel of B at j * k.
// rows_outer walks A panels outside (A panel in L1, B block from L2); otherwise the
// B panel stays in L1 while the A block streams past.
template <typename R, int MR, int NR, bool RowsOuter>
void gemm_packed_kernel(vrx_int m, vrx_int n, vrx_int k, const R* apack, const R* bpack, R* c, vrx_int ldc,
                        int store) {
  auto block = [&](vrx_int i, vrx_int h, vrx_int j, vrx_int w) {
    const R* ap = apack + i * k;
    const R* bp = bpack + j * k;
    R* cp = c + i + j * ldc;
    if (h == MR && w == NR)
      gemm_tile<R, MR, NR>(k, ap, bp, cp, ldc, store);
    else
      gemm_tile_any<R, MR, NR>(h, w, k, ap, bp, cp, ldc, store);
  };
  const vrx_int outer = RowsOuter ? m : n, inner = RowsOuter ? n : m;
  const vrx_int outer_full = RowsOuter ? MR : NR, inner_full = RowsOuter ? NR : MR;
  for (vrx_int p = 0; p < outer;) {
    const vrx_int pe = vrx_gemm_panel_extent(p, outer, outer_full);
    for (vrx_int q = 0; q < inner;) {
      const vrx_int qe = vrx_gemm_panel_extent(q, inner, inner_full);
      if (RowsOuter)
        block(p, pe, q, qe);
      else
        block(q, qe, p, pe);
      q += qe;
    }
    p += pe;
  }
}

// The complex kernel: C seen as a real matrix of 2m rows, k as 2k real steps.
template <typename R, int MR, int NR, bool RowsOuter>
void gemm_packed_kernel_complex(vrx_int m, vrx_int n, vrx_int k, const vrx_complex<R>* apack,
                                const vrx_complex<R>* bpack, vrx_complex<R>* c, vrx_int ldc, int store) {
  gemm_packed_kernel<R, MR, NR, RowsOuter>(2 * m, n, 2 * k, reinterpret_cast<const R*>(apack),
                                           reinterpret_cast<const R*>(bpack), reinterpret_cast<R*>(c), 2 * ldc,
                                           store);
}

// One panel of H lines by kb steps of k. Across: the H values of one step lie
// consecutive in the source (a stored column); otherwise each line's kb values do (a
// stored row), and (in double precision) pairs of lines and steps are transposed two
// by two so that loads and stores stay whole vectors.
template <typename R, int H, bool Across>
[[gnu::always_inline]] inline void gemm_pack_panel(vrx_int kb, R factor, const R* __restrict src, vrx_int ld,
                                                   R* __restrict out) {
  if constexpr (Across) {
    for (vrx_int l = 0; l < kb; ++l) {
      const R* s = src + l * ld;
      for (int r = 0; r < H; ++r) out[l * H + r] = factor * s[r];
    }
  } else {
    vrx_int l = 0;
    if constexpr (H % 2 == 0 && std::is_same_v<R, double>) {
      const gemm_v2 f = gemm_splat<double, gemm_v2>(factor);
      for (; l + 2 <= kb; l += 2)
        for (int r = 0; r < H; r += 2) {
          const gemm_v2 x = gemm_load<double, gemm_v2>(src + r * ld + l),
                        y = gemm_load<double, gemm_v2>(src + (r + 1) * ld + l);
          gemm_store<double>(out + l * H + r, f * __builtin_shufflevector(x, y, 0, 2));
          gemm_store<double>(out + (l + 1) * H + r, f * __builtin_shufflevector(x, y, 1, 3));
        }
    }
    for (; l < kb; ++l)
      for (int r = 0; r < H; ++r) out[l * H + r] = factor * src[r * ld + l];
  }
}

// Packing: `extent` rows of op(A) (or columns of op(B)) by kb steps of k, in panels
// of P then the bits of the remainder. Across: the packed index runs along the
// stored column (A as stored, B transposed); otherwise along the stored row.
template <typename R, int P, bool Across>
void gemm_pack(vrx_int extent, vrx_int kb, R factor, const R* src, vrx_int ld, R* out) {
  const vrx_int line_step = Across ? 1 : ld;
  for (vrx_int i = 0; i < extent;) {
    const vrx_int h = vrx_gemm_panel_extent(i, extent, P);
    const R* s = src + i * line_step;
    R* o = out + i * kb;
    // Tails are powers of two below P; each extent gets its own unrolled copy.
    if (h == P) gemm_pack_panel<R, P, Across>(kb, factor, s, ld, o);
    else if (h == 8) gemm_pack_panel<R, (P > 8 ? 8 : 1), Across>(kb, factor, s, ld, o);
    else if (h == 4) gemm_pack_panel<R, (P > 4 ? 4 : 1), Across>(kb, factor, s, ld, o);
    else if (h == 2) gemm_pack_panel<R, (P > 2 ? 2 : 1), Across>(kb, factor, s, ld, o);
    else gemm_pack_panel<R, 1, Across>(kb, factor, s, ld, o);
    i += h;
  }
}

// ---- complex packing ----

// factor * x, or factor * conj(x); a real factor (imaginary part 0) scales both parts alone.
template <typename R, bool Conj>
[[gnu::always_inline]] inline void gemm_complex_scaled(vrx_complex<R> f, bool real_factor, const vrx_complex<R>* p,
                                                       R* re, R* im) {
  const R xr = p->re, xi = Conj ? -p->im : p->im;
  if (real_factor) {
    *re = f.re * xr;
    *im = f.re * xi;
  } else {
    *re = f.re * xr - f.im * xi;
    *im = f.re * xi + f.im * xr;
  }
}

// `extent` rows of op(A) times `factor`, kb deep, in panels of P real rows (P / 2
// complex rows) then the bits of the remainder. Each complex value v of row r and
// step l gives real rows 2r, 2r + 1 and steps 2l, 2l + 1: [v.re -v.im; v.im v.re].
// Across: a step's rows lie consecutive in the source (A as stored).
template <typename R, int P, bool Across, bool Conj>
void gemm_pack_a_complex(vrx_int extent, vrx_int kb, vrx_complex<R> factor, const vrx_complex<R>* src, vrx_int ld,
                         vrx_complex<R>* out) {
  const bool real_factor = factor.im == 0;
  for (vrx_int i = 0; i < extent;) {
    const vrx_int h = vrx_gemm_panel_extent(i, extent, P / 2), hr = 2 * h;
    R* o = reinterpret_cast<R*>(out + 2 * i * kb);
    for (vrx_int l = 0; l < kb; ++l) {
      R* even = o + 2 * l * hr;
      R* odd = even + hr;
      for (vrx_int r = 0; r < h; ++r) {
        const vrx_complex<R>* x = Across ? src + (i + r) + l * ld : src + l + (i + r) * ld;
        R re, im;
        gemm_complex_scaled<R, Conj>(factor, real_factor, x, &re, &im);
        even[2 * r] = re;
        even[2 * r + 1] = im;
        odd[2 * r] = -im;
        odd[2 * r + 1] = re;
      }
    }
    i += h;
  }
}

// `extent` columns of op(B), kb deep, in panels of P then the bits of the remainder;
// each step l is two real steps, the real parts then the imaginary parts.
// Across: a step's columns lie consecutive in the source (B transposed).
template <typename R, int P, bool Across, bool Conj>
void gemm_pack_b_complex(vrx_int extent, vrx_int kb, vrx_complex<R> factor, const vrx_complex<R>* src, vrx_int ld,
                         vrx_complex<R>* out) {
  const bool real_factor = factor.im == 0;
  for (vrx_int j = 0; j < extent;) {
    const vrx_int w = vrx_gemm_panel_extent(j, extent, P);
    R* o = reinterpret_cast<R*>(out + j * kb);
    for (vrx_int l = 0; l < kb; ++l)
      for (vrx_int c = 0; c < w; ++c) {
        const vrx_complex<R>* x = Across ? src + (j + c) + l * ld : src + l + (j + c) * ld;
        gemm_complex_scaled<R, Conj>(factor, real_factor, x, o + 2 * l * w + c, o + (2 * l + 1) * w + c);
      }
    j += w;
  }
}

// ---- kernels on the operands where they lie ----

// Writes alpha * acc + beta * C into C; beta = 0 never reads C.
template <typename R, typename V>
inline void gemm_direct_put(R* cp, V acc, R alpha, R beta) {
  const V r = acc * gemm_splat<R, V>(alpha);
  if (beta == R(0))
    gemm_store<R, V>(cp, r);
  else if (beta == R(1))
    gemm_store<R, V>(cp, gemm_load<R, V>(cp) + r);
  else
    gemm_store<R, V>(cp, gemm_load<R, V>(cp) * gemm_splat<R, V>(beta) + r);
}

template <typename R, typename V>
inline V gemm_load_rows(const R* a, vrx_int i, vrx_int l, vrx_int lda, bool a_trans) {
  if (!a_trans) return gemm_load<R, V>(a + i + l * lda);
  if constexpr (sizeof(V) == sizeof(R)) {
    return a[l + i * lda];
  } else {
    constexpr int L = gemm_lanes<R, V>::value;
    R t[L];
    for (int r = 0; r < L; ++r) t[r] = a[l + (i + r) * lda];
    return gemm_load<R, V>(t);
  }
}

// A block of H rows by W columns read in place; K > 0 fixes the trip count.
template <typename R, int H, int W, int K>
[[gnu::always_inline]] inline void gemm_direct_tile(bool a_trans, bool b_trans, vrx_int i, vrx_int j, vrx_int k,
                                                    R alpha, const R* a, vrx_int lda, const R* b, vrx_int ldb,
                                                    R beta, R* c, vrx_int ldc) {
  typedef typename gemm_rows_vector<R, H>::type V;
  constexpr int L = gemm_lanes<R, V>::value;
  constexpr int MV = H / L;
  const vrx_int kk = K > 0 ? K : k;
  V acc[W][MV];
  for (int jj = 0; jj < W; ++jj)
    for (int v = 0; v < MV; ++v) acc[jj][v] = gemm_splat<R, V>(R(0));
  for (vrx_int l = 0; l < kk; ++l) {
    V av[MV];
    for (int v = 0; v < MV; ++v) av[v] = gemm_load_rows<R, V>(a, i + v * L, l, lda, a_trans);
    for (int jj = 0; jj < W; ++jj) {
      const R bv = b_trans ? b[(j + jj) + l * ldb] : b[l + (j + jj) * ldb];
      const V bs = gemm_splat<R, V>(bv);
      for (int v = 0; v < MV; ++v) acc[jj][v] += av[v] * bs;
    }
  }
  for (int jj = 0; jj < W; ++jj)
    for (int v = 0; v < MV; ++v) gemm_direct_put<R, V>(c + i + v * L + (j + jj) * ldc, acc[jj][v], alpha, beta);
}

template <typename R, int H, int W, int K>
inline void gemm_direct_rows(bool at, bool bt, vrx_int m, vrx_int j, vrx_int k, R alpha, const R* a, vrx_int lda,
                             const R* b, vrx_int ldb, R beta, R* c, vrx_int ldc) {
  vrx_int i = 0;
  for (; i + H <= m; i += H) gemm_direct_tile<R, H, W, K>(at, bt, i, j, k, alpha, a, lda, b, ldb, beta, c, ldc);
  const vrx_int r = m - i;
  if constexpr (H > 4) {
    if (r & 4) {
      gemm_direct_tile<R, 4, W, K>(at, bt, i, j, k, alpha, a, lda, b, ldb, beta, c, ldc);
      i += 4;
    }
  }
  if constexpr (H > 2) {
    if (r & 2) {
      gemm_direct_tile<R, 2, W, K>(at, bt, i, j, k, alpha, a, lda, b, ldb, beta, c, ldc);
      i += 2;
    }
  }
  if constexpr (H > 1) {
    if (r & 1) gemm_direct_tile<R, 1, W, K>(at, bt, i, j, k, alpha, a, lda, b, ldb, beta, c, ldc);
  }
}

// C := beta C; beta = 0 stores zeros without reading C.
template <typename R>
inline void gemm_scale_real(vrx_int m, vrx_int n, R beta, R* c, vrx_int ldc) {
  if constexpr (std::is_same_v<R, double>) {
    vrx_scale_matrix(m, n, beta, c, ldc);
  } else {
    if (beta == R(1)) return;
    for (vrx_int j = 0; j < n; ++j) {
      R* cj = c + j * ldc;
      if (beta == R(0))
        for (vrx_int i = 0; i < m; ++i) cj[i] = R(0);
      else
        for (vrx_int i = 0; i < m; ++i) cj[i] *= beta;
    }
  }
}
template <typename R>
inline void gemm_scale_complex(vrx_int m, vrx_int n, vrx_complex<R> beta, vrx_complex<R>* c, vrx_int ldc) {
  if (beta.re == R(1) && beta.im == R(0)) return;
  for (vrx_int j = 0; j < n; ++j) {
    R* cj = reinterpret_cast<R*>(c + j * ldc);
    if (beta.re == R(0) && beta.im == R(0)) {
      for (vrx_int i = 0; i < 2 * m; ++i) cj[i] = R(0);
    } else {
      for (vrx_int i = 0; i < m; ++i) {
        const R x = cj[2 * i], y = cj[2 * i + 1];
        cj[2 * i] = beta.re * x - beta.im * y;
        cj[2 * i + 1] = beta.re * y + beta.im * x;
      }
    }
  }
}

// The whole product in place, blocks of H rows and 4 columns.
template <typename R, int H, int K>
void gemm_direct(const char* transa, const char* transb, vrx_int m, vrx_int n, vrx_int k, R alpha, const R* a,
                 vrx_int lda, const R* b, vrx_int ldb, R beta, R* c, vrx_int ldc) {
  if (m < 1 || n < 1) return;
  if (alpha == R(0) || k < 1) {
    gemm_scale_real<R>(m, n, beta, c, ldc);
    return;
  }
  const bool at = (*transa & ~0x20) != 'N', bt = (*transb & ~0x20) != 'N';
  vrx_int j = 0;
  for (; j + 4 <= n; j += 4) gemm_direct_rows<R, H, 4, K>(at, bt, m, j, k, alpha, a, lda, b, ldb, beta, c, ldc);
  if (j + 2 <= n) {
    gemm_direct_rows<R, H, 2, K>(at, bt, m, j, k, alpha, a, lda, b, ldb, beta, c, ldc);
    j += 2;
  }
  if (j < n) gemm_direct_rows<R, H, 1, K>(at, bt, m, j, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

// k = 1 to 10 with beta = 1: one body per k, chosen by a branch tree.
template <typename R, int H>
void gemm_tiny_k(const char* transa, const char* transb, vrx_int m, vrx_int n, vrx_int k, R alpha, const R* a,
                 vrx_int lda, const R* b, vrx_int ldb, R beta, R* c, vrx_int ldc) {
  if (k <= 5) {
    if (k <= 2) {
      if (k == 1) return gemm_direct<R, H, 1>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
      return gemm_direct<R, H, 2>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    }
    if (k == 3) return gemm_direct<R, H, 3>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    if (k == 4) return gemm_direct<R, H, 4>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    return gemm_direct<R, H, 5>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  }
  if (k <= 7) {
    if (k == 6) return gemm_direct<R, H, 6>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    return gemm_direct<R, H, 7>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  }
  if (k == 8) return gemm_direct<R, H, 8>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  if (k == 9) return gemm_direct<R, H, 9>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  if (k == 10) return gemm_direct<R, H, 10>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  gemm_direct<R, H, 0>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

// The complex product in place: per column of C, alpha op(B)(l, j) times the column l
// of op(A) added into an accumulator column that starts at zero, then beta C plus it.
// Columns of up to 64 rows at a time keep the accumulator in registers or L1.
template <typename R>
void gemm_direct_complex(const char* transa, const char* transb, vrx_int m, vrx_int n, vrx_int k,
                         vrx_complex<R> alpha, const vrx_complex<R>* a, vrx_int lda, const vrx_complex<R>* b,
                         vrx_int ldb, vrx_complex<R> beta, vrx_complex<R>* c, vrx_int ldc) {
  typedef vrx_complex<R> T;
  if (m < 1 || n < 1) return;
  if ((alpha.re == R(0) && alpha.im == R(0)) || k < 1) {
    gemm_scale_complex<R>(m, n, beta, c, ldc);
    return;
  }
  const int ta = vrx_gemm_kernel_trans(*transa), tb = vrx_gemm_kernel_trans(*transb);
  const R ca = ta == 2 ? R(-1) : R(1), cb = tb == 2 ? R(-1) : R(1);
  const bool beta_zero = beta.re == R(0) && beta.im == R(0);
  const bool beta_one = beta.re == R(1) && beta.im == R(0);
  constexpr vrx_int rows = 64;
  R acc[2 * rows];
  for (vrx_int j = 0; j < n; ++j)
    for (vrx_int i0 = 0; i0 < m; i0 += rows) {
      const vrx_int mb = m - i0 < rows ? m - i0 : rows;
      for (vrx_int i = 0; i < 2 * mb; ++i) acc[i] = R(0);
      for (vrx_int l = 0; l < k; ++l) {
        const T bv = tb == 0 ? b[l + j * ldb] : b[j + l * ldb];
        const R br = bv.re, bi = cb * bv.im;
        const R tr = alpha.re * br - alpha.im * bi, ti = alpha.re * bi + alpha.im * br;
        if (ta == 0) {
          const R* ap = reinterpret_cast<const R*>(a + i0 + l * lda);
          for (vrx_int i = 0; i < mb; ++i) {
            const R xr = ap[2 * i], xi = ap[2 * i + 1];
            acc[2 * i] += tr * xr - ti * xi;
            acc[2 * i + 1] += tr * xi + ti * xr;
          }
        } else {
          for (vrx_int i = 0; i < mb; ++i) {
            const T x = a[l + (i0 + i) * lda];
            const R xr = x.re, xi = ca * x.im;
            acc[2 * i] += tr * xr - ti * xi;
            acc[2 * i + 1] += tr * xi + ti * xr;
          }
        }
      }
      R* cj = reinterpret_cast<R*>(c + i0 + j * ldc);
      for (vrx_int i = 0; i < mb; ++i) {
        R yr = acc[2 * i], yi = acc[2 * i + 1];
        if (!beta_zero) {
          const R xr = cj[2 * i], xi = cj[2 * i + 1];
          if (beta_one) {
            yr += xr;
            yi += xi;
          } else {
            yr += beta.re * xr - beta.im * xi;
            yi += beta.re * xi + beta.im * xr;
          }
        }
        cj[2 * i] = yr;
        cj[2 * i + 1] = yi;
      }
    }
}

// The in-place kernels of one element type as GEMM entries.
template <typename R, int H>
void gemm_entry_small(const char* ta, const char* tb, const vrx_int* m, const vrx_int* n, const vrx_int* k,
                      const R* alpha, const R* a, const vrx_int* lda, const R* b, const vrx_int* ldb, const R* beta,
                      R* c, const vrx_int* ldc) {
  gemm_direct<R, H, 0>(ta, tb, *m, *n, *k, *alpha, a, *lda, b, *ldb, *beta, c, *ldc);
}
template <typename R, int H>
void gemm_entry_tiny_k(const char* ta, const char* tb, const vrx_int* m, const vrx_int* n, const vrx_int* k,
                       const R* alpha, const R* a, const vrx_int* lda, const R* b, const vrx_int* ldb, const R* beta,
                       R* c, const vrx_int* ldc) {
  gemm_tiny_k<R, H>(ta, tb, *m, *n, *k, *alpha, a, *lda, b, *ldb, *beta, c, *ldc);
}
template <typename R>
void gemm_entry_complex(const char* ta, const char* tb, const vrx_int* m, const vrx_int* n, const vrx_int* k,
                        const vrx_complex<R>* alpha, const vrx_complex<R>* a, const vrx_int* lda,
                        const vrx_complex<R>* b, const vrx_int* ldb, const vrx_complex<R>* beta, vrx_complex<R>* c,
                        const vrx_int* ldc) {
  gemm_direct_complex<R>(ta, tb, *m, *n, *k, *alpha, a, *lda, b, *ldb, *beta, c, *ldc);
}

// The kernels of one class for a real type: in-place entries, scaling and, with MR > 0,
// the packed register block MR x NR and its packing routines.
template <typename R, int H, int MR, int NR, bool RowsOuter>
constexpr vrx_gemm_class_kernels<R> gemm_real_kernels() {
  vrx_gemm_class_kernels<R> t = {};
  t.small = gemm_entry_small<R, H>;
  t.tiny_k = gemm_entry_tiny_k<R, H>;
  t.unpacked = gemm_entry_small<R, H>;
  t.scale_c = gemm_scale_real<R>;
  if constexpr (MR > 0) {
    t.pack_a[0] = gemm_pack<R, MR, true>;
    t.pack_a[1] = t.pack_a[2] = gemm_pack<R, MR, false>;
    t.pack_b[0] = gemm_pack<R, NR, false>;
    t.pack_b[1] = t.pack_b[2] = gemm_pack<R, NR, true>;
    t.kernel = gemm_packed_kernel<R, MR, NR, RowsOuter>;
    t.kernel_rows = gemm_packed_kernel<R, MR, NR, true>;
  }
  return t;
}
// The same for the complex type over R; MR and NR are the real register block.
template <typename R, int MR, int NR, bool RowsOuter>
constexpr vrx_gemm_class_kernels<vrx_complex<R>> gemm_complex_kernels() {
  vrx_gemm_class_kernels<vrx_complex<R>> t = {};
  t.small = t.tiny_k = t.unpacked = gemm_entry_complex<R>;
  t.scale_c = gemm_scale_complex<R>;
  if constexpr (MR > 0) {
    t.pack_a[0] = gemm_pack_a_complex<R, MR, true, false>;
    t.pack_a[1] = gemm_pack_a_complex<R, MR, false, false>;
    t.pack_a[2] = gemm_pack_a_complex<R, MR, false, true>;
    t.pack_b[0] = gemm_pack_b_complex<R, NR, false, false>;
    t.pack_b[1] = gemm_pack_b_complex<R, NR, true, false>;
    t.pack_b[2] = gemm_pack_b_complex<R, NR, true, true>;
    t.kernel = gemm_packed_kernel_complex<R, MR, NR, RowsOuter>;
    t.kernel_rows = gemm_packed_kernel_complex<R, MR, NR, true>;
  }
  return t;
}

// A table's register block in values of T, whose real type R carries the real block.
template <typename T, typename R>
constexpr vrx_gemm_class_kernels<T> gemm_with_block(vrx_gemm_class_kernels<T> t, vrx_int real_rows, vrx_int nr) {
  t.mr = real_rows / (sizeof(T) / sizeof(R));
  t.nr = nr;
  return t;
}

// The kernels of one class in every precision. MR x NR is the double-precision
// register block; single precision takes 2 MR rows, and the complex types run on the
// block of their real type. In-place blocks have DoubleRows rows in double precision,
// 8 in single. MR = 0 leaves out the packed kernels.
template <int DoubleRows, int MR, int NR, bool RowsOuter>
struct gemm_class_kernels {
  static constexpr vrx_gemm_class_kernels<float> s =
      gemm_with_block<float, float>(gemm_real_kernels<float, 8, 2 * MR, NR, RowsOuter>(), 2 * MR, NR);
  static constexpr vrx_gemm_class_kernels<double> d =
      gemm_with_block<double, double>(gemm_real_kernels<double, DoubleRows, MR, NR, RowsOuter>(), MR, NR);
  static constexpr vrx_gemm_class_kernels<vrx_complex_float> c = gemm_with_block<vrx_complex_float, float>(
      gemm_complex_kernels<float, 2 * MR, NR, RowsOuter>(), 2 * MR, NR);
  static constexpr vrx_gemm_class_kernels<vrx_complex_double> z = gemm_with_block<vrx_complex_double, double>(
      gemm_complex_kernels<double, MR, NR, RowsOuter>(), MR, NR);
  static constexpr vrx_gemm_class_table table = {&s, &d, &c, &z};
};

}  // namespace

// The entries of one class in double precision: small, tiny_k, unpacked and the C scaling.
#define VRX_GEMM_DIRECT_DEFINE(cls, H)                                                                         \
  void vrx_blas_dgemm_small_##cls(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,   \
                                  const vrx_int* k, const double* alpha, const double* a, const vrx_int* lda,   \
                                  const double* b, const vrx_int* ldb, const double* beta, double* c,           \
                                  const vrx_int* ldc) {                                                         \
    gemm_direct<double, H, 0>(transa, transb, *m, *n, *k, *alpha, a, *lda, b, *ldb, *beta, c, *ldc);            \
  }                                                                                                             \
  void vrx_blas_dgemm_tiny_k_##cls(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,  \
                                   const vrx_int* k, const double* alpha, const double* a, const vrx_int* lda,  \
                                   const double* b, const vrx_int* ldb, const double* beta, double* c,          \
                                   const vrx_int* ldc) {                                                        \
    gemm_tiny_k<double, H>(transa, transb, *m, *n, *k, *alpha, a, *lda, b, *ldb, *beta, c, *ldc);               \
  }                                                                                                             \
  void vrx_blas_dgemm_unpacked_##cls(const char* transa, const char* transb, const vrx_int* m,                  \
                                     const vrx_int* n, const vrx_int* k, const double* alpha, const double* a,  \
                                     const vrx_int* lda, const double* b, const vrx_int* ldb,                   \
                                     const double* beta, double* c, const vrx_int* ldc) {                       \
    gemm_direct<double, H, 0>(transa, transb, *m, *n, *k, *alpha, a, *lda, b, *ldb, *beta, c, *ldc);            \
  }                                                                                                             \
  void vrx_blas_dgemm_scale_c_##cls(vrx_int m, vrx_int n, double beta, double* c, vrx_int ldc) {               \
    vrx_scale_matrix(m, n, beta, c, ldc);                                                                       \
  }
