// Block rule and packed buffers of the level-3 driver.
#include "blas/vrx_l3.h"
#include "service/vrx_memory.h"

vrx_l3_alloc_fn vrx_l3_scratch_alloc = vrx_serv_malloc;

namespace {
constexpr std::size_t page = 4096, huge_page = 2097152;
constexpr std::size_t b_shift = 768, a_shift = 1664;  // keep A and B panels off the same cache sets
constexpr std::size_t extra_both = 4204928, extra_b = 8960, extra_a = 4196992;

vrx_int round_up(vrx_int x, vrx_int to) { return (x + to - 1) / to * to; }
vrx_int clamp(vrx_int x, vrx_int low, vrx_int high) { return x < low ? low : (x > high ? high : x); }
char* align_up(char* p, std::size_t to) {
  return reinterpret_cast<char*>((reinterpret_cast<std::uintptr_t>(p) + to - 1) & ~(to - 1));
}

vrx_l3_view packed_view(double* data, vrx_int rows, vrx_int cols, vrx_int register_extent,
                        vrx_l3_address_fn address) {
  vrx_l3_view v{};
  v.data = data;
  v.rows = rows;
  v.cols = cols;
  v.ld = register_extent;
  v.full_rows = rows;
  v.flags = VRX_L3_PLAIN;
  v.address = address;
  return v;
}

int allocate(vrx_l3_blocking* bl) {
  const std::size_t bytes = vrx_l3_blocking_bytes(bl->kind, bl->mc, bl->nc, bl->kc);
  char* raw = static_cast<char*>(vrx_l3_scratch_alloc(bytes, 128));
  bl->raw = raw;
  if (!raw) return 0;
  char* base = align_up(raw, page);
  double* a = nullptr;
  double* b = nullptr;
  switch (bl->kind) {
    case VRX_L3_BUFFER_BOTH: {
      b = reinterpret_cast<double*>(base + b_shift);
      char* b_end = reinterpret_cast<char*>(b + bl->nc * bl->kc);
      a = reinterpret_cast<double*>(align_up(b_end, huge_page) + a_shift);
      break;
    }
    case VRX_L3_BUFFER_B: b = reinterpret_cast<double*>(base + b_shift); break;
    default: a = reinterpret_cast<double*>(base + a_shift); break;
  }
  bl->a_packed.data = a;
  bl->b_packed.data = b;
  return 1;
}

void release(vrx_l3_blocking* bl) {
  if (bl->raw) vrx_serv_free(bl->raw);
  bl->raw = nullptr;
  bl->a_packed.data = nullptr;
  bl->b_packed.data = nullptr;
}
}  // namespace

std::size_t vrx_l3_blocking_bytes(std::uint64_t kind, vrx_int mc, vrx_int nc, vrx_int kc) {
  const std::size_t m = static_cast<std::size_t>(mc), n = static_cast<std::size_t>(nc),
                    k = static_cast<std::size_t>(kc);
  switch (kind) {
    case VRX_L3_BUFFER_BOTH: return (m + n) * k * 8 + extra_both;
    case VRX_L3_BUFFER_B: return k * n * 8 + extra_b;
    default: return m * k * 8 + extra_a;
  }
}

// CPU type 7 (register width 8) and type 5 (width 4) differ in kc and the cap on mc.
void vrx_l3_blocking_rule(vrx_int m, vrx_int n, vrx_int k, const vrx_l3_kernel_shape* shape,
                          vrx_l3_blocking* bl) {
  const bool wide = shape->nr >= 8;
  const vrx_int ku = shape->ku > 0 ? shape->ku : 1;
  const vrx_int k_single = wide ? 384 : 256, k_halve = wide ? 768 : 384, k_block = wide ? 384 : 192;
  if (k <= k_single) bl->kc = round_up(k > 128 ? k : 128, ku);
  else if (k < k_halve) bl->kc = round_up(k / 2, ku);
  else bl->kc = k_block;
  bl->mc = round_up(clamp(m, shape->mr, wide ? 4992 : 5000), shape->mr);
  bl->nc = round_up(clamp(n, shape->nr, k < 48 ? 24 : 192), shape->nr);
}

void vrx_l3_blocking_init(const vrx_l3_view* a, const vrx_l3_view* b, const vrx_l3_kernel_shape* shape,
                          vrx_l3_blocking* bl) {
  *bl = vrx_l3_blocking{};
  vrx_l3_blocking_rule(a->rows, b->cols, a->cols, shape, bl);
  bl->kind = VRX_L3_BUFFER_BOTH;
  bl->a_packed = packed_view(nullptr, bl->mc, bl->kc, shape->mr, vrx_l3_packed_a_address);
  bl->b_packed = packed_view(nullptr, bl->kc, bl->nc, shape->nr, vrx_l3_packed_b_address);
  bl->allocate = allocate;
  bl->release = release;
}
