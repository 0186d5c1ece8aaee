// Rank-k and rank-2k updates of one triangle (SYRK, HERK, SYR2K, HER2K) in a wider
// precision, and the check of a computed C: the stored triangle against the reference
// within the product bound, the strictly opposite triangle and the padding rows
// unchanged bit for bit, the diagonal of a Hermitian result exactly real; a quick return
// (alpha = 0 or k = 0 with beta = 1) leaves all of C as it was.
#pragma once
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <vector>

#include "support/gemm_typed_reference.h"

template <typename T>
struct vrx_test_rank_update {
  bool hermitian, two;
  char uplo, trans;
  int64_t n, k, lda, ldb, ldc;
  T alpha, beta;
  std::vector<T> a, b, c;  // c: C before the update; NaN in the opposite triangle
};

namespace vrx_test_detail {
template <typename T>
T quiet_nan() {
  typedef vrx_real_t<T> R;
  const R q = std::numeric_limits<R>::quiet_NaN();
  return vrx_traits<T>::make(q, q);
}
inline bool stored(char uplo, int64_t i, int64_t j) { return (uplo & ~0x20) == 'L' ? i >= j : i <= j; }

// The GEMM product of the update's first (second = true: its second) term.
template <typename T>
vrx_test_product<T> rank_term(const vrx_test_rank_update<T>& u, bool second) {
  const bool transposed = (u.trans & ~0x20) != 'N';
  const char adjoint = u.hermitian ? 'C' : 'T';
  vrx_test_product<T> p;
  p.ta = transposed ? adjoint : 'N';
  p.tb = transposed ? 'N' : adjoint;
  p.m = p.n = u.n;
  p.k = u.k;
  const bool swap = second;
  p.a = swap ? u.b : u.a;
  p.lda = swap ? u.ldb : u.lda;
  p.b = swap ? u.a : u.b;
  p.ldb = swap ? u.lda : u.ldb;
  p.ldc = u.ldc;
  p.c = u.c;
  p.alpha = second && u.hermitian ? vrx_traits<T>::conj(u.alpha) : u.alpha;
  p.beta = second ? T{} : u.beta;
  return p;
}
}  // namespace vrx_test_detail

// An update with entries in [-1, 1], leading dimensions above the minimum; for the
// rank-k forms b is a copy of a. A Hermitian update keeps alpha (rank-k) and beta real.
template <typename T>
vrx_test_rank_update<T> vrx_test_make_rank_update(bool hermitian, bool two, char uplo, char trans, int64_t n,
                                                  int64_t k, T alpha, T beta, unsigned seed) {
  typedef vrx_traits<T> tr;
  vrx_test_rank_update<T> u;
  u.hermitian = hermitian && tr::is_complex;
  u.two = two;
  u.uplo = uplo;
  u.trans = trans;
  u.n = n;
  u.k = k;
  const bool transposed = (trans & ~0x20) != 'N';
  const int64_t kk = k > 0 ? k : 0;
  u.lda = (transposed ? kk : n) + 2;
  u.ldb = (transposed ? kk : n) + 1;
  u.ldc = n + 3;
  u.alpha = u.hermitian && !two ? tr::make(tr::real_part(alpha), 0) : alpha;
  u.beta = u.hermitian ? tr::make(tr::real_part(beta), 0) : beta;
  uint64_t state = seed * 2654435761ull + 29;
  const std::size_t cols = static_cast<std::size_t>((transposed ? n : kk) + 1);
  u.a.resize(static_cast<std::size_t>(u.lda) * cols);
  u.b.resize(static_cast<std::size_t>(u.ldb) * cols);
  u.c.resize(static_cast<std::size_t>(u.ldc * n));
  for (auto& x : u.a) x = vrx_test_value<T>(&state);
  for (auto& x : u.b) x = vrx_test_value<T>(&state);
  if (!two) {
    u.b = u.a;
    u.ldb = u.lda;
  }
  for (int64_t j = 0; j < n; ++j)
    for (int64_t i = 0; i < u.ldc; ++i)
      u.c[i + j * u.ldc] = i < n && !vrx_test_detail::stored(uplo, i, j) ? vrx_test_detail::quiet_nan<T>()
                                                                           : vrx_test_value<T>(&state);
  return u;
}

