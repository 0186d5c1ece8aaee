// Parameter reports and the process-wide set-once slots.
#include <unistd.h>
#include "service/vrx_serv.h"

namespace {
vrx_xerbla_fn error_handler = nullptr;
vrx_progress_fn progress_routine = nullptr;
vrx_exit_fn exit_hook = nullptr;

template <typename Fn>
void store_once(Fn* slot, Fn routine) {
  // Every writer stores the same routine, so a plain test and store is enough.
  if (!__atomic_load_n(slot, __ATOMIC_ACQUIRE)) __atomic_store_n(slot, routine, __ATOMIC_RELEASE);
}

int forward_to_print(const char* name, const int* info, int length) {
  return vrx_serv_xerbla_print(name, info, length);
}
}  // namespace

void vrx_serv_set_xerbla(vrx_xerbla_fn routine) { store_once(&error_handler, routine); }
void vrx_serv_set_progress(vrx_progress_fn routine) { store_once(&progress_routine, routine); }
void vrx_serv_set_exit_hook(vrx_exit_fn routine) { store_once(&exit_hook, routine); }

int vrx_serv_xerbla_print(const char* name, const int* info, int length) {
  constexpr int name_cut = 20;
  const int count = length > name_cut ? name_cut : (length < 0 ? 0 : length);
  char shown[name_cut + 2] = {};
  strncpy_s(shown, sizeof shown, name, static_cast<std::size_t>(count) + 1);
  shown[count] = '\0';
  vrx_serv_print(0, 0, 0);
  const int code = *info;
  switch (code) {
    case 1000: return vrx_serv_print(0, 8, 1, shown);
    case 1001: return vrx_serv_print(0, 9, 1, shown);
    case 1212: return vrx_serv_print(0, 1212, 1, shown);
    case 1089: return vrx_serv_print(0, 1089, 1, shown);
    default:
      if (code > 0) return vrx_serv_print(0, 6, 2, code, shown);
      return vrx_serv_print(0, 7, 2, -code, shown);
  }
}

int vrx_serv_xerbla(const char* name, const int* info, int length) {
  vrx_xerbla_fn handler = __atomic_load_n(&error_handler, __ATOMIC_ACQUIRE);
  if (handler) return handler(name, info, length);
  return vrx_serv_xerbla_print(name, info, length);
}

extern "C" int XERBLA(const char* name, const int* info, int length) {
  return forward_to_print(name, info, length);
}

void vrx_cblas_xerbla(const char* name, int code) {
  const int length = static_cast<int>(strnlen_s(name, vrx_serv_string_max));
  vrx_serv_set_xerbla(XERBLA);
  // The reporter reads the low half of the widened word.
  const vrx_int widened = code;
  XERBLA(name, reinterpret_cast<const int*>(&widened), length);
}

int vrx_serv_check_ptr(const void* pointer, const char* name) {
  if (pointer) return 0;
  static const int not_enough_memory = 1089;
  vrx_serv_xerbla(name, &not_enough_memory, static_cast<int>(strnlen_s(name, vrx_serv_string_max)));
  return 1;
}

int vrx_serv_check_ptr_quiet(const void* pointer, const char*) { return pointer ? 0 : 1; }

extern "C" int LSAME(const char* a, const char* b, int, int) {
  unsigned char x = static_cast<unsigned char>(*a), y = static_cast<unsigned char>(*b);
  if (x == y) return 1;
  if (x >= 'a' && x <= 'z') x = static_cast<unsigned char>(x - 32);
  if (y >= 'a' && y <= 'z') y = static_cast<unsigned char>(y - 32);
  return x == y;
}

int vrx_serv_progress(const int* thread, const int* step, const char* name, int length) {
  vrx_progress_fn routine = __atomic_load_n(&progress_routine, __ATOMIC_ACQUIRE);
  return routine ? routine(thread, step, name, length) : 0;
}

int vrx_serv_progress_default(const int*, const int*, const char*, int) { return 0; }

void vrx_serv_exit(int status) {
  vrx_exit_fn hook = __atomic_load_n(&exit_hook, __ATOMIC_ACQUIRE);
  if (hook) hook(status);
  _exit(status);
}
