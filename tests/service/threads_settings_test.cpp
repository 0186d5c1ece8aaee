// Reading the threading settings from the environment, in child processes, and the
// grammars of the individual variables.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "service/vrx_serv.h"
#include "support/child_process.h"

// Cores and nodes of this machine by lscpu (threads_topology_test.cpp).
std::pair<int, int> machine_cores_and_nodes();

namespace {
using environment = std::vector<std::pair<std::string, std::string>>;

std::string ask(const std::vector<std::string>& commands, const environment& env) {
  const vrx_child_result r = vrx_test_run(vrx_test_driver("threads_driver"), commands, env);
  EXPECT_EQ(r.exit_status, 0) << r.output;
  return r.output;
}

// What the settings record holds after reading `env`, less the topology.
std::string settings_of(const environment& env) {
  const std::string line = ask({"settings"}, env);
  return line.substr(0, line.find(" logical="));
}

std::string counts_line(int all) {
  const std::string v = std::to_string(all);
  return "counts max=" + v + " blas=" + v + " fft=" + v + " vmf=" + v + " dirsol=" + v + "\n";
}

// The machine as the child sees it: cores by lscpu, the OpenMP default from the runtime.
struct machine {
  int cores;
  int omp_default;
};

machine child_machine() {
  const std::string line = ask({"settings", "omp"}, {});
  const int lscpu_cores = machine_cores_and_nodes().first;
  const int cores = lscpu_cores > 0 ? lscpu_cores : std::stoi(line.substr(line.find(" cores=") + 7));
  const int omp_default = std::stoi(line.substr(line.find("omp_max=") + 8));
  return {cores, omp_default};
}

std::vector<std::int32_t> parse_domains(const char* text) {
  std::int32_t counts[5] = {-1, -1, -1, -1, -1};
  vrx_serv_parse_domain_list(text, counts);
  return std::vector<std::int32_t>(counts, counts + 5);
}
}  // namespace

TEST(ThreadSettings, NothingSetLeavesEveryWordUnsetAndDynamicOn) {
  EXPECT_EQ(settings_of({}), "settings threads=-1 domains=-1,-1,-1,-1 dynamic=1 omp=-1 ppn=-1 level=-1");
}

TEST(ThreadSettings, ThreadCountVariable) {
  const machine m = child_machine();
  const int by_default = std::min(m.cores, m.omp_default);
  EXPECT_EQ(ask({"counts"}, {}), counts_line(by_default));
  // A garbled value means one thread, not the default.
  EXPECT_EQ(ask({"counts"}, {{"VRX_NUM_THREADS", "abc"}}), counts_line(1));
  EXPECT_EQ(ask({"counts"}, {{"VRX_NUM_THREADS", "-3"}}), counts_line(1));
  EXPECT_EQ(ask({"counts"}, {{"VRX_NUM_THREADS", "0"}}), counts_line(by_default));
  // Dynamic mode caps an explicit count by the cores; without it the count stands.
  EXPECT_EQ(ask({"counts"}, {{"VRX_NUM_THREADS", "8"}}), counts_line(std::min(m.cores, 8)));
  EXPECT_EQ(ask({"counts"}, {{"VRX_NUM_THREADS", "8"}, {"VRX_DYNAMIC", "false"}}), counts_line(8));
  EXPECT_EQ(ask({"counts"}, {{"VRX_NUM_THREADS", "8"}, {"VRX_DYNAMIC", "False"}}),
            counts_line(std::min(m.cores, 8)));
  // A value too long for the buffer counts as not set.
  EXPECT_EQ(ask({"counts"}, {{"VRX_NUM_THREADS", std::string(300, '7')}, {"VRX_DYNAMIC", "false"}}),
            counts_line(m.omp_default));
}

