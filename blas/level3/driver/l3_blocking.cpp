// Block rule and packed buffers of the level-3 driver.
#include "blas/vrx_l3.h"
#include <type_traits>

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

template <typename T>
vrx_l3_view<T> packed_view(T* data, vrx_int rows, vrx_int cols, vrx_int register_extent,
                           vrx_l3_address_fn<T> address) {
  vrx_l3_view<T> v{};
  v.data = data;
  v.rows = rows;
  v.cols = cols;
  v.ld = register_extent;
  v.full_rows = rows;
  v.flags = VRX_L3_PLAIN;
  v.address = address;
  return v;
}

template <typename T>
int allocate(vrx_l3_blocking<T>* bl) {
  const std::size_t bytes = vrx_l3_blocking_bytes<T>(bl->kind, bl->mc, bl->nc, bl->kc);
  char* raw = static_cast<char*>(vrx_l3_scratch_alloc(bytes, 128));
  bl->raw = raw;
  if (!raw) return 0;
  char* base = align_up(raw, page);
  T* a = nullptr;
  T* b = nullptr;
  switch (bl->kind) {
    case VRX_L3_BUFFER_BOTH: {
      b = reinterpret_cast<T*>(base + b_shift);
      char* b_end = reinterpret_cast<char*>(b + bl->nc * bl->kc);
      a = reinterpret_cast<T*>(align_up(b_end, huge_page) + a_shift);
      break;
    }
    case VRX_L3_BUFFER_B: b = reinterpret_cast<T*>(base + b_shift); break;
    default: a = reinterpret_cast<T*>(base + a_shift); break;
  }
  bl->a_packed.data = a;
  bl->b_packed.data = b;
  return 1;
}

template <typename T>
void release(vrx_l3_blocking<T>* bl) {
  if (bl->raw) vrx_serv_free(bl->raw);
  bl->raw = nullptr;
  bl->a_packed.data = nullptr;
  bl->b_packed.data = nullptr;
}
}  // namespace

template <typename T>
std::size_t vrx_l3_blocking_bytes(std::uint64_t kind, vrx_int mc, vrx_int nc, vrx_int kc) {
  const std::size_t m = static_cast<std::size_t>(mc), n = static_cast<std::size_t>(nc),
                    k = static_cast<std::size_t>(kc), e = sizeof(T);
  switch (kind) {
    case VRX_L3_BUFFER_BOTH: return (m + n) * k * e + extra_both;
    case VRX_L3_BUFFER_B: return k * n * e + extra_b;
    default: return m * k * e + extra_a;
  }
}

namespace {
// The AVX-512 rule (true) or the AVX2 rule. For double the register width tells them
// apart (8 against 4); the other element types by the bytes of a register-block column.
template <typename T>
bool wide_rule(const vrx_l3_kernel_shape* shape) {
  if constexpr (std::is_same_v<T, double>) return shape->nr >= 8;
  else return shape->mr * static_cast<vrx_int>(sizeof(T)) >= 128;
}

// Limits on kc per element type and rule: k up to `single` runs in one block, k below
// `halve` in two halves, longer k in blocks of `block`. Float keeps kc at 256 so that a
// packed A panel slice stays in L1 without the kernel splitting k (measured best on
// both rules); the others hold the bytes of a packed k step of double's limits.
struct k_limits {
  vrx_int single, halve, block;
};
struct k_rule {
  k_limits wide, narrow;
};
template <typename T>
constexpr k_rule k_rule_of = {};
template <>
constexpr k_rule k_rule_of<double> = {{384, 768, 384}, {256, 384, 192}};
template <>
constexpr k_rule k_rule_of<float> = {{256, 512, 256}, {256, 512, 256}};
template <>
constexpr k_rule k_rule_of<vrx_complex_float> = {{384, 768, 384}, {256, 384, 192}};
template <>
constexpr k_rule k_rule_of<vrx_complex_double> = {{192, 384, 192}, {128, 192, 96}};
}  // namespace

// CPU type 7 and type 5 differ in kc and the cap on mc.
template <typename T>
void vrx_l3_blocking_rule(vrx_int m, vrx_int n, vrx_int k, const vrx_l3_kernel_shape* shape,
                          vrx_l3_blocking<T>* bl) {
  const bool wide = wide_rule<T>(shape);
  const vrx_int ku = shape->ku > 0 ? shape->ku : 1;
  const k_limits& lim = wide ? k_rule_of<T>.wide : k_rule_of<T>.narrow;
  if (k <= lim.single) bl->kc = round_up(k > 128 ? k : 128, ku);
  else if (k < lim.halve) bl->kc = round_up(k / 2, ku);
  else bl->kc = lim.block;
  bl->mc = round_up(clamp(m, shape->mr, wide ? 4992 : 5000), shape->mr);
  bl->nc = round_up(clamp(n, shape->nr, k < 48 ? 24 : 192), shape->nr);
}

template <typename T>
void vrx_l3_blocking_init(const vrx_l3_view<T>* a, const vrx_l3_view<T>* b, const vrx_l3_kernel_shape* shape,
                          vrx_l3_blocking<T>* bl) {
  *bl = vrx_l3_blocking<T>{};
  vrx_l3_blocking_rule(a->rows, b->cols, a->cols, shape, bl);
  bl->kind = VRX_L3_BUFFER_BOTH;
  bl->a_packed = packed_view<T>(nullptr, bl->mc, bl->kc, shape->mr, vrx_l3_packed_a_address<T>);
  bl->b_packed = packed_view<T>(nullptr, bl->kc, bl->nc, shape->nr, vrx_l3_packed_b_address<T>);
  bl->allocate = allocate<T>;
  bl->release = release<T>;
}

#define VRX_INSTANTIATE(T)                                                                                   \
  template std::size_t vrx_l3_blocking_bytes<T>(std::uint64_t, vrx_int, vrx_int, vrx_int);                   \
  template void vrx_l3_blocking_rule(vrx_int, vrx_int, vrx_int, const vrx_l3_kernel_shape*, vrx_l3_blocking<T>*); \
  template void vrx_l3_blocking_init(const vrx_l3_view<T>*, const vrx_l3_view<T>*, const vrx_l3_kernel_shape*,  \
                                     vrx_l3_blocking<T>*);
VRX_L3_EACH_TYPE(VRX_INSTANTIATE)
#undef VRX_INSTANTIATE
