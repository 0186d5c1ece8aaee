// SYMM and HEMM: the symmetric (or Hermitian) operand read from its stored triangle,
// the records that put it into the level-3 driver, the allocation-free product, and
// the trace of the road a call took.
#pragma once
#include "blas/vrx_l3.h"
#include "service/vrx_traits.h"

// A symmetric or Hermitian matrix of which one triangle is stored. The other triangle
// is never read; a Hermitian diagonal is read without its imaginary part.
template <typename T>
struct vrx_symm_source {
  const T* a;
  vrx_int lda;
  bool lower;
  bool hermitian;

  bool stored(vrx_int p, vrx_int q) const { return lower ? p >= q : p <= q; }
  T at(vrx_int p, vrx_int q) const {
    typedef vrx_traits<T> tr;
    if (p == q) {
      const T d = a[p + p * lda];
      return hermitian ? tr::make(tr::real_part(d), 0) : d;
    }
    if (stored(p, q)) return a[p + q * lda];
    const T x = a[q + p * lda];
    return hermitian ? tr::conj(x) : x;
  }
};

// The call as the level-3 driver sees it. The symmetric operand takes A's place on side
// L and B's place on side R, as a plain view of the whole stored matrix; `transa` is
// "T" for SYMM and "C" for HEMM (how the unstored triangle mirrors the stored one).
template <typename T>
struct vrx_symm_records {
  vrx_l3_call<T> call;
  vrx_l3_view<T> a, b, c;
};
template <typename T>
vrx_symm_records<T> vrx_symm_make_records(bool hermitian, const char* side, const char* uplo, vrx_int m, vrx_int n,
                                          T alpha, const T* a, vrx_int lda, const T* b, vrx_int ldb, T beta, T* c,
                                          vrx_int ldc);
// What the records say: the symmetric operand is on the right, its lower triangle is
// stored, it is Hermitian.
template <typename T>
inline bool vrx_symm_right(const vrx_l3_call<T>* call) {
  return vrx_blas_side_code(call->side) == 1;
}
template <typename T>
inline bool vrx_symm_lower(const vrx_l3_call<T>* call) {
  return vrx_blas_uplo_code(call->uplo) == 1;
}
template <typename T>
inline bool vrx_symm_hermitian(const vrx_l3_call<T>* call) {
  return call->code_a == 2;
}

// C := alpha A B + beta C (side L) or alpha B A + beta C (side R) without scratch; beta
// zero stores zeros without reading C.
template <typename T>
void vrx_symm_unpacked(bool hermitian, bool right, bool lower, vrx_int m, vrx_int n, T alpha, const T* a, vrx_int lda,
                       const T* b, vrx_int ldb, T beta, T* c, vrx_int ldc);
// The same over the driver's views (any sub-block of the product), with call->beta.
template <typename T>
void vrx_symm_fallback(const vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b,
                       const vrx_l3_view<T>* c);

// alpha = 0: beta = 1 leaves C, beta = 0 stores zeros, other values scale; A and B are
// not read. Answers true when it took the call.
template <typename T>
bool vrx_symm_alpha_zero(vrx_int m, vrx_int n, T alpha, T beta, T* c, vrx_int ldc);

// ---- for tests ----
// The road of the calling thread's last SYMM or HEMM call.
enum {
  VRX_SYMM_ROAD_SCALE = 1,        // alpha = 0: C scaled (or left) only
  VRX_SYMM_ROAD_UNPACKED = 2,     // the unpacked kernel (small extents)
  VRX_SYMM_ROAD_DRIVER = 3,       // the level-3 driver in this thread
  VRX_SYMM_ROAD_TEAM = 4,         // a team fork of the level-3 driver
  VRX_SYMM_ROAD_CLASSIC = 5,      // blocks through the classic type's GEMM route
  VRX_SYMM_ROAD_NO_SCRATCH = 6,   // the classic form without its scratch: unpacked
};
struct vrx_symm_trace {
  int road;
  int threads;  // threads asked of the team road
};
vrx_symm_trace vrx_symm_last_trace();
void vrx_symm_note(int road, int threads);
