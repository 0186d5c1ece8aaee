// Child process for the memory manager: settings read once per process, and a
// many-thread stress run that ends with every block and pool accounted for.
//   memory_driver settings                 prints the settings as read
//   memory_driver pools                    one reuse cycle; where the blocks came from
//   memory_driver stats                    the statistics words after some traffic
//   memory_driver stress T R MS            R rounds of T threads for MS milliseconds each
#include <atomic>
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <thread>
#include <vector>

#include "service/vrx_serv.h"

namespace {
int print_settings() {
  const vrx_memory_settings* s = vrx_serv_memory_settings();
  std::printf("fast_mm_disabled=%d", vrx_serv_fast_mm_disabled());
  if (s->hbw_limit == vrx_no_hbw_limit) std::printf(" limit=none\n");
  else std::printf(" limit=%" PRIu64 "\n", s->hbw_limit);
  return 0;
}

BufferPool* own_pool() {
  BufferPool** field = vrx_serv_pool_lookup(vrx_serv_thread_number(), 1);
  if (!field) return nullptr;
  BufferPool* pool = *field;
  vrx_serv_pool_release(field);
  return pool;
}

bool in_own_pool(const void* p) {
  const BufferPool* pool = own_pool();
  for (int i = 0; pool && i < pool->count; ++i)
    if (pool->user[i] == p) return true;
  return false;
}

int print_pools() {
  void* first = vrx_serv_malloc(100, 128);
  const bool first_pooled = in_own_pool(first);
  vrx_serv_free(first);
  void* second = vrx_serv_malloc(100, 128);
  const BufferPool* pool = own_pool();
  std::printf("pooled=%d entries=%d direct_blocks=%d\n", first_pooled ? 1 : 0, pool ? pool->count : -1,
              pool ? pool->direct_blocks : -1);
  vrx_serv_free(second);
  std::printf("after_free direct_blocks=%d\n", pool ? pool->direct_blocks : -1);
  return 0;
}

int print_stats() {
  void* a = vrx_serv_malloc_direct(1000, 64);
  void* b = vrx_serv_malloc(0x8000001, 64);
  vrx_serv_free(a);
  const vrx_memory_statistics& s = vrx_serv_memory_stats;
  std::printf("flag=%d current_bytes=%" PRId64 " current_blocks=%" PRId64 " peak_bytes=%" PRId64
              " peak_blocks=%" PRId64 "\n",
              s.flag, s.current_bytes, s.current_blocks, s.peak_bytes, s.peak_blocks);
  vrx_serv_free(b);
  return 0;
}

// ---- stress ----
struct Block {
  unsigned char* p;
  std::size_t size;
  std::uint32_t seed;
};

struct Mailbox {
  volatile std::int32_t lock;
  int count;
  Block items[64];
};

std::vector<Mailbox> mailboxes;
std::atomic<int> failures{0};

void fail(const char* what, std::size_t size) {
  if (failures.fetch_add(1) < 10) std::printf("failure: %s (size %zu)\n", what, size);
}

unsigned char pattern(std::uint32_t seed, std::size_t i) { return static_cast<unsigned char>(seed + i * 131u); }

void fill(const Block& b) {
  for (std::size_t i = 0; i < b.size; ++i) b.p[i] = pattern(b.seed, i);
}

void check_and_free(const Block& b) {
  for (std::size_t i = 0; i < b.size; ++i)
    if (b.p[i] != pattern(b.seed, i)) {
      fail("contents changed while held", b.size);
      break;
    }
  vrx_serv_free(b.p);
}

bool post(int to, const Block& b) {
  Mailbox& box = mailboxes[to];
  vrx_serv_spin_lock(&box.lock);
  const bool room = box.count < 64;
  if (room) box.items[box.count++] = b;
  vrx_serv_spin_unlock(&box.lock);
  return room;
}

void drain(int owner) {
  Mailbox& box = mailboxes[owner];
  for (;;) {
    vrx_serv_spin_lock(&box.lock);
    const bool any = box.count > 0;
    Block b{};
    if (any) b = box.items[--box.count];
    vrx_serv_spin_unlock(&box.lock);
    if (!any) return;
    check_and_free(b);
  }
}

void worker(int index, int workers, unsigned seed, std::chrono::steady_clock::time_point deadline) {
  std::mt19937 rng(seed);
  static const std::size_t sizes[] = {1, 24, 100, 1000, 4096, 20000, 70000, 300000};
  static const int alignments[] = {0, 3, 48, 64, 128, 4096, -8};
  Block held[8];
  int count = 0;
  std::uint32_t sequence = 0;
  while (std::chrono::steady_clock::now() < deadline) {
    const unsigned op = rng() % 10;
    if (op < 5 && count < 8) {
      const std::size_t size = sizes[rng() % 8] + rng() % 64;
      const int alignment = alignments[rng() % 7];
      const unsigned kind = rng() % 20;
      unsigned char* p = static_cast<unsigned char*>(
          kind < 16 ? vrx_serv_malloc(size, alignment)
                    : kind < 19 ? vrx_serv_malloc_direct(size, alignment) : vrx_serv_calloc(size, 1, alignment));
      if (!p) {
        fail("allocation gave null", size);
        continue;
      }
      if (reinterpret_cast<std::uintptr_t>(p) % vrx_serv_effective_alignment(alignment) != 0)
        fail("misaligned block", size);
      if (kind == 19)
        for (std::size_t i = 0; i < size; ++i)
          if (p[i] != 0) {
            fail("calloc block not zeroed", size);
            break;
          }
      held[count] = Block{p, size, (static_cast<std::uint32_t>(index) << 20) ^ sequence++};
      fill(held[count++]);
    } else if (op < 8 && count > 0) {
      const int i = static_cast<int>(rng() % count);
      check_and_free(held[i]);
      held[i] = held[--count];
    } else if (op == 8 && count > 0) {
      const int i = static_cast<int>(rng() % count);
      const int to = (index + 1 + static_cast<int>(rng() % (workers - 1))) % workers;
      if (!post(to, held[i])) check_and_free(held[i]);
      held[i] = held[--count];
    } else if (op == 9) {
      drain(index);
    }
  }
  // Blocks left in the hands of this thread; its mailbox may still receive more.
  for (int i = 0; i < count; ++i) check_and_free(held[i]);
}

int stress(int workers, int rounds, int milliseconds) {
  if (workers < 2) workers = 2;
  vrx_serv_memory_init();
  vrx_serv_memory_stats.flag = 1;
  mailboxes.assign(workers, Mailbox{});
  for (int round = 0; round < rounds; ++round) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    std::vector<std::thread> team;
    for (int w = 0; w < workers; ++w) team.emplace_back(worker, w, workers, 1234u + 97u * round + w, deadline);
    for (std::thread& t : team) t.join();
    // Their owners have ended: these frees finish the orphaned pools.
    for (int w = 0; w < workers; ++w) drain(w);
  }
  vrx_serv_thread_free_buffers(vrx_serv_thread_number());

