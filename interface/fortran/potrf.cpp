// DPOTRF and SPOTRF: the wrappers of the Cholesky factorisation, with their checker.
#include <algorithm>
#include <cstdio>

#include "interface/fortran/vrx_wrapper_engine.h"
#include "interface/fortran/vrx_wrapper_frame.h"
#include "interface/vrx_interface.h"

namespace {
template <typename T>
const int* verbose_state = &vrx_serv_verbose_unasked;

// Orders from this one up take the entry that holds the offload gate's place; smaller
// ones go to the host routine.
constexpr vrx_int gate_order = 6144;

// The road of the last call; written by every call.
template <typename T>
vrx_potrf_fn_type<T>* road_taken = nullptr;

// Both precisions report under "DPOTRF".
int potrf_check(const char* uplo, vrx_int n, vrx_int lda, vrx_int* info) {
  int position = 0;
  if (!LSAME(uplo, "U", 1, 1) && !LSAME(uplo, "L", 1, 1)) position = 1;
  else if (n < 0) position = 2;
  else if (lda < std::max<vrx_int>(1, n)) position = 4;
  return vrx_wrapper_reject("DPOTRF", position, info);
}

template <typename T>
void potrf_wrapper(const char* uplo, const int* n, T* a, const int* lda, int* info) {
  vrx_serv_set_xerbla(XERBLA);
  vrx_serv_set_progress(vrx_serv_progress_default);
  const vrx_int n64 = *n, lda64 = *lda;
  vrx_int info64 = 0;
  vrx_wrapper_call(
      &verbose_state<T>, [&] { return potrf_check(uplo, n64, lda64, &info64); },
      [&] {
        typedef vrx_wrapper_engine<T> engine;
        __atomic_store_n(&road_taken<T>, n64 < gate_order ? engine::potrf_host : engine::potrf_gate, __ATOMIC_RELAXED);
        __atomic_load_n(&road_taken<T>, __ATOMIC_RELAXED)(uplo, &n64, a, &lda64, &info64);
      },
      [&] { *info = static_cast<int>(info64); },
      [&](char* line, std::size_t size) {
        std::snprintf(line, size, "%cPOTRF(%c,%d,%p,%d,%d)", vrx_traits<T>::letter, *uplo, *n, static_cast<void*>(a),
                      *lda, *info);
      });
}
}  // namespace

extern "C" void DPOTRF(const char* uplo, const int* n, double* a, const int* lda, int* info) {
  potrf_wrapper(uplo, n, a, lda, info);
}
extern "C" void dpotrf(const char* uplo, const int* n, double* a, const int* lda, int* info) {
  DPOTRF(uplo, n, a, lda, info);
}
extern "C" void SPOTRF(const char* uplo, const int* n, float* a, const int* lda, int* info) {
  potrf_wrapper(uplo, n, a, lda, info);
}
extern "C" void spotrf(const char* uplo, const int* n, float* a, const int* lda, int* info) {
  SPOTRF(uplo, n, a, lda, info);
}
