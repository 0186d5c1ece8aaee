// Per-thread pools: up to five kept buffers per thread, taken by best fit with
// the exact capacity first, kept when the caller frees them.
//
// Other threads read `count`, `user` and `in_use` of a pool without its lock and
// write only `in_use`, of a buffer they hold; those words go through atomics.
#include <cstring>
#include "service/vrx_serv.h"

namespace {
template <typename T>
T load(const T& word) {
  return __atomic_load_n(&word, __ATOMIC_ACQUIRE);
}
template <typename T>
void store(T& word, T value) {
  __atomic_store_n(&word, value, __ATOMIC_RELEASE);
}

// Empties position i; the entry is cleared before its block goes back, so no
// other thread can match a stale `user` against a reissued address.
void release_entry(BufferPool* pool, int i) {
  void* block = pool->base[i];
  store(pool->user[i], static_cast<void*>(nullptr));
  pool->base[i] = nullptr;
  pool->requested[i] = 0;
  pool->capacity[i] = 0;
  if (block) vrx_serv_base_allocator.pool_free(block);
}

// Fills position i with a new block for `need` bytes. On failure the position
// stands with base 0 and in use.
bool fill_entry(BufferPool* pool, int i, std::size_t need) {
  store(pool->in_use[i], std::uint64_t{1});
  store(pool->user[i], static_cast<void*>(nullptr));
  pool->capacity[i] = need;
  pool->base[i] = vrx_serv_base_allocator.pool_malloc(need + 32);
  return pool->base[i] != nullptr;
}

void* take_entry(BufferPool* pool, int i, std::size_t size, std::size_t alignment) {
  pool->requested[i] = size;
  store(pool->in_use[i], std::uint64_t{1});
  const std::uintptr_t base = reinterpret_cast<std::uintptr_t>(pool->base[i]);
  void* user = reinterpret_cast<void*>((base + alignment - 1) & ~(alignment - 1));
  store(pool->user[i], user);
  return user;
}

// Frees the entries nobody holds; true when none is held any longer.
bool release_free_entries(BufferPool* pool) {
  bool held = false;
  for (int i = 0; i < pool->count; ++i) {
    if (load(pool->in_use[i])) held = true;
    else if (pool->base[i]) release_entry(pool, i);
  }
  return !held;
}

// Finishes the pool of an ended thread once the last buffer it lent is back.
void collect_orphan(PoolSlot* slot, BufferPool* pool) {
  vrx_serv_table_write_lock();
  if (load(slot->pool) == pool && release_free_entries(pool)) {
    vrx_serv_fold_counters(pool);
    store(slot->pool, static_cast<BufferPool*>(nullptr));
    vrx_serv_base_allocator.free(pool);
  }
  vrx_serv_table_write_unlock();
}

// The highest thread number in the chunk of thread t.
std::int64_t last_number_of_chunk(std::int64_t t) {
  if (t <= vrx_slot_locks) return vrx_slot_locks;
  return std::int64_t{2} << (63 - __builtin_clzll(static_cast<std::uint64_t>(t - 1)));
}

// Finds `pointer` among the held buffers of other threads' pools and marks it free.
// Runs under the caller's own lock, so no writer can release a pool meanwhile.
BufferPool* give_back_to_owner(void* pointer, const BufferPool* own, PoolSlot** owner_slot) {
  const std::int64_t threads = vrx_serv_threads_registered();
  for (std::int64_t t = 1; t <= threads; ++t) {
    PoolSlot* slot = vrx_serv_slot_of(static_cast<std::int32_t>(t), 0);
    if (!slot) {
      t = last_number_of_chunk(t);  // the whole chunk is missing
      continue;
    }
    BufferPool* pool = load(slot->pool);
    if (!pool || pool == own) continue;
    const std::int32_t count = load(pool->count);
    for (int i = 0; i < count; ++i) {
      if (load(pool->user[i]) == pointer && load(pool->in_use[i])) {
        store(pool->in_use[i], std::uint64_t{0});
        *owner_slot = slot;
        return pool;
      }
    }
  }
  return nullptr;
}
}  // namespace

