// The SSE2 route of the sequential GEMM (CPU type 0, and type 2 off branch 1): C is
// scaled by beta first, then one blocked loop over column strips, k blocks and row
// blocks runs on a single scratch allocation.
#include <algorithm>
#include <cstdint>
#include "blas/vrx_gemm_packed.h"
#include "service/vrx_serv.h"

vrx_gemm_scratch_alloc_fn vrx_gemm_scratch_alloc = vrx_serv_malloc;

namespace {
constexpr vrx_int strip_columns = 4992;

inline std::uintptr_t align_up(std::uintptr_t p, std::uintptr_t to) { return (p + to - 1) & ~(to - 1); }
}  // namespace

vrx_sse2_blocks vrx_blas_dgemm_sse2_block_rule(vrx_int m, vrx_int n, vrx_int k) {
  vrx_sse2_blocks r;
  r.kc = 128;
  if (k >= 129 && k <= 256) r.kc = std::max<vrx_int>(((k / 2) / 4) * 4, 4);
  r.mc = 512;
  if (k <= 256 && m + n >= 10000) {
    const vrx_int depth = std::min(k, r.kc);
    r.mc = depth <= 16 ? 1536 : depth <= 32 ? 1024 : depth <= 64 ? 768 : 512;
  }
  r.nb = std::min(n, strip_columns);
  r.bytes = static_cast<std::size_t>(r.kc * 192 + r.mc * r.kc * 8 + r.kc * 8 * r.nb + 18176);
  return r;
}

int vrx_blas_dgemm_sse2_blocked(int set, int a_trans, int b_trans, vrx_int m, vrx_int n, vrx_int k, double alpha,
                                const double* a, vrx_int lda, const double* b, vrx_int ldb, double* c,
                                vrx_int ldc) {
  const vrx_sse2_blocks blk = vrx_blas_dgemm_sse2_block_rule(m, n, k);
  void* raw = vrx_gemm_scratch_alloc(blk.bytes, 128);
  if (!raw) return -1;

  // Doubled B panel first, then the A block (pairs of rows stored twice below 128
  // rows: 2 * mb * kp <= mc * kc), then the B strip.
  const std::uintptr_t base = align_up(reinterpret_cast<std::uintptr_t>(raw), 128);
  double* dup = reinterpret_cast<double*>(base);
  double* abuf = reinterpret_cast<double*>(align_up(base + blk.kc * 192, 128));
  double* bbuf = reinterpret_cast<double*>(align_up(reinterpret_cast<std::uintptr_t>(abuf + blk.mc * blk.kc), 128));
  const int height = set == VRX_SSE2_SET_FIRST ? 4 : 2;

  for (vrx_int j0 = 0; j0 < n; j0 += blk.nb) {
    const vrx_int nb = std::min(blk.nb, n - j0);
    for (vrx_int l0 = 0; l0 < k; l0 += blk.kc) {
      const vrx_int kb = std::min(blk.kc, k - l0);
      const vrx_int kp = (kb + 3) & ~vrx_int{3};
      const double* bsrc = b_trans ? b + j0 + l0 * ldb : b + l0 + j0 * ldb;
      vrx_sse2_gemm_pack_b(b_trans, kb, nb, kp, bsrc, ldb, bbuf);
      for (vrx_int i0 = 0; i0 < m; i0 += blk.mc) {
        const vrx_int mb = std::min(blk.mc, m - i0);
        const double* asrc = a_trans ? a + l0 + i0 * lda : a + i0 + l0 * lda;
        const int kernel = vrx_sse2_gemm_kernel_for(mb);
        if (kernel == VRX_SSE2_KERNEL_SWAP)
          vrx_sse2_gemm_pack_a_pairs(a_trans, mb, kb, kp, alpha, asrc, lda, abuf);
        else
          vrx_sse2_gemm_pack_a(a_trans, mb, kb, kp, height, alpha, asrc, lda, abuf);
        vrx_sse2_gemm_block(kernel, height, mb, nb, kp, abuf, bbuf, dup, c + i0 + j0 * ldc, ldc);
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

namespace {
void sse2_route(int set, const char* transa, const char* transb, const vrx_int* m_, const vrx_int* n_,
                const vrx_int* k_, const double* alpha_, const double* a, const vrx_int* lda_, const double* b,
                const vrx_int* ldb_, const double* beta_, double* c, const vrx_int* ldc_) {
  const vrx_int m = *m_, n = *n_, k = *k_;
  if (m < 1 || n < 1) return;
  if (*beta_ != 1.0) vrx_blas_dgemm_scale_c_sse2(m, n, *beta_, c, *ldc_);
  if (*alpha_ == 0.0) return;
  const double one = 1.0;
  if (m < 2 || n < 2 || k < 2) {
    vrx_blas_dgemm_unpacked_sse2(transa, transb, m_, n_, k_, alpha_, a, lda_, b, ldb_, &one, c, ldc_);
    return;
  }
  const int at = vrx_blas_trans_code(*transa) != 0, bt = vrx_blas_trans_code(*transb) != 0;
  if (vrx_blas_dgemm_sse2_blocked(set, at, bt, m, n, k, *alpha_, a, *lda_, b, *ldb_, c, *ldc_) != 0)
    vrx_blas_dgemm_unpacked_sse2(transa, transb, m_, n_, k_, alpha_, a, lda_, b, ldb_, &one, c, ldc_);
}
}  // namespace

void vrx_blas_dgemm_route_sse2(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                               const vrx_int* k, const double* alpha, const double* a, const vrx_int* lda,
                               const double* b, const vrx_int* ldb, const double* beta, double* c,
                               const vrx_int* ldc) {
  // Family 10h takes the pairs-of-rows set, whose four accumulators suit its two
  // 128-bit pipes; the FMA4 route runs the first set's arithmetic (no such processor
  // is at hand to tune fused bodies on).
  const int set =
      vrx_blas_dgemm_sse2_amd_route() == VRX_SSE2_ROUTE_FAMILY10 ? VRX_SSE2_SET_SECOND : VRX_SSE2_SET_FIRST;
  sse2_route(set, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

void vrx_blas_dgemm_route_sse2_compatible(const char* transa, const char* transb, const vrx_int* m,
                                          const vrx_int* n, const vrx_int* k, const double* alpha, const double* a,
                                          const vrx_int* lda, const double* b, const vrx_int* ldb,
                                          const double* beta, double* c, const vrx_int* ldc) {
  sse2_route(VRX_SSE2_SET_SECOND, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
