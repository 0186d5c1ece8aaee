// Rows of the packed driver's kernel table, one per instruction class and element
// type. The register block and the packing routines come from the class's kernel
// table; the counts of k granularity are taken on the real depth (a complex step is
// two real ones).
#include <algorithm>
#include "blas/level3/packed/vrx_gemm_packed.h"
#include "service/vrx_serv.h"

namespace {
template <typename T>
vrx_gemm_row_t<T> make_row(const vrx_gemm_class_kernels<T>* k, vrx_int ku, vrx_int strips, vrx_int minimum,
                           unsigned flags, bool rows_kernel) {
  vrx_gemm_row_t<T> row = {};
  row.mr = k->mr;
  row.nr = k->nr;
  row.ku = std::max<vrx_int>(ku / vrx_gemm_a_expansion<T>, 1);
  row.strips = strips;
  row.min_m = row.min_n = row.min_k = minimum;
  row.flags = flags;
  row.block = vrx_gemm_block_rule<T>;
  row.sizing = vrx_gemm_sizing<T>;
  row.allocate = vrx_gemm_allocate<T>;
  for (int i = 0; i < 3; ++i) {
    row.pack_a[i] = k->pack_a[i];
    row.pack_b[i] = k->pack_b[i];
  }
  row.kernel = rows_kernel ? k->kernel_rows : k->kernel;
  return row;
}

// A row is made at first use from the class tables of other translation units, once,
// under a spin lock (double-checked), and never changes afterwards.
template <typename T>
struct row_slot {
  vrx_gemm_row_t<T> row;
  std::int32_t ready;
};
std::int32_t rows_lock = 0;

template <typename T>
const vrx_gemm_row_t<T>* remember_row(row_slot<T>* slot, const vrx_gemm_class_table& table, vrx_int ku,
                                      vrx_int strips, vrx_int minimum, unsigned flags, bool rows_kernel) {
  if (!__atomic_load_n(&slot->ready, __ATOMIC_ACQUIRE)) {
    vrx_serv_spin_lock(&rows_lock);
    if (!slot->ready) {
      slot->row = make_row(vrx_gemm_class_of<T>(table), ku, strips, minimum, flags, rows_kernel);
      __atomic_store_n(&slot->ready, 1, __ATOMIC_RELEASE);
    }
    vrx_serv_spin_unlock(&rows_lock);
  }
  return &slot->row;
}
template <typename T>
row_slot<T> avx_slot;
template <typename T>
row_slot<T> sse42_slot;
template <typename T>
row_slot<T> sse42_66_slot;
template <typename T>
row_slot<T> ssse3_slot;
template <typename T>
row_slot<T> ssse3_41_slot;
}  // namespace

template <typename T>
const vrx_gemm_row_t<T>* vrx_gemm_row_avx() {
  return remember_row(&avx_slot<T>, vrx_gemm_kernels_avx, 1, 4, 2, 0xaa, false);
}
// The processor sub-model 66 runs the same blocks with A panels outside.
template <typename T>
const vrx_gemm_row_t<T>* vrx_gemm_row_sse42(int submodel66) {
  if (submodel66) return remember_row(&sse42_66_slot<T>, vrx_gemm_kernels_sse42, 4, 1, 4, 0x7e, true);
  return remember_row(&sse42_slot<T>, vrx_gemm_kernels_sse42, 4, 1, 4, 0x7e, false);
}
// Without SSE4.1: two strips and the smaller minimum extents.
template <typename T>
const vrx_gemm_row_t<T>* vrx_gemm_row_ssse3(int with_sse41) {
  if (with_sse41) return remember_row(&ssse3_41_slot<T>, vrx_gemm_kernels_ssse3, 4, 1, 4, 0x7e, false);
  return remember_row(&ssse3_slot<T>, vrx_gemm_kernels_ssse3, 4, 2, 2, 0x17e, false);
}

template <typename T>
const vrx_gemm_class_kernels<T>* vrx_gemm_variant_kernels(int variant) {
  switch (variant) {
    case VRX_GEMM_VARIANT_AVX: return vrx_gemm_class_of<T>(vrx_gemm_kernels_avx);
    case VRX_GEMM_VARIANT_SSE42: return vrx_gemm_class_of<T>(vrx_gemm_kernels_sse42);
    default: return vrx_gemm_class_of<T>(vrx_gemm_kernels_ssse3);
  }
}

namespace {
// The processor queries behind a row choice are slow (some run cpuid) and never
// change within a process: remembered once.
std::int32_t sse42_submodel66 = -1;
std::int32_t ssse3_with_sse41 = -1;
}  // namespace

template <typename T>
const vrx_gemm_row_t<T>* vrx_gemm_row_sse42_here() {
  return vrx_gemm_row_sse42<T>(
      vrx_serv_remember(&sse42_submodel66, [] { return vrx_serv_cpu_code() == 66 ? 1 : 0; }));
}
int vrx_gemm_ssse3_has_sse41_here() {
  return vrx_serv_remember(&ssse3_with_sse41, [] { return vrx_serv_has_sse41_gate() ? 1 : 0; });
}

#define VRX_GEMM_ROWS_INSTANTIATE(T)                                                     \
  template const vrx_gemm_row_t<T>* vrx_gemm_row_avx<T>();                               \
  template const vrx_gemm_row_t<T>* vrx_gemm_row_sse42<T>(int);                          \
  template const vrx_gemm_row_t<T>* vrx_gemm_row_ssse3<T>(int);                          \
  template const vrx_gemm_row_t<T>* vrx_gemm_row_sse42_here<T>();                        \
  template const vrx_gemm_class_kernels<T>* vrx_gemm_variant_kernels<T>(int);
VRX_GEMM_ROWS_INSTANTIATE(float)
VRX_GEMM_ROWS_INSTANTIATE(double)
VRX_GEMM_ROWS_INSTANTIATE(vrx_complex_float)
VRX_GEMM_ROWS_INSTANTIATE(vrx_complex_double)
