// Counts the logical processors, cores and NUMA nodes that this process may run on,
// from its affinity mask and the kernel's description of the machine.
#include <dirent.h>
#include <sched.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "service/vrx_locks.h"

volatile std::int32_t vrx_serv_topology_os_lock = 0;
volatile std::int32_t vrx_serv_topology_tree_lock = 0;

namespace {
constexpr int max_cpus = 8192;
constexpr std::size_t path_size = 512;

// Scratch of the counting, used once per process; the tree lock covers direct callers too.
int sorted_cpus[max_cpus];
std::int64_t core_keys[max_cpus];
std::int64_t package_keys[max_cpus];

unsigned long affinity_mask[max_cpus / (8 * sizeof(unsigned long))];
int os_cpus[max_cpus];

bool read_text(const char* path, char* buffer, std::size_t size) {
  std::FILE* file = std::fopen(path, "r");
  if (!file) return false;
  const std::size_t got = std::fread(buffer, 1, size - 1, file);
  std::fclose(file);
  buffer[got] = '\0';
  return got > 0;
}

bool read_number(const char* path, long* value) {
  char text[64];
  if (!read_text(path, text, sizeof text)) return false;
  char* end = nullptr;
  const long v = std::strtol(text, &end, 10);
  if (end == text) return false;
  *value = v;
  return true;
}

// A topology file of processor `cpu`; false when it cannot be read.
bool read_cpu_number(const char* root, int cpu, const char* name, long* value) {
  char path[path_size];
  std::snprintf(path, sizeof path, "%s/cpu/cpu%d/topology/%s", root, cpu, name);
  return read_number(path, value);
}

std::int64_t distinct_count(std::int64_t* keys, int count) {
  std::sort(keys, keys + count);
  return std::unique(keys, keys + count) - keys;
}

// Whether a kernel cpu list such as "0-3,8-11" names any of the sorted processors.
bool list_meets(const char* list, const int* cpus, int count) {
  const char* p = list;
  while (*p) {
    char* end = nullptr;
    const long first = std::strtol(p, &end, 10);
    if (end == p) break;
    long last = first;
    p = end;
    if (*p == '-') {
      last = std::strtol(p + 1, &end, 10);
      if (end == p + 1) break;
      p = end;
    }
    const int* hit = std::lower_bound(cpus, cpus + count, static_cast<int>(first));
    if (hit != cpus + count && *hit <= last) return true;
    while (*p == ',' || *p == ' ' || *p == '\n') ++p;
  }
  return false;
}

// NUMA nodes holding at least one of the processors; 0 when the tree has no node directory.
int count_nodes(const char* root, const int* cpus, int count) {
  char path[path_size];
  std::snprintf(path, sizeof path, "%s/node", root);
  DIR* directory = opendir(path);
  if (!directory) return 0;
  int nodes = 0;
  while (const dirent* entry = readdir(directory)) {
    const char* name = entry->d_name;
    if (std::strncmp(name, "node", 4) != 0 || name[4] < '0' || name[4] > '9') continue;
    char list_path[path_size];
    std::snprintf(list_path, sizeof list_path, "%s/node/%s/cpulist", root, name);
    char list[4096];
    if (read_text(list_path, list, sizeof list) && list_meets(list, cpus, count)) ++nodes;
  }
  closedir(directory);
  return nodes;
}

int count_tree(const char* root, int count, vrx_topology* out) {
  for (int i = 0; i < count; ++i) {
    long package = 0, die = 0, core = 0;
    if (!read_cpu_number(root, sorted_cpus[i], "core_id", &core)) return 1;
    if (!read_cpu_number(root, sorted_cpus[i], "physical_package_id", &package)) return 1;
    read_cpu_number(root, sorted_cpus[i], "die_id", &die);  // absent on older kernels
    const std::int64_t package_key = ((package & 0xFFFFF) << 20) | (die & 0xFFFFF);
    package_keys[i] = package_key;
    core_keys[i] = (package_key << 24) | (core & 0xFFFFFF);
  }
  const int cores = static_cast<int>(distinct_count(core_keys, count));
  int nodes = count_nodes(root, sorted_cpus, count);
  if (nodes < 1) nodes = static_cast<int>(distinct_count(package_keys, count));
  out->logical = count;
  out->cores = cores;
  out->nodes = nodes < 1 ? 1 : nodes;
  return 0;
}
}  // namespace

int vrx_serv_topology_from_tree(const char* root, const int* cpus, int count, vrx_topology* out) {
  if (count < 1) return 1;
  if (count > max_cpus) count = max_cpus;
  vrx_serv_fork_guard();
  vrx_serv_spin_lock(&vrx_serv_topology_tree_lock);
  std::memcpy(sorted_cpus, cpus, sizeof(int) * static_cast<std::size_t>(count));
  std::sort(sorted_cpus, sorted_cpus + count);
  count = static_cast<int>(std::unique(sorted_cpus, sorted_cpus + count) - sorted_cpus);
  const int status = count_tree(root, count, out);
  vrx_serv_spin_unlock(&vrx_serv_topology_tree_lock);
  return status;
}

int vrx_serv_topology_from_os(vrx_topology* out) {
  vrx_serv_fork_guard();
  vrx_serv_spin_lock(&vrx_serv_topology_os_lock);
  int status = 1;
  if (sched_getaffinity(0, sizeof affinity_mask, reinterpret_cast<cpu_set_t*>(affinity_mask)) == 0) {
    constexpr int bits = 8 * sizeof(unsigned long);
    int count = 0;
    for (int cpu = 0; cpu < max_cpus; ++cpu)
      if (affinity_mask[cpu / bits] >> (cpu % bits) & 1UL) os_cpus[count++] = cpu;
    status = vrx_serv_topology_from_tree("/sys/devices/system", os_cpus, count, out);
  }
  vrx_serv_spin_unlock(&vrx_serv_topology_os_lock);
  return status;
}
