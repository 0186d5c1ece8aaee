// The exported C entry of the matrix product.
#include <type_traits>
#include "include/customvrx.h"
#include "interface/vrx_interface.h"
#include "service/vrx_serv.h"

namespace {
// The enumerations arrive as whatever int the caller passed; they are compared as ints.
static_assert(std::is_same_v<std::underlying_type_t<CBLAS_LAYOUT>, int> &&
              std::is_same_v<std::underlying_type_t<CBLAS_TRANSPOSE>, int>);

const char* const transpose_letters[3] = {"N", "T", "C"};

bool valid_transpose(int t) { return t >= CblasNoTrans && t <= CblasConjTrans; }
int at_least_one(int v) { return v > 1 ? v : 1; }
}  // namespace

extern "C" VRX_EXPORT void cblas_dgemm(CBLAS_LAYOUT layout_arg, CBLAS_TRANSPOSE transa_arg, CBLAS_TRANSPOSE transb_arg,
                                       int m, int n, int k, double alpha, const double* a, int lda, const double* b,
                                       int ldb, double beta, double* c, int ldc) {
  const char* name = "cblas_dgemm";
  const int layout = layout_arg, transa = transa_arg, transb = transb_arg;
  // The layout is tested last, after both transpositions and all three sizes.
  if (!valid_transpose(transa)) return vrx_cblas_xerbla(name, 2);
  if (!valid_transpose(transb)) return vrx_cblas_xerbla(name, 3);
  if (m < 0) return vrx_cblas_xerbla(name, 4);
  if (n < 0) return vrx_cblas_xerbla(name, 5);
  if (k < 0) return vrx_cblas_xerbla(name, 6);
  if (layout != CblasRowMajor && layout != CblasColMajor) return vrx_cblas_xerbla(name, 1);

  const bool a_plain = transa == CblasNoTrans, b_plain = transb == CblasNoTrans;
  const char* letter_a = transpose_letters[transa - CblasNoTrans];
  const char* letter_b = transpose_letters[transb - CblasNoTrans];
  if (layout == CblasRowMajor) {
    if (lda < at_least_one(a_plain ? k : m)) return vrx_cblas_xerbla(name, 9);
    if (ldb < at_least_one(b_plain ? n : k)) return vrx_cblas_xerbla(name, 11);
    if (ldc < at_least_one(n)) return vrx_cblas_xerbla(name, 14);
    // Row-major C is column-major C transposed: compute C^T = op(B)^T op(A)^T.
    DGEMM(letter_b, letter_a, &n, &m, &k, &alpha, b, &ldb, a, &lda, &beta, c, &ldc);
    return;
  }
  if (lda < at_least_one(a_plain ? m : k)) return vrx_cblas_xerbla(name, 9);
  if (ldb < at_least_one(b_plain ? k : n)) return vrx_cblas_xerbla(name, 11);
  if (ldc < at_least_one(m)) return vrx_cblas_xerbla(name, 14);
  DGEMM(letter_a, letter_b, &m, &n, &k, &alpha, a, &lda, b, &ldb, &beta, c, &ldc);
}
