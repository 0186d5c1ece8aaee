// Every lock of the library, in one order, and the fork handlers built on it.
//
// vrx_serv_lock_order (lock_order.cpp) lists the locks outermost first: a thread
// holding one of them takes only locks listed after it. Before a fork the handlers
// take every lock in that order, so the fork waits until no other thread is inside
// any of them and cannot deadlock against one; after the fork they release them in
// the parent and clear them in the child. The child thus starts with every lock free
// and every one-time record either complete or untouched.
//
// A new lock joins by one entry in that list, at its place in the nesting; a path
// that may be the first to take it calls vrx_serv_fork_guard before it does.
#pragma once
#include <cstdint>
#include "service/vrx_serv.h"

// Lock words defined by the files that use them.
extern volatile std::int32_t vrx_serv_threading_lock;        // threads_settings.cpp: settings and topology
extern volatile std::int32_t vrx_serv_topology_os_lock;      // topology_linux.cpp
extern volatile std::int32_t vrx_serv_topology_tree_lock;    // topology_linux.cpp
extern volatile std::int32_t vrx_serv_memory_init_lock;      // memory_raw.cpp: one-time initialisation
extern volatile std::int32_t vrx_serv_hbw_lock;              // memory_raw.cpp: high-bandwidth budget
extern volatile std::int32_t vrx_serv_memory_settings_lock;  // memory_settings.cpp
extern volatile std::int32_t vrx_serv_key_lock;              // memory_threads.cpp: thread-number key
extern volatile std::int32_t vrx_serv_chunk_lock;            // memory_threads.cpp: table growth
extern volatile std::int32_t vrx_serv_totals_lock;           // memory_direct.cpp
extern volatile std::int32_t vrx_serv_statistics_lock;       // memory_direct.cpp
extern volatile std::int32_t vrx_serv_banner_lock;           // verbose.cpp

// One lock of the order: a spin lock word, or (word null) a lock of several words
// with functions of its own.
struct vrx_lock_entry {
  volatile std::int32_t* word;
  void (*take)();
  void (*release)();
  void (*clear)();  // in a forked child, where no other thread remains
};
extern const vrx_lock_entry vrx_serv_lock_order[];
extern const int vrx_serv_lock_count;

// Registers the fork handlers, once per process; later calls cost one load. Called on
// every first-use path before its first lock is taken, and so never with a lock held
// for the first time (registration waits for a fork in progress, whose handlers may
// wait for that lock).
void vrx_serv_fork_guard();

// The handlers themselves: take every lock in order; release them; clear them.
void vrx_serv_fork_prepare();
void vrx_serv_fork_parent();
void vrx_serv_fork_child();
