// The SSE2 route of the sequential GEMM (CPU type 0, and type 2 off branch 1) in every
// precision: C is scaled by beta first, then one blocked loop over column strips, k
// blocks and row blocks runs on a single scratch allocation. The blocks are those of
// the real extents: a complex row is two real rows, a complex step two real steps.
#include <algorithm>
#include <cstdint>
#include "blas/level3/packed/vrx_gemm_packed.h"
#include "service/vrx_serv.h"

vrx_gemm_scratch_alloc_fn vrx_gemm_scratch_alloc = vrx_serv_malloc;

namespace {
constexpr vrx_int strip_columns = 4992;

inline std::uintptr_t align_up(std::uintptr_t p, std::uintptr_t to) { return (p + to - 1) & ~(to - 1); }

template <typename T>
const vrx_gemm_class_kernels<T>* sse2_kernels() {
  return vrx_gemm_class_of<T>(vrx_gemm_kernels_sse2);
}
}  // namespace

template <typename T>
vrx_sse2_blocks vrx_gemm_sse2_block_rule(vrx_int m, vrx_int n, vrx_int k) {
  constexpr vrx_int x = vrx_gemm_a_expansion<T>;
  const vrx_int kr = x * k, mr = x * m;  // real extents
  vrx_sse2_blocks r;
  vrx_int kc = 128;
  if (kr >= 129 && kr <= 256) kc = std::max<vrx_int>(((kr / 2) / 4) * 4, 4);
  vrx_int mc = 512;
  if (kr <= 256 && mr + n >= 10000) {
    const vrx_int depth = std::min(kr, kc);
    mc = depth <= 16 ? 1536 : depth <= 32 ? 1024 : depth <= 64 ? 768 : 512;
  }
  r.kc = kc / x;
  r.mc = mc / x;
  r.nb = std::min(n, strip_columns);
  // The doubled B panel, the A block and the B strip, in real values.
  const std::size_t real = sizeof(T) / x;
  r.bytes = static_cast<std::size_t>(kc * 24 + mc * kc + kc * r.nb) * real + 18176;
  return r;
}
vrx_sse2_blocks vrx_blas_dgemm_sse2_block_rule(vrx_int m, vrx_int n, vrx_int k) {
  return vrx_gemm_sse2_block_rule<double>(m, n, k);
}

template <typename T>
int vrx_gemm_sse2_blocked(int set, int a_trans, int b_trans, vrx_int m, vrx_int n, vrx_int k, T alpha, const T* a,
                          vrx_int lda, const T* b, vrx_int ldb, T* c, vrx_int ldc) {
  typedef vrx_real_t<T> R;
  constexpr vrx_int x = vrx_gemm_a_expansion<T>;
  const vrx_gemm_blocked_kernels<T>& kern = *vrx_gemm_blocked_of<T>(vrx_gemm_blocked_sse2);
  const vrx_sse2_blocks blk = vrx_gemm_sse2_block_rule<T>(m, n, k);
  void* raw = vrx_gemm_scratch_alloc(blk.bytes, 128);
  if (!raw) return -1;

  // Doubled B panel first, then the A block (pairs of rows stored twice below 128
  // rows: 2 * mb * kp <= mc * kc), then the B strip; sizes in real values.
  const vrx_int kcr = x * blk.kc, mcr = x * blk.mc;
  const std::uintptr_t base = align_up(reinterpret_cast<std::uintptr_t>(raw), 128);
  R* dup = reinterpret_cast<R*>(base);
  R* abuf = reinterpret_cast<R*>(align_up(base + kcr * 24 * sizeof(R), 128));
  R* bbuf = reinterpret_cast<R*>(align_up(reinterpret_cast<std::uintptr_t>(abuf + mcr * kcr), 128));
  T* const dup_t = reinterpret_cast<T*>(dup);
  T* const abuf_t = reinterpret_cast<T*>(abuf);
  T* const bbuf_t = reinterpret_cast<T*>(bbuf);

  for (vrx_int j0 = 0; j0 < n; j0 += blk.nb) {
    const vrx_int nb = std::min(blk.nb, n - j0);
    for (vrx_int l0 = 0; l0 < k; l0 += blk.kc) {
      const vrx_int kb = std::min(blk.kc, k - l0);
      const vrx_int kp = (x * kb + 3) & ~vrx_int{3};  // real steps, padded with zeros
      const T* bsrc = b_trans ? b + j0 + l0 * ldb : b + l0 + j0 * ldb;
      kern.pack_b(b_trans, kb, nb, kp, bsrc, ldb, bbuf_t);
      for (vrx_int i0 = 0; i0 < m; i0 += blk.mc) {
        const vrx_int mb = std::min(blk.mc, m - i0);
        const T* asrc = a_trans ? a + l0 + i0 * lda : a + i0 + l0 * lda;
        kern.pack_a(set, a_trans, mb, kb, kp, alpha, asrc, lda, abuf_t);
        kern.block(set, mb, nb, kp, abuf_t, bbuf_t, dup_t, c + i0 + j0 * ldc, ldc);
      }
    }
  }
  vrx_serv_free(raw);
  return 0;
}

