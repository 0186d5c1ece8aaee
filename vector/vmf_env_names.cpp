// Names of the two vector-math variables. They are kept scrambled in the binary
// and assembled only when read.
#include <cstddef>
#include "vector/vrx_vmf.h"

namespace {
constexpr unsigned char scramble_key(std::size_t i) { return static_cast<unsigned char>(0xA5 ^ (i * 29 + 11)); }

template <std::size_t N>
struct scrambled_name {
  unsigned char bytes[N];
};

template <std::size_t N>
consteval scrambled_name<N> scramble(const char (&plain)[N]) {
  scrambled_name<N> out{};
  for (std::size_t i = 0; i < N; ++i) out.bytes[i] = static_cast<unsigned char>(plain[i]) ^ scramble_key(i);
  return out;
}

template <std::size_t N>
void unscramble(const scrambled_name<N>& from, char name[32]) {
  static_assert(N <= 32, "variable names fit 32 bytes");
  // Read through volatile so that the compiler cannot fold the plain name back
  // into the code as immediates.
  const volatile unsigned char* bytes = from.bytes;
  for (std::size_t i = 0; i < N; ++i) name[i] = static_cast<char>(bytes[i] ^ scramble_key(i));
}

constexpr auto mode_name = scramble("VRX_VMF_MODE");
constexpr auto cpu_code_name = scramble("VRX_VMF_CPU_CODE");
}  // namespace

void vrx_vmf_mode_variable(char name[32]) { unscramble(mode_name, name); }
void vrx_vmf_cpu_code_variable(char name[32]) { unscramble(cpu_code_name, name); }