// Elements of c that are wrong (see the header comment); prints the first few.
template <typename T>
int64_t vrx_test_rank_update_bad_elements(const vrx_test_rank_update<T>& u, const std::vector<T>& c) {
  typedef vrx_test_wide_t<T> W;
  using vrx_test_detail::parts;
  typedef vrx_traits<T> tr;
  const double eps = sizeof(vrx_real_t<T>) == 4 ? FLT_EPSILON : DBL_EPSILON;
  const vrx_test_product<T> first = vrx_test_detail::rank_term(u, false);
  vrx_test_product<T> second;
  if (u.two) second = vrx_test_detail::rank_term(u, true);
  // alpha = 0 or k = 0 with beta = 1 returns at once: C as it was, bit for bit.
  if ((tr::is_zero(u.alpha) || u.k < 1) && tr::is_one(u.beta)) {
    const bool same = std::memcmp(c.data(), u.c.data(), c.size() * sizeof(T)) == 0;
    if (!same) std::printf("C changed by a quick return\n");
    return same ? 0 : 1;
  }
  int64_t bad = 0;
  auto complain = [&](const char* what, int64_t i, int64_t j) {
    if (bad < 5) std::printf("%s (%lld, %lld)\n", what, (long long)i, (long long)j);
    ++bad;
  };
  for (int64_t j = 0; j < u.n; ++j)
    for (int64_t i = 0; i < u.ldc; ++i) {
      const std::size_t at = static_cast<std::size_t>(i + j * u.ldc);
      if (i >= u.n || !vrx_test_detail::stored(u.uplo, i, j)) {
        if (std::memcmp(&c[at], &u.c[at], sizeof(T)) != 0) complain(i >= u.n ? "padding written" : "opposite triangle written", i, j);
        continue;
      }
      vrx_test_wide_element<T> want = vrx_test_gemm_reference(first, i, j);
      if (u.two) {
        const vrx_test_wide_element<T> more = vrx_test_gemm_reference(second, i, j);
        want.re += more.re;
        want.im += more.im;
        want.bound += more.bound;
      }
      W gr, gi;
      parts(c[at], &gr, &gi);
      if (u.hermitian && i == j) {
        if (tr::imag_part(c[at]) != 0) complain("diagonal not real", i, j);
        want.im = 0;
      }
      const W err = std::fabs(gr - want.re) + std::fabs(gi - want.im);
      const W kk = static_cast<W>(u.k > 0 ? u.k : 0);
      const W limit = 4 * (2 * kk + 2) * static_cast<W>(eps) * want.bound;
      if (!(err <= limit)) {
        if (bad < 5)
          std::printf("(%lld, %lld): got (%g, %g), want (%g, %g)\n", (long long)i, (long long)j, (double)gr,
                      (double)gi, (double)want.re, (double)want.im);
        ++bad;
      }
    }
  return bad;
}

// ---- running an update through the published names ----
#include "blas/vrx_blas.h"

namespace vrx_test_detail {
// The published names and the sequential members of each precision.
template <typename T>
struct rank_update_names;
template <>
struct rank_update_names<float> {
  static constexpr vrx_syrk_fn_type<float>* syrk[2] = {SSYRK, vrx_blas_ssyrk_sequential};
  static constexpr vrx_syr2k_fn_type<float>* syr2k[2] = {SSYR2K, vrx_blas_ssyr2k_sequential};
};
template <>
struct rank_update_names<double> {
  static constexpr vrx_syrk_fn_type<double>* syrk[2] = {DSYRK, vrx_blas_dsyrk_sequential};
  static constexpr vrx_syr2k_fn_type<double>* syr2k[2] = {DSYR2K, vrx_blas_dsyr2k_sequential};
};
template <>
struct rank_update_names<vrx_complex_float> {
  static constexpr vrx_syrk_fn_type<vrx_complex_float>* syrk[2] = {CSYRK, vrx_blas_csyrk_sequential};
  static constexpr vrx_syr2k_fn_type<vrx_complex_float>* syr2k[2] = {CSYR2K, vrx_blas_csyr2k_sequential};
  static constexpr vrx_herk_fn_type<vrx_complex_float>* herk[2] = {CHERK, vrx_blas_cherk_sequential};
  static constexpr vrx_her2k_fn_type<vrx_complex_float>* her2k[2] = {CHER2K, vrx_blas_cher2k_sequential};
};
template <>
struct rank_update_names<vrx_complex_double> {
  static constexpr vrx_syrk_fn_type<vrx_complex_double>* syrk[2] = {ZSYRK, vrx_blas_zsyrk_sequential};
  static constexpr vrx_syr2k_fn_type<vrx_complex_double>* syr2k[2] = {ZSYR2K, vrx_blas_zsyr2k_sequential};
  static constexpr vrx_herk_fn_type<vrx_complex_double>* herk[2] = {ZHERK, vrx_blas_zherk_sequential};
  static constexpr vrx_her2k_fn_type<vrx_complex_double>* her2k[2] = {ZHER2K, vrx_blas_zher2k_sequential};
};
}  // namespace vrx_test_detail

// C after the update through its published routine (SYRK, HERK, SYR2K or HER2K of T),
// or through its sequential member.
template <typename T>
std::vector<T> vrx_test_rank_update_run(const vrx_test_rank_update<T>& u, bool sequential = false) {
  const int at = sequential ? 1 : 0;
  typedef vrx_test_detail::rank_update_names<T> names;
  typedef vrx_traits<T> tr;
  std::vector<T> c = u.c;
  const vrx_int n = u.n, k = u.k, lda = u.lda, ldb = u.ldb, ldc = u.ldc;
  const char uplo[2] = {u.uplo, 0}, trans[2] = {u.trans, 0};
  if constexpr (tr::is_complex) {
    if (u.hermitian) {
      const vrx_real_t<T> beta = tr::real_part(u.beta), alpha = tr::real_part(u.alpha);
      if (u.two) names::her2k[at](uplo, trans, &n, &k, &u.alpha, u.a.data(), &lda, u.b.data(), &ldb, &beta, c.data(), &ldc);
      else names::herk[at](uplo, trans, &n, &k, &alpha, u.a.data(), &lda, &beta, c.data(), &ldc);
      return c;
    }
  }
  if (u.two) names::syr2k[at](uplo, trans, &n, &k, &u.alpha, u.a.data(), &lda, u.b.data(), &ldb, &u.beta, c.data(), &ldc);
  else names::syrk[at](uplo, trans, &n, &k, &u.alpha, u.a.data(), &lda, &u.beta, c.data(), &ldc);
  return c;
}
