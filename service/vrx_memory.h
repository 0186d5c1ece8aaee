// Scratch memory: per-thread pools and the direct path.
#pragma once
#include <cstddef>
#include <cstdint>
#include "service/vrx_types.h"

void* vrx_serv_malloc(std::size_t size, int alignment);
int vrx_serv_free(void* pointer);

