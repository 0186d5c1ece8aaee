// The GEMM entry of every precision: sorts each call into a road (nothing, GEMV,
// rank-one update, the classic road or the team road) and hands it on. It decides
// nothing about numbers.
#include <type_traits>

#include "blas/level3/gemm/vrx_gemm_roads.h"
#include "blas/level3/team/vrx_l3_team.h"
#include "blas/vrx_blas.h"
#include "blas/vrx_level12.h"
#include "service/vrx_serv.h"

namespace {
constexpr vrx_int gather_threshold_rows = 64;

// n elements of x (stride inc, from element 0 up), conjugated into a fresh buffer; null
// when no memory could be had.
template <typename T>
T* conjugated_copy(vrx_int n, const T* x, vrx_int inc) {
  T* out = static_cast<T*>(vrx_serv_malloc(sizeof(T) * static_cast<std::size_t>(n), 128));
  if (out)
    for (vrx_int i = 0; i < n; ++i) out[i] = vrx_traits<T>::conj(x[i * inc]);
  return out;
}

// Conjugates n elements of x in place (stride inc).
template <typename T>
void conjugate_in_place(vrx_int n, T* x, vrx_int inc) {
  for (vrx_int i = 0; i < n; ++i) x[i * inc] = vrx_traits<T>::conj(x[i * inc]);
}

// m = 1: one row of C (stride ldc) = op(B)^T times x, the row of op(A). When op(B) is
// B^H, op(B)^T = conj(B), which GEMV cannot apply: the row of C is conjugated around a
// plain GEMV with conjugated scalars, conj(y) = conj(alpha) B conj(x) + conj(beta) conj(y).
// A conjugated x is copied. Answers false when a copy could not be had.
template <typename T>
bool row_road(const char* transa, const char* transb, const vrx_int* n, const vrx_int* k, const T* alpha,
              const T* a, const vrx_int* lda, const T* b, const vrx_int* ldb, const T* beta, T* c,
              const vrx_int* ldc, const vrx_int* unit) {
  typedef vrx_traits<T> tr;
  const int code_a = vrx_blas_trans_code(*transa), code_b = vrx_blas_trans_code(*transb);
  const vrx_int* incx = code_a == 0 ? lda : unit;
  const bool conj_a = tr::is_complex && code_a == 2, conj_b = tr::is_complex && code_b == 2;
  if (!conj_b) {
    const T* x = a;
    T* copy = nullptr;
    if (conj_a) {
      if (!(copy = conjugated_copy(*k, a, *incx))) return false;
      x = copy;
      incx = unit;
    }
    if (code_b == 0) vrx_blas_gemv<T>("T", k, n, alpha, b, ldb, x, incx, beta, c, ldc);
    else vrx_blas_gemv<T>("N", n, k, alpha, b, ldb, x, incx, beta, c, ldc);
    if (copy) vrx_serv_free(copy);
    return true;
  }
  // conj(x): A's stored row when A is C, else a conjugated copy.
  const T* x = a;
  T* copy = nullptr;
  if (!conj_a) {
    if (!(copy = conjugated_copy(*k, a, *incx))) return false;
    x = copy;
    incx = unit;
  }
  const T alpha_c = tr::conj(*alpha), beta_c = tr::conj(*beta);
  conjugate_in_place(*n, c, *ldc);
  vrx_blas_gemv<T>("N", n, k, &alpha_c, b, ldb, x, incx, &beta_c, c, ldc);
  conjugate_in_place(*n, c, *ldc);
  if (copy) vrx_serv_free(copy);
  return true;
}

// n = 1: one column of C = op(A) times x, the column of op(B) (copied when conjugated).
template <typename T>
bool column_road(const char* transa, const char* transb, const vrx_int* m, const vrx_int* k, const T* alpha,
                 const T* a, const vrx_int* lda, const T* b, const vrx_int* ldb, const T* beta, T* c,
                 const vrx_int* unit) {
  const int code_a = vrx_blas_trans_code(*transa), code_b = vrx_blas_trans_code(*transb);
  const vrx_int* incx = code_b == 0 ? unit : ldb;
  const T* x = b;
  T* copy = nullptr;
  if (vrx_is_complex<T> && code_b == 2) {
    if (!(copy = conjugated_copy(*k, b, *incx))) return false;
    x = copy;
    incx = unit;
  }
  if (code_a == 0) vrx_blas_gemv<T>("N", m, k, alpha, a, lda, x, incx, beta, c, unit);
  else vrx_blas_gemv<T>(vrx_is_complex<T> && code_a == 2 ? "C" : "T", k, m, alpha, a, lda, x, incx, beta, c, unit);
  if (copy) vrx_serv_free(copy);
  return true;
}

// k = 1: C := beta C + alpha x y^T with x the column of op(A), y the row of op(B); the
// rank-one update conjugates x and y by the transposition characters.
template <typename T>
void rank_one_road(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n, const T* alpha,
                   const T* a, const vrx_int* lda, const T* b, const vrx_int* ldb, const T* beta, T* c,
                   const vrx_int* ldc, const vrx_int* unit, bool a_plain, bool b_plain) {
  const vrx_int* incx = a_plain ? unit : lda;
  const vrx_int* incy = b_plain ? ldb : unit;
  if (*incx != 1 && *m > gather_threshold_rows) {
    T* gathered = static_cast<T*>(vrx_serv_malloc(sizeof(T) * static_cast<std::size_t>(*m), 128));
    if (gathered) {
      if constexpr (std::is_same_v<T, double>) {
        vrx_blas_dcopy_threaded(m, a, incx, gathered, unit);
      } else {
        for (vrx_int i = 0; i < *m; ++i) gathered[i] = a[i * *incx];
      }
      vrx_blas_ger_beta<T>(transa, transb, m, n, alpha, gathered, unit, b, incy, beta, c, ldc);
      vrx_serv_free(gathered);
      return;
    }
  }
  vrx_blas_ger_beta<T>(transa, transb, m, n, alpha, a, incx, b, incy, beta, c, ldc);
}

template <typename T>
void gemm_entry(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n, const vrx_int* k,
                const T* alpha, const T* a, const vrx_int* lda, const T* b, const vrx_int* ldb, const T* beta, T* c,
                const vrx_int* ldc) {
  if (*m < 1 || *n < 1) return;
  const bool a_plain = vrx_blas_trans_code(*transa) == 0;
  const bool b_plain = vrx_blas_trans_code(*transb) == 0;
  const vrx_int unit = 1;

  // Vector-shaped products never pack. A negative k takes this branch too.
  if (*k != 0) {
    if (*m == 1) {
      if (row_road(transa, transb, n, k, alpha, a, lda, b, ldb, beta, c, ldc, &unit)) return;
    } else if (*n == 1) {
      if (column_road(transa, transb, m, k, alpha, a, lda, b, ldb, beta, c, &unit)) return;
    } else if (*k == 1) {
      rank_one_road(transa, transb, m, n, alpha, a, lda, b, ldb, beta, c, ldc, &unit, a_plain, b_plain);
      return;
    }
  }

  const int road = vrx_blas_dgemm_road();
  if (road != 2 && road != 198) {
    vrx_gemm_members<T>::classic(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    return;
  }
  // Below the smaller threshold of the cost model no thread count forks: straight to
  // the sequential kernel, without setting up the team road.
  if (vrx_l3_team_one_thread_at_any_count<T>(vrx_serv_cpu_detect(), *m, *n, *k) ||
      !vrx_blas_gemm_team_road<T>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc))
    vrx_gemm_members<T>::sequential(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
}  // namespace

void vrx_blas_sgemm(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n, const vrx_int* k,
                    const float* alpha, const float* a, const vrx_int* lda, const float* b, const vrx_int* ldb,
                    const float* beta, float* c, const vrx_int* ldc) {
  gemm_entry(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
void vrx_blas_dgemm(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n, const vrx_int* k,
                    const double* alpha, const double* a, const vrx_int* lda, const double* b, const vrx_int* ldb,
                    const double* beta, double* c, const vrx_int* ldc) {
  gemm_entry(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
void vrx_blas_cgemm(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n, const vrx_int* k,
                    const vrx_complex_float* alpha, const vrx_complex_float* a, const vrx_int* lda,
                    const vrx_complex_float* b, const vrx_int* ldb, const vrx_complex_float* beta,
                    vrx_complex_float* c, const vrx_int* ldc) {
  gemm_entry(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
void vrx_blas_zgemm(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n, const vrx_int* k,
                    const vrx_complex_double* alpha, const vrx_complex_double* a, const vrx_int* lda,
                    const vrx_complex_double* b, const vrx_int* ldb, const vrx_complex_double* beta,
                    vrx_complex_double* c, const vrx_int* ldc) {
  gemm_entry(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

// The published names: the quick return of the gate, then the entry.
extern "C" void SGEMM(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n, const vrx_int* k,
                      const float* alpha, const float* a, const vrx_int* lda, const float* b, const vrx_int* ldb,
                      const float* beta, float* c, const vrx_int* ldc) {
  if (*m <= 0 || *n <= 0) return;
  vrx_blas_sgemm(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
extern "C" void CGEMM(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n, const vrx_int* k,
                      const vrx_complex_float* alpha, const vrx_complex_float* a, const vrx_int* lda,
                      const vrx_complex_float* b, const vrx_int* ldb, const vrx_complex_float* beta,
                      vrx_complex_float* c, const vrx_int* ldc) {
  if (*m <= 0 || *n <= 0) return;
  vrx_blas_cgemm(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
extern "C" void ZGEMM(const char* transa, const char* transb, const vrx_int* m, const vrx_int* n, const vrx_int* k,
                      const vrx_complex_double* alpha, const vrx_complex_double* a, const vrx_int* lda,
                      const vrx_complex_double* b, const vrx_int* ldb, const vrx_complex_double* beta,
                      vrx_complex_double* c, const vrx_int* ldc) {
  if (*m <= 0 || *n <= 0) return;
  vrx_blas_zgemm(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
