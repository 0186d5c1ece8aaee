// The packed-operand service over the element type: an operand A kept in the handle,
// multiplied by many B blocks.
#include <cstring>
#include "blas/level3/gemm/vrx_gemm_roads.h"
#include "blas/level3/gemm_pack/vrx_gemm_pack_handle.h"
#include "blas/vrx_blas.h"
#include "service/vrx_cpu.h"
#include "service/vrx_memory.h"

int vrx_blas_gemm_pack_query() {
  int cpu = vrx_serv_cpu_detect();
  return cpu == VRX_CPU_AVX2 || cpu == VRX_CPU_AVX512 ? 2 : 1;
}

template <typename T>
int vrx_blas_gemm_pack_create(vrx_gemm_pack_handle** handle, vrx_int rows, vrx_int depth) {
  if (!handle) return 1;
  *handle = nullptr;
  if (rows < 0 || depth < 0) return 1;
  auto* h = static_cast<vrx_gemm_pack_handle*>(vrx_serv_malloc(sizeof(vrx_gemm_pack_handle), 64));
  if (!h) return 1;
  *h = {};
  h->rows = rows;
  h->depth = depth;
  h->element_size = sizeof(T);
  std::size_t bytes = static_cast<std::size_t>(rows > 0 ? rows : 1) * static_cast<std::size_t>(depth > 0 ? depth : 1) * sizeof(T);
  h->data = vrx_serv_malloc(bytes, 64);
  if (!h->data) {
    vrx_serv_free(h);
    return 1;
  }
  *handle = h;
  return 0;
}

template <typename T>
int vrx_blas_gemm_pack(vrx_gemm_pack_handle* handle, vrx_int rows, vrx_int depth, const T* a, vrx_int lda) {
  if (!handle || handle->element_size != sizeof(T)) return 1;
  if (rows < 0 || depth < 0 || rows > handle->rows || depth > handle->depth) return 1;
  if (rows > 0 && depth > 0 && (!a || lda < rows)) return 1;
  T* copy = static_cast<T*>(handle->data);
  for (vrx_int j = 0; j < depth; ++j) std::memcpy(copy + j * rows, a + j * lda, rows * sizeof(T));
  handle->packed_rows = rows;
  handle->packed_depth = depth;
  return 0;
}

template <typename T>
int vrx_blas_gemm_pack_multiply(vrx_gemm_pack_handle* handle, vrx_int row0, vrx_int rows, vrx_int n, T alpha,
                                const T* b, vrx_int ldb, T beta, T* c, vrx_int ldc) {
  if (!handle || handle->element_size != sizeof(T)) return 1;
  if (row0 < 0 || rows < 0 || n < 0 || row0 + rows > handle->packed_rows) return 1;
  if (rows == 0 || n == 0) return 0;
  vrx_int depth = handle->packed_depth;
  if (!c || ldc < rows || (depth > 0 && (!b || ldb < depth))) return 1;
  const T* a = static_cast<const T*>(handle->data) + row0;
  vrx_int lda = handle->packed_rows;
  vrx_int ldb_used = ldb > 0 ? ldb : 1;
  vrx_gemm_members<T>::sequential("N", "N", &rows, &n, &depth, &alpha, a, &lda, b, &ldb_used, &beta, c, &ldc);
  return 0;
}

void vrx_blas_gemm_pack_release(vrx_gemm_pack_handle* handle) {
  if (!handle) return;
  vrx_serv_free(handle->data);
  vrx_serv_free(handle);
}

#define VRX_GEMM_PACK_INSTANTIATE(T)                                                                    \
  template int vrx_blas_gemm_pack_create<T>(vrx_gemm_pack_handle**, vrx_int, vrx_int);                  \
  template int vrx_blas_gemm_pack<T>(vrx_gemm_pack_handle*, vrx_int, vrx_int, const T*, vrx_int);        \
  template int vrx_blas_gemm_pack_multiply<T>(vrx_gemm_pack_handle*, vrx_int, vrx_int, vrx_int, T, const T*, \
                                              vrx_int, T, T*, vrx_int);
VRX_GEMM_PACK_INSTANTIATE(float)
VRX_GEMM_PACK_INSTANTIATE(double)
VRX_GEMM_PACK_INSTANTIATE(vrx_complex_float)
VRX_GEMM_PACK_INSTANTIATE(vrx_complex_double)
