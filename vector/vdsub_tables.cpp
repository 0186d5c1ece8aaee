// Kernels and costs of the subtraction, by accuracy row and kernel column.
#include "vector/vrx_vmf.h"

namespace {
constexpr vrx_vmf_dkernel column_kernels[vrx_vmf_codes] = {
    vrx_vmf_dsub_plain_sse2,     // 0
    vrx_vmf_dsub_plain_sse2,     // 1
    vrx_vmf_dsub_guarded_sse2,   // 2
    vrx_vmf_dsub_guarded_sse2,   // 3
    vrx_vmf_dsub_plain_sse2,     // 4
    vrx_vmf_dsub_guarded_sse42,  // 5
    vrx_vmf_dsub_guarded_avx,    // 6
    vrx_vmf_dsub_guarded_avx2,   // 7
    nullptr,                     // 8: never selected
    vrx_vmf_dsub_guarded_avx512, // 9
};
constexpr float column_costs[vrx_vmf_codes] = {1.79f, 3.0f, 4.1f, 1.62f, 1.57f, 0.96f, 0.72f, 0.47f, 1111.0f, 0.0f};
constexpr float avx512_costs[vrx_vmf_rows] = {2.0f, 3.0f, 1.0f};

// Subtraction has one correctly rounded result, so the rows share their kernels;
// only the cost of the 512-bit column differs by row.
constexpr vrx_vmf_table build_table() {
  vrx_vmf_table table{};
  for (int row = 0; row < vrx_vmf_rows; ++row)
    for (int code = 0; code < vrx_vmf_codes; ++code) {
      table.kernels[row * vrx_vmf_codes + code] = column_kernels[code];
      table.costs[row * vrx_vmf_codes + code] = code == 9 ? avx512_costs[row] : column_costs[code];
    }
  return table;
}
}  // namespace

constinit const vrx_vmf_table vrx_vmf_dsub_table = build_table();