void* vrx_serv_malloc(std::size_t size, int alignment) {
  if (size == 0) return nullptr;
  vrx_serv_memory_init();
  if (vrx_serv_memory_settings()->pools_disabled || size > vrx_pool_size_limit)
    return vrx_serv_malloc_direct(size, alignment);
  BufferPool** field = vrx_serv_pool_lookup(vrx_serv_thread_number(), 1);
  if (!field) return vrx_serv_malloc_direct(size, alignment);
  BufferPool* pool = *field;
  if (!pool) {
    vrx_serv_pool_release(field);
    return vrx_serv_malloc_direct(size, alignment);
  }
  const std::size_t a = vrx_serv_effective_alignment(alignment);
  const std::size_t need = size + a;
  int exact = -1, larger = -1, smaller = -1;
  for (int i = 0; i < pool->count; ++i) {
    if (load(pool->in_use[i])) continue;
    const std::uint64_t capacity = pool->capacity[i];
    if (capacity == need) {
      exact = i;
      break;
    }
    if (capacity > need && (larger < 0 || capacity < pool->capacity[larger])) larger = i;
    if (capacity < need && smaller < 0) smaller = i;
  }
  int chosen = exact >= 0 ? exact : larger;
  if (chosen < 0) {
    if (pool->count < vrx_pool_entries) {
      chosen = pool->count;
      if (!fill_entry(pool, chosen, need)) {
        vrx_serv_pool_release(field);
        return nullptr;
      }
      store(pool->count, pool->count + 1);
    } else if (smaller >= 0) {
      chosen = smaller;
      release_entry(pool, chosen);
      if (!fill_entry(pool, chosen, need)) {
        vrx_serv_pool_release(field);
        return nullptr;
      }
    } else {
      // All five are held.
      vrx_serv_pool_release(field);
      return vrx_serv_malloc_direct(size, alignment);
    }
  }
  void* user = take_entry(pool, chosen, size, a);
  vrx_serv_pool_release(field);
  return user;
}

int vrx_serv_free(void* pointer) {
  if (!pointer) return 0;
  vrx_serv_memory_init();
  if (vrx_serv_memory_settings()->pools_disabled) {
    vrx_serv_free_direct(pointer);
    return 0;
  }
  BufferPool** field = vrx_serv_pool_lookup(vrx_serv_thread_number(), 1);
  if (!field) return 0;
  BufferPool* own = *field;
  if (own) {
    for (int i = 0; i < own->count; ++i) {
      if (load(own->user[i]) == pointer) {
        store(own->in_use[i], std::uint64_t{0});
        vrx_serv_pool_release(field);
        return 0;
      }
    }
  }
  PoolSlot* owner_slot = nullptr;
  BufferPool* owner = give_back_to_owner(pointer, own, &owner_slot);
  // Read while our lock still keeps writers out; after it the pool may go.
  const bool orphaned = owner && load(owner->orphan);
  vrx_serv_pool_release(field);
  if (!owner) vrx_serv_free_direct(pointer);
  else if (orphaned) collect_orphan(owner_slot, owner);
  return 0;
}

void vrx_serv_thread_free_buffers(std::int32_t id) {
  vrx_serv_table_write_lock();
  PoolSlot* slot = id >= 1 && id <= vrx_serv_threads_registered() ? vrx_serv_slot_of(id, 0) : nullptr;
  BufferPool* pool = slot ? slot->pool : nullptr;
  if (pool) {
    const bool none_held = release_free_entries(pool);
    vrx_serv_fold_counters(pool);
    if (none_held) {
      store(slot->pool, static_cast<BufferPool*>(nullptr));
      vrx_serv_base_allocator.free(pool);
    } else {
      // Held buffers keep the pool; the last free of one of them releases it.
      store(pool->orphan, std::int32_t{1});
    }
  }
  vrx_serv_table_write_unlock();
}
