// The packed driver of CPU types 2, 3 and 4 in every precision: block rules, sizing
// and the one allocation of a context, and the loops of each mode around a row's
// kernel. Complex blocks count complex elements; their real depth is twice as deep,
// so the depth and height rules are taken on the real extents.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include "blas/level3/packed/vrx_gemm_packed.h"
#include "service/vrx_serv.h"

namespace {
inline vrx_int round_up(vrx_int x, vrx_int to) { return to > 1 ? (x + to - 1) / to * to : x; }
inline std::uintptr_t align_up(std::uintptr_t p, std::uintptr_t to) { return (p + to - 1) & ~(to - 1); }

// Size of the last cache level, or -1 when it is not known.
long last_level_cache_bytes() { return static_cast<long>(vrx_serv_cache_size(0)); }

template <typename T>
inline bool is_zero(T x) {
  return vrx_traits<T>::is_zero(x);
}
template <typename T>
inline bool is_one(T x) {
  return vrx_traits<T>::is_one(x);
}
}  // namespace

template <typename T>
void vrx_gemm_context_init(vrx_gemm_context_t<T>* ctx, const vrx_gemm_row_t<T>* row, int variant) {
  std::memset(static_cast<void*>(ctx), 0, sizeof(*ctx));
  ctx->row = *row;
  ctx->variant = variant;
  ctx->kernels = vrx_gemm_variant_kernels<T>(variant);
  ctx->a.align_shift = 12;
  ctx->b.align_shift = 12;
  ctx->strips.align_shift = 7;
}

template <typename T>
void vrx_gemm_block_rule(vrx_gemm_context_t<T>* ctx, vrx_int m, vrx_int n, vrx_int k) {
  const vrx_gemm_row_t<T>& r = ctx->row;
  constexpr vrx_int x = vrx_gemm_a_expansion<T>;
  if (ctx->kc == 0) {
    // On the real depth: x k steps of x ku each.
    const vrx_int kr = x * k, ku = x * r.ku;
    vrx_int kc;
    if (kr < 256)
      kc = std::max<vrx_int>(round_up(kr, ku), 128);
    else if (kr >= 257 && kr < 512)
      kc = round_up(kr / 2, ku);
    else
      kc = 256;
    ctx->kc = kc / x;
  }
  switch (ctx->variant) {
    case VRX_GEMM_VARIANT_AVX:
      if (ctx->mc == 0) ctx->mc = round_up(std::min<vrx_int>(std::max(r.mr, m), 5000 / x), r.mr);
      if (ctx->nc == 0) {
        ctx->nc = round_up(std::min<vrx_int>(std::max(r.nr, n), 256), r.nr);
        if (x * k < 32) ctx->nc = std::min<vrx_int>(ctx->nc, 16);
      }
      break;
    case VRX_GEMM_VARIANT_SSE42:
    case VRX_GEMM_VARIANT_SSSE3_SSE41: {
      const long l3 = last_level_cache_bytes();
      if (ctx->mc == 0) ctx->mc = ((l3 <= 0 || l3 > 4194304) ? 640 : 384) / x;
      if (ctx->nc == 0) ctx->nc = round_up(std::min<vrx_int>(std::max(r.nr, n), 5000), r.nr);
      break;
    }
    default:
      if (ctx->mc == 0) ctx->mc = 512 / x;
      if (ctx->nc == 0) ctx->nc = std::min<vrx_int>(std::max(r.nr, n), 10000);
      break;
  }
}

