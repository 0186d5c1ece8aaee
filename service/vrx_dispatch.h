// The kernel dispatcher: a cached pointer per kernel, chosen on first use by CPU type.
#pragma once
#include "service/vrx_serv.h"

// One kernel's variants. A null class entry takes `portable`; cases 0 and 2 take
// `compatible` (or `portable` when null) unless reproducibility is off.
template <typename Fn>
struct vrx_variants {
  Fn portable;
  Fn compatible;
  Fn sse2;
  Fn ssse3;
  Fn sse42;
  Fn avx;
  Fn avx2;
  Fn avx512;
};

// The switch on the CPU type, shared by every dispatcher. Entries are passed in
// the order of vrx_variants; unsupported types print message 1213 and end the process.
void* vrx_serv_dispatch_choose(void* const entries[8]);

template <typename Fn>
[[gnu::noinline]] Fn vrx_serv_dispatch_resolve(Fn* cache, const vrx_variants<Fn>& variants) {
  void* const entries[8] = {(void*)variants.portable, (void*)variants.compatible, (void*)variants.sse2,
                            (void*)variants.ssse3,    (void*)variants.sse42,      (void*)variants.avx,
                            (void*)variants.avx2,     (void*)variants.avx512};
  Fn chosen = (Fn)vrx_serv_dispatch_choose(entries);
  __atomic_store_n(cache, chosen, __ATOMIC_RELEASE);
  return chosen;
}

// After the first call: a load, a test and the caller's indirect jump.
template <typename Fn>
inline Fn vrx_serv_dispatch(Fn* cache, const vrx_variants<Fn>& variants) {
  Fn chosen = __atomic_load_n(cache, __ATOMIC_ACQUIRE);
  if (chosen) [[likely]] return chosen;
  return vrx_serv_dispatch_resolve(cache, variants);
}
