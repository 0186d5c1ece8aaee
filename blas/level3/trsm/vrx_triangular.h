// Pieces shared by the triangular solve (TRSM) and product (TRMM): the codes of their
// arguments, the allocation-free kernels, and the sequential roads of the classic CPU
// types that the sequential entries dispatch to.
#pragma once
#include "blas/vrx_blas.h"

// The argument codes as the entry read them (vrx_blas_*_code): side L 0, R 1; uplo U 0,
// L 1; trans N 0, T 1, C 2 (real types read C as T); diag U 0 (the diagonal is not read),
// N 1.
struct vrx_tri_codes {
  int side;
  int uplo;
  int trans;
  int diag;
};

// The allocation-free kernels on B (m by n, leading dimension ldb): TRSM solves
// op(A) X = alpha B or X op(A) = alpha B, TRMM forms alpha op(A) B or alpha B op(A).
// One thread, no packing, no allocation; alpha = 0 stores zeros into B without reading
// it or A. Only the stored triangle of A is read, and its diagonal only with diag N.
template <typename T>
void vrx_l3_trsm_unpacked(vrx_tri_codes codes, vrx_int m, vrx_int n, T alpha, const T* a, vrx_int lda, T* b,
                          vrx_int ldb);
template <typename T>
void vrx_l3_trmm_unpacked(vrx_tri_codes codes, vrx_int m, vrx_int n, T alpha, const T* a, vrx_int lda, T* b,
                          vrx_int ldb);

// The sequential kernels of CPU types 0, 2, 3 and 4 (and of the compatible set), for the
// given CPU type and reproducibility branch; same meaning and guarantees as above.
template <typename T>
void vrx_l3_trsm_sequential_classic(int cpu, int branch, vrx_tri_codes codes, vrx_int m, vrx_int n, T alpha,
                                    const T* a, vrx_int lda, T* b, vrx_int ldb);
template <typename T>
void vrx_l3_trmm_sequential_classic(int cpu, int branch, vrx_tri_codes codes, vrx_int m, vrx_int n, T alpha,
                                    const T* a, vrx_int lda, T* b, vrx_int ldb);

// The thread model of a triangular call on m by n B from t threads of the domain, the
// same for TRSM and TRMM and for every road: `threads` is 1 when the call should run
// sequentially ((m <= 16 and n < 17), t < 2, or the profitability model says so), else
// the count p to fork; `width` is the right-hand sides per thread w of the model.
struct vrx_tri_plan {
  int threads;
  vrx_int width;
};
vrx_tri_plan vrx_l3_tri_plan(vrx_tri_codes codes, vrx_int m, vrx_int n, int t);