template <typename T>
int vrx_gemm_sizing(vrx_gemm_context_t<T>* ctx, int code, vrx_int m, vrx_int n, vrx_int k) {
  const vrx_gemm_row_t<T>& r = ctx->row;
  constexpr vrx_int x = vrx_gemm_a_expansion<T>;
  if (code == VRX_GEMM_SIZE_EXTENTS || code == VRX_GEMM_SIZE_ROUND) {
    if (code == VRX_GEMM_SIZE_EXTENTS) {
      ctx->mc = m;
      ctx->nc = n;
      ctx->kc = k;
    }
    ctx->mc = round_up(ctx->mc, r.mr);
    ctx->nc = round_up(ctx->nc, r.nr);
    ctx->kc = round_up(ctx->kc, r.ku);
    code = VRX_GEMM_SIZE_ALL;
  }
  if (code < VRX_GEMM_SIZE_ALL || code > VRX_GEMM_SIZE_STRIPS) return -1;
  const bool want_a = code == 100 || code == 101 || code == 103 || code == 105;
  const bool want_b = code == 100 || code == 102 || code == 103 || code == 104;
  const bool want_strips = code == 100 || code == 104 || code == 105 || code == 106;
  const bool ssse3 = ctx->variant == VRX_GEMM_VARIANT_SSSE3_PLAIN || ctx->variant == VRX_GEMM_VARIANT_SSSE3_SSE41;
  const std::size_t slack = ssse3 ? 4096 : 512;
  auto set = [](vrx_gemm_buffer_t<T>& buf, bool want, vrx_int elements, std::size_t extra) {
    buf.data = nullptr;
    buf.elements = want ? elements : 0;
    buf.bytes = want ? static_cast<std::size_t>(elements) * sizeof(T) + extra : 0;
  };
  set(ctx->a, want_a, x * ctx->mc * ctx->kc, slack);
  // Only the blocks this call fills need their pages now; a recycled block already has them.
  const vrx_int used_rows = m > 0 ? std::min(ctx->mc, round_up(m, r.mr)) : ctx->mc;
  const vrx_int used_depth = k > 0 ? std::min(ctx->kc, round_up(k, r.ku)) : ctx->kc;
  ctx->a_fault_bytes = want_a ? static_cast<std::size_t>(x * used_rows) * used_depth * sizeof(T) + slack : 0;
  set(ctx->b, want_b, ctx->nc * ctx->kc, slack);
  set(ctx->strips, want_strips, ctx->kc * r.nr * r.strips, 512);
  return 0;
}

template <typename T>
int vrx_gemm_allocate(vrx_gemm_context_t<T>* ctx) {
  // B at a page plus 768, A at a page plus 1664, strips at 128 bytes.
  const std::size_t total = ctx->b.bytes + ctx->a.bytes + ctx->strips.bytes + 3 * 4096 + 2048;
  void* raw = vrx_gemm_scratch_alloc(total, 128);
  if (!raw) return -1;
  ctx->raw = raw;
  std::uintptr_t p = reinterpret_cast<std::uintptr_t>(raw);
  if (ctx->b.bytes) {
    const std::uintptr_t at = align_up(p, std::uintptr_t{1} << ctx->b.align_shift) + 768;
    ctx->b.data = reinterpret_cast<T*>(at);
    p = at + ctx->b.bytes;
  }
  if (ctx->a.bytes) {
    const std::uintptr_t at = align_up(p, std::uintptr_t{1} << ctx->a.align_shift) + 1664;
    ctx->a.data = reinterpret_cast<T*>(at);
    p = at + ctx->a.bytes;
    // Fault the pages in now, in order.
    if (ctx->a.bytes >= 4096) {
      volatile char* touch = reinterpret_cast<volatile char*>(at);
      const std::size_t fault = std::min(ctx->a.bytes, ctx->a_fault_bytes ? ctx->a_fault_bytes : ctx->a.bytes);
      for (std::size_t off = 0; off < fault; off += 4096) touch[off] = 0;
    }
  }
  if (ctx->strips.bytes) {
    const std::uintptr_t at = align_up(p, std::uintptr_t{1} << ctx->strips.align_shift);
    ctx->strips.data = reinterpret_cast<T*>(at);
  }
  return 0;
}

template <typename T>
void vrx_gemm_release(vrx_gemm_context_t<T>* ctx) {
  if (ctx->raw) vrx_serv_free(ctx->raw);
  ctx->raw = nullptr;
  ctx->a.data = ctx->b.data = ctx->strips.data = nullptr;
}

