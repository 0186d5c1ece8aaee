// Threading control: how many threads a routine may use.
#pragma once
#include <cstddef>
#include <cstdint>
#include "service/vrx_types.h"

// The thread count for domain 0 (LAPACK drivers) and for a given domain
// (1 BLAS, 2 FFT, 3 vector math, 4 direct solver; anything else behaves as 0).
int vrx_serv_get_max_threads();
int vrx_serv_domain_get_max_threads(int domain);
// VRX_DYNAMIC: 1 unless turned off.
int vrx_serv_get_dynamic();
int vrx_serv_in_parallel();
// The machine: nodes, cores per node, and whether cores run more than one logical processor.
int vrx_serv_get_ncpus();
int vrx_serv_get_ncorespercpu();
int vrx_serv_get_ht();
// MPI processes per node, or -1 when no variable tells.
int vrx_serv_get_ppn();
// Cuts *nthreads for short vector work of n elements at `cost` per element; returns the result.
int vrx_serv_thread_limit(int* nthreads, int n, float cost);

// Process-wide settings, read once from the environment together with the topology.
// Unset words are -1.
struct vrx_thread_settings {
  std::int32_t thread_count;     // VRX_NUM_THREADS, else VRX_DOMAIN_ALL
  std::int32_t domain_count[5];  // VRX_DOMAIN_NUM_THREADS; entry 0 unused (the thread count serves)
  std::int32_t dynamic;          // VRX_DYNAMIC: 1 by default
  std::int32_t omp_count;        // OMP_NUM_THREADS, when it gives a count
  std::int32_t ppn;              // MPI processes per node
  std::int32_t mpi_thread_level; // A_MPI_THREAD_LEVEL: 0 to 3
  std::int32_t pending;          // 1 until settings and topology are read
  std::int32_t logical;          // logical processors this process may run on
  std::int32_t cores;
  std::int32_t nodes;
  std::int32_t cores_per_node;
  std::int32_t hyper_threading;  // 0 when cores equals logical, else 1
};

// Reads settings and topology once per process, under the threading lock.
void vrx_serv_parse_env();
// The settings, read first if still pending.
const vrx_thread_settings* vrx_serv_thread_settings();

// Parsers of the individual settings, on the text of one variable.
// VRX_DOMAIN_NUM_THREADS: fills counts[0] (VRX_DOMAIN_ALL) to counts[4] where still negative.
void vrx_serv_parse_domain_list(const char* text, std::int32_t counts[5]);
// VRX_DYNAMIC: 0 only for the words FALSE and false.
int vrx_serv_parse_dynamic(const char* text);
// The processes-per-node search over the MPI variables; -1 when nothing is found.
int vrx_serv_ppn_search();

// Overrides that nothing in the library sets: this thread's count (0 unless set),
// and the dynamic override word (-1 unless set; 0 then means one thread).
std::int32_t* vrx_serv_thread_override();
std::int32_t* vrx_serv_dynamic_override();

// The machine's topology for the processors this process may run on.
struct vrx_topology {
  std::int32_t logical;
  std::int32_t cores;
  std::int32_t nodes;
};
// A source fills the record and returns 0, or returns non-zero when it cannot tell.
typedef int (*vrx_topology_source)(vrx_topology* out);
// Replaces the operating system as the source; takes effect only before the first question.
void vrx_serv_set_topology_source(vrx_topology_source source);
// The operating system's answer: the affinity mask of this process and the system tree.
int vrx_serv_topology_from_os(vrx_topology* out);
// Counts `cpus` (processor numbers) in a tree laid out as /sys/devices/system under `root`.
int vrx_serv_topology_from_tree(const char* root, const int* cpus, int count, vrx_topology* out);
