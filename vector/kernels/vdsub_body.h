// The subtraction body of every instruction class, compiled in each class folder
// with that class's vector width (VRX_VEC_BYTES, see blas/kernels/vrx_simd.h).
// Everything has internal linkage, so the copies built with different target
// flags never meet at link time.
#pragma once
#include <cstdint>
#include "blas/kernels/vrx_simd.h"
#include "vector/vrx_vmf.h"

namespace {
// Which input the output coincides with; the loads then come from y alone.
enum vdsub_alias { vdsub_no_alias, vdsub_y_is_a, vdsub_y_is_b };

struct vdsub_scalar_tail {
  static void run(int count, const double* left, const double* right, double* y) {
    for (int i = 0; i < count; ++i) y[i] = left[i] - right[i];
  }
};

// y := a - b. Each register is loaded before its result is stored, so y may be
// exactly a or b. With `align_output` single elements go first until y is aligned
// to a register.
template <vdsub_alias alias, int unroll, bool align_output, typename Tail>
void vdsub_body(int n, const double* a, const double* b, double* y) {
  constexpr int lanes = vrx_lanes<double>;
  const double* left = alias == vdsub_y_is_a ? y : a;
  const double* right = alias == vdsub_y_is_b ? y : b;
  int i = 0;
  if constexpr (align_output)
    for (; i < n && reinterpret_cast<std::uintptr_t>(y + i) % VRX_VEC_BYTES != 0; ++i) y[i] = left[i] - right[i];
  // Tested as n - i, which cannot overflow near INT_MAX as i + step would.
  for (; n - i >= lanes * unroll; i += lanes * unroll)
    for (int u = 0; u < unroll; ++u) {
      const int k = i + u * lanes;
      vrx_store(y + k, vrx_load<vrx_vd>(left + k) - vrx_load<vrx_vd>(right + k));
    }
  for (; n - i >= lanes; i += lanes) vrx_store(y + i, vrx_load<vrx_vd>(left + i) - vrx_load<vrx_vd>(right + i));
  if (i < n) Tail::run(n - i, left + i, right + i, y + i);
}

// A guarded kernel with its own paths for y = a and y = b.
template <int unroll, bool align_output = false, typename Tail = vdsub_scalar_tail>
void vdsub_guarded_aliased(int n, const double* a, const double* b, double* y) {
  const std::uint32_t saved = vrx_vmf_guard_enter();
  if (y == a) vdsub_body<vdsub_y_is_a, unroll, align_output, Tail>(n, a, b, y);
  else if (y == b) vdsub_body<vdsub_y_is_b, unroll, align_output, Tail>(n, a, b, y);
  else vdsub_body<vdsub_no_alias, unroll, align_output, Tail>(n, a, b, y);
  vrx_vmf_guard_leave(saved);
}

// A guarded kernel with one path for all cases.
template <int unroll, typename Tail = vdsub_scalar_tail>
void vdsub_guarded(int n, const double* a, const double* b, double* y) {
  const std::uint32_t saved = vrx_vmf_guard_enter();
  vdsub_body<vdsub_no_alias, unroll, false, Tail>(n, a, b, y);
  vrx_vmf_guard_leave(saved);
}
}  // namespace
