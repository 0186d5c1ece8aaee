// Modes 8, 16, 32 and 64 of the packed driver, reached through its entry with the
// caller's packed operand in the context, on every kernel-table row; and packing
// one A block in parts (by rows, by k) gives the bits of packing it whole.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "blas/level3/classic/vrx_gemm_classic.h"
#include "support/gemm_reference.h"

namespace {
struct row_case {
  const char* name;
  const vrx_gemm_row* row;
  int variant;
};

std::vector<row_case> rows() {
  return {{"avx", vrx_gemm_row_avx(), VRX_GEMM_VARIANT_AVX},
          {"sse42", vrx_gemm_row_sse42(0), VRX_GEMM_VARIANT_SSE42},
          {"ssse3", vrx_gemm_row_ssse3(0), VRX_GEMM_VARIANT_SSSE3_PLAIN},
          {"ssse3+sse41", vrx_gemm_row_ssse3(1), VRX_GEMM_VARIANT_SSSE3_SSE41}};
}

// One product in `mode`; for 8, 16 and 32 the shared operand is packed here first.
double run_mode(const row_case& rc, int mode, const char* tr, vrx_int m, vrx_int n, vrx_int k, double beta,
                unsigned seed) {
  const bool an = tr[0] == 'N', bn = tr[1] == 'N';
  const vrx_int lda = (an ? m : k) + 2, ldb = (bn ? k : n) + 1, ldc = m + 3;
  std::vector<double> a = vrx_test_random(lda * (an ? k : m), seed), b = vrx_test_random(ldb * (bn ? n : k), seed + 1),
                      c = vrx_test_random(ldc * n, seed + 2);
  const std::vector<double> c0 = c;
  const double alpha = -1.25;
  vrx_gemm_context ctx;
  vrx_gemm_context_init(&ctx, rc.row, rc.variant);
  rc.row->block(&ctx, m, n, k);
  std::vector<double> shared;
  if (mode == 8 || mode == 16) {
    shared.resize(m * k);
    vrx_gemm_pack_a_part(&ctx, !an, m, k, 0, m, 0, k, alpha, a.data(), lda, shared.data());
    ctx.a.data = shared.data();
  } else if (mode == 32) {
    shared.resize(n * k);
    rc.row->pack_b[bn ? 0 : 1](n, k, 1.0, b.data(), ldb, shared.data());
    ctx.b.data = shared.data();
  } else {
    ctx.mc = 2 * rc.row->mr + 1;  // several row blocks, the last one short
  }
  vrx_blas_dgemm_packed(&tr[0], &tr[1], &m, &n, &k, &alpha, a.data(), &lda, b.data(), &ldb, &beta, c.data(), &ldc,
                        mode, &ctx);
  for (vrx_int j = 0; j < n; ++j)
    for (vrx_int i = m; i < ldc; ++i)
      if (c[i + j * ldc] != c0[i + j * ldc]) return 1e9;
  std::vector<long double> ref;
  vrx_test_gemm_long_double(tr[0], tr[1], m, n, k, alpha, a.data(), lda, b.data(), ldb, beta, c0.data(), ldc, ref);
  return vrx_test_gemm_error(c.data(), ldc, m, n, ref, k, std::fabs(alpha) * k + std::fabs(beta));
}
}  // namespace

TEST(DgemmClassicModes, SharedOperandModesOnEveryRow) {
  unsigned seed = 3;
  for (const row_case& rc : rows())
    for (int mode : {8, 16, 32, 64})
      for (const char* tr : {"NN", "TN", "NT", "TT"})
        for (double beta : {0.0, 1.0, 3.0}) {
          const vrx_int k = mode == 64 ? 300 : 37;  // one block for the shared modes, several for 64
          const double e = run_mode(rc, mode, tr, 29, 23, k, beta, seed++);
          ASSERT_LT(e, 1.0) << rc.name << " mode " << mode << " " << tr << " beta " << beta;
        }
}

TEST(DgemmClassicModes, PackingInPartsMatchesPackingWhole) {
  const vrx_int m = 45, kb = 150, lda = 160;
  const std::vector<double> a = vrx_test_random(lda * lda, 8);
  for (const row_case& rc : rows())
    for (int at : {0, 1}) {
      vrx_gemm_context ctx;
      vrx_gemm_context_init(&ctx, rc.row, rc.variant);
      std::vector<double> whole(m * kb), by_rows(m * kb, 7.0), by_k(m * kb, 7.0);
      vrx_gemm_pack_a_part(&ctx, at, m, kb, 0, m, 0, kb, 0.5, a.data(), lda, whole.data());
      // Row slices of multiples of 8, the last taking the tail; k slices of multiples of 4.
      for (int part = 0; part < 3; ++part) {
        vrx_int first, count;
        vrx_gemm_classic_chunk(m, 3, part, 8, &first, &count);
        vrx_gemm_pack_a_part(&ctx, at, m, kb, first, count, 0, kb, 0.5, a.data(), lda, by_rows.data());
        vrx_gemm_classic_chunk(kb, 3, part, 4, &first, &count);
        vrx_gemm_pack_a_part(&ctx, at, m, kb, 0, m, first, count, 0.5, a.data(), lda, by_k.data());
      }
      EXPECT_EQ(0, std::memcmp(whole.data(), by_rows.data(), whole.size() * sizeof(double))) << rc.name << at;
      EXPECT_EQ(0, std::memcmp(whole.data(), by_k.data(), whole.size() * sizeof(double))) << rc.name << at;
    }
}
