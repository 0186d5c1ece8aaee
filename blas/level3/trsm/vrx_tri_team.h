// The triangular solve (TRSM) and product (TRMM) on the team road of CPU types 5 and 7:
// the flags of the A view, the filler of the operations table shared by both kinds, the
// driver and the team worker, the engine entry and the sequential kernel.
#pragma once
#include "blas/level3/trsm/vrx_triangular.h"
#include "blas/vrx_l3.h"

// Bits of the A view's flags beside the layout flag: which triangle is stored, and a
// unit diagonal (never read).
enum : std::uint32_t {
  VRX_L3_TRI_UPPER = 0x8,
  VRX_L3_TRI_LOWER = 0x10,
  VRX_L3_TRI_UNIT = 0x40,
};

// Diagonal blocks of at most this order are solved (or multiplied) by the triangle
// kernel; larger ones are halved at multiples of it, the coupling block going to GEMM.
constexpr vrx_int vrx_tri_leaf = 24;

// View of op(A) over the triangle of order s, with the triangle flags.
template <typename T>
vrx_l3_view<T> vrx_tri_a_view(vrx_tri_codes codes, const T* a, vrx_int s, vrx_int lda);
// A call record of kind TRSM or TRMM over the caller's characters.
template <typename T>
vrx_l3_call<T> vrx_tri_call(std::uint32_t kind, const char* side, const char* uplo, const char* transa,
                            const char* diag, T alpha);
// The codes of a call record's characters.
template <typename T>
vrx_tri_codes vrx_tri_codes_of(const vrx_l3_call<T>* call);
// Whether the triangle is taken from its first row (side L) or column (side R) on:
// op(A) lower for side L, upper for side R.
inline bool vrx_tri_forward(vrx_tri_codes c) { return (c.side != 1) == ((c.uplo == 1) == (c.trans == 0)); }

// The allocation-free kernel of the kind (VRX_L3_TRSM or VRX_L3_TRMM).
template <typename T>
void vrx_tri_unpacked(std::uint32_t kind, vrx_tri_codes codes, vrx_int m, vrx_int n, T alpha, const T* a,
                      vrx_int lda, T* b, vrx_int ldb);

// The filler of both kinds: the GEMM packs and kernel for the coupling blocks, the
// diagonal pack and the triangle kernel by the A view's flags and the side, the driver
// and the allocation-free fallback.
template <typename T>
int vrx_tri_fill(std::uint32_t kind, const vrx_l3_kernels<T>* kernels, const vrx_l3_call<T>* call,
                 const vrx_l3_view<T>* a, vrx_l3_ops<T>* ops);

// The records of a group of threads sharing the packed diagonal blocks of A.
template <typename T>
struct vrx_tri_group {
  int id;
  int size;
  vrx_l3_sync* sync;
  vrx_l3_blocking<T>* shared;  // raw: the packed diagonal blocks, published by thread 0
  vrx_int* failed;
};

// One thread's part: the whole triangle `a` against its slice `b` of B (columns for
// side L, rows for side R; maybe empty, but every thread of the group must come).
// Thread 0 allocates the shared pack of the diagonal blocks, which the group fills; a
// failed allocation anywhere sends every thread to the allocation-free kernel.
template <typename T>
void vrx_tri_worker(vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b,
                    const vrx_tri_group<T>* group, const vrx_l3_ops<T>* ops);
// The driver of both kinds: the worker of a group of one.
template <typename T>
void vrx_tri_driver(vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b,
                    const vrx_l3_view<T>* c, vrx_l3_blocking<T>* blocking, const vrx_l3_ops<T>* ops);

// Where the team road and its parts are counted, for tests: whole triangles forked,
// splits of the entry with their h, and drivers run.
struct vrx_tri_trace {
  int forks;
  int splits;
  vrx_int last_h;
  int team_mode;  // of the last fork's layout, as thread 0 saw it
};
vrx_tri_trace* vrx_tri_trace_record();

// The engine entry of kind VRX_L3_TRSM or VRX_L3_TRMM on CPU types 5 and 7 and the
// sequential kernel of those types; `classic` and `sequential` are the kind's members.
template <typename T>
void vrx_tri_entry(std::uint32_t kind, vrx_trsm_fn<T> classic, vrx_trsm_fn<T> sequential, const char* side,
                   const char* uplo, const char* transa, const char* diag, const vrx_int* m, const vrx_int* n,
                   const T* alpha, const T* a, const vrx_int* lda, T* b, const vrx_int* ldb);
template <typename T>
void vrx_tri_sequential(std::uint32_t kind, const char* side, const char* uplo, const char* transa,
                        const char* diag, const vrx_int* m, const vrx_int* n, const T* alpha, const T* a,
                        const vrx_int* lda, T* b, const vrx_int* ldb);
