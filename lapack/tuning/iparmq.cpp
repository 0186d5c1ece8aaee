// Keys 12 to 16 for the Hessenberg QR, as the published IPARMQ answers them, with `n` the
// active block length high - low + 1.
#include <cmath>
#include "lapack/tuning/tuning_query.h"

namespace {
constexpr vrx_int nmin = 75;             // key 12: smallest order for the multishift sweep
constexpr vrx_int window_switch = 500;   // key 13: orders above take a 3/2 deflation window
constexpr vrx_int nibble = 14;           // key 14: percentage of deflations that skips a sweep
constexpr vrx_int blocked_shifts = 14;   // key 16: from this shift count, 2 by 2 block updates

vrx_int shift_count(vrx_int n) {
  vrx_int shifts = 2;
  if (n >= 30) shifts = 4;
  if (n >= 60) shifts = 10;
  if (n >= 150) {
    const vrx_int log2_rounded = static_cast<vrx_int>(std::lround(std::log(static_cast<float>(n)) / std::log(2.0f)));
    shifts = n / log2_rounded;
    if (shifts < 10) shifts = 10;
  }
  if (n >= 590) shifts = 64;
  if (n >= 3000) shifts = 128;
  if (n >= 6000) shifts = 256;
  shifts -= shifts % 2;
  return shifts < 2 ? 2 : shifts;
}
}  // namespace

vrx_int vrx_tuning_iparmq(int key, vrx_int low, vrx_int high) {
  const vrx_int n = high - low + 1;
  switch (key) {
    case 12: return nmin;
    case 13: return n <= window_switch ? shift_count(n) : 3 * shift_count(n) / 2;
    case 14: return nibble;
    case 15: return shift_count(n);
    case 16: return shift_count(n) >= blocked_shifts ? 2 : 0;
    default: return -1;
  }
}
