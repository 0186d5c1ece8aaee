// LASCL: A := A * (cto / cfrom) in steps that never overflow or underflow, for full,
// triangular, Hessenberg and band storage.
#include <cmath>

#include "blas/level2/level2_common.h"
#include "lapack/aux/vrx_aux.h"
#include "lapack/solve/vrx_solve.h"

namespace {
enum storage_kind { FULL, LOWER, UPPER, HESSENBERG, SYM_BAND_LOWER, SYM_BAND_UPPER, BAND };

int storage_of(const char* type) {
  switch (*type & ~0x20) {
    case 'G': return FULL;
    case 'L': return LOWER;
    case 'U': return UPPER;
    case 'H': return HESSENBERG;
    case 'B': return SYM_BAND_LOWER;
    case 'Q': return SYM_BAND_UPPER;
    case 'Z': return BAND;
    default: return -1;
  }
}

// Position of the first bad argument as published, 0 when all are good.
template <typename R>
int first_bad_argument(int kind, vrx_int kl, vrx_int ku, R cfrom, R cto, vrx_int m, vrx_int n, vrx_int lda) {
  if (kind < 0) return 1;
  if (cfrom == 0 || std::isnan(cfrom)) return 4;
  if (std::isnan(cto)) return 5;
  if (m < 0) return 6;
  if (n < 0 || (kind == SYM_BAND_LOWER && n != m) || (kind == SYM_BAND_UPPER && n != m)) return 7;
  if (kind <= HESSENBERG && lda < (m > 1 ? m : 1)) return 9;
  if (kind >= SYM_BAND_LOWER) {
    const vrx_int most_kl = m - 1 > 0 ? m - 1 : 0;
    const vrx_int most_ku = n - 1 > 0 ? n - 1 : 0;
    if (kl < 0 || kl > most_kl) return 2;
    if (ku < 0 || ku > most_ku || ((kind == SYM_BAND_LOWER || kind == SYM_BAND_UPPER) && kl != ku)) return 3;
    if ((kind == SYM_BAND_LOWER && lda < kl + 1) || (kind == SYM_BAND_UPPER && lda < ku + 1) ||
        (kind == BAND && lda < 2 * kl + ku + 1))
      return 9;
  }
  return 0;
}

// Rows of column j (0-based) that the storage holds: [first, end).
void rows_of(int kind, vrx_int kl, vrx_int ku, vrx_int m, vrx_int n, vrx_int j, vrx_int* first, vrx_int* end) {
  *first = 0;
  *end = m;
  switch (kind) {
    case LOWER: *first = j; break;
    case UPPER: *end = j + 1 < m ? j + 1 : m; break;
    case HESSENBERG: *end = j + 2 < m ? j + 2 : m; break;
    case SYM_BAND_LOWER: *end = kl + 1 < n - j ? kl + 1 : n - j; break;
    case SYM_BAND_UPPER: *first = ku - j > 0 ? ku - j : 0; *end = ku + 1; break;
    case BAND: {
      const vrx_int top = kl + ku - j;
      *first = top > kl ? top : kl;
      const vrx_int bottom = kl + ku + m - j;
      *end = 2 * kl + ku + 1 < bottom ? 2 * kl + ku + 1 : bottom;
      break;
    }
    default: break;
  }
  if (*first > *end) *first = *end;
}
}  // namespace

template <typename T>
void vrx_lapack_lascl(const char* type, vrx_int kl, vrx_int ku, vrx_real_t<T> cfrom, vrx_real_t<T> cto, vrx_int m,
                      vrx_int n, T* a, vrx_int lda, vrx_int* info) {
  typedef vrx_real_t<T> R;
  *info = 0;
  const int kind = storage_of(type);
  if (vrx_lapack_reject<T>("LASCL", first_bad_argument<R>(kind, kl, ku, cfrom, cto, m, n, lda), info)) return;
  if (n == 0 || m == 0) return;

  const R smlnum = vrx_lamch<R>('S');
  const R bignum = 1 / smlnum;
  R cfromc = cfrom, ctoc = cto;
  bool done = false;
  while (!done) {
    // Move towards cto / cfrom by factors that keep every intermediate representable.
    const R cfrom1 = cfromc * smlnum;
    R mul;
    if (cfrom1 == cfromc) {  // cfromc is an infinity: the quotient is a signed zero or NaN
      mul = ctoc / cfromc;
      done = true;
    } else {
      const R cto1 = ctoc / bignum;
      if (cto1 == ctoc) {  // ctoc is zero or an infinity
        mul = ctoc;
        done = true;
        cfromc = 1;
      } else if (std::fabs(cfrom1) > std::fabs(ctoc) && ctoc != 0) {
        mul = smlnum;
        cfromc = cfrom1;
      } else if (std::fabs(cto1) > std::fabs(cfromc)) {
        mul = bignum;
        ctoc = cto1;
      } else {
        mul = ctoc / cfromc;
        done = true;
        if (mul == 1) return;
      }
    }
    for (vrx_int j = 0; j < n; ++j) {
      vrx_int first, end;
      rows_of(kind, kl, ku, m, n, j, &first, &end);
      T* column = a + static_cast<std::size_t>(j) * lda;
      for (vrx_int i = first; i < end; ++i) column[i] = vrx_traits<T>::scale(mul, column[i]);
    }
  }
}

template void vrx_lapack_lascl<float>(const char*, vrx_int, vrx_int, float, float, vrx_int, vrx_int, float*, vrx_int,
                                      vrx_int*);
template void vrx_lapack_lascl<double>(const char*, vrx_int, vrx_int, double, double, vrx_int, vrx_int, double*,
                                       vrx_int, vrx_int*);
template void vrx_lapack_lascl<vrx_complex_float>(const char*, vrx_int, vrx_int, float, float, vrx_int, vrx_int,
                                                  vrx_complex_float*, vrx_int, vrx_int*);
template void vrx_lapack_lascl<vrx_complex_double>(const char*, vrx_int, vrx_int, double, double, vrx_int, vrx_int,
                                                   vrx_complex_double*, vrx_int, vrx_int*);
