// The numbered message catalogue and the formatted output of the library.
// Messages go to the application's own stdout stream and are flushed at once,
// so they interleave in order with the application's output.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include "service/vrx_serv.h"

namespace {
struct message_row {
  int number;
  const char* text;
};

// Numbers are stable: a localised catalogue would be looked up by them.
constexpr message_row builtin_messages[] = {
    {0, "\n"},
    {6, "Ardix VRX ERROR: Parameter %d was incorrect on entry to %s."},
    {7, "Ardix VRX INTERNAL ERROR: Condition %d detected in function %s."},
    {8, "Ardix VRX INTERNAL ERROR: Insufficient workspace available in function %s."},
    {9, "Ardix VRX ERROR: Incompatible optional parameters on entry to %s."},
    {760, "Ardix VRX FATAL ERROR: memory allocation error."},
    {761, "Error (VMF_STATUS_BADSIZE) in %s: array size %d is not positive."},
    {762, "Error (VMF_STATUS_BADMEM) in %s: NULL pointer is passed."},
    {763, "Error (VMF_STATUS_ERRDOM) in %s: argument is out of domain."},
    {764, "Error (VMF_STATUS_SING) in %s: argument caused singularity."},
    {765, "Error (VMF_STATUS_OVERFLOW) in %s: argument caused overflow."},
    {766, "Error (VMF_STATUS_UNDERFLOW) in %s: argument caused underflow."},
    {1089, "Ardix VRX INTERNAL ERROR: Not enough work memory in function %s"},
    {1209, "Ardix VRX WARNING: incorrect conditional numerical reproducibility mode, VRX_CBWR_AUTO is set"},
    {1210, "Ardix VRX FATAL ERROR: This system does not meet the minimum requirements for use of the Ardix VRX library."},
    {1211, "Ardix VRX FATAL ERROR: The processor must support SSE2 instructions."},
    {1212, "Ardix VRX INTERNAL ERROR: Issue accessing coprocessor %s."},
    {1213, "Ardix VRX ERROR: CPU %d is not supported."},
    {1399, "AO library failed to initialize!"},
};

constexpr std::size_t message_buffer_size = 512;
// Unlocked on purpose: concurrent reports may garble text but never change results.
char formatted_message[message_buffer_size];

int write_buffer_and_flush() {
  const std::size_t length = strnlen_s(formatted_message, message_buffer_size) - 1;
  if (length > message_buffer_size) {  // cannot happen; kept as a guard
    std::printf("\nVRX INTERNAL ERROR: message buffer overflow.");
    std::printf("\n       Lenght: %d   Buffer size: %d\n", static_cast<int>(length),
                static_cast<int>(message_buffer_size));
    std::fflush(nullptr);
  }
  std::printf("%s", formatted_message);
  return std::fflush(nullptr);
}

int print_newline() {
  std::printf("%s", builtin_messages[0].text);
  return std::fflush(nullptr);
}
}  // namespace

int vrx_serv_env_restricted = 0;

const char* vrx_serv_message_text(int number) {
  for (const message_row& row : builtin_messages)
    if (row.number == number) return row.text;
  return nullptr;
}

int vrx_serv_print(int, int number, int argument_count, ...) {
  if (number != 0) {
    const char* text = vrx_serv_message_text(number);
    va_list args;
    va_start(args, argument_count);
    std::vsnprintf(formatted_message, message_buffer_size, text ? text : "", args);
    va_end(args);
    write_buffer_and_flush();
  }
  return print_newline();
}

int vrx_serv_print_raw(int, const char* format, int argument_count, ...) {
  if (argument_count <= 0) return 0;
  va_list args;
  va_start(args, argument_count);
  std::vsnprintf(formatted_message, message_buffer_size, format, args);
  va_end(args);
  return write_buffer_and_flush();
}

int vrx_serv_printf(const char* format, ...) {
  va_list args;
  va_start(args, format);
  const int result = std::vprintf(format, args);
  va_end(args);
  std::fflush(stdout);
  return result;
}

int vrx_serv_snprintf_s(char* buffer, std::size_t size, std::size_t count, const char* format, ...) {
  if (!buffer || size == 0 || !format) return -1;
  // At most `count` characters, always closed; truncation answers -1.
  const std::size_t limit = count < size - 1 ? count + 1 : size;
  va_list args;
  va_start(args, format);
  const int needed = std::vsnprintf(buffer, limit, format, args);
  va_end(args);
  if (needed < 0 || static_cast<std::size_t>(needed) >= limit) return -1;
  return needed;
}

int vrx_serv_sscanf(const char* text, const char* format, ...) {
  va_list args;
  va_start(args, format);
  const int result = std::vsscanf(text, format, args);
  va_end(args);
  return result;
}

std::int32_t vrx_serv_getenv(const char* name, char* buffer, int size) {
  if (size < 1) size = 0;
  if (size > 0) buffer[0] = '\0';
  if (vrx_serv_env_restricted >= 1 && std::strcmp(name, "KPU_LD_LIBRARY_PATH") != 0 &&
      std::strcmp(name, "VRXROOT") != 0 && std::strcmp(name, "LANG") != 0)
    return 0;
  const char* value = std::getenv(name);
  if (!value || value[0] == '\0') return 0;
  const std::size_t length = std::strlen(value);
  if (length + 1 > static_cast<std::size_t>(size)) return -static_cast<std::int32_t>(length + 1);
  std::memcpy(buffer, value, length + 1);
  return static_cast<std::int32_t>(length);
}
