// Products with Q and the generation of Q below their published faces (vrx_qr.h): the
// blocked sequential product, the threaded product, the blocked generator with or without
// threads, the family names by element type, and the record of the path a call took.
#pragma once
#include "lapack/qr/vrx_qr.h"
#include "lapack/vrx_lapack.h"

// "ORMQR" for real data, "UNMQR" for complex, from the tail "MQR": the family part of the
// tuning question and of the report.
template <typename T>
constexpr vrx_routine_name_buffer vrx_orthogonal_family(const char* tail) {
  vrx_routine_name_buffer name = {};
  name.text[0] = vrx_traits<T>::orthogonal[0];
  name.text[1] = vrx_traits<T>::orthogonal[1];
  for (int i = 0; i < 12 && tail[i]; ++i) name.text[i + 2] = tail[i];
  return name;
}

// ---- the product C := op(Q) C or C op(Q) ----
// Q from reflectors stored in columns (QR, `rowwise` false) or rows (LQ, `rowwise` true).
// `left` for side L, `plain` for trans N. Arguments are checked by the caller.
struct vrx_orm_problem {
  bool rowwise, left, plain;
  vrx_int m, n, k;
};

// The product's tuning answer for `key`: the name ORMQR or ORMLQ (UN.. for complex) with
// side and op joined as opts ("LN", "RT", "LC"), m, n and k.
template <typename T>
inline vrx_int vrx_lapack_orm_key(vrx_int key, const vrx_orm_problem& p) {
  const char opts[3] = {p.left ? 'L' : 'R', p.plain ? 'N' : vrx_traits<T>::adjoint, '\0'};
  return vrx_lapack_ilaenv<T>(key, vrx_orthogonal_family<T>(p.rowwise ? "MLQ" : "MQR").text, opts, p.m, p.n, p.k,
                              -1);
}

// Whether the blocks run from the first reflector to the last: Q^H from the left or Q
// from the right for reflectors in columns, the other two for reflectors in rows.
inline bool vrx_orm_forward(const vrx_orm_problem& p) { return (p.left != p.plain) != p.rowwise; }
// The operation handed to the block reflector: Q itself for columns; rows hold
// H(i)^H, so their block reflector takes the opposite operation.
template <typename T>
inline char vrx_orm_block_op(const vrx_orm_problem& p) {
  return p.plain != p.rowwise ? 'N' : vrx_traits<T>::adjoint;
}

// The published blocked algorithm: blocks of at most 64 reflectors with their triangular
// factor in a local array, the unblocked routine when blocks are too small; work of
// lwork >= max(1, nw) elements (nw = n for side L, m for side R).
template <typename T>
void vrx_lapack_orm_sequential(const vrx_orm_problem& p, const T* a, vrx_int lda, const T* tau, T* c, vrx_int ldc,
                               T* work, vrx_int lwork);

// The threaded product on t threads with blocks of nb (nb < k): every block's triangular
// factor first, then each thread applies every block to its share of C. Needs
// vrx_lapack_orm_threaded_size(k, nb, t) elements of work.
template <typename T>
void vrx_lapack_orm_threaded(const vrx_orm_problem& p, const T* a, vrx_int lda, const T* tau, T* c, vrx_int ldc,
                             T* work, vrx_int nb, int t);
// (k + 256 t) nb: the shared factors, then for each thread a work block of 256 by nb.
vrx_int vrx_lapack_orm_threaded_size(vrx_int k, vrx_int nb, int t);

// ---- generating Q ----
enum vrx_org_kind : int {
  vrx_org_qr,  // m by n, reflectors in columns, first reflector at the top left (GEQRF)
  vrx_org_lq,  // m by n, reflectors in rows (GELQF)
  vrx_org_ql,  // m by n, reflectors in columns, last reflector at the bottom right (GEQLF)
};

// The generator's loop with blocks of nb: the unblocked routine on the part the blocks
// leave, then each block's factor, its application to the rest of Q (split among t
// threads when t > 1) and the unblocked routine on the block itself; nb of 0, or blocks
// as wide as k, or a crossover nx of k or more leave one unblocked pass. Arguments are
// checked by the caller; work holds nb columns of n (QR, QL) or m (LQ) elements.
template <vrx_org_kind kind, typename T>
void vrx_lapack_org_blocked(vrx_int m, vrx_int n, vrx_int k, T* a, vrx_int lda, const T* tau, T* work, vrx_int nb,
                            vrx_int nx, int t);

// ---- what the last call on this thread did, for tests ----
enum : int {
  VRX_ORTHOGONAL_PATH_NONE = 0,        // a query, a bad argument or nothing to do
  VRX_ORTHOGONAL_PATH_UNBLOCKED = 1,   // one unblocked pass
  VRX_ORTHOGONAL_PATH_BLOCKED = 2,     // the blocked sequential loop
  VRX_ORTHOGONAL_PATH_THREADED = 3,    // the threaded product or generator
};
struct vrx_orthogonal_trace {
  int path;
  int threads;   // the thread count the routine read
  vrx_int nb;    // block size of the blocked or threaded path
  int fallback;  // 1: the threaded product's workspace was refused, the sequential one ran
  int allocated; // 1: the threaded product ran with workspace of its own
};
vrx_orthogonal_trace* vrx_lapack_orthogonal_trace();
