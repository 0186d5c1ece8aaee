// Register-block shapes and operations tables of the level-3 driver (CPU types 5 and 7).
#include "blas/kernels/dgemm_l3_kernel_table.h"
#include "blas/vrx_l3.h"
#include "service/vrx_dispatch.h"

namespace {
constexpr std::uint32_t default_pack_mode = 2, default_team_mode = 2, default_loop_mode = 4;

std::uint32_t team_mode_of(const vrx_l3_team* team) {
  if (!team) return default_team_mode;
  switch (team->team_mode) {
    case 1: return 4;
    case 2: return 32;
    default: return 2;
  }
}

template <vrx_int MR, vrx_int NR>
int check_shape(vrx_l3_kernel_shape* shape) {
  int unchanged = 1;
  auto reset = [&](auto& field, auto value) {
    if (field != value) {
      field = value;
      unchanged = 0;
    }
  };
  reset(shape->mr, MR);
  reset(shape->nr, NR);
  reset(shape->ku, vrx_int(1));
  reset(shape->pack_mode, default_pack_mode);
  reset(shape->loop_mode, default_loop_mode);
  if (shape->team_mode != 2 && shape->team_mode != 4 && shape->team_mode != 32)
    reset(shape->team_mode, default_team_mode);
  return unchanged;
}

void fill_shape(vrx_int mr, vrx_int nr, int (*check)(vrx_l3_kernel_shape*), const vrx_l3_team* team,
                vrx_l3_kernel_shape* shape) {
  shape->pack_mode = default_pack_mode;
  shape->team_mode = team_mode_of(team);
  shape->loop_mode = default_loop_mode;
  shape->mr = mr;
  shape->nr = nr;
  shape->ku = 1;
  shape->check = check;
}

void shape_none(const vrx_l3_team*, vrx_l3_kernel_shape* shape) { *shape = vrx_l3_kernel_shape{}; }
void shape_avx2(const vrx_l3_team* team, vrx_l3_kernel_shape* shape) {
  fill_shape(12, 4, check_shape<12, 4>, team, shape);
}
void shape_avx512(const vrx_l3_team* team, vrx_l3_kernel_shape* shape) {
  fill_shape(24, 8, check_shape<24, 8>, team, shape);
}

typedef void (*shape_fn)(const vrx_l3_team*, vrx_l3_kernel_shape*);
constexpr vrx_variants<shape_fn> shape_variants = {.portable = shape_none, .avx2 = shape_avx2,
                                                   .avx512 = shape_avx512};
shape_fn shape_cache = nullptr;

const vrx_l3_dgemm_kernels* no_kernels() { return nullptr; }
const vrx_l3_dgemm_kernels* kernels_avx2() { return &vrx_l3_dgemm_kernels_avx2; }
const vrx_l3_dgemm_kernels* kernels_avx512() { return &vrx_l3_dgemm_kernels_avx512; }
typedef const vrx_l3_dgemm_kernels* (*kernels_fn)();
constexpr vrx_variants<kernels_fn> kernels_variants = {.portable = no_kernels, .avx2 = kernels_avx2,
                                                       .avx512 = kernels_avx512};
kernels_fn kernels_cache = nullptr;
}  // namespace

int vrx_l3_init_shape_for(int cpu, const vrx_l3_team* team, vrx_l3_kernel_shape* shape) {
  switch (cpu) {
    case VRX_CPU_AVX2: shape_avx2(team, shape); return 1;
    case VRX_CPU_AVX512: shape_avx512(team, shape); return 1;
    default: shape_none(team, shape); return 0;
  }
}

const vrx_l3_dgemm_kernels* vrx_l3_kernels_for(int cpu) {
  switch (cpu) {
    case VRX_CPU_AVX2: return kernels_avx2();
    case VRX_CPU_AVX512: return kernels_avx512();
    default: return nullptr;
  }
}

void vrx_l3_init_shape(const vrx_l3_team* team, vrx_l3_kernel_shape* shape) {
  vrx_serv_dispatch(&shape_cache, shape_variants)(team, shape);
}

int vrx_l3_init_ops(const vrx_l3_call* call, const vrx_l3_view* a, const vrx_l3_view* b, const vrx_l3_view* c,
                    const vrx_l3_kernel_shape* shape, vrx_l3_ops* ops) {
  return vrx_l3_init_ops_with(vrx_serv_dispatch(&kernels_cache, kernels_variants)(), call, a, b, c, shape, ops);
}
