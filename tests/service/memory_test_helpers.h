// Helpers of the memory manager tests: a fresh thread (so a fresh, empty pool),
// a view of the calling thread's pool, and a base allocator that fails on demand.
#pragma once
#include <thread>

#include "service/vrx_serv.h"

// Runs body on a new thread and waits for it; the thread's pool starts empty.
template <typename Body>
void on_new_thread(Body&& body) {
  std::thread thread(body);
  thread.join();
}

// The calling thread's pool, created if missing.
inline BufferPool* own_pool() {
  BufferPool** field = vrx_serv_pool_lookup(vrx_serv_thread_number(), 1);
  if (!field) return nullptr;
  BufferPool* pool = *field;
  vrx_serv_pool_release(field);
  return pool;
}

// Position of `p` among the handed-out pointers of `pool`, or -1.
inline int pool_position(const BufferPool* pool, const void* p) {
  for (int i = 0; pool && i < pool->count; ++i)
    if (pool->user[i] == p) return i;
  return -1;
}

inline bool is_aligned(const void* p, std::size_t alignment) {
  return reinterpret_cast<std::uintptr_t>(p) % alignment == 0;
}

// Swaps the base allocator for one whose record/direct side and pool side can be
// made to fail; the original table comes back when the scope ends.
struct FailingAllocator {
  static inline bool records_fail = false;
  static inline bool pool_fail = false;
  vrx_base_allocator saved;

  static void* records_malloc(std::size_t size) { return records_fail ? nullptr : vrx_serv_raw_malloc(size); }
  static void* records_realloc(void* p, std::size_t size) {
    return records_fail ? nullptr : vrx_serv_raw_realloc(p, size);
  }
  static void* pool_malloc(std::size_t size) { return pool_fail ? nullptr : vrx_serv_raw_malloc(size); }

  FailingAllocator() {
    vrx_serv_memory_init();
    saved = vrx_serv_base_allocator;
    records_fail = pool_fail = false;
    vrx_serv_base_allocator.malloc = records_malloc;
    vrx_serv_base_allocator.realloc = records_realloc;
    vrx_serv_base_allocator.pool_malloc = pool_malloc;
  }
  ~FailingAllocator() {
    vrx_serv_base_allocator = saved;
    records_fail = pool_fail = false;
  }
};