// The other vendor's family 10h and FMA4 processors have routes of their own on CPU
// type 0; they run the same arithmetic as the plain route.
// The answer never changes within a process: remembered once.
int vrx_blas_dgemm_sse2_amd_route() {
  static std::int32_t cached = -1;
  return vrx_serv_remember(&cached, [] {
    if (vrx_serv_cpu_detect() != VRX_CPU_SSE2) return int{VRX_SSE2_ROUTE_PLAIN};
    if (vrx_serv_amd_family10()) return int{VRX_SSE2_ROUTE_FAMILY10};
    return int{vrx_serv_amd_fma4() ? VRX_SSE2_ROUTE_FMA4 : VRX_SSE2_ROUTE_PLAIN};
  });
}

template <typename T>
void vrx_gemm_route_sse2(int set, const char* transa, const char* transb, const vrx_int* m_, const vrx_int* n_,
                         const vrx_int* k_, const T* alpha_, const T* a, const vrx_int* lda_, const T* b,
                         const vrx_int* ldb_, const T* beta_, T* c, const vrx_int* ldc_) {
  const vrx_int m = *m_, n = *n_, k = *k_;
  if (m < 1 || n < 1) return;
  const vrx_gemm_class_kernels<T>& kern = *sse2_kernels<T>();
  if (!vrx_traits<T>::is_one(*beta_)) kern.scale_c(m, n, *beta_, c, *ldc_);
  if (vrx_traits<T>::is_zero(*alpha_)) return;
  const T one = vrx_traits<T>::make(1, 0);
  if (m < 2 || n < 2 || k < 2) {
    kern.unpacked(transa, transb, m_, n_, k_, alpha_, a, lda_, b, ldb_, &one, c, ldc_);
    return;
  }
  const int at = vrx_gemm_pack_code(*transa), bt = vrx_gemm_pack_code(*transb);
  if (vrx_gemm_sse2_blocked<T>(set, at, bt, m, n, k, *alpha_, a, *lda_, b, *ldb_, c, *ldc_) != 0)
    kern.unpacked(transa, transb, m_, n_, k_, alpha_, a, lda_, b, ldb_, &one, c, ldc_);
}

// Family 10h takes the pairs-of-rows set, whose four accumulators suit its two 128-bit
// pipes; the FMA4 route runs the first set's arithmetic (no such processor is at hand
// to tune fused bodies on).
template <typename T>
void vrx_gemm_route_sse2_first(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                               const vrx_int* k, const T* alpha, const T* a, const vrx_int* lda, const T* b,
                               const vrx_int* ldb, const T* beta, T* c, const vrx_int* ldc) {
  const int set =
      vrx_blas_dgemm_sse2_amd_route() == VRX_SSE2_ROUTE_FAMILY10 ? VRX_SSE2_SET_SECOND : VRX_SSE2_SET_FIRST;
  vrx_gemm_route_sse2<T>(set, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
// The second kernel set: reproducibility branches other than 1.
template <typename T>
void vrx_gemm_route_sse2_second(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                                const vrx_int* k, const T* alpha, const T* a, const vrx_int* lda, const T* b,
                                const vrx_int* ldb, const T* beta, T* c, const vrx_int* ldc) {
  vrx_gemm_route_sse2<T>(VRX_SSE2_SET_SECOND, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

void vrx_blas_dgemm_route_sse2(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                               const vrx_int* k, const double* alpha, const double* a, const vrx_int* lda,
                               const double* b, const vrx_int* ldb, const double* beta, double* c,
                               const vrx_int* ldc) {
  vrx_gemm_route_sse2_first<double>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
void vrx_blas_dgemm_route_sse2_compatible(const char* transa, const char* transb, const vrx_int* m,
                                          const vrx_int* n, const vrx_int* k, const double* alpha, const double* a,
                                          const vrx_int* lda, const double* b, const vrx_int* ldb,
                                          const double* beta, double* c, const vrx_int* ldc) {
  vrx_gemm_route_sse2_second<double>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

#define VRX_GEMM_SSE2_INSTANTIATE(T)                                                                              \
  template vrx_sse2_blocks vrx_gemm_sse2_block_rule<T>(vrx_int, vrx_int, vrx_int);                               \
  template int vrx_gemm_sse2_blocked<T>(int, int, int, vrx_int, vrx_int, vrx_int, T, const T*, vrx_int, const T*, \
                                        vrx_int, T*, vrx_int);                                                    \
  template void vrx_gemm_route_sse2_first<T>(const char*, const char*, const vrx_int*, const vrx_int*,            \
                                             const vrx_int*, const T*, const T*, const vrx_int*, const T*,         \
                                             const vrx_int*, const T*, T*, const vrx_int*);                       \
  template void vrx_gemm_route_sse2_second<T>(const char*, const char*, const vrx_int*, const vrx_int*,           \
                                              const vrx_int*, const T*, const T*, const vrx_int*, const T*,        \
                                              const vrx_int*, const T*, T*, const vrx_int*);
VRX_GEMM_SSE2_INSTANTIATE(float)
VRX_GEMM_SSE2_INSTANTIATE(double)
VRX_GEMM_SSE2_INSTANTIATE(vrx_complex_float)
VRX_GEMM_SSE2_INSTANTIATE(vrx_complex_double)