TEST(ThreadSettings, DynamicFlagHasOnlyOneFormOfFalse) {
  const std::vector<std::pair<std::string, int>> cases = {
      {"false", 0}, {"FALSE", 0}, {"  'false' ", 0}, {"\"FALSE\"", 0}, {"false now", 0},
      {"False", 1}, {"0", 1},     {"no", 1},         {"falsely", 1},   {"true", 1},
  };
  for (const auto& [value, expected] : cases) EXPECT_EQ(vrx_serv_parse_dynamic(value.c_str()), expected) << value;
  EXPECT_NE(ask({"machine"}, {{"VRX_DYNAMIC", "FALSE"}}).find("dynamic=0"), std::string::npos);
  EXPECT_NE(ask({"machine"}, {{"VRX_DYNAMIC", "False"}}).find("dynamic=1"), std::string::npos);
}

TEST(ThreadSettings, DomainListGrammar) {
  EXPECT_EQ(parse_domains("VRX_DOMAIN_ALL=4, VRX_DOMAIN_BLAS=2"), (std::vector<std::int32_t>{4, 2, -1, -1, -1}));
  EXPECT_EQ(parse_domains("VRX_DOMAIN_BLAS 2;VRX_DOMAIN_VMF 1"), (std::vector<std::int32_t>{-1, 2, -1, 1, -1}));
  EXPECT_EQ(parse_domains("\"VRX_DOMAIN_FFT=3\""), (std::vector<std::int32_t>{-1, -1, 3, -1, -1}));
  EXPECT_EQ(parse_domains("VRX_DOMAIN_DIRSOL=5:VRX_DOMAIN_ALL = 2"), (std::vector<std::int32_t>{2, -1, -1, -1, 5}));
  // A quote ends a name and a value: the quoted value is lost, and the "=" left over is an empty name.
  EXPECT_EQ(parse_domains("'VRX_DOMAIN_DIRSOL'='5':VRX_DOMAIN_ALL=2"), (std::vector<std::int32_t>{-1, -1, -1, -1, 1}));
  // The first pair for a domain wins; unknown names are skipped.
  EXPECT_EQ(parse_domains("VRX_DOMAIN_BLAS=3,VRX_DOMAIN_BLAS=5"), (std::vector<std::int32_t>{-1, 3, -1, -1, -1}));
  EXPECT_EQ(parse_domains("VRX_DOMAIN_GPU=9,VRX_DOMAIN_VMF=6"), (std::vector<std::int32_t>{-1, -1, -1, 6, -1}));
  // An empty or garbled value is 1; zero is not stored.
  EXPECT_EQ(parse_domains("VRX_DOMAIN_BLAS=,VRX_DOMAIN_VMF=x7,VRX_DOMAIN_FFT=0"),
            (std::vector<std::int32_t>{-1, 1, -1, 1, -1}));
  // Names compare exactly.
  EXPECT_EQ(parse_domains("vrx_domain_blas=2 VRX_DOMAIN_BLASX=2"), (std::vector<std::int32_t>{-1, -1, -1, -1, -1}));
  EXPECT_EQ(parse_domains(""), (std::vector<std::int32_t>{-1, -1, -1, -1, -1}));
  // A word already set keeps its value.
  std::int32_t counts[5] = {7, -1, -1, -1, -1};
  vrx_serv_parse_domain_list("VRX_DOMAIN_ALL=6", counts);
  EXPECT_EQ(counts[0], 7);
}

