// Memory that fails on purpose, for child processes: "refuse" makes every scratch
// allocation of the level-3 driver fail, "nomemory" makes the service's base allocator
// fail. Every refusal is counted.
#pragma once
#include <cstddef>
#include <cstring>

#include "blas/vrx_l3.h"
#include "service/vrx_memory.h"

inline int vrx_test_refusals = 0;

namespace vrx_test_detail {
inline void* refuse_scratch(std::size_t, int) {
  __atomic_add_fetch(&vrx_test_refusals, 1, __ATOMIC_RELAXED);
  return nullptr;
}
inline void* refuse_malloc(std::size_t) {
  __atomic_add_fetch(&vrx_test_refusals, 1, __ATOMIC_RELAXED);
  return nullptr;
}
inline void* refuse_realloc(void*, std::size_t) { return nullptr; }
}  // namespace vrx_test_detail

// Installs the refusals of `mode`; false for a mode it does not know.
inline bool vrx_test_refuse_memory(const char* mode) {
  if (std::strcmp(mode, "refuse") == 0) {
    vrx_l3_scratch_alloc = vrx_test_detail::refuse_scratch;
    return true;
  }
  if (std::strcmp(mode, "nomemory") == 0) {
    vrx_serv_memory_init();
    vrx_serv_base_allocator.malloc = vrx_test_detail::refuse_malloc;
    vrx_serv_base_allocator.realloc = vrx_test_detail::refuse_realloc;
    vrx_serv_base_allocator.pool_malloc = vrx_test_detail::refuse_malloc;
    return true;
  }
  return false;
}
