// Views and call records of the level-3 driver.
#include "blas/vrx_l3.h"

namespace {
template <typename T>
T* address_plain(vrx_int i, vrx_int j, const vrx_l3_view<T>* v) {
  return v->data + (v->row_offset + i) + (v->col_offset + j) * v->ld;
}
template <typename T>
T* address_transposed(vrx_int i, vrx_int j, const vrx_l3_view<T>* v) {
  return v->data + (v->col_offset + j) + (v->row_offset + i) * v->ld;
}
}  // namespace

vrx_int vrx_l3_panel_start(vrx_int i, vrx_int lines, vrx_int extent, vrx_int* height) {
  const vrx_int full = lines / extent * extent;
  if (i < full) {
    *height = extent;
    return i / extent * extent;
  }
  vrx_int start = full;
  for (;;) {
    const vrx_int h = vrx_l3_panel_extent(lines - start, extent);
    if (i < start + h) {
      *height = h;
      return start;
    }
    start += h;
  }
}

template <typename T>
vrx_l3_view<T> vrx_l3_make_view(const T* data, vrx_int rows, vrx_int cols, vrx_int ld, std::uint32_t flags) {
  vrx_l3_view<T> v{};
  v.data = const_cast<T*>(data);
  v.rows = rows;
  v.cols = cols;
  v.ld = ld;
  v.full_rows = rows;
  v.flags = flags;
  v.address = flags == VRX_L3_PLAIN ? address_plain<T> : address_transposed<T>;
  return v;
}

template <typename T>
vrx_l3_view<T> vrx_l3_make_c_view(T* data, vrx_int rows, vrx_int cols, vrx_int ld) {
  vrx_l3_view<T> v = vrx_l3_make_view<T>(data, rows, cols, ld, VRX_L3_PLAIN);
  v.flags = 0;
  return v;
}

template <typename T>
vrx_l3_view<T> vrx_l3_sub_view(const vrx_l3_view<T>* view, vrx_int i, vrx_int j, vrx_int rows, vrx_int cols) {
  vrx_l3_view<T> v = *view;
  v.row_offset += i;
  v.col_offset += j;
  v.rows = rows;
  v.cols = cols;
  return v;
}

std::uint32_t vrx_l3_layout_flag(char trans) {
  switch (vrx_blas_trans_code(trans)) {
    case 0: return VRX_L3_PLAIN;
    case 1: return VRX_L3_TRANSPOSED;
    case 2: return VRX_L3_CONJUGATED;
    default: return 0;
  }
}

template <typename T>
vrx_l3_call<T> vrx_l3_gemm_call(const char* transa, const char* transb, T alpha, T beta) {
  vrx_l3_call<T> call{};
  call.transa = transa;
  call.transb = transb;
  call.alpha = alpha;
  call.beta = beta;
  call.type_a = call.type_b = call.type_c = vrx_traits<T>::type_code;
  call.code_a = vrx_blas_trans_code(*transa);
  call.code_b = vrx_blas_trans_code(*transb);
  call.kind = VRX_L3_GEMM;
  return call;
}

// Packed views keep the register extent in `ld`.
template <typename T>
T* vrx_l3_packed_a_address(vrx_int i, vrx_int j, const vrx_l3_view<T>* v) {
  vrx_int h = 0;
  const vrx_int start = vrx_l3_panel_start(i, v->rows, v->ld, &h);
  return v->data + start * v->cols + j * h + (i - start);
}

template <typename T>
T* vrx_l3_packed_b_address(vrx_int i, vrx_int j, const vrx_l3_view<T>* v) {
  vrx_int w = 0;
  const vrx_int start = vrx_l3_panel_start(j, v->cols, v->ld, &w);
  return v->data + start * v->rows + i * w + (j - start);
}

#define VRX_INSTANTIATE(T)                                                                                \
  template vrx_l3_view<T> vrx_l3_make_view(const T*, vrx_int, vrx_int, vrx_int, std::uint32_t);           \
  template vrx_l3_view<T> vrx_l3_make_c_view(T*, vrx_int, vrx_int, vrx_int);                              \
  template vrx_l3_view<T> vrx_l3_sub_view(const vrx_l3_view<T>*, vrx_int, vrx_int, vrx_int, vrx_int);     \
  template vrx_l3_call<T> vrx_l3_gemm_call(const char*, const char*, T, T);                               \
  template T* vrx_l3_packed_a_address(vrx_int, vrx_int, const vrx_l3_view<T>*);                           \
  template T* vrx_l3_packed_b_address(vrx_int, vrx_int, const vrx_l3_view<T>*);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
