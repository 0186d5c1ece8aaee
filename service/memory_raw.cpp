// Base allocator of the memory manager: blocks with a RawHeader in front, taken
// from the C heap or, where loaded, from the high-bandwidth library; the table
// of allocator functions; and the manager's one-time initialisation.
#include <dlfcn.h>
#include <cstdlib>
#include <cstring>
#include "service/vrx_locks.h"
#include "service/vrx_once.h"

vrx_crt_allocator vrx_serv_crt_allocator = {std::malloc, std::calloc, std::realloc, std::free};
vrx_base_allocator vrx_serv_base_allocator = {vrx_serv_raw_malloc, vrx_serv_raw_realloc, vrx_serv_raw_free,
                                              vrx_serv_raw_malloc, vrx_serv_raw_free};
vrx_hbw_library vrx_serv_hbw = {0, nullptr, nullptr, nullptr};
std::uint64_t vrx_serv_hbw_limit = vrx_no_hbw_limit;
volatile std::int32_t vrx_serv_memory_init_lock = 0;
volatile std::int32_t vrx_serv_hbw_lock = 0;

namespace {
constexpr std::size_t raw_header_bytes = sizeof(RawHeader);
static_assert(raw_header_bytes == 32);

volatile std::int32_t initialised = 0;

// Directories searched for the high-bandwidth library; empty in this build.
const char hbw_directory_first[] = "";
const char hbw_directory_second[] = "";
constexpr std::size_t path_bytes = 260;

void* hbw_open(const char* directory, const char* name) {
  char path[path_bytes];
  if (strncpy_s(path, path_bytes, directory, path_bytes) != 0) return nullptr;
  if (strncat_s(path, path_bytes, name, path_bytes) != 0) return nullptr;
  return dlopen(path, RTLD_NOW | RTLD_LOCAL);
}

bool hbw_limited() { return __atomic_load_n(&vrx_serv_hbw_limit, __ATOMIC_RELAXED) != vrx_no_hbw_limit; }

void initialise() {
  const vrx_memory_settings* settings = vrx_serv_memory_settings();
  vrx_serv_hbw_limit = settings->hbw_limit;
  // High-bandwidth memory exists only on CPU type 6.
  if (vrx_serv_cpu_detect() == VRX_CPU_MIC) vrx_serv_hbw_load("libmemkind.so");
  const vrx_crt_allocator& crt = vrx_serv_crt_allocator;
  if (crt.malloc == std::malloc && crt.calloc == std::calloc && crt.realloc == std::realloc &&
      crt.free == std::free) {
    vrx_serv_base_allocator = {vrx_serv_raw_malloc, vrx_serv_raw_realloc, vrx_serv_raw_free, vrx_serv_raw_malloc,
                               vrx_serv_raw_free};
  } else {
    // An embedding replaced the C runtime's functions: use them as they are, with no header.
    vrx_serv_base_allocator = {crt.malloc, crt.realloc, crt.free, crt.malloc, crt.free};
  }
}
}  // namespace

void vrx_serv_memory_init() { vrx_serv_once(&initialised, &vrx_serv_memory_init_lock, initialise); }

int vrx_serv_hbw_load(const char* name) {
  if (std::strchr(name, '/') || std::strchr(name, '\\')) return 0;
  void* library = hbw_open(hbw_directory_first, name);
  if (!library && std::strcmp(hbw_directory_first, hbw_directory_second) != 0)
    library = hbw_open(hbw_directory_second, name);
  if (!library) return 0;
  vrx_hbw_library found = {1, nullptr, nullptr, nullptr};
  found.posix_memalign_psize =
      reinterpret_cast<decltype(found.posix_memalign_psize)>(dlsym(library, "hbw_posix_memalign_psize"));
  found.malloc = reinterpret_cast<decltype(found.malloc)>(dlsym(library, "hbw_malloc"));
  found.free = reinterpret_cast<decltype(found.free)>(dlsym(library, "hbw_free"));
  if (!found.posix_memalign_psize || !found.malloc || !found.free) return 0;
  vrx_serv_hbw = found;
  return 1;
}

void* vrx_serv_raw_malloc(std::size_t size) {
  const std::size_t n = size + raw_header_bytes;
  if (n < size) return nullptr;
  void* block = nullptr;
  std::uint64_t high_bandwidth = 0;
  if (!vrx_serv_hbw.on) {
    block = std::malloc(n);
  } else {
    const bool limited = hbw_limited();
    if (limited) vrx_serv_spin_lock(&vrx_serv_hbw_lock);
    if (limited && n >= vrx_serv_hbw_limit) {
      block = std::malloc(n);
    } else {
      if (vrx_serv_hbw.posix_memalign_psize(&block, 0x200000, n, 2) != 0) block = vrx_serv_hbw.malloc(n);
      if (block) {
        high_bandwidth = 1;
        if (limited) vrx_serv_hbw_limit -= n;
      } else {
        block = std::malloc(n);
      }
    }
    if (limited) vrx_serv_spin_unlock(&vrx_serv_hbw_lock);
  }
  if (!block) return nullptr;
  RawHeader* header = static_cast<RawHeader*>(block);
  header->base = reinterpret_cast<std::uint64_t>(block);
  header->high_bandwidth = high_bandwidth;
  header->total = n;
  header->marker = vrx_raw_marker;
  return header + 1;
}

void vrx_serv_raw_free(void* pointer) {
  if (!pointer) return;
  const RawHeader* header = static_cast<const RawHeader*>(pointer) - 1;
  if (header->base == 0) return;
  void* block = reinterpret_cast<void*>(header->base);
  const bool high_bandwidth = (header->high_bandwidth & 0xffffffffu) == 1;
  if (vrx_serv_hbw.on && hbw_limited()) {
    vrx_serv_spin_lock(&vrx_serv_hbw_lock);
    if (vrx_serv_hbw_limit == 0) {
      std::free(block);
    } else if (high_bandwidth) {
      vrx_serv_hbw_limit += header->total;
      vrx_serv_hbw.free(block);
    } else {
      std::free(block);
    }
    vrx_serv_spin_unlock(&vrx_serv_hbw_lock);
    return;
  }
  if (high_bandwidth) vrx_serv_hbw.free(block);
  else std::free(block);
}

void* vrx_serv_raw_realloc(void* pointer, std::size_t size) {
  if (!pointer) return size > 0 ? vrx_serv_raw_malloc(size) : nullptr;
  if (size == 0) {
    vrx_serv_raw_free(pointer);
    return nullptr;
  }
  void* moved = vrx_serv_raw_malloc(size);
  if (!moved) return nullptr;
  const RawHeader* header = static_cast<const RawHeader*>(pointer) - 1;
  const std::size_t old_bytes = header->total - raw_header_bytes;
  const std::size_t keep = old_bytes < size ? old_bytes : size;
  if (keep > 0) memmove_s(moved, size, pointer, keep);
  vrx_serv_raw_free(pointer);
  return moved;
}
