// DGETRF and SGETRF: the wrappers of the LU factorisation, with their checker.
#include <algorithm>
#include <cstdio>

#include "interface/fortran/vrx_wrapper_engine.h"
#include "interface/fortran/vrx_wrapper_frame.h"
#include "interface/vrx_interface.h"

namespace {
template <typename T>
const int* verbose_state = &vrx_serv_verbose_unasked;

// Problems with both sizes at least this large take the entry that holds the offload
// gate's place; all others go to the host routine.
constexpr vrx_int gate_order = 8192;

// The road of the last call; written by every call.
template <typename T>
vrx_getrf_fn_type<T>* road_taken = nullptr;

// Both precisions report under "DGETRF".
int getrf_check(vrx_int m, vrx_int n, vrx_int lda, vrx_int* info) {
  int position = 0;
  if (m < 0) position = 1;
  else if (n < 0) position = 2;
  else if (lda < std::max<vrx_int>(1, m)) position = 4;
  return vrx_wrapper_reject("DGETRF", position, info);
}

template <typename T>
void getrf_wrapper(const int* m, const int* n, T* a, const int* lda, int* ipiv, int* info) {
  vrx_serv_set_xerbla(XERBLA);
  vrx_serv_set_progress(vrx_serv_progress_default);
  const vrx_int m64 = *m, n64 = *n, lda64 = *lda;
  const vrx_int pivots = std::min(m64, n64);
  const vrx_routine_name_buffer name = vrx_routine_name<T>("GETRF");
  vrx_int* ipiv64 = vrx_wrapper_integers(nullptr, std::max<vrx_int>(pivots, 1), name.text, 6, info);
  if (!ipiv64) return;
  vrx_int info64 = 0;
  vrx_wrapper_call(
      &verbose_state<T>, [&] { return getrf_check(m64, n64, lda64, &info64); },
      [&] {
        typedef vrx_wrapper_engine<T> engine;
        vrx_getrf_fn_type<T>* road = m64 < gate_order || n64 < gate_order ? engine::getrf_host : engine::getrf_gate;
        __atomic_store_n(&road_taken<T>, road, __ATOMIC_RELAXED);
        __atomic_load_n(&road_taken<T>, __ATOMIC_RELAXED)(&m64, &n64, a, &lda64, ipiv64, &info64);
      },
      [&] {
        *info = static_cast<int>(info64);
        vrx_wrapper_narrow(ipiv64, pivots, ipiv);
        LAPACKE_free(ipiv64);
      },
      [&](char* line, std::size_t size) {
        std::snprintf(line, size, "%s(%d,%d,%p,%d,%p,%d)", name.text, *m, *n, static_cast<void*>(a), *lda,
                      static_cast<void*>(ipiv), *info);
      });
}
}  // namespace

extern "C" void DGETRF(const int* m, const int* n, double* a, const int* lda, int* ipiv, int* info) {
  getrf_wrapper(m, n, a, lda, ipiv, info);
}
extern "C" void dgetrf(const int* m, const int* n, double* a, const int* lda, int* ipiv, int* info) {
  DGETRF(m, n, a, lda, ipiv, info);
}
extern "C" void SGETRF(const int* m, const int* n, float* a, const int* lda, int* ipiv, int* info) {
  getrf_wrapper(m, n, a, lda, ipiv, info);
}
extern "C" void sgetrf(const int* m, const int* n, float* a, const int* lda, int* ipiv, int* info) {
  SGETRF(m, n, a, lda, ipiv, info);
}
