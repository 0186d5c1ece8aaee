// Blocks of the service's base allocator counted while they are held, for child
// processes that check that a call returns everything it took; requests above a chosen
// size can be refused as well.
#pragma once
#include <cstddef>

#include "service/vrx_memory.h"

inline long vrx_test_live_blocks = 0;
inline std::size_t vrx_test_refuse_above = ~std::size_t{0};

namespace vrx_test_detail {
inline vrx_base_allocator counted_underlying;
inline void* counted(void* p) {
  if (p) __atomic_add_fetch(&vrx_test_live_blocks, 1, __ATOMIC_RELAXED);
  return p;
}
inline void uncounted(void* p) {
  if (p) __atomic_sub_fetch(&vrx_test_live_blocks, 1, __ATOMIC_RELAXED);
}
inline void* counted_malloc(std::size_t size) {
  return size > vrx_test_refuse_above ? nullptr : counted(counted_underlying.malloc(size));
}
inline void* counted_pool_malloc(std::size_t size) {
  return size > vrx_test_refuse_above ? nullptr : counted(counted_underlying.pool_malloc(size));
}
inline void counted_free(void* p) {
  uncounted(p);
  counted_underlying.free(p);
}
inline void counted_pool_free(void* p) {
  uncounted(p);
  counted_underlying.pool_free(p);
}
}  // namespace vrx_test_detail

// Puts the counting allocator in front of the one in place.
inline void vrx_test_count_blocks() {
  vrx_serv_memory_init();
  vrx_test_detail::counted_underlying = vrx_serv_base_allocator;
  vrx_serv_base_allocator.malloc = vrx_test_detail::counted_malloc;
  vrx_serv_base_allocator.free = vrx_test_detail::counted_free;
  vrx_serv_base_allocator.pool_malloc = vrx_test_detail::counted_pool_malloc;
  vrx_serv_base_allocator.pool_free = vrx_test_detail::counted_pool_free;
}