template <typename T>
int vrx_gemm_mode_query(const vrx_gemm_context_t<T>* ctx, vrx_int m, vrx_int n, vrx_int k) {
  switch (ctx->variant) {
    case VRX_GEMM_VARIANT_AVX: return 128;
    case VRX_GEMM_VARIANT_SSE42: return 2;
    default: {
      // Keep A private and pack B a strip at a time while a B block stays under 4 MiB.
      const vrx_int bytes = std::min(ctx->kc, k) * static_cast<vrx_int>(sizeof(T)) * std::min(ctx->nc, n);
      return bytes < 4194305 ? 4 : 2;
    }
  }
}

namespace {
template <typename T>
struct operands {
  int at, bt;  // packing codes: 0 N, 1 T, 2 C
  const T* a;
  vrx_int lda;
  const T* b;
  vrx_int ldb;
  T* c;
  vrx_int ldc;
  T alpha;
  const T* a_at(vrx_int i, vrx_int l) const { return at ? a + l + i * lda : a + i + l * lda; }
  const T* b_at(vrx_int l, vrx_int j) const { return bt ? b + j + l * ldb : b + l + j * ldb; }
};

// Mode 128: rows outside, then k, then columns; A is packed panel by panel during
// the first pass over the columns, interleaved with the kernel calls.
template <typename T>
void run_rows_first(vrx_gemm_context_t<T>* ctx, const operands<T>& o, vrx_int m, vrx_int n, vrx_int k,
                    bool beta_zero) {
  const vrx_gemm_row_t<T>& r = ctx->row;
  constexpr vrx_int x = vrx_gemm_a_expansion<T>;
  const T one = vrx_traits<T>::make(1, 0);
  for (vrx_int i0 = 0; i0 < m; i0 += ctx->mc) {
    const vrx_int mb = std::min(ctx->mc, m - i0);
    for (vrx_int l0 = 0; l0 < k; l0 += ctx->kc) {
      const vrx_int kb = std::min(ctx->kc, k - l0);
      const int store = beta_zero && l0 == 0;
      vrx_int packed = i0;
      for (vrx_int j0 = 0; j0 < n; j0 += ctx->nc) {
        const vrx_int nb = std::min(ctx->nc, n - j0);
        r.pack_b[o.bt](nb, kb, one, o.b_at(l0, j0), o.ldb, ctx->b.data);
        T* cj = o.c + j0 * o.ldc;
        for (vrx_int i = i0; i < i0 + mb;) {
          if (packed > i) {
            r.kernel(i0 + mb - i, nb, kb, ctx->a.data + x * (i - i0) * kb, ctx->b.data, cj + i, o.ldc, store);
            break;
          }
          const vrx_int h = std::min(r.mr, i0 + mb - i);
          T* panel = nb == n ? ctx->a.data : ctx->a.data + x * (i - i0) * kb;
          r.pack_a[o.at](h, kb, o.alpha, o.a_at(i, l0), o.lda, panel);
          r.kernel(h, nb, kb, panel, ctx->b.data, cj + i, o.ldc, store);
          packed = i + h;
          i += h;
        }
      }
    }
  }
}

// Mode 2: columns and k outside; both blocks packed privately.
template <typename T>
void run_both_packed(vrx_gemm_context_t<T>* ctx, const operands<T>& o, vrx_int m, vrx_int n, vrx_int k,
                     bool beta_zero) {
  const vrx_gemm_row_t<T>& r = ctx->row;
  const T one = vrx_traits<T>::make(1, 0);
  for (vrx_int j0 = 0; j0 < n; j0 += ctx->nc) {
    const vrx_int nb = std::min(ctx->nc, n - j0);
    for (vrx_int l0 = 0; l0 < k; l0 += ctx->kc) {
      const vrx_int kb = std::min(ctx->kc, k - l0);
      const int store = beta_zero && l0 == 0;
      r.pack_b[o.bt](nb, kb, one, o.b_at(l0, j0), o.ldb, ctx->b.data);
      for (vrx_int i0 = 0; i0 < m; i0 += ctx->mc) {
        const vrx_int mb = std::min(ctx->mc, m - i0);
        r.pack_a[o.at](mb, kb, o.alpha, o.a_at(i0, l0), o.lda, ctx->a.data);
        r.kernel(mb, nb, kb, ctx->a.data, ctx->b.data, o.c + i0 + j0 * o.ldc, o.ldc, store);
      }
    }
  }
}

// Mode 4: the A block is private; B goes through the strips buffer one register
// width at a time, right before the kernel uses it.
template <typename T>
void run_b_by_strips(vrx_gemm_context_t<T>* ctx, const operands<T>& o, vrx_int m, vrx_int n, vrx_int k,
                     bool beta_zero) {
  const vrx_gemm_row_t<T>& r = ctx->row;
  const T one = vrx_traits<T>::make(1, 0);
  const vrx_int slots = std::max<vrx_int>(r.strips, 1);
  vrx_int slot = 0;
  for (vrx_int j0 = 0; j0 < n; j0 += ctx->nc) {
    const vrx_int nb = std::min(ctx->nc, n - j0);
    for (vrx_int l0 = 0; l0 < k; l0 += ctx->kc) {
      const vrx_int kb = std::min(ctx->kc, k - l0);
      const int store = beta_zero && l0 == 0;
      for (vrx_int i0 = 0; i0 < m; i0 += ctx->mc) {
        const vrx_int mb = std::min(ctx->mc, m - i0);
        r.pack_a[o.at](mb, kb, o.alpha, o.a_at(i0, l0), o.lda, ctx->a.data);
        for (vrx_int j = 0; j < nb;) {
          const vrx_int w = vrx_gemm_panel_extent(j, nb, r.nr);
          T* strip = ctx->strips.data + slot * kb * r.nr;
          slot = (slot + 1) % slots;
          r.pack_b[o.bt](w, kb, one, o.b_at(l0, j0 + j), o.ldb, strip);
          r.kernel(mb, w, kb, ctx->a.data, strip, o.c + i0 + (j0 + j) * o.ldc, o.ldc, store);
          j += w;
        }
      }
    }
  }
}

int allocation_code(int mode) {
  switch (mode) {
    case 4: return VRX_GEMM_SIZE_A_STRIPS;
    default: return VRX_GEMM_SIZE_ALL;
  }
}
}  // namespace

