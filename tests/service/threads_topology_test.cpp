// Counting the machine: a made-up kernel tree of 2 packages, and this machine as
// lscpu describes it.
#include <gtest/gtest.h>

#include <sched.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "service/vrx_serv.h"
#include "support/child_process.h"

// Cores and NUMA nodes of the processors this process may run on, by lscpu; 0 when unknown.
std::pair<int, int> machine_cores_and_nodes() {
  cpu_set_t allowed;
  if (sched_getaffinity(0, sizeof allowed, &allowed) != 0) return {0, 0};
  FILE* pipe = popen("lscpu -p=CPU,CORE,SOCKET,NODE 2>/dev/null", "r");
  if (!pipe) return {0, 0};
  std::set<std::pair<int, int>> cores;
  std::set<int> nodes, sockets;
  char line[256];
  while (fgets(line, sizeof line, pipe)) {
    if (line[0] == '#') continue;
    int cpu = -1, core = -1, socket = -1, node = -1;
    if (std::sscanf(line, "%d,%d,%d,%d", &cpu, &core, &socket, &node) < 3) continue;
    if (cpu < 0 || cpu >= CPU_SETSIZE || !CPU_ISSET(cpu, &allowed)) continue;
    cores.insert({socket, core});
    sockets.insert(socket);
    if (node >= 0) nodes.insert(node);
  }
  pclose(pipe);
  const int node_count = static_cast<int>(nodes.empty() ? sockets.size() : nodes.size());
  return {static_cast<int>(cores.size()), node_count};
}

namespace {
// A kernel tree under a fresh directory: `packages` of `cores` cores of `threads` each,
// one NUMA node per package unless `with_nodes` is false. Processors are numbered by package.
struct fake_tree {
  std::string root;

  fake_tree(int packages, int cores, int threads, bool with_nodes) {
    char pattern[] = "/tmp/vrx_topology_XXXXXX";
    root = mkdtemp(pattern);
    const int per_package = cores * threads;
    for (int package = 0; package < packages; ++package) {
      for (int i = 0; i < per_package; ++i) {
        const int cpu = package * per_package + i;
        const std::string dir = root + "/cpu/cpu" + std::to_string(cpu) + "/topology";
        make_dirs(dir);
        write(dir + "/core_id", std::to_string(i / threads));
        write(dir + "/physical_package_id", std::to_string(package));
      }
      if (with_nodes) {
        const std::string node = root + "/node/node" + std::to_string(package);
        make_dirs(node);
        write(node + "/cpulist", std::to_string(package * per_package) + "-" +
                                     std::to_string((package + 1) * per_package - 1));
      }
    }
  }
  ~fake_tree() { std::system(("rm -rf " + root).c_str()); }

  static void make_dirs(const std::string& path) {
    for (std::size_t at = 1; at != std::string::npos; at = path.find('/', at + 1))
      mkdir(path.substr(0, at).c_str(), 0755);
    mkdir(path.c_str(), 0755);
  }
  static void write(const std::string& path, const std::string& text) { std::ofstream(path) << text << "\n"; }

  vrx_topology count(const std::vector<int>& cpus) const {
    vrx_topology t = {-9, -9, -9};
    EXPECT_EQ(vrx_serv_topology_from_tree(root.c_str(), cpus.data(), static_cast<int>(cpus.size()), &t), 0);
    return t;
  }
};

std::string text(const vrx_topology& t) {
  return std::to_string(t.logical) + "/" + std::to_string(t.cores) + "/" + std::to_string(t.nodes);
}

std::vector<int> range(int first, int last) {
  std::vector<int> v;
  for (int i = first; i <= last; ++i) v.push_back(i);
  return v;
}
}  // namespace

TEST(Topology, CountsOnlyTheProcessorsThisProcessMayUse) {
  const fake_tree tree(2, 8, 2, true);
  EXPECT_EQ(text(tree.count(range(0, 31))), "32/16/2");
  EXPECT_EQ(text(tree.count(range(0, 15))), "16/8/1");
  EXPECT_EQ(text(tree.count({0, 1, 2})), "3/2/1");  // two threads of core 0, one of core 1
  EXPECT_EQ(text(tree.count({31, 0})), "2/2/2");
  EXPECT_EQ(text(tree.count({5, 5, 4})), "2/1/1");
}

TEST(Topology, WithoutNodeDirectoryPackagesServeAsNodes) {
  const fake_tree tree(4, 2, 1, false);
  EXPECT_EQ(text(tree.count(range(0, 7))), "8/8/4");
  EXPECT_EQ(text(tree.count({0, 1, 2})), "3/3/2");
}

TEST(Topology, AnUnreadableProcessorFailsTheCount) {
  const fake_tree tree(1, 2, 1, true);
  vrx_topology t = {-9, -9, -9};
  const int cpus[] = {0, 1, 2};
  EXPECT_NE(vrx_serv_topology_from_tree(tree.root.c_str(), cpus, 3, &t), 0);
  EXPECT_NE(vrx_serv_topology_from_tree("/nonexistent", cpus, 1, &t), 0);
  EXPECT_NE(vrx_serv_topology_from_tree(tree.root.c_str(), cpus, 0, &t), 0);
}

TEST(Topology, ThisMachineAgreesWithLscpu) {
  const auto [cores, nodes] = machine_cores_and_nodes();
  if (cores == 0) GTEST_SKIP() << "lscpu gives no topology here";
  cpu_set_t allowed;
  ASSERT_EQ(sched_getaffinity(0, sizeof allowed, &allowed), 0);
  const int logical = CPU_COUNT(&allowed);
  vrx_topology t = {-9, -9, -9};
  ASSERT_EQ(vrx_serv_topology_from_os(&t), 0);
  EXPECT_EQ(text(t), std::to_string(logical) + "/" + std::to_string(cores) + "/" + std::to_string(nodes));

  const vrx_child_result r = vrx_test_run(vrx_test_driver("threads_driver"), {"machine"});
  EXPECT_EQ(r.output, "machine nodes=" + std::to_string(nodes) + " cores_per_node=" + std::to_string(cores / nodes) +
                          " ht=" + std::to_string(cores == logical ? 0 : 1) + " dynamic=1\n");
}
