// What the team worker of the triangular kinds shares with their operations.
#pragma once
#include "blas/vrx_l3.h"

// A Hermitian result (HERK, HER2K): one operand is conjugate-transposed.
template <typename T>
bool vrx_l3_hermitian_result(const vrx_l3_call<T>* call);
// The scalar of the second product of a rank-2k update: alpha, conjugated when Hermitian.
template <typename T>
T vrx_l3_second_alpha(const vrx_l3_call<T>* call);
// The operands of the second product of a rank-2k update: op(B) in A's place and op(A)^T
// in B's, with the same layouts and offsets.
template <typename T>
void vrx_l3_swap_operands(const vrx_l3_view<T>* a, const vrx_l3_view<T>* b, vrx_l3_view<T>* a2, vrx_l3_view<T>* b2);
