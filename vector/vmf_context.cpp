// The per-thread block of the vector math and the operations on it.
#include "service/vrx_serv.h"
#include "vector/vrx_vmf.h"

namespace {
// Constant-initialised, so a thread's block costs no construction and needs no
// registration: all words start at zero.
thread_local vrx_vmf_context thread_block;

constexpr int message_memory_fatal = 760;
constexpr int status_lost_thread_state = 3;

std::uint32_t read_mode_from_environment() {
  char name[32];
  vrx_vmf_mode_variable(name);
  char value[4096 + 1];
  if (vrx_serv_getenv(name, value, sizeof value) <= 0) return VRX_VMF_MODE_DEFAULT;
  return vrx_vmf_parse_mode(value);
}
}  // namespace

vrx_vmf_context* vrx_vmf_context_checked(vrx_vmf_context* block) {
  if (block) [[likely]] return block;
  vrx_serv_print(2, message_memory_fatal, 0);
  vrx_serv_exit(status_lost_thread_state);
}

vrx_vmf_context* vrx_vmf_context_get() { return vrx_vmf_context_checked(&thread_block); }

std::uint32_t vrx_vmf_get_mode() {
  vrx_vmf_context* block = vrx_vmf_context_get();
  if (block->mode == 0) block->mode = read_mode_from_environment();
  return block->mode;
}

std::uint32_t vrx_vmf_set_mode(std::uint32_t new_mode) {
  const std::uint32_t old_mode = vrx_vmf_get_mode();
  std::uint32_t mode = old_mode;
  // Each group is replaced only when the new value says something about it.
  constexpr std::uint32_t groups[] = {VRX_VMF_ACCURACY_MASK, VRX_VMF_ERRMODE_MASK, VRX_VMF_DENORMAL_MASK};
  for (const std::uint32_t group : groups)
    if (new_mode & group) mode = (mode & ~group) | (new_mode & group);
  vrx_vmf_context_get()->mode = mode;
  return old_mode;
}

std::int32_t vrx_vmf_get_status() { return vrx_vmf_context_get()->status; }

std::int32_t vrx_vmf_set_status(std::int32_t status) {
  vrx_vmf_context* block = vrx_vmf_context_get();
  const std::int32_t old_status = block->status;
  block->status = status;
  return old_status;
}

vrx_vmf_callback vrx_vmf_get_callback() { return vrx_vmf_context_get()->callback; }

vrx_vmf_callback vrx_vmf_set_callback(vrx_vmf_callback callback) {
  vrx_vmf_context* block = vrx_vmf_context_get();
  const vrx_vmf_callback old_callback = block->callback;
  block->callback = callback;
  const std::uint32_t errmode = vrx_vmf_get_mode() & VRX_VMF_ERRMODE_MASK;
  if (callback) {
    vrx_vmf_set_mode(errmode | VRX_VMF_ERRMODE_CALLBACK);
  } else if (errmode & VRX_VMF_ERRMODE_CALLBACK) {
    // An error-mode group of zero would be ignored, so clearing the last bit
    // of the group goes to the word directly.
    const std::uint32_t rest = errmode & ~std::uint32_t{VRX_VMF_ERRMODE_CALLBACK};
    if (rest) vrx_vmf_set_mode(rest);
    else block->mode &= ~std::uint32_t{VRX_VMF_ERRMODE_MASK};
  }
  return old_callback;
}

void vrx_vmf_set_base(const void* base) { vrx_vmf_context_get()->base = base; }
