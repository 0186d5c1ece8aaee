// Scratch memory. Interim: straight to the C allocator, with the alignment raised to 64.
#include <cstdlib>
#include "service/vrx_serv.h"

void* vrx_serv_malloc(std::size_t size, int alignment) {
  if (size == 0) return nullptr;
  std::size_t align = alignment < 64 ? 64 : static_cast<std::size_t>(alignment);
  if (align & (align - 1)) return nullptr;
  std::size_t rounded = (size + align - 1) & ~(align - 1);
  if (rounded < size) return nullptr;
  return std::aligned_alloc(align, rounded);
}

int vrx_serv_free(void* pointer) {
  std::free(pointer);
  return 0;
}
