// The unblocked Cholesky kernels, one per CPU class and uplo, with the host routine's
// arguments (the uplo letter is the slot's, the kernel ignores it): A = U^H U or L L^H
// on the stored triangle, info k > 0 when the leading minor of order k is not positive
// definite (its diagonal entry then holds the value that failed). Declarations only:
// the class folders include this header.
#pragma once
#include "service/vrx_traits.h"
#include "service/vrx_types.h"

template <typename T>
using vrx_potrf_kernel_fn = void (*)(const char* uplo, const vrx_int* n, T* a, const vrx_int* lda, vrx_int* info);

#define VRX_DECLARE_POTRF_SMALL_KERNELS(cls)                                                                      \
  void vrx_lapack_spotrf_small_upper_##cls(const char*, const vrx_int*, float*, const vrx_int*, vrx_int*);        \
  void vrx_lapack_spotrf_small_lower_##cls(const char*, const vrx_int*, float*, const vrx_int*, vrx_int*);        \
  void vrx_lapack_dpotrf_small_upper_##cls(const char*, const vrx_int*, double*, const vrx_int*, vrx_int*);       \
  void vrx_lapack_dpotrf_small_lower_##cls(const char*, const vrx_int*, double*, const vrx_int*, vrx_int*);       \
  void vrx_lapack_cpotrf_small_upper_##cls(const char*, const vrx_int*, vrx_complex_float*, const vrx_int*,       \
                                           vrx_int*);                                                             \
  void vrx_lapack_cpotrf_small_lower_##cls(const char*, const vrx_int*, vrx_complex_float*, const vrx_int*,       \
                                           vrx_int*);                                                             \
  void vrx_lapack_zpotrf_small_upper_##cls(const char*, const vrx_int*, vrx_complex_double*, const vrx_int*,      \
                                           vrx_int*);                                                             \
  void vrx_lapack_zpotrf_small_lower_##cls(const char*, const vrx_int*, vrx_complex_double*, const vrx_int*,      \
                                           vrx_int*);
VRX_DECLARE_POTRF_SMALL_KERNELS(sse2)
VRX_DECLARE_POTRF_SMALL_KERNELS(ssse3)
VRX_DECLARE_POTRF_SMALL_KERNELS(sse42)
VRX_DECLARE_POTRF_SMALL_KERNELS(avx)
VRX_DECLARE_POTRF_SMALL_KERNELS(avx2)
VRX_DECLARE_POTRF_SMALL_KERNELS(avx512)
#undef VRX_DECLARE_POTRF_SMALL_KERNELS

// The published small-kernel names: each goes through its own dispatcher slot.
void vrx_lapack_spotrf_small_upper(const char*, const vrx_int*, float*, const vrx_int*, vrx_int*);
void vrx_lapack_spotrf_small_lower(const char*, const vrx_int*, float*, const vrx_int*, vrx_int*);
void vrx_lapack_dpotrf_small_upper(const char*, const vrx_int*, double*, const vrx_int*, vrx_int*);
void vrx_lapack_dpotrf_small_lower(const char*, const vrx_int*, double*, const vrx_int*, vrx_int*);
void vrx_lapack_cpotrf_small_upper(const char*, const vrx_int*, vrx_complex_float*, const vrx_int*, vrx_int*);
void vrx_lapack_cpotrf_small_lower(const char*, const vrx_int*, vrx_complex_float*, const vrx_int*, vrx_int*);
void vrx_lapack_zpotrf_small_upper(const char*, const vrx_int*, vrx_complex_double*, const vrx_int*, vrx_int*);
void vrx_lapack_zpotrf_small_lower(const char*, const vrx_int*, vrx_complex_double*, const vrx_int*, vrx_int*);
