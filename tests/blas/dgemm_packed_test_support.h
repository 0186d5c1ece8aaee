// Checks a GEMM entry with the sequential argument list against the long-double
// reference: padded leading dimensions, NaN in C when beta = 0, untouched padding.
#pragma once
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cmath>
#include <limits>
#include <vector>

#include "blas/level3/packed/vrx_gemm_packed.h"
#include "service/vrx_serv.h"
#include "support/gemm_reference.h"

struct pk_shape {
  vrx_int m, n, k;
};

inline const char* const pk_trans_pairs[4] = {"NN", "TN", "NT", "TT"};

// One product through `fn`; answers the scaled error (below 1 passes).
inline double pk_check(vrx_dgemm_fn fn, const char* tr, pk_shape s, double alpha, double beta, unsigned seed) {
  const bool an = tr[0] == 'N', bn = tr[1] == 'N';
  const vrx_int a_rows = an ? s.m : s.k, a_cols = an ? s.k : s.m;
  const vrx_int b_rows = bn ? s.k : s.n, b_cols = bn ? s.n : s.k;
  const vrx_int lda = std::max<vrx_int>(a_rows, 1) + 3, ldb = std::max<vrx_int>(b_rows, 1) + 1,
                ldc = std::max<vrx_int>(s.m, 1) + 2;
  std::vector<double> a = vrx_test_random(static_cast<size_t>(lda * std::max<vrx_int>(a_cols, 1)), seed);
  std::vector<double> b = vrx_test_random(static_cast<size_t>(ldb * std::max<vrx_int>(b_cols, 1)), seed + 1);
  std::vector<double> c = vrx_test_random(static_cast<size_t>(ldc * std::max<vrx_int>(s.n, 1)), seed + 2);
  if (beta == 0.0)
    for (vrx_int j = 0; j < s.n; ++j)
      for (vrx_int i = 0; i < s.m; i += 3) c[i + j * ldc] = std::numeric_limits<double>::quiet_NaN();
  const std::vector<double> c0 = c;
  fn(&tr[0], &tr[1], &s.m, &s.n, &s.k, &alpha, a.data(), &lda, b.data(), &ldb, &beta, c.data(), &ldc);
  for (vrx_int j = 0; j < s.n; ++j)
    for (vrx_int i = s.m; i < ldc; ++i)
      if (c[i + j * ldc] != c0[i + j * ldc]) return 1e9;  // padding written
  std::vector<long double> ref;
  vrx_test_gemm_long_double(tr[0], tr[1], s.m, s.n, s.k, alpha, a.data(), lda, b.data(), ldb, beta, c0.data(), ldc,
                            ref);
  return vrx_test_gemm_error(c.data(), ldc, s.m, s.n, ref, s.k, std::fabs(alpha) * s.k + std::fabs(beta));
}

// Every transposition pair and alpha, beta in {0, 1, other} on each shape.
inline void pk_check_all(vrx_dgemm_fn fn, const std::vector<pk_shape>& shapes, const char* what) {
  const double alphas[] = {1.0, -0.75, 0.0};
  const double betas[] = {0.0, 1.0, 2.5};
  unsigned seed = 11;
  for (const pk_shape& s : shapes)
    for (const char* tr : pk_trans_pairs)
      for (double alpha : alphas)
        for (double beta : betas) {
          if (alpha == 0.0 && beta == 2.5 && s.m > 40) continue;  // scaling alone: checked on small shapes
          const double e = pk_check(fn, tr, s, alpha, beta, seed++);
          ASSERT_LT(e, 1.0) << what << " " << tr << " m=" << s.m << " n=" << s.n << " k=" << s.k
                            << " alpha=" << alpha << " beta=" << beta;
        }
}

// A region whose first and last pages are inaccessible; `place_at_end` puts the
// block of `count` doubles right against the trailing guard page, otherwise
// right behind the leading one.
struct pk_guarded {
  void* base = nullptr;
  size_t bytes = 0;
  double* data = nullptr;
  pk_guarded(size_t count, bool place_at_end) {
    const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const size_t body = ((count * sizeof(double) + page - 1) / page) * page;
    bytes = body + 2 * page;
    base = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    char* p = static_cast<char*>(base);
    mprotect(p, page, PROT_NONE);
    mprotect(p + page + body, page, PROT_NONE);
    data = place_at_end ? reinterpret_cast<double*>(p + page + body) - count : reinterpret_cast<double*>(p + page);
  }
  ~pk_guarded() { munmap(base, bytes); }
};

// One product with A, B and C each pressed against a guard page (no padding), so
// any read or write outside the matrices faults.
inline void pk_check_guarded(vrx_dgemm_fn fn, const char* tr, pk_shape s, bool at_end) {
  const size_t na = static_cast<size_t>(s.m * s.k), nb = static_cast<size_t>(s.k * s.n),
               nc = static_cast<size_t>(s.m * s.n);
  pk_guarded ga(na, at_end), gb(nb, at_end), gc(nc, at_end);
  const std::vector<double> a = vrx_test_random(na, 3), b = vrx_test_random(nb, 4), c = vrx_test_random(nc, 5);
  std::copy(a.begin(), a.end(), ga.data);
  std::copy(b.begin(), b.end(), gb.data);
  std::copy(c.begin(), c.end(), gc.data);
  const vrx_int lda = tr[0] == 'N' ? s.m : s.k, ldb = tr[1] == 'N' ? s.k : s.n, ldc = s.m;
  const double alpha = 0.5, beta = 1.5;
  fn(&tr[0], &tr[1], &s.m, &s.n, &s.k, &alpha, ga.data, &lda, gb.data, &ldb, &beta, gc.data, &ldc);
  std::vector<long double> ref;
  vrx_test_gemm_long_double(tr[0], tr[1], s.m, s.n, s.k, alpha, a.data(), lda, b.data(), ldb, beta, c.data(), ldc,
                            ref);
  EXPECT_LT(vrx_test_gemm_error(gc.data, ldc, s.m, s.n, ref, s.k, 0.5 * s.k + 1.5), 1.0)
      << tr << " m=" << s.m << " n=" << s.n << " k=" << s.k;
}

// Makes every scratch allocation of the blocked roads fail while it lives.
struct pk_failing_scratch {
  vrx_gemm_scratch_alloc_fn saved;
  static void* fail(std::size_t, int) { return nullptr; }
  pk_failing_scratch() : saved(vrx_gemm_scratch_alloc) { vrx_gemm_scratch_alloc = fail; }
  ~pk_failing_scratch() { vrx_gemm_scratch_alloc = saved; }
};

// Counts the allocations that pass through, to tell the blocked road from the fallback.
struct pk_counting_scratch {
  vrx_gemm_scratch_alloc_fn saved;
  static inline int count = 0;
  static void* counted(std::size_t size, int alignment) {
    ++count;
    return vrx_serv_malloc(size, alignment);
  }
  pk_counting_scratch() : saved(vrx_gemm_scratch_alloc) {
    count = 0;
    vrx_gemm_scratch_alloc = counted;
  }
  ~pk_counting_scratch() { vrx_gemm_scratch_alloc = saved; }
};
