// The packed-operand service over the element type: an operand A kept in the handle,
// multiplied by many B blocks. On CPU types 5 and 7 the handle holds A as the level-3
// driver's packed panels (gemm_pack_panels.cpp); elsewhere a plain column-major copy
// that the sequential GEMM reads.
#include <cstring>

#include "blas/level3/gemm/vrx_gemm_roads.h"
#include "blas/level3/gemm_pack/vrx_gemm_pack_handle.h"
#include "service/vrx_cpu.h"
#include "service/vrx_memory.h"

namespace {
template <typename T>
bool usable(const vrx_gemm_pack_handle* h) {
  return h && h->type_code == vrx_traits<T>::type_code;
}

// The kernel tables of the handle's CPU type, null for the plain copy.
template <typename T>
const vrx_l3_kernels<T>* kernels_of(const vrx_gemm_pack_handle* h) {
  return h->cpu ? vrx_l3_kernels_for<T>(h->cpu) : nullptr;
}

template <typename T>
void copy_plain(vrx_gemm_pack_handle* h, const T* a, vrx_int lda) {
  T* copy = static_cast<T*>(h->data);
  for (vrx_int j = 0; j < h->packed_depth; ++j)
    std::memcpy(copy + j * h->packed_rows, a + j * lda, static_cast<std::size_t>(h->packed_rows) * sizeof(T));
}

template <typename T>
void multiply_plain(const vrx_gemm_pack_handle* h, vrx_int row0, vrx_int rows, vrx_int n, T alpha, const T* b,
                    vrx_int ldb, T beta, T* c, vrx_int ldc) {
  const T* a = static_cast<const T*>(h->data) + row0;
  vrx_int depth = h->packed_depth, lda = h->packed_rows;
  vrx_gemm_members<T>::sequential("N", "N", &rows, &n, &depth, &alpha, a, &lda, b, &ldb, &beta, c, &ldc);
}
}  // namespace

int vrx_blas_gemm_pack_query() {
  const int cpu = vrx_serv_cpu_detect();
  return cpu == VRX_CPU_AVX2 || cpu == VRX_CPU_AVX512 ? 2 : 1;
}

template <typename T>
int vrx_blas_gemm_pack_create(vrx_gemm_pack_handle** handle, vrx_int rows, vrx_int depth) {
  if (!handle) return 1;
  *handle = nullptr;
  if (rows < 0 || depth < 0) return 1;
  auto* h = static_cast<vrx_gemm_pack_handle*>(vrx_serv_malloc(sizeof(vrx_gemm_pack_handle), 64));
  if (!h) return 1;
  *h = vrx_gemm_pack_handle{};
  h->rows = rows;
  h->depth = depth;
  h->type_code = vrx_traits<T>::type_code;
  const int cpu = vrx_serv_cpu_detect();
  h->cpu = vrx_l3_kernels_for<T>(cpu) ? cpu : 0;
  const std::size_t elements = static_cast<std::size_t>(rows) * static_cast<std::size_t>(depth);
  h->data = vrx_serv_malloc((elements > 0 ? elements : 1) * sizeof(T), 128);
  if (!h->data) {
    vrx_serv_free(h);
    return 1;
  }
  *handle = h;
  return 0;
}

template <typename T>
int vrx_blas_gemm_pack(vrx_gemm_pack_handle* handle, vrx_int rows, vrx_int depth, const T* a, vrx_int lda) {
  if (!usable<T>(handle) || rows < 0 || depth < 0 || rows > handle->rows || depth > handle->depth) return 1;
  if (rows > 0 && depth > 0 && (!a || lda < rows)) return 1;
  handle->packed_rows = rows;
  handle->packed_depth = depth;
  if (const vrx_l3_kernels<T>* kernels = kernels_of<T>(handle)) vrx_gemm_pack_panels(handle, kernels, a, lda);
  else copy_plain(handle, a, lda);
  return 0;
}

template <typename T>
int vrx_blas_gemm_pack_multiply(vrx_gemm_pack_handle* handle, vrx_int row0, vrx_int rows, vrx_int n, T alpha,
                                const T* b, vrx_int ldb, T beta, T* c, vrx_int ldc) {
  if (!usable<T>(handle) || row0 < 0 || rows < 0 || n < 0 || row0 + rows > handle->packed_rows) return 1;
  if (rows == 0 || n == 0) return 0;
  const vrx_int depth = handle->packed_depth;
  if (!c || ldc < rows || (depth > 0 && (!b || ldb < depth))) return 1;
  if (ldb < 1) ldb = 1;
  if (const vrx_l3_kernels<T>* kernels = kernels_of<T>(handle))
    vrx_gemm_pack_panels_multiply(handle, kernels, row0, rows, n, alpha, b, ldb, beta, c, ldc);
  else multiply_plain(handle, row0, rows, n, alpha, b, ldb, beta, c, ldc);
  return 0;
}

void vrx_blas_gemm_pack_release(vrx_gemm_pack_handle* handle) {
  if (!handle) return;
  vrx_serv_free(handle->data);
  vrx_serv_free(handle);
}

#define VRX_INSTANTIATE(T)                                                                                     \
  template int vrx_blas_gemm_pack_create<T>(vrx_gemm_pack_handle**, vrx_int, vrx_int);                         \
  template int vrx_blas_gemm_pack<T>(vrx_gemm_pack_handle*, vrx_int, vrx_int, const T*, vrx_int);               \
  template int vrx_blas_gemm_pack_multiply<T>(vrx_gemm_pack_handle*, vrx_int, vrx_int, vrx_int, T, const T*,    \
                                              vrx_int, T, T*, vrx_int);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
