// The service frame: locks, reporting, messages, environment, CPU type,
// reproducibility branch, threads, memory and verbose lines.
#pragma once
#include <cstddef>
#include <cstdint>
#include "service/vrx_types.h"

// ---- lock and once-only initialisation (lock.cpp) ----
void vrx_serv_spin_lock(volatile std::int32_t* word);
void vrx_serv_spin_unlock(volatile std::int32_t* word);
// Failed attempts after which a waiting thread also yields the processor.
constexpr int vrx_serv_spin_yield_after = 5000;
void vrx_serv_yield();

// ---- reporting (xerbla.cpp) ----
typedef int (*vrx_xerbla_fn)(const char* name, const int* info, int length);
typedef int (*vrx_progress_fn)(const int* thread, const int* step, const char* name, int length);
typedef void (*vrx_constraint_fn)(const char* message, void* context, int code);
typedef void (*vrx_exit_fn)(int status);

void vrx_serv_set_xerbla(vrx_xerbla_fn routine);
int vrx_serv_xerbla(const char* name, const int* info, int length);
int vrx_serv_xerbla_print(const char* name, const int* info, int length);
void vrx_cblas_xerbla(const char* name, int code);
int vrx_serv_check_ptr(const void* pointer, const char* name);
int vrx_serv_check_ptr_quiet(const void* pointer, const char* name);
void vrx_serv_set_progress(vrx_progress_fn routine);
int vrx_serv_progress(const int* thread, const int* step, const char* name, int length);
int vrx_serv_progress_default(const int* thread, const int* step, const char* name, int length);
void vrx_serv_set_constraint_handler(vrx_constraint_fn routine);
void vrx_serv_set_exit_hook(vrx_exit_fn routine);
[[noreturn]] void vrx_serv_exit(int status);

extern "C" {
int XERBLA(const char* name, const int* info, int length);
int LSAME(const char* a, const char* b, int len_a, int len_b);
}

// ---- bounded strings (safe_string.cpp); limit 4096 ----
constexpr std::size_t vrx_serv_string_max = 4096;
enum { VRX_ESNULLP = 400, VRX_ESZEROL = 401, VRX_ESLEMAX = 403, VRX_ESOVRLP = 404, VRX_ESNOSPC = 406 };
std::size_t strnlen_s(const char* s, std::size_t dmax);
int strncpy_s(char* dest, std::size_t dmax, const char* src, std::size_t slen);
int strncat_s(char* dest, std::size_t dmax, const char* src, std::size_t slen);
int memmove_s(void* dest, std::size_t dmax, const void* src, std::size_t smax);

// ---- message catalogue (messages.cpp) ----
int vrx_serv_print(int severity, int number, int argument_count, ...);
int vrx_serv_print_raw(int severity, const char* format, int argument_count, ...);
int vrx_serv_printf(const char* format, ...);
int vrx_serv_snprintf_s(char* buffer, std::size_t size, std::size_t count, const char* format, ...);
int vrx_serv_sscanf(const char* text, const char* format, ...);
const char* vrx_serv_message_text(int number);  // built-in text, or null for an unused row
std::int32_t vrx_serv_getenv(const char* name, char* buffer, int size);
extern int vrx_serv_env_restricted;  // 1 or more: only three names can be read

// Topic headers of the service frame, each owned by its subsystem.
#include "service/vrx_cpu.h"
#include "service/vrx_threads.h"
#include "service/vrx_memory.h"
#include "service/vrx_verbose.h"
