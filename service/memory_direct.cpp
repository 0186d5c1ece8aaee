// Direct path of the memory manager: one block of the base allocator per request,
// with a DirectHeader right below the pointer handed out, and per-thread counters.
#include <cstring>
#include "service/vrx_locks.h"

vrx_memory_totals vrx_serv_memory_totals = {0, 0};
vrx_memory_statistics vrx_serv_memory_stats = {-1, 0, 0, 0, 0};
volatile std::int32_t vrx_serv_totals_lock = 0;
volatile std::int32_t vrx_serv_statistics_lock = 0;

namespace {
void count_statistics(std::int64_t bytes, std::int64_t blocks) {
  if (__atomic_load_n(&vrx_serv_memory_stats.flag, __ATOMIC_RELAXED) != 1) return;
  vrx_serv_spin_lock(&vrx_serv_statistics_lock);
  vrx_memory_statistics& s = vrx_serv_memory_stats;
  s.current_bytes += bytes;
  s.current_blocks += blocks;
  if (s.current_bytes > s.peak_bytes) {
    s.peak_bytes = s.current_bytes;
    s.peak_blocks = s.current_blocks;
  }
  vrx_serv_spin_unlock(&vrx_serv_statistics_lock);
}

// Adds to the calling thread's direct counters, creating its slot and pool if
// needed; without them the block is still good, only not counted.
void count_for_thread(std::int64_t bytes, std::int32_t blocks) {
  BufferPool** field = vrx_serv_pool_lookup(vrx_serv_thread_number(), 1);
  if (!field) return;
  if (BufferPool* pool = *field) {
    pool->direct_blocks += blocks;
    pool->direct_bytes += bytes;
  }
  vrx_serv_pool_release(field);
}
}  // namespace

void vrx_serv_fold_counters(BufferPool* pool) {
  vrx_serv_spin_lock(&vrx_serv_totals_lock);
  vrx_serv_memory_totals.folded_blocks += pool->direct_blocks;
  vrx_serv_memory_totals.folded_bytes += pool->direct_bytes;
  vrx_serv_spin_unlock(&vrx_serv_totals_lock);
  pool->direct_blocks = 0;
  pool->direct_bytes = 0;
}

void* vrx_serv_malloc_direct(std::size_t size, int alignment) {
  if (size == 0) return nullptr;
  vrx_serv_memory_init();
  const std::size_t a = vrx_serv_effective_alignment(alignment);
  const std::size_t total = size + a + sizeof(DirectHeader);
  if (total < size) return nullptr;
  char* raw = static_cast<char*>(vrx_serv_base_allocator.malloc(total));
  if (!raw) return nullptr;
  // At least 24 bytes stay below the aligned pointer, for the header.
  char* p = reinterpret_cast<char*>((reinterpret_cast<std::uintptr_t>(raw) + a + sizeof(DirectHeader)) & ~(a - 1));
  DirectHeader* header = reinterpret_cast<DirectHeader*>(p) - 1;
  header->raw = raw;
  header->total = total;
  header->registered = 0;  // no coprocessor in this build
  header->alignment = static_cast<std::int32_t>(a);
  count_for_thread(static_cast<std::int64_t>(total), 1);
  count_statistics(static_cast<std::int64_t>(total), 1);
  return p;
}

void vrx_serv_free_direct(void* pointer) {
  if (!pointer) return;
  vrx_serv_memory_init();
  const DirectHeader* header = static_cast<const DirectHeader*>(pointer) - 1;
  if (!header->raw) return;
  // Counted against the freeing thread, which may not be the one that allocated.
  count_for_thread(-static_cast<std::int64_t>(header->total), -1);
  count_statistics(-static_cast<std::int64_t>(header->total), -1);
  vrx_serv_base_allocator.free(header->raw);
}

void* vrx_serv_calloc(std::size_t count, std::size_t size, int alignment) {
  void* p = vrx_serv_malloc_direct(count * size, alignment);
  if (p) std::memset(p, 0, count * size);
  return p;
}