  int live_pools = 0;
  std::int64_t blocks = vrx_serv_memory_totals.folded_blocks, bytes = vrx_serv_memory_totals.folded_bytes;
  for (std::int32_t t = 1; t <= vrx_serv_threads_registered(); ++t) {
    const PoolSlot* slot = vrx_serv_slot_of(t, 0);
    if (!slot || !slot->pool) continue;
    ++live_pools;
    blocks += slot->pool->direct_blocks;
    bytes += slot->pool->direct_bytes;
  }
  if (live_pools != 0) fail("pools still live after every thread ended", live_pools);
  if (blocks != 0 || bytes != 0) fail("direct counters do not balance", static_cast<std::size_t>(blocks));
  const vrx_memory_statistics& s = vrx_serv_memory_stats;
  if (s.current_blocks != 0 || s.current_bytes != 0) fail("statistics do not return to zero", s.current_blocks);
  if (s.peak_bytes <= 0) fail("statistics never moved", 0);
  if (failures.load() != 0) return 1;
  std::printf("stress ok\n");
  return 0;
}
}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  if (std::strcmp(argv[1], "settings") == 0) return print_settings();
  if (std::strcmp(argv[1], "pools") == 0) return print_pools();
  if (std::strcmp(argv[1], "stats") == 0) return print_stats();
  if (std::strcmp(argv[1], "stress") == 0 && argc == 5)
    return stress(std::atoi(argv[2]), std::atoi(argv[3]), std::atoi(argv[4]));
  return 2;
}
