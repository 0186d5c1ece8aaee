// The fillers of the operations table, one per kind of product. Each kind's filler lives
// in its operation's folder; the table in l3_ops.cpp only points at them.
#pragma once
#include "blas/vrx_l3.h"

template <typename T>
using vrx_l3_kind_fill_fn = int (*)(const vrx_l3_kernels<T>* kernels, const vrx_l3_call<T>* call,
                                    const vrx_l3_view<T>* a, const vrx_l3_view<T>* b, const vrx_l3_view<T>* c,
                                    vrx_l3_ops<T>* ops);

// Each answers 1 with ops filled (its common fields already set by vrx_l3_init_ops_with),
// or 0 when the kind cannot run on these kernels.
template <typename T>
int vrx_l3_fill_symm(const vrx_l3_kernels<T>* kernels, const vrx_l3_call<T>* call, const vrx_l3_view<T>* a,
                     const vrx_l3_view<T>* b, const vrx_l3_view<T>* c, vrx_l3_ops<T>* ops);  // kind 1
template <typename T>
int vrx_l3_fill_syrk(const vrx_l3_kernels<T>* kernels, const vrx_l3_call<T>* call, const vrx_l3_view<T>* a,
                     const vrx_l3_view<T>* b, const vrx_l3_view<T>* c, vrx_l3_ops<T>* ops);  // kind 3
template <typename T>
int vrx_l3_fill_syr2k(const vrx_l3_kernels<T>* kernels, const vrx_l3_call<T>* call, const vrx_l3_view<T>* a,
                      const vrx_l3_view<T>* b, const vrx_l3_view<T>* c, vrx_l3_ops<T>* ops);  // kind 5
template <typename T>
int vrx_l3_fill_trmm(const vrx_l3_kernels<T>* kernels, const vrx_l3_call<T>* call, const vrx_l3_view<T>* a,
                     const vrx_l3_view<T>* b, const vrx_l3_view<T>* c, vrx_l3_ops<T>* ops);  // kind 7
template <typename T>
int vrx_l3_fill_trsm(const vrx_l3_kernels<T>* kernels, const vrx_l3_call<T>* call, const vrx_l3_view<T>* a,
                     const vrx_l3_view<T>* b, const vrx_l3_view<T>* c, vrx_l3_ops<T>* ops);  // kind 8
template <typename T>
int vrx_l3_fill_gemm_triangle(const vrx_l3_kernels<T>* kernels, const vrx_l3_call<T>* call,
                              const vrx_l3_view<T>* a, const vrx_l3_view<T>* b, const vrx_l3_view<T>* c,
                              vrx_l3_ops<T>* ops);  // kind 9

// The general packs of A and B by their layout flags: as stored, conjugate-transposed, or
// (any other flag) transposed.
template <typename T>
inline void vrx_l3_packs_by_flags(const vrx_l3_kernels<T>* kernels, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b,
                                  vrx_l3_ops<T>* ops) {
  auto by_flag = [](std::uint32_t flags, vrx_l3_pack_fn<T> plain, vrx_l3_pack_fn<T> transposed,
                    vrx_l3_pack_fn<T> conjugated) {
    if (flags == VRX_L3_PLAIN) return plain;
    return flags == VRX_L3_CONJUGATED ? conjugated : transposed;
  };
  ops->pack_a = by_flag(a->flags, kernels->pack_a_plain, kernels->pack_a_transposed, kernels->pack_a_conjugated);
  ops->pack_b = by_flag(b->flags, kernels->pack_b_plain, kernels->pack_b_transposed, kernels->pack_b_conjugated);
}

#define VRX_L3_INSTANTIATE_FILL(name, T)                                                                      \
  template int name(const vrx_l3_kernels<T>*, const vrx_l3_call<T>*, const vrx_l3_view<T>*,                    \
                    const vrx_l3_view<T>*, const vrx_l3_view<T>*, vrx_l3_ops<T>*);
