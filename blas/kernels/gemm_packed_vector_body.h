// Register-block GEMM bodies written once over a vector width, compiled in each
// instruction-class folder with that class's flags. Everything here has internal
// linkage, so the copies built for different classes never mix at link time.
//
// A translation unit defines VRX_GEMM_VECTOR_BYTES (16 or 32) before including it.
#pragma once
#include <cstring>
#include <type_traits>
#include "blas/kernels/prefetch_tile.h"
#include "blas/vrx_gemm_packed.h"
#include "blas/vrx_scale_matrix.h"

#ifndef VRX_GEMM_VECTOR_BYTES
#error "define VRX_GEMM_VECTOR_BYTES before including this body"
#endif

namespace {

typedef double gemm_v2 __attribute__((vector_size(16), aligned(8)));
typedef double gemm_v4 __attribute__((vector_size(32), aligned(8)));

template <typename V>
struct gemm_lanes {
  static constexpr int value = sizeof(V) / sizeof(double);
};

template <typename V>
inline V gemm_load(const double* p) {
  if constexpr (sizeof(V) == sizeof(double)) {
    return *p;
  } else {
    V v;
    std::memcpy(&v, p, sizeof(V));
    return v;
  }
}
template <typename V>
inline void gemm_store(double* p, V v) {
  if constexpr (sizeof(V) == sizeof(double)) {
    *p = v;
  } else {
    std::memcpy(p, &v, sizeof(V));
  }
}
template <typename V>
inline V gemm_splat(double x) {
  if constexpr (sizeof(V) == sizeof(double)) {
    return x;
  } else if constexpr (sizeof(V) == 2 * sizeof(double)) {
    return V{x, x};
  } else {
    return V{x, x, x, x};
  }
}

// The widest vector the class offers, and the vector used for a block of h rows.
#if VRX_GEMM_VECTOR_BYTES == 32
typedef gemm_v4 gemm_vwide;
#else
typedef gemm_v2 gemm_vwide;
#endif
template <int H>
struct gemm_rows_vector {
  typedef typename std::conditional<(H % gemm_lanes<gemm_vwide>::value == 0), gemm_vwide,
                                    typename std::conditional<(H % 2 == 0), gemm_v2, double>::type>::type type;
};

// One register block: C(H x W) (+)= Apanel(H x k) * Bpanel(k x W). The A panel holds
// H values per k step, the B panel W values per k step.
template <int H, int W>
[[gnu::always_inline]] inline void gemm_tile(vrx_int k, const double* __restrict a, const double* __restrict b,
                                             double* __restrict c, vrx_int ldc, int store) {
  typedef typename gemm_rows_vector<H>::type V;
  constexpr int L = gemm_lanes<V>::value;
  constexpr int MV = H / L;
  V acc[W][MV];
  for (int j = 0; j < W; ++j)
    for (int v = 0; v < MV; ++v) acc[j][v] = gemm_splat<V>(0.0);
  vrx_prefetch_c_tile<H, W>(c, ldc);
#pragma clang loop unroll_count(4)
  for (vrx_int l = 0; l < k; ++l) {
    V av[MV];
    for (int v = 0; v < MV; ++v) av[v] = gemm_load<V>(a + l * H + v * L);
    for (int j = 0; j < W; ++j) {
      const V bj = gemm_splat<V>(b[l * W + j]);
      for (int v = 0; v < MV; ++v) acc[j][v] += av[v] * bj;
    }
  }
  for (int j = 0; j < W; ++j)
    for (int v = 0; v < MV; ++v) {
      double* cp = c + j * ldc + v * L;
      gemm_store<V>(cp, store ? acc[j][v] : gemm_load<V>(cp) + acc[j][v]);
    }
}

// Tail blocks come in powers of two below the full block.
template <int H, int W>
inline void gemm_tile_rows(vrx_int h, vrx_int k, const double* a, const double* b, double* c, vrx_int ldc,
                           int store) {
  if constexpr (H >= 1) {
    if (h & H) {
      gemm_tile<H, W>(k, a, b, c, ldc, store);
      return;
    }
    if constexpr (H > 1) gemm_tile_rows<H / 2, W>(h, k, a, b, c, ldc, store);
  }
}
template <int H, int W>
inline void gemm_tile_cols(vrx_int w, vrx_int k, const double* a, const double* b, double* c, vrx_int ldc,
                           int store) {
  if constexpr (W >= 1) {
    if (w & W) {
      gemm_tile<H, W>(k, a, b, c, ldc, store);
      return;
    }
    if constexpr (W > 1) gemm_tile_cols<H, W / 2>(w, k, a, b, c, ldc, store);
  }
}
template <int H, int W>
inline void gemm_tile_any(vrx_int h, vrx_int w, vrx_int k, const double* a, const double* b, double* c,
                          vrx_int ldc, int store) {
  if (h == H) {
    if (w == W)
      gemm_tile<H, W>(k, a, b, c, ldc, store);
    else
      gemm_tile_cols<H, W / 2>(w, k, a, b, c, ldc, store);
  } else if constexpr (H > 1) {
    gemm_tile_any<H / 2, W>(h, w, k, a, b, c, ldc, store);
  }
}

// The packed kernel: every panel of A starts at i * k, every panel of B at j * k.
// rows_outer walks A panels outside (A panel in L1, B block from L2); otherwise the
// B panel stays in L1 while the A block streams past.
template <int MR, int NR, bool RowsOuter>
void gemm_packed_kernel(vrx_int m, vrx_int n, vrx_int k, const double* apack, const double* bpack, double* c,
                        vrx_int ldc, int store) {
  auto block = [&](vrx_int i, vrx_int h, vrx_int j, vrx_int w) {
    const double* ap = apack + i * k;
    const double* bp = bpack + j * k;
    double* cp = c + i + j * ldc;
    if (h == MR && w == NR)
      gemm_tile<MR, NR>(k, ap, bp, cp, ldc, store);
    else
      gemm_tile_any<MR, NR>(h, w, k, ap, bp, cp, ldc, store);
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

// One panel of H lines by kb steps of k. Across: the H values of one step lie
// consecutive in the source (a stored column); otherwise each line's kb values do (a
// stored row), and pairs of lines and steps are transposed two by two so that loads
// and stores stay whole vectors.
template <int H, bool Across>
[[gnu::always_inline]] inline void gemm_pack_panel(vrx_int kb, double factor, const double* __restrict src,
                                                   vrx_int ld, double* __restrict out) {
  if constexpr (Across) {
    for (vrx_int l = 0; l < kb; ++l) {
      const double* s = src + l * ld;
      for (int r = 0; r < H; ++r) out[l * H + r] = factor * s[r];
    }
  } else {
    vrx_int l = 0;
    if constexpr (H % 2 == 0) {
      const gemm_v2 f = gemm_splat<gemm_v2>(factor);
      for (; l + 2 <= kb; l += 2)
        for (int r = 0; r < H; r += 2) {
          const gemm_v2 x = gemm_load<gemm_v2>(src + r * ld + l), y = gemm_load<gemm_v2>(src + (r + 1) * ld + l);
          gemm_store(out + l * H + r, f * __builtin_shufflevector(x, y, 0, 2));
          gemm_store(out + (l + 1) * H + r, f * __builtin_shufflevector(x, y, 1, 3));
        }
    }
    for (; l < kb; ++l)
      for (int r = 0; r < H; ++r) out[l * H + r] = factor * src[r * ld + l];
  }
}

// Packing: `extent` rows of op(A) (or columns of op(B)) by kb steps of k, in panels
// of P then the bits of the remainder. Across: the packed index runs along the
// stored column (A as stored, B transposed); otherwise along the stored row.
template <int P, bool Across>
void gemm_pack(vrx_int extent, vrx_int kb, double factor, const double* src, vrx_int ld, double* out) {
  const vrx_int line_step = Across ? 1 : ld;
  for (vrx_int i = 0; i < extent;) {
    const vrx_int h = vrx_gemm_panel_extent(i, extent, P);
    const double* s = src + i * line_step;
    double* o = out + i * kb;
    // Tails are powers of two below P; each extent gets its own unrolled copy.
    if (h == P) gemm_pack_panel<P, Across>(kb, factor, s, ld, o);
    else if (h == 4) gemm_pack_panel<(P > 4 ? 4 : 1), Across>(kb, factor, s, ld, o);
    else if (h == 2) gemm_pack_panel<(P > 2 ? 2 : 1), Across>(kb, factor, s, ld, o);
    else gemm_pack_panel<1, Across>(kb, factor, s, ld, o);
    i += h;
  }
}

// ---- kernels on the operands where they lie ----

// Writes alpha * acc + beta * C into C; beta = 0 never reads C.
template <typename V>
inline void gemm_direct_put(double* cp, V acc, double alpha, double beta) {
  const V r = acc * gemm_splat<V>(alpha);
  if (beta == 0.0)
    gemm_store<V>(cp, r);
  else if (beta == 1.0)
    gemm_store<V>(cp, gemm_load<V>(cp) + r);
  else
    gemm_store<V>(cp, gemm_load<V>(cp) * gemm_splat<V>(beta) + r);
}

template <typename V>
inline V gemm_load_rows(const double* a, vrx_int i, vrx_int l, vrx_int lda, bool a_trans) {
  if (!a_trans) return gemm_load<V>(a + i + l * lda);
  if constexpr (sizeof(V) == sizeof(double)) {
    return a[l + i * lda];
  } else {
    constexpr int L = gemm_lanes<V>::value;
    double t[L];
    for (int r = 0; r < L; ++r) t[r] = a[l + (i + r) * lda];
    return gemm_load<V>(t);
  }
}

// A block of H rows by W columns read in place; K > 0 fixes the trip count.
template <int H, int W, int K>
[[gnu::always_inline]] inline void gemm_direct_tile(bool a_trans, bool b_trans, vrx_int i, vrx_int j, vrx_int k,
                                                    double alpha, const double* a, vrx_int lda, const double* b,
                                                    vrx_int ldb, double beta, double* c, vrx_int ldc) {
  typedef typename gemm_rows_vector<H>::type V;
  constexpr int L = gemm_lanes<V>::value;
  constexpr int MV = H / L;
  const vrx_int kk = K > 0 ? K : k;
  V acc[W][MV];
  for (int jj = 0; jj < W; ++jj)
    for (int v = 0; v < MV; ++v) acc[jj][v] = gemm_splat<V>(0.0);
  for (vrx_int l = 0; l < kk; ++l) {
    V av[MV];
    for (int v = 0; v < MV; ++v) av[v] = gemm_load_rows<V>(a, i + v * L, l, lda, a_trans);
    for (int jj = 0; jj < W; ++jj) {
      const double bv = b_trans ? b[(j + jj) + l * ldb] : b[l + (j + jj) * ldb];
      const V bs = gemm_splat<V>(bv);
      for (int v = 0; v < MV; ++v) acc[jj][v] += av[v] * bs;
    }
  }
  for (int jj = 0; jj < W; ++jj)
    for (int v = 0; v < MV; ++v) gemm_direct_put<V>(c + i + v * L + (j + jj) * ldc, acc[jj][v], alpha, beta);
}

template <int H, int W, int K>
inline void gemm_direct_rows(bool at, bool bt, vrx_int m, vrx_int j, vrx_int k, double alpha, const double* a,
                             vrx_int lda, const double* b, vrx_int ldb, double beta, double* c, vrx_int ldc) {
  vrx_int i = 0;
  for (; i + H <= m; i += H) gemm_direct_tile<H, W, K>(at, bt, i, j, k, alpha, a, lda, b, ldb, beta, c, ldc);
  const vrx_int r = m - i;
  if constexpr (H > 4) {
    if (r & 4) {
      gemm_direct_tile<4, W, K>(at, bt, i, j, k, alpha, a, lda, b, ldb, beta, c, ldc);
      i += 4;
    }
  }
  if constexpr (H > 2) {
    if (r & 2) {
      gemm_direct_tile<2, W, K>(at, bt, i, j, k, alpha, a, lda, b, ldb, beta, c, ldc);
      i += 2;
    }
  }
  if constexpr (H > 1) {
    if (r & 1) gemm_direct_tile<1, W, K>(at, bt, i, j, k, alpha, a, lda, b, ldb, beta, c, ldc);
  }
}

// The whole product in place, blocks of H rows and 4 columns.
template <int H, int K>
void gemm_direct(const char* transa, const char* transb, vrx_int m, vrx_int n, vrx_int k, double alpha,
                 const double* a, vrx_int lda, const double* b, vrx_int ldb, double beta, double* c, vrx_int ldc) {
  if (m < 1 || n < 1) return;
  if (alpha == 0.0 || k < 1) {
    vrx_scale_matrix(m, n, beta, c, ldc);
    return;
  }
  const bool at = (*transa & ~0x20) != 'N', bt = (*transb & ~0x20) != 'N';
  vrx_int j = 0;
  for (; j + 4 <= n; j += 4) gemm_direct_rows<H, 4, K>(at, bt, m, j, k, alpha, a, lda, b, ldb, beta, c, ldc);
  if (j + 2 <= n) {
    gemm_direct_rows<H, 2, K>(at, bt, m, j, k, alpha, a, lda, b, ldb, beta, c, ldc);
    j += 2;
  }
  if (j < n) gemm_direct_rows<H, 1, K>(at, bt, m, j, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

// k = 1 to 10 with beta = 1: one body per k, chosen by a branch tree.
template <int H>
void gemm_tiny_k(const char* transa, const char* transb, vrx_int m, vrx_int n, vrx_int k, double alpha,
                 const double* a, vrx_int lda, const double* b, vrx_int ldb, double beta, double* c, vrx_int ldc) {
  if (k <= 5) {
    if (k <= 2) {
      if (k == 1) return gemm_direct<H, 1>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
      return gemm_direct<H, 2>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    }
    if (k == 3) return gemm_direct<H, 3>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    if (k == 4) return gemm_direct<H, 4>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    return gemm_direct<H, 5>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  }
  if (k <= 7) {
    if (k == 6) return gemm_direct<H, 6>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    return gemm_direct<H, 7>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  }
  if (k == 8) return gemm_direct<H, 8>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  if (k == 9) return gemm_direct<H, 9>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  if (k == 10) return gemm_direct<H, 10>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  gemm_direct<H, 0>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

}  // namespace

// The entries of one class: small, tiny_k, unpacked and the C scaling.
#define VRX_GEMM_DIRECT_DEFINE(cls, H)                                                                         \
  void vrx_blas_dgemm_small_##cls(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,   \
                                  const vrx_int* k, const double* alpha, const double* a, const vrx_int* lda,   \
                                  const double* b, const vrx_int* ldb, const double* beta, double* c,           \
                                  const vrx_int* ldc) {                                                         \
    gemm_direct<H, 0>(transa, transb, *m, *n, *k, *alpha, a, *lda, b, *ldb, *beta, c, *ldc);                    \
  }                                                                                                             \
  void vrx_blas_dgemm_tiny_k_##cls(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,  \
                                   const vrx_int* k, const double* alpha, const double* a, const vrx_int* lda,  \
                                   const double* b, const vrx_int* ldb, const double* beta, double* c,          \
                                   const vrx_int* ldc) {                                                        \
    gemm_tiny_k<H>(transa, transb, *m, *n, *k, *alpha, a, *lda, b, *ldb, *beta, c, *ldc);                       \
  }                                                                                                             \
  void vrx_blas_dgemm_unpacked_##cls(const char* transa, const char* transb, const vrx_int* m,                  \
                                     const vrx_int* n, const vrx_int* k, const double* alpha, const double* a,  \
                                     const vrx_int* lda, const double* b, const vrx_int* ldb,                   \
                                     const double* beta, double* c, const vrx_int* ldc) {                       \
    gemm_direct<H, 0>(transa, transb, *m, *n, *k, *alpha, a, *lda, b, *ldb, *beta, c, *ldc);                    \
  }                                                                                                             \
  void vrx_blas_dgemm_scale_c_##cls(vrx_int m, vrx_int n, double beta, double* c, vrx_int ldc) {               \
    vrx_scale_matrix(m, n, beta, c, ldc);                                                                           \
  }

// The packing routines and kernel of one packed-driver class.
#define VRX_GEMM_PACKED_DEFINE(cls, MR, NR, RowsOuter)                                                        \
  void vrx_gemm_pack_a_n_##cls(vrx_int rows, vrx_int kb, double factor, const double* src, vrx_int ld,      \
                               double* out) {                                                                \
    gemm_pack<MR, true>(rows, kb, factor, src, ld, out);                                                     \
  }                                                                                                          \
  void vrx_gemm_pack_a_t_##cls(vrx_int rows, vrx_int kb, double factor, const double* src, vrx_int ld,      \
                               double* out) {                                                                \
    gemm_pack<MR, false>(rows, kb, factor, src, ld, out);                                                    \
  }                                                                                                          \
  void vrx_gemm_pack_b_n_##cls(vrx_int cols, vrx_int kb, double factor, const double* src, vrx_int ld,      \
                               double* out) {                                                                \
    gemm_pack<NR, false>(cols, kb, factor, src, ld, out);                                                    \
  }                                                                                                          \
  void vrx_gemm_pack_b_t_##cls(vrx_int cols, vrx_int kb, double factor, const double* src, vrx_int ld,      \
                               double* out) {                                                                \
    gemm_pack<NR, true>(cols, kb, factor, src, ld, out);                                                     \
  }                                                                                                          \
  void vrx_gemm_kernel_##cls(vrx_int m, vrx_int n, vrx_int k, const double* apack, const double* bpack,     \
                             double* c, vrx_int ldc, int store) {                                            \
    gemm_packed_kernel<MR, NR, RowsOuter>(m, n, k, apack, bpack, c, ldc, store);                             \
  }
