// The threading settings: read once from the environment, together with the topology,
// under the threading lock. Afterwards every read is a plain load.
#include <climits>
#include <cstdlib>
#include <cstring>

#include "service/vrx_locks.h"
#include "service/vrx_once.h"

namespace {
constexpr int env_buffer_size = 256;

vrx_thread_settings settings = {
    -1, {-1, -1, -1, -1, -1}, -1, -1, -1, -1, 1, 1, -1, -1, -1, -1,
};
volatile std::int32_t settings_read = 0;
vrx_topology_source topology_source = vrx_serv_topology_from_os;

constexpr const char* domain_names[5] = {
    "VRX_DOMAIN_ALL", "VRX_DOMAIN_BLAS", "VRX_DOMAIN_FFT", "VRX_DOMAIN_VMF", "VRX_DOMAIN_DIRSOL",
};

// Reads a variable; false when it is unset, empty or longer than the buffer.
bool read_variable(const char* name, char (&buffer)[env_buffer_size]) {
  return vrx_serv_getenv(name, buffer, env_buffer_size) > 0;
}

bool all_digits(const char* text, std::size_t length) {
  if (length == 0) return false;
  for (std::size_t i = 0; i < length; ++i)
    if (text[i] < '0' || text[i] > '9') return false;
  return true;
}

bool all_digits(const char* text) { return all_digits(text, std::strlen(text)); }

// The value of a string of digits, saturated rather than wrapped.
int digits_value(const char* text, std::size_t length) {
  long long value = 0;
  for (std::size_t i = 0; i < length && value <= INT_MAX; ++i) value = value * 10 + (text[i] - '0');
  return value > INT_MAX ? INT_MAX : static_cast<int>(value);
}

int digits_value(const char* text) { return digits_value(text, std::strlen(text)); }

// A count variable: any non-digit means 1 thread on purpose; otherwise its value.
int count_value(const char* text) { return all_digits(text) ? digits_value(text) : 1; }

bool is_blank(char c) { return c == ' ' || c == '\t'; }
bool is_quote(char c) { return c == '"' || c == '\''; }

void store_if_unset(std::int32_t* word, int value) {
  if (*word < 0) *word = value;
}

// A processes-per-node value: all digits, or for the pin mapping digits directly followed by ':'.
int ppn_value(const char* text, bool mapping) {
  std::size_t length = std::strlen(text);
  if (mapping) {
    const char* colon = std::strchr(text, ':');
    if (!colon) return -1;
    length = static_cast<std::size_t>(colon - text);
  }
  return all_digits(text, length) ? digits_value(text, length) : -1;
}

void read_settings() {
  char value[env_buffer_size];
  if (read_variable("VRX_NUM_THREADS", value)) {
    const int count = count_value(value);
    if (count >= 1) store_if_unset(&settings.thread_count, count);
  }
  if (read_variable("VRX_DOMAIN_NUM_THREADS", value)) {
    std::int32_t counts[5] = {settings.thread_count, settings.domain_count[1], settings.domain_count[2],
                              settings.domain_count[3], settings.domain_count[4]};
    vrx_serv_parse_domain_list(value, counts);
    settings.thread_count = counts[0];
    for (int d = 1; d < 5; ++d) settings.domain_count[d] = counts[d];
  }
  if (settings.dynamic == -1) settings.dynamic = read_variable("VRX_DYNAMIC", value) ? vrx_serv_parse_dynamic(value) : 1;
  if (read_variable("OMP_NUM_THREADS", value)) {
    const int count = count_value(value);
    if (count > 0) settings.omp_count = count;
  }
  if (settings.ppn <= 0) settings.ppn = vrx_serv_ppn_search();
  if (read_variable("A_MPI_THREAD_LEVEL", value))
    settings.mpi_thread_level = all_digits(value) && digits_value(value) < 4 ? digits_value(value) : 0;
}

void read_topology() {
  vrx_topology topology = {1, 1, 1};
  if (topology_source(&topology) != 0 || topology.logical < 1 || topology.cores < 1 || topology.nodes < 1 ||
      topology.cores > topology.logical || topology.nodes > topology.cores)
    topology = {1, 1, 1};
  settings.logical = topology.logical;
  settings.cores = topology.cores;
  settings.nodes = topology.nodes;
  settings.cores_per_node = topology.cores / topology.nodes;
  settings.hyper_threading = topology.cores == topology.logical ? 0 : 1;
}
}  // namespace

volatile std::int32_t vrx_serv_threading_lock = 0;

void vrx_serv_parse_domain_list(const char* text, std::int32_t counts[5]) {
  const char* p = text;
  for (;;) {
    while (*p && (is_blank(*p) || is_quote(*p) || *p == ',' || *p == ';' || *p == ':')) ++p;
    const char* name = p;
    while (*p && *p != '=' && !is_quote(*p) && !is_blank(*p)) ++p;
    const std::size_t name_length = static_cast<std::size_t>(p - name);
    if (name_length == 0) return;
    while (*p && (is_blank(*p) || *p == '=')) ++p;
    const char* digits = p;
    while (*p && !is_blank(*p) && !is_quote(*p) && *p != ',' && *p != ';' && *p != ':') ++p;
    const std::size_t value_length = static_cast<std::size_t>(p - digits);
    const int count = all_digits(digits, value_length) ? digits_value(digits, value_length) : 1;
    for (int d = 0; d < 5; ++d)
      if (std::strlen(domain_names[d]) == name_length && std::strncmp(domain_names[d], name, name_length) == 0) {
        if (count >= 1) store_if_unset(&counts[d], count);
        break;
      }
  }
}

int vrx_serv_parse_dynamic(const char* text) {
  const char* p = text;
  while (*p && (is_blank(*p) || is_quote(*p))) ++p;
  const char* word = p;
  while (*p && !is_blank(*p) && !is_quote(*p)) ++p;
  const std::size_t length = static_cast<std::size_t>(p - word);
  if (length == 5 && (std::strncmp(word, "FALSE", 5) == 0 || std::strncmp(word, "false", 5) == 0)) return 0;
  return 1;
}

int vrx_serv_ppn_search() {
  struct source {
    const char* name;
    bool mapping;
  };
  static constexpr source sources[] = {
      {"VRX_MPI_PPN", false},
      {"A_MPI_NUMBER_OF_MPI_PROCESSES_PER_NODE", false},
      {"A_MPI_PIN_MAPPING", true},
      {"OMPI_COMM_WORLD_LOCAL_SIZE", false},
      {"MPI_LOCALNRANKS", false},
  };
  char value[env_buffer_size];
  for (const source& s : sources) {
    if (!read_variable(s.name, value)) continue;
    const int ppn = ppn_value(value, s.mapping);
    if (ppn > 0) return ppn;
  }
  return -1;
}

void vrx_serv_parse_env() {
  vrx_serv_once(&settings_read, &vrx_serv_threading_lock, [] {
    read_settings();
    read_topology();
    settings.pending = 0;
  });
}

const vrx_thread_settings* vrx_serv_thread_settings() {
  vrx_serv_parse_env();
  return &settings;
}

void vrx_serv_set_topology_source(vrx_topology_source source) {
  vrx_serv_fork_guard();
  vrx_serv_spin_lock(&vrx_serv_threading_lock);
  if (!settings_read) topology_source = source;
  vrx_serv_spin_unlock(&vrx_serv_threading_lock);
}