TEST(ThreadSettings, DomainCountsThroughTheEnvironment) {
  const machine m = child_machine();
  const std::string cap = std::to_string(std::min(m.cores, m.omp_default));
  EXPECT_EQ(ask({"counts"}, {{"VRX_DOMAIN_NUM_THREADS", "\"VRX_DOMAIN_BLAS=2\""}}),
            "counts max=" + cap + " blas=" + std::to_string(std::min(m.cores, 2)) + " fft=" + cap + " vmf=" + cap +
                " dirsol=" + cap + "\n");
  const std::string omp = std::to_string(m.omp_default);
  EXPECT_EQ(ask({"counts"}, {{"VRX_DOMAIN_NUM_THREADS", "VRX_DOMAIN_BLAS 3;VRX_DOMAIN_VMF 5"}, {"VRX_DYNAMIC", "false"}}),
            "counts max=" + omp + " blas=3 fft=" + omp + " vmf=5 dirsol=" + omp + "\n");
  // VRX_DOMAIN_ALL loses against VRX_NUM_THREADS, and otherwise serves every domain.
  EXPECT_EQ(ask({"counts"}, {{"VRX_NUM_THREADS", "4"},
                             {"VRX_DOMAIN_NUM_THREADS", "VRX_DOMAIN_ALL=6"},
                             {"VRX_DYNAMIC", "false"}}),
            counts_line(4));
  EXPECT_EQ(ask({"counts"}, {{"VRX_DOMAIN_NUM_THREADS", "VRX_DOMAIN_ALL=6,VRX_DOMAIN_FFT=2"}, {"VRX_DYNAMIC", "false"}}),
            "counts max=6 blas=6 fft=2 vmf=6 dirsol=6\n");
}

TEST(ThreadSettings, OpenMPCountAndThreadLevel) {
  EXPECT_EQ(settings_of({{"OMP_NUM_THREADS", "3"}, {"A_MPI_THREAD_LEVEL", "1"}}),
            "settings threads=-1 domains=-1,-1,-1,-1 dynamic=1 omp=3 ppn=-1 level=1");
  EXPECT_EQ(settings_of({{"OMP_NUM_THREADS", "4,2"}, {"A_MPI_THREAD_LEVEL", "5"}}),
            "settings threads=-1 domains=-1,-1,-1,-1 dynamic=1 omp=1 ppn=-1 level=0");
  EXPECT_EQ(settings_of({{"OMP_NUM_THREADS", "0"}, {"A_MPI_THREAD_LEVEL", "abc"}}),
            "settings threads=-1 domains=-1,-1,-1,-1 dynamic=1 omp=-1 ppn=-1 level=0");
  EXPECT_EQ(settings_of({{"A_MPI_THREAD_LEVEL", "3"}}),
            "settings threads=-1 domains=-1,-1,-1,-1 dynamic=1 omp=-1 ppn=-1 level=3");
}

TEST(ThreadSettings, ProcessesPerNodeSearch) {
  const std::vector<std::pair<environment, int>> cases = {
      {{{"VRX_MPI_PPN", "4"}}, 4},
      {{{"A_MPI_PIN_MAPPING", "2:0 0,1 8"}}, 2},
      {{{"A_MPI_PIN_MAPPING", "2"}}, -1},
      {{{"A_MPI_PIN_MAPPING", "x2:0"}}, -1},
      {{{"VRX_MPI_PPN", "4x"}, {"OMPI_COMM_WORLD_LOCAL_SIZE", "3"}}, 3},
      {{{"VRX_MPI_PPN", "0"}, {"MPI_LOCALNRANKS", "5"}}, 5},
      {{{"A_MPI_NUMBER_OF_MPI_PROCESSES_PER_NODE", "6"}, {"OMPI_COMM_WORLD_LOCAL_SIZE", "3"}}, 6},
      {{{"A_MPI_PIN_MAPPING", "7:1"}, {"OMPI_COMM_WORLD_LOCAL_SIZE", "3"}}, 7},
      {{{"VRX_MPI_PPN", "2"}, {"A_MPI_NUMBER_OF_MPI_PROCESSES_PER_NODE", "6"}}, 2},
      {{{"MPI_LOCALNRANKS", "+2"}}, -1},
  };
  for (const auto& [env, ppn] : cases) {
    const std::string out = ask({"settings", "ppn"}, env);
    EXPECT_NE(out.find(" ppn=" + std::to_string(ppn) + " "), std::string::npos) << env.front().second << "\n" << out;
    EXPECT_NE(out.find("\nppn=" + std::to_string(ppn) + "\n"), std::string::npos) << env.front().second << "\n" << out;
  }
}
