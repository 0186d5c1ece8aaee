// Register-block shapes and kernel tables of the level-3 driver (CPU types 5 and 7),
// per element type.
#include <type_traits>

#include "blas/kernels/dgemm_l3_kernel_table.h"
#include "blas/level3/driver/vrx_l3_micro_tables.h"
#include "blas/vrx_l3.h"
#include "service/vrx_dispatch.h"

namespace {
constexpr std::uint32_t default_pack_mode = 2, default_team_mode = 2, default_loop_mode = 4;

template <typename T>
std::uint32_t team_mode_of(const vrx_l3_team<T>* team) {
  if (!team) return default_team_mode;
  switch (team->team_mode) {
    case 1: return 4;
    case 2: return 32;
    default: return 2;
  }
}

template <typename T>
const vrx_l3_kernels<T>* kernels_of(int cpu) {
  if constexpr (std::is_same_v<T, double>) {
    switch (cpu) {
      case VRX_CPU_AVX2: return &vrx_l3_dgemm_kernels_avx2;
      case VRX_CPU_AVX512: return &vrx_l3_dgemm_kernels_avx512;
      default: return nullptr;
    }
  } else {
    return vrx_l3_micro_kernels<T>(cpu);
  }
}

// The register extents of (T, CPU): those of its kernel table.
template <typename T, int CPU>
int check_shape(vrx_l3_kernel_shape* shape) {
  const vrx_l3_kernels<T>* kernels = kernels_of<T>(CPU);
  int unchanged = 1;
  auto reset = [&](auto& field, auto value) {
    if (field != value) {
      field = value;
      unchanged = 0;
    }
  };
  reset(shape->mr, kernels->mr);
  reset(shape->nr, kernels->nr);
  reset(shape->ku, vrx_int(1));
  reset(shape->pack_mode, default_pack_mode);
  reset(shape->loop_mode, default_loop_mode);
  if (shape->team_mode != 2 && shape->team_mode != 4 && shape->team_mode != 32)
    reset(shape->team_mode, default_team_mode);
  return unchanged;
}

template <typename T, int CPU>
void fill_shape(const vrx_l3_team<T>* team, vrx_l3_kernel_shape* shape) {
  const vrx_l3_kernels<T>* kernels = kernels_of<T>(CPU);
  shape->pack_mode = default_pack_mode;
  shape->team_mode = team_mode_of(team);
  shape->loop_mode = default_loop_mode;
  shape->mr = kernels->mr;
  shape->nr = kernels->nr;
  shape->ku = 1;
  shape->check = check_shape<T, CPU>;
}

template <typename T>
void shape_none(const vrx_l3_team<T>*, vrx_l3_kernel_shape* shape) {
  *shape = vrx_l3_kernel_shape{};
}

template <typename T>
using shape_fn = void (*)(const vrx_l3_team<T>*, vrx_l3_kernel_shape*);
template <typename T>
constexpr vrx_variants<shape_fn<T>> shape_variants = {
    .portable = shape_none<T>, .avx2 = fill_shape<T, VRX_CPU_AVX2>, .avx512 = fill_shape<T, VRX_CPU_AVX512>};
template <typename T>
shape_fn<T> shape_cache = nullptr;

template <typename T>
const vrx_l3_kernels<T>* no_kernels() {
  return nullptr;
}
template <typename T, int CPU>
const vrx_l3_kernels<T>* kernels_fixed() {
  return kernels_of<T>(CPU);
}
template <typename T>
using kernels_fn = const vrx_l3_kernels<T>* (*)();
template <typename T>
constexpr vrx_variants<kernels_fn<T>> kernels_variants = {
    .portable = no_kernels<T>, .avx2 = kernels_fixed<T, VRX_CPU_AVX2>, .avx512 = kernels_fixed<T, VRX_CPU_AVX512>};
template <typename T>
kernels_fn<T> kernels_cache = nullptr;
}  // namespace

template <typename T>
int vrx_l3_init_shape_for(int cpu, const vrx_l3_team<T>* team, vrx_l3_kernel_shape* shape) {
  switch (cpu) {
    case VRX_CPU_AVX2: fill_shape<T, VRX_CPU_AVX2>(team, shape); return 1;
    case VRX_CPU_AVX512: fill_shape<T, VRX_CPU_AVX512>(team, shape); return 1;
    default: shape_none(team, shape); return 0;
  }
}

template <typename T>
const vrx_l3_kernels<T>* vrx_l3_kernels_for(int cpu) {
  return kernels_of<T>(cpu);
}

template <typename T>
void vrx_l3_init_shape(const vrx_l3_team<T>* team, vrx_l3_kernel_shape* shape) {
  vrx_serv_dispatch(&shape_cache<T>, shape_variants<T>)(team, shape);
}

template <typename T>
int vrx_l3_init_ops(const vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b,
                    const vrx_l3_view<T>* c, const vrx_l3_kernel_shape* shape, vrx_l3_ops<T>* ops) {
  return vrx_l3_init_ops_with(vrx_serv_dispatch(&kernels_cache<T>, kernels_variants<T>)(), call, a, b, c, shape,
                              ops);
}

#define VRX_INSTANTIATE(T)                                                                                  \
  template int vrx_l3_init_shape_for(int, const vrx_l3_team<T>*, vrx_l3_kernel_shape*);                     \
  template const vrx_l3_kernels<T>* vrx_l3_kernels_for<T>(int);                                              \
  template void vrx_l3_init_shape(const vrx_l3_team<T>*, vrx_l3_kernel_shape*);                             \
  template int vrx_l3_init_ops(const vrx_l3_call<T>*, const vrx_l3_view<T>*, const vrx_l3_view<T>*,          \
                               const vrx_l3_view<T>*, const vrx_l3_kernel_shape*, vrx_l3_ops<T>*);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
