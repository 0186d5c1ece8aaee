// Bounded string functions of the service frame. Violations go to the
// constraint handler when one is set and are silent otherwise.
#include <cstring>
#include "service/vrx_serv.h"

namespace {
vrx_constraint_fn constraint_handler = nullptr;

int violation(const char* message, int code) {
  vrx_constraint_fn handler = __atomic_load_n(&constraint_handler, __ATOMIC_ACQUIRE);
  if (handler) handler(message, nullptr, code);
  return code;
}

// Copies src behind dest until a zero byte or slen bytes, then closes with a zero.
// `dest` and `dmax` describe the room left; `first` is where a failure stores its zero.
int copy_bounded(char* first, char* dest, std::size_t dmax, const char* src, std::size_t slen,
                 const char* overlap_text, const char* space_text) {
  const bool dest_first = dest < src;
  const char* bumper = dest_first ? src : dest;
  while (dmax > 0) {
    if ((dest_first ? static_cast<const char*>(dest) : src) == bumper) {
      *first = '\0';
      return violation(overlap_text, VRX_ESOVRLP);
    }
    if (slen == 0) {
      *dest = '\0';
      return 0;
    }
    *dest = *src;
    if (*dest == '\0') return 0;
    --dmax;
    --slen;
    ++dest;
    ++src;
  }
  *first = '\0';
  return violation(space_text, VRX_ESNOSPC);
}
}  // namespace

void vrx_serv_set_constraint_handler(vrx_constraint_fn routine) {
  vrx_constraint_fn empty = nullptr;
  __atomic_compare_exchange_n(&constraint_handler, &empty, routine, false, __ATOMIC_ACQ_REL,
                              __ATOMIC_ACQUIRE);
}

std::size_t strnlen_s(const char* s, std::size_t dmax) {
  if (!s) return 0;
  if (dmax == 0) return violation("strnlen_s: dmax is 0", VRX_ESZEROL), 0;
  if (dmax > vrx_serv_string_max) return violation("strnlen_s: dmax exceeds max", VRX_ESLEMAX), 0;
  std::size_t count = 0;
  while (count < dmax && s[count] != '\0') ++count;
  return count;
}

int strncpy_s(char* dest, std::size_t dmax, const char* src, std::size_t slen) {
  if (!dest) return violation("strncpy_s: dest is null", VRX_ESNULLP);
  if (dmax == 0) return violation("strncpy_s: dmax is 0", VRX_ESZEROL);
  if (dmax > vrx_serv_string_max) return violation("strncpy_s: dmax exceeds max", VRX_ESLEMAX);
  if (!src) return *dest = '\0', violation("strncpy_s: src is null", VRX_ESNULLP);
  if (slen == 0) return *dest = '\0', violation("strncpy_s: slen is zero", VRX_ESZEROL);
  if (slen > vrx_serv_string_max) return *dest = '\0', violation("strncpy_s: slen exceeds max", VRX_ESLEMAX);
  return copy_bounded(dest, dest, dmax, src, slen, "strncpy_s: overlapping objects",
                      "strncpy_s: not enough space for src");
}

int strncat_s(char* dest, std::size_t dmax, const char* src, std::size_t slen) {
  if (!dest) return violation("strncat_s: dest is null", VRX_ESNULLP);
  if (dmax == 0) return violation("strncat_s: dmax is 0", VRX_ESZEROL);
  if (dmax > vrx_serv_string_max) return violation("strncat_s: dmax exceeds max", VRX_ESLEMAX);
  if (!src) return *dest = '\0', violation("strncat_s: src is null", VRX_ESNULLP);
  if (slen > vrx_serv_string_max) return *dest = '\0', violation("strncat_s: slen exceeds max", VRX_ESLEMAX);
  char* end = dest;
  std::size_t room = dmax;
  while (room > 0 && *end != '\0') {
    if (end == src) return *dest = '\0', violation("strncat_s: overlapping objects", VRX_ESOVRLP);
    ++end;
    --room;
  }
  if (room == 0) return *dest = '\0', violation("strncat_s: dest unterminated", VRX_ESNOSPC);
  return copy_bounded(dest, end, room, src, slen, "strncat_s: overlapping objects",
                      "strncat_s: not enough space for src");
}

int memmove_s(void* dest, std::size_t dmax, const void* src, std::size_t smax) {
  if (!dest) return violation("memmove_s: dest is null", VRX_ESNULLP);
  if (dmax == 0) return violation("memmove_s: dmax is 0", VRX_ESZEROL);
  if (smax == 0) return std::memset(dest, 0, dmax), violation("memmove_s: smax is 0", VRX_ESZEROL);
  if (smax > dmax) return std::memset(dest, 0, dmax), violation("memmove_s: smax exceeds max", VRX_ESLEMAX);
  if (!src) return std::memset(dest, 0, dmax), violation("memmove_s: src is null", VRX_ESNULLP);
  std::memmove(dest, src, smax);
  return 0;
}
