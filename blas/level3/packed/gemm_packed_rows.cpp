// Rows of the packed driver's kernel table, one per instruction class.
#include "blas/vrx_gemm_packed.h"
#include "service/vrx_serv.h"

namespace {
constexpr vrx_gemm_row avx_row = {
    8, 4, 1, 4, 2, 2, 2, 0xaa, vrx_gemm_block_rule, vrx_gemm_sizing, vrx_gemm_allocate,
    {vrx_gemm_pack_a_n_avx, vrx_gemm_pack_a_t_avx, vrx_gemm_pack_a_t_avx},
    {vrx_gemm_pack_b_n_avx, vrx_gemm_pack_b_t_avx, vrx_gemm_pack_b_t_avx},
    vrx_gemm_kernel_avx, {nullptr, nullptr},
};
constexpr vrx_gemm_row sse42_row = {
    2, 8, 4, 1, 4, 4, 4, 0x7e, vrx_gemm_block_rule, vrx_gemm_sizing, vrx_gemm_allocate,
    {vrx_gemm_pack_a_n_sse42, vrx_gemm_pack_a_t_sse42, vrx_gemm_pack_a_t_sse42},
    {vrx_gemm_pack_b_n_sse42, vrx_gemm_pack_b_t_sse42, vrx_gemm_pack_b_t_sse42},
    vrx_gemm_kernel_sse42, {nullptr, nullptr},
};
// The processor sub-model 66 runs the same blocks with A panels outside.
constexpr vrx_gemm_row with_kernel(vrx_gemm_row row, vrx_gemm_kernel_fn kernel) {
  row.kernel = kernel;
  return row;
}
constexpr vrx_gemm_row sse42_row_66 = with_kernel(sse42_row, vrx_gemm_kernel_sse42_rows);
constexpr vrx_gemm_row ssse3_row = {
    4, 4, 4, 2, 2, 2, 2, 0x17e, vrx_gemm_block_rule, vrx_gemm_sizing, vrx_gemm_allocate,
    {vrx_gemm_pack_a_n_ssse3, vrx_gemm_pack_a_t_ssse3, vrx_gemm_pack_a_t_ssse3},
    {vrx_gemm_pack_b_n_ssse3, vrx_gemm_pack_b_t_ssse3, vrx_gemm_pack_b_t_ssse3},
    vrx_gemm_kernel_ssse3, {nullptr, nullptr},
};
// With SSE4.1: one strip and the larger minimum extents.
constexpr vrx_gemm_row with_sse41(vrx_gemm_row row) {
  row.strips = 1;
  row.min_m = row.min_n = row.min_k = 4;
  row.flags = 0x7e;
  return row;
}
constexpr vrx_gemm_row ssse3_sse41_row = with_sse41(ssse3_row);
}  // namespace

const vrx_gemm_row* vrx_gemm_row_avx() { return &avx_row; }
const vrx_gemm_row* vrx_gemm_row_sse42(int submodel66) { return submodel66 ? &sse42_row_66 : &sse42_row; }
const vrx_gemm_row* vrx_gemm_row_ssse3(int with_sse41) { return with_sse41 ? &ssse3_sse41_row : &ssse3_row; }


namespace {
// The processor queries behind a row choice are slow (some run cpuid) and never
// change within a process: remembered once.
std::int32_t sse42_submodel66 = -1;
std::int32_t ssse3_with_sse41 = -1;
}  // namespace

const vrx_gemm_row* vrx_gemm_row_sse42_here() {
  return vrx_gemm_row_sse42(vrx_serv_remember(&sse42_submodel66, [] { return vrx_serv_cpu_code() == 66 ? 1 : 0; }));
}
int vrx_gemm_ssse3_has_sse41_here() {
  return vrx_serv_remember(&ssse3_with_sse41, [] { return vrx_serv_has_sse41_gate() ? 1 : 0; });
}
