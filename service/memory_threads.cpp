// Thread table of the memory manager: thread numbers in a thread-local key, a
// ladder of chunks holding one PoolSlot per thread, and the locks around it.
//
// Threads 1 to 1024 each lock their own slot lock. Threads numbered above, and
// threads on their very first lookup, share the reader side of the table word
// (reader count in steps of 2, writer in bit 0). A writer takes the table word
// and then every slot lock in ascending order, which excludes everybody.
#include <pthread.h>
#include <cstring>
#include "service/vrx_locks.h"

volatile std::int32_t vrx_serv_chunk_lock = 0;
volatile std::int32_t vrx_serv_key_lock = 0;

namespace {
struct alignas(64) SlotLock {
  volatile std::int32_t word;
};

struct alignas(64) TableLocks {
  volatile std::int32_t table_word;
  SlotLock slots[vrx_slot_locks];
};

TableLocks locks;

// Row 0 holds threads 1 to 1024; row r >= 1 holds the 2^(9+r) threads with
// floor(log2(t - 1)) = 9 + r.
constexpr int table_rows = 54;
PoolSlot* rows[table_rows];

std::int32_t thread_counter = 0;

pthread_key_t number_key;
std::int32_t key_made = 0;

void key_destructor(void* value) {
  vrx_serv_thread_free_buffers(static_cast<std::int32_t>(reinterpret_cast<std::uintptr_t>(value)));
}

void store_thread_number(std::int32_t number) {
  if (!__atomic_load_n(&key_made, __ATOMIC_ACQUIRE)) {
    vrx_serv_spin_lock(&vrx_serv_key_lock);
    if (!__atomic_load_n(&key_made, __ATOMIC_ACQUIRE) && pthread_key_create(&number_key, key_destructor) == 0)
      __atomic_store_n(&key_made, 1, __ATOMIC_RELEASE);
    vrx_serv_spin_unlock(&vrx_serv_key_lock);
  }
  // Without a key the thread stays number 0 and asks again at its next lookup.
  if (__atomic_load_n(&key_made, __ATOMIC_ACQUIRE))
    pthread_setspecific(number_key, reinterpret_cast<void*>(static_cast<std::uintptr_t>(number)));
}

bool has_own_lock(std::int32_t id) { return id >= 1 && id <= vrx_slot_locks; }

void reader_enter() {
  for (;;) {
    if (!(__atomic_add_fetch(&locks.table_word, 2, __ATOMIC_ACQUIRE) & 1)) return;
    __atomic_sub_fetch(&locks.table_word, 2, __ATOMIC_RELAXED);
    int spins = 0;
    while (__atomic_load_n(&locks.table_word, __ATOMIC_RELAXED) & 1)
      if (++spins >= vrx_serv_spin_yield_after) vrx_serv_yield();
  }
}

void reader_leave() { __atomic_sub_fetch(&locks.table_word, 2, __ATOMIC_RELEASE); }

void enter(std::int32_t id) {
  if (has_own_lock(id)) vrx_serv_spin_lock(&locks.slots[id - 1].word);
  else reader_enter();
}

void leave(std::int32_t id) {
  if (has_own_lock(id)) vrx_serv_spin_unlock(&locks.slots[id - 1].word);
  else reader_leave();
}

// A chunk of `entries` zeroed slots, starting on a 4096 boundary, with the
// allocation's own pointer in the eight bytes below the start.
PoolSlot* allocate_chunk(std::size_t entries) {
  const std::size_t bytes = (entries * sizeof(PoolSlot) + 8191) & ~std::size_t{4095};
  char* raw = static_cast<char*>(vrx_serv_base_allocator.malloc(bytes));
  if (!raw) return nullptr;
  char* start = reinterpret_cast<char*>((reinterpret_cast<std::uintptr_t>(raw) + 8 + 4095) & ~std::uintptr_t{4095});
  std::memcpy(start - 8, &raw, sizeof raw);
  std::memset(start, 0, entries * sizeof(PoolSlot));
  return reinterpret_cast<PoolSlot*>(start);
}
}  // namespace

std::int32_t vrx_serv_thread_number() {
  if (!__atomic_load_n(&key_made, __ATOMIC_ACQUIRE)) return 0;
  return static_cast<std::int32_t>(reinterpret_cast<std::uintptr_t>(pthread_getspecific(number_key)));
}