template <typename T>
void vrx_gemm_packed(const char* transa, const char* transb, const vrx_int* m_, const vrx_int* n_, const vrx_int* k_,
                     const T* alpha_, const T* a, const vrx_int* lda_, const T* b, const vrx_int* ldb_,
                     const T* beta_, T* c, const vrx_int* ldc_, int mode, vrx_gemm_context_t<T>* ctx) {
  const vrx_int m = *m_, n = *n_, k = *k_, ldc = *ldc_;
  if (m < 1 || n < 1) return;
  const vrx_gemm_row_t<T>& r = ctx->row;
  const vrx_gemm_scale_c_fn<T> scale = ctx->kernels->scale_c;
  const vrx_gemm_fn<T> unpacked = ctx->kernels->unpacked;
  const T zero = vrx_traits<T>::make(0, 0), one = vrx_traits<T>::make(1, 0);
  T beta = *beta_;
  if (k < 1) {
    scale(m, n, beta, c, ldc);
    return;
  }
  if (!is_one(beta) && !is_zero(beta)) {
    scale(m, n, beta, c, ldc);
    beta = one;
  }
  if (is_zero(*alpha_)) {
    if (is_zero(beta)) scale(m, n, zero, c, ldc);
    return;
  }
  if (m < r.min_m || n < r.min_n || k < r.min_k) {
    unpacked(transa, transb, m_, n_, k_, alpha_, a, lda_, b, ldb_, &beta, c, ldc_);
    return;
  }
  if (ctx->mc == 0 || ctx->nc == 0 || ctx->kc == 0) r.block(ctx, m, n, k);
  if (mode == 0) mode = vrx_gemm_mode_query(ctx, m, n, k);
  const int at = vrx_gemm_pack_code(*transa), bt = vrx_gemm_pack_code(*transb);
  if (mode == 8 || mode == 16 || mode == 32 || mode == 64) {
    if (vrx_gemm_packed_shared_entry(ctx, mode, at, bt, m, n, k, *alpha_, a, *lda_, b, *ldb_, c, ldc,
                                     is_zero(beta)) != 0)
      unpacked(transa, transb, m_, n_, k_, alpha_, a, lda_, b, ldb_, &beta, c, ldc_);
    return;
  }
  if (mode != 128 && mode != 2 && mode != 4) mode = 2;
  r.sizing(ctx, allocation_code(mode), m, n, k);
  if (r.allocate(ctx) != 0) {
    unpacked(transa, transb, m_, n_, k_, alpha_, a, lda_, b, ldb_, &beta, c, ldc_);
    return;
  }
  const operands<T> o = {at, bt, a, *lda_, b, *ldb_, c, ldc, *alpha_};
  if (mode == 128)
    run_rows_first(ctx, o, m, n, k, is_zero(beta));
  else if (mode == 4)
    run_b_by_strips(ctx, o, m, n, k, is_zero(beta));
  else
    run_both_packed(ctx, o, m, n, k, is_zero(beta));
  vrx_gemm_release(ctx);
}

