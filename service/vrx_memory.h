// Scratch memory: per-thread pools and the direct path.
//
// vrx_serv_malloc serves a request from the calling thread's pool of up to five
// kept buffers (best fit, exact capacity first) and falls back to the direct
// path; vrx_serv_malloc_direct always takes a fresh block with a header in
// front. vrx_serv_free releases blocks of either kind. Blocks are aligned to the
// requested alignment when it is a power of two of at least 64, else to 64.
#pragma once
#include <cstddef>
#include <cstdint>
#include "service/vrx_types.h"

void* vrx_serv_malloc(std::size_t size, int alignment);
int vrx_serv_free(void* pointer);
void* vrx_serv_malloc_direct(std::size_t size, int alignment);
void vrx_serv_free_direct(void* pointer);
// Direct block of count * size zeroed bytes; the product is not checked.
void* vrx_serv_calloc(std::size_t count, std::size_t size, int alignment);

// 1 when VRX_DISABLE_FAST_MM turned the pools off, else 0.
int vrx_serv_fast_mm_disabled();

// ---- manager internals: its own files and its tests ----

// Kept buffers per thread.
constexpr int vrx_pool_entries = 5;
// Requests above this many bytes skip the pools.
constexpr std::size_t vrx_pool_size_limit = 0x8000000;
// Threads 1 to this number each have a slot lock of their own.
constexpr int vrx_slot_locks = 1024;

// In front of every block of the base allocator.
struct RawHeader {
  std::uint64_t base;            // what the underlying allocator returned; 0: ignore this header
  std::uint64_t high_bandwidth;  // low 32 bits: 1 for a high-bandwidth block
  std::uint64_t total;           // bytes asked of the underlying allocator, header included
  std::uint64_t marker;          // vrx_raw_marker
};
constexpr std::uint64_t vrx_raw_marker = 4096;

// Right in front of a pointer of the direct path.
struct DirectHeader {
  void* raw;                // block of the base allocator
  std::uint64_t total;      // size + alignment + 24
  std::int32_t registered;  // 1 when registered with a coprocessor (never, without offload)
  std::int32_t alignment;   // effective alignment
};
static_assert(sizeof(DirectHeader) == 24);

// The kept buffers of one thread. Fields read by other threads go through atomics.
struct BufferPool {
  void* base[vrx_pool_entries];                    // raw allocation, 0 when empty
  void* user[vrx_pool_entries];                    // pointer last handed out
  std::uint64_t requested[vrx_pool_entries];       // size last requested
  std::uint64_t capacity[vrx_pool_entries];        // size + alignment of the request that created it
  std::uint64_t in_use[vrx_pool_entries];          // 1 while the caller holds the buffer
  std::int32_t count;                              // positions filled so far
  std::int32_t direct_blocks;                      // direct blocks live for this thread (may go negative)
  std::int64_t direct_bytes;                       // their total
  std::int32_t orphan;                             // the thread ended while entries were held
};

// Thread table entry; one per cache line.
struct alignas(64) PoolSlot {
  std::int32_t id;    // the number the thread came in with at its last lookup
  BufferPool* pool;
};
static_assert(sizeof(PoolSlot) == 64);

// Base allocator: malloc, realloc, free for direct blocks and the manager's own
// records; malloc and free for pool buffers. Tests may swap entries after
// vrx_serv_memory_init to make allocation fail.
struct vrx_base_allocator {
  void* (*malloc)(std::size_t size);
  void* (*realloc)(void* pointer, std::size_t size);
  void (*free)(void* pointer);
  void* (*pool_malloc)(std::size_t size);
  void (*pool_free)(void* pointer);
};
extern vrx_base_allocator vrx_serv_base_allocator;

// Replacement table of an embedding; at load it holds the C runtime's functions.
struct vrx_crt_allocator {
  void* (*malloc)(std::size_t size);
  void* (*calloc)(std::size_t count, std::size_t size);
  void* (*realloc)(void* pointer, std::size_t size);
  void (*free)(void* pointer);
};
extern vrx_crt_allocator vrx_serv_crt_allocator;

void* vrx_serv_raw_malloc(std::size_t size);
void* vrx_serv_raw_realloc(void* pointer, std::size_t size);
void vrx_serv_raw_free(void* pointer);

// One-time initialisation: settings, high-bandwidth library, allocator table.
void vrx_serv_memory_init();

// Settings, read once.
struct vrx_memory_settings {
  std::int32_t pools_disabled;  // VRX_DISABLE_FAST_MM had a value
  std::uint64_t hbw_limit;      // VRX_FAST_MEMORY_LIMIT in bytes; all ones: no limit
};
const vrx_memory_settings* vrx_serv_memory_settings();
constexpr std::uint64_t vrx_no_hbw_limit = ~std::uint64_t{0};
// The limit for a VRX_FAST_MEMORY_LIMIT text; null means not set.
std::uint64_t vrx_serv_hbw_limit_from(const char* text);

// High-bandwidth library, used only on CPU type 6.
struct vrx_hbw_library {
  std::int32_t on;
  int (*posix_memalign_psize)(void** pointer, std::size_t alignment, std::size_t size, int page_size);
  void* (*malloc)(std::size_t size);
  void (*free)(void* pointer);
};
extern vrx_hbw_library vrx_serv_hbw;
extern std::uint64_t vrx_serv_hbw_limit;  // remaining budget; all ones: no limit
// Loads `name` from the library directories; 1 on success.
int vrx_serv_hbw_load(const char* name);

// Thread numbers: 0 for a thread that has none yet.
std::int32_t vrx_serv_thread_number();
std::int32_t vrx_serv_threads_registered();

// Locks the thread's slot (creating number, chunk and pool when `create` is set)
// and returns the address of its pool field; null with nothing held on failure.
BufferPool** vrx_serv_pool_lookup(std::int32_t id, int create);
void vrx_serv_pool_release(BufferPool** pool_field);
// The slot of thread `number`, or null; with `create`, a missing chunk is made.
PoolSlot* vrx_serv_slot_of(std::int32_t number, int create);
// Excludes every other user of the table: table word, then all slot locks.
void vrx_serv_table_write_lock();
void vrx_serv_table_write_unlock();
// Frees the table word and every slot lock; only for a forked child, where no other thread runs.
void vrx_serv_table_clear();

// Returns the free buffers of thread `id` to the allocator; also the destructor
// of the thread-number key.
void vrx_serv_thread_free_buffers(std::int32_t id);

// Direct-path counters of released pools.
struct vrx_memory_totals {
  std::int64_t folded_blocks;
  std::int64_t folded_bytes;
};
extern vrx_memory_totals vrx_serv_memory_totals;
// Adds a pool's direct counters to the totals and zeroes them.
void vrx_serv_fold_counters(BufferPool* pool);

// Allocation statistics; they move only while `flag` is 1 (it starts at -1).
struct vrx_memory_statistics {
  std::int32_t flag;
  std::int64_t current_bytes;
  std::int64_t current_blocks;
  std::int64_t peak_bytes;
  std::int64_t peak_blocks;
};
extern vrx_memory_statistics vrx_serv_memory_stats;

// The alignment a request gets: `alignment` if a power of two of at least 64, else 64.
inline std::size_t vrx_serv_effective_alignment(int alignment) {
  if (alignment >= 64 && (alignment & (alignment - 1)) == 0) return static_cast<std::size_t>(alignment);
  return 64;
}
