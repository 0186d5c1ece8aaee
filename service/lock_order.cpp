// The order of every lock of the library, outermost first. Nesting today:
//   cache record        -> CPU service lock
//   memory init         -> memory settings, CPU service lock
//   threading settings  -> topology (OS) -> topology (tree)
//   pool table          -> thread key, table chunk, totals, high-bandwidth budget
//   table chunk         -> high-bandwidth budget
#include "service/vrx_locks.h"

const vrx_lock_entry vrx_serv_lock_order[] = {
    {&vrx_serv_cpu_state.cache_lock, nullptr, nullptr, nullptr},
    {&vrx_serv_memory_init_lock, nullptr, nullptr, nullptr},
    {&vrx_serv_memory_settings_lock, nullptr, nullptr, nullptr},
    {&vrx_serv_cpu_state.service_lock, nullptr, nullptr, nullptr},
    {&vrx_serv_threading_lock, nullptr, nullptr, nullptr},
    {&vrx_serv_topology_os_lock, nullptr, nullptr, nullptr},
    {&vrx_serv_topology_tree_lock, nullptr, nullptr, nullptr},
    {&vrx_serv_banner_lock, nullptr, nullptr, nullptr},
    // Table word and all 1024 slot locks, as a writer of the thread table takes them.
    {nullptr, vrx_serv_table_write_lock, vrx_serv_table_write_unlock, vrx_serv_table_clear},
    {&vrx_serv_key_lock, nullptr, nullptr, nullptr},
    {&vrx_serv_chunk_lock, nullptr, nullptr, nullptr},
    {&vrx_serv_totals_lock, nullptr, nullptr, nullptr},
    {&vrx_serv_statistics_lock, nullptr, nullptr, nullptr},
    {&vrx_serv_hbw_lock, nullptr, nullptr, nullptr},
};

const int vrx_serv_lock_count = sizeof vrx_serv_lock_order / sizeof vrx_serv_lock_order[0];