std::int32_t vrx_serv_threads_registered() { return __atomic_load_n(&thread_counter, __ATOMIC_ACQUIRE); }

PoolSlot* vrx_serv_slot_of(std::int32_t number, int create) {
  if (number < 1) return nullptr;
  const std::uint32_t t = static_cast<std::uint32_t>(number);
  int row = 0;
  std::size_t index = t - 1, entries = vrx_slot_locks;
  if (t - 1 >= static_cast<std::uint32_t>(vrx_slot_locks)) {
    const int log2 = 31 - __builtin_clz(t - 1);
    row = log2 - 9;
    entries = std::size_t{1} << log2;
    index = t - entries - 1;
  }
  PoolSlot* chunk = __atomic_load_n(&rows[row], __ATOMIC_ACQUIRE);
  if (!chunk && create) {
    vrx_serv_spin_lock(&vrx_serv_chunk_lock);
    chunk = __atomic_load_n(&rows[row], __ATOMIC_ACQUIRE);
    if (!chunk) {
      chunk = allocate_chunk(entries);
      if (chunk) __atomic_store_n(&rows[row], chunk, __ATOMIC_RELEASE);
    }
    vrx_serv_spin_unlock(&vrx_serv_chunk_lock);
  }
  return chunk ? chunk + index : nullptr;
}

BufferPool** vrx_serv_pool_lookup(std::int32_t id, int create) {
  enter(id);
  std::int32_t number = id;
  if (number == 0 && create) {
    // First call of this thread: it takes the next number, and stays a reader until it returns.
    number = __atomic_add_fetch(&thread_counter, 1, __ATOMIC_ACQ_REL);
    store_thread_number(number);
  }
  PoolSlot* slot = nullptr;
  if (number >= 1 && number <= vrx_serv_threads_registered()) slot = vrx_serv_slot_of(number, create);
  if (!slot) {
    leave(id);
    return nullptr;
  }
  slot->id = id;
  if (!slot->pool && create) {
    BufferPool* pool = static_cast<BufferPool*>(vrx_serv_base_allocator.malloc(sizeof(BufferPool)));
    if (!pool) {
      leave(id);
      return nullptr;
    }
    std::memset(pool, 0, sizeof *pool);
    __atomic_store_n(&slot->pool, pool, __ATOMIC_RELEASE);
  }
  return &slot->pool;
}

void vrx_serv_pool_release(BufferPool** pool_field) {
  const PoolSlot* slot = reinterpret_cast<const PoolSlot*>(reinterpret_cast<char*>(pool_field) -
                                                           offsetof(PoolSlot, pool));
  leave(slot->id);
}

void vrx_serv_table_write_lock() {
  int spins = 0;
  for (;;) {
    std::int32_t word = __atomic_load_n(&locks.table_word, __ATOMIC_RELAXED);
    if (!(word & 1) &&
        __atomic_compare_exchange_n(&locks.table_word, &word, word | 1, false, __ATOMIC_ACQUIRE, __ATOMIC_RELAXED))
      break;
    if (++spins >= vrx_serv_spin_yield_after) vrx_serv_yield();
  }
  // Readers already inside finish first; new ones back off while bit 0 is set.
  spins = 0;
  while (__atomic_load_n(&locks.table_word, __ATOMIC_ACQUIRE) != 1)
    if (++spins >= vrx_serv_spin_yield_after) vrx_serv_yield();
  for (int t = 0; t < vrx_slot_locks; ++t) vrx_serv_spin_lock(&locks.slots[t].word);
}

void vrx_serv_table_write_unlock() {
  for (int t = 0; t < vrx_slot_locks; ++t) vrx_serv_spin_unlock(&locks.slots[t].word);
  // Readers backing off may have the word above 1 for a moment: clear bit 0 alone.
  __atomic_sub_fetch(&locks.table_word, 1, __ATOMIC_RELEASE);
}

void vrx_serv_table_clear() {
  for (int t = 0; t < vrx_slot_locks; ++t) locks.slots[t].word = 0;
  // Counts that readers added at the moment of a fork belong to threads that are gone.
  __atomic_store_n(&locks.table_word, 0, __ATOMIC_RELEASE);
}
