// The exported matrix copies: each entry is a jump to its dispatcher.
#include "include/customvrx.h"
#include "service/vrx_types.h"
#include "vector/vrx_matcopy.h"

extern "C" VRX_EXPORT void VRX_Dimatcopy(char ordering, char trans, size_t rows, size_t cols, double alpha,
                                         double* ab, size_t lda, size_t ldb) {
  vrx_dimatcopy(ordering, trans, rows, cols, alpha, ab, lda, ldb);
}

extern "C" VRX_EXPORT void VRX_Domatcopy(char ordering, char trans, size_t rows, size_t cols, double alpha,
                                         const double* a, size_t lda, double* b, size_t ldb) {
  vrx_domatcopy(ordering, trans, rows, cols, alpha, a, lda, b, ldb);
}
