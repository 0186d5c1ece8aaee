// Floating-point control for guarded kernels: round to nearest, with flush to
// zero and denormals-are-zero only when the mode asks to flush denormals.
#include <xmmintrin.h>
#include "vector/vrx_vmf.h"

namespace {
constexpr std::uint32_t control_mask = 0xE040;   // FTZ, rounding control, DAZ
constexpr std::uint32_t flush_target = 0x8040;   // FTZ and DAZ, round to nearest
}  // namespace

std::uint32_t vrx_vmf_guard_enter() {
  const std::uint32_t mode = vrx_vmf_get_mode();
  const std::uint32_t target = (mode & VRX_VMF_DENORMAL_MASK) == VRX_VMF_FLUSH_DENORMALS ? flush_target : 0;
  const std::uint32_t saved = _mm_getcsr();
  if ((saved & control_mask) != target) _mm_setcsr((saved & ~control_mask) | target);
  return saved;
}

void vrx_vmf_guard_leave(std::uint32_t saved) {
  if (_mm_getcsr() != saved) _mm_setcsr(saved);
}