void vrx_blas_dgemm_packed(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                           const vrx_int* k, const double* alpha, const double* a, const vrx_int* lda,
                           const double* b, const vrx_int* ldb, const double* beta, double* c, const vrx_int* ldc,
                           int mode, vrx_gemm_context* ctx) {
  vrx_gemm_packed<double>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc, mode, ctx);
}

template <typename T>
void vrx_gemm_packed_route_tail(const vrx_gemm_row_t<T>* row, int variant, int mode, const char* transa,
                                const char* transb, const vrx_int* m, const vrx_int* n, const vrx_int* k,
                                const T* alpha, const T* a, const vrx_int* lda, const T* b, const vrx_int* ldb,
                                const T* beta, T* c, const vrx_int* ldc) {
  vrx_gemm_context_t<T> ctx;
  vrx_gemm_context_init(&ctx, row, variant);
  const T one = vrx_traits<T>::make(1, 0);
  if (!is_one(*beta)) ctx.kernels->scale_c(*m, *n, *beta, c, *ldc);
  if (is_zero(*alpha)) return;
  if (*m >= row->mr && *n >= row->nr && *k >= row->ku) {
    vrx_gemm_packed<T>(transa, transb, m, n, k, alpha, a, lda, b, ldb, &one, c, ldc, mode, &ctx);
    return;
  }
  ctx.kernels->unpacked(transa, transb, m, n, k, alpha, a, lda, b, ldb, &one, c, ldc);
}

#define VRX_GEMM_PACKED_INSTANTIATE(T)                                                                             \
  template void vrx_gemm_context_init<T>(vrx_gemm_context_t<T>*, const vrx_gemm_row_t<T>*, int);                  \
  template void vrx_gemm_block_rule<T>(vrx_gemm_context_t<T>*, vrx_int, vrx_int, vrx_int);                        \
  template int vrx_gemm_sizing<T>(vrx_gemm_context_t<T>*, int, vrx_int, vrx_int, vrx_int);                         \
  template int vrx_gemm_allocate<T>(vrx_gemm_context_t<T>*);                                                       \
  template void vrx_gemm_release<T>(vrx_gemm_context_t<T>*);                                                       \
  template int vrx_gemm_mode_query<T>(const vrx_gemm_context_t<T>*, vrx_int, vrx_int, vrx_int);                    \
  template void vrx_gemm_packed<T>(const char*, const char*, const vrx_int*, const vrx_int*, const vrx_int*,         \
                                   const T*, const T*, const vrx_int*, const T*, const vrx_int*, const T*, T*,     \
                                   const vrx_int*, int, vrx_gemm_context_t<T>*);                                  \
  template void vrx_gemm_packed_route_tail<T>(const vrx_gemm_row_t<T>*, int, int, const char*, const char*,        \
                                              const vrx_int*, const vrx_int*, const vrx_int*, const T*, const T*,  \
                                              const vrx_int*, const T*, const vrx_int*, const T*, T*,              \
                                              const vrx_int*);
VRX_GEMM_PACKED_INSTANTIATE(float)
VRX_GEMM_PACKED_INSTANTIATE(double)
VRX_GEMM_PACKED_INSTANTIATE(vrx_complex_float)
VRX_GEMM_PACKED_INSTANTIATE(vrx_complex_double)
