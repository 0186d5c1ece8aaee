// Answers the threading questions in a process of its own, so that the environment
// and a presented topology are read at first use.
//   threads_driver [--topology L,C,N] [--omp N] [--dynamic-override V] command...
// Commands: counts, parallel, machine, settings, omp, ppn, limit:NTHREADS:N:COST.
#include <omp.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "service/vrx_serv.h"

namespace {
vrx_topology presented = {1, 1, 1};

int present_topology(vrx_topology* out) {
  *out = presented;
  return 0;
}

void print_counts(const char* label) {
  std::printf("%s max=%d blas=%d fft=%d vmf=%d dirsol=%d\n", label, vrx_serv_get_max_threads(),
              vrx_serv_domain_get_max_threads(1), vrx_serv_domain_get_max_threads(2),
              vrx_serv_domain_get_max_threads(3), vrx_serv_domain_get_max_threads(4));
}

void run(const char* command) {
  if (std::strcmp(command, "counts") == 0) {
    print_counts("counts");
  } else if (std::strcmp(command, "parallel") == 0) {
#pragma omp parallel num_threads(2)
    {
      if (omp_get_thread_num() == 0) print_counts("parallel");
    }
  } else if (std::strcmp(command, "machine") == 0) {
    std::printf("machine nodes=%d cores_per_node=%d ht=%d dynamic=%d\n", vrx_serv_get_ncpus(),
                vrx_serv_get_ncorespercpu(), vrx_serv_get_ht(), vrx_serv_get_dynamic());
  } else if (std::strcmp(command, "settings") == 0) {
    const vrx_thread_settings* s = vrx_serv_thread_settings();
    std::printf("settings threads=%d domains=%d,%d,%d,%d dynamic=%d omp=%d ppn=%d level=%d logical=%d cores=%d\n",
                s->thread_count, s->domain_count[1], s->domain_count[2], s->domain_count[3], s->domain_count[4],
                s->dynamic, s->omp_count, s->ppn, s->mpi_thread_level, s->logical, s->cores);
  } else if (std::strcmp(command, "omp") == 0) {
    std::printf("omp_max=%d\n", omp_get_max_threads());
  } else if (std::strcmp(command, "ppn") == 0) {
    std::printf("ppn=%d\n", vrx_serv_get_ppn());
  } else if (std::strncmp(command, "limit:", 6) == 0) {
    int nthreads = 0, n = 0;
    float cost = 0.0f;
    std::sscanf(command + 6, "%d:%d:%f", &nthreads, &n, &cost);
    const int answer = vrx_serv_thread_limit(&nthreads, n, cost);
    std::printf("limit=%d nthreads=%d\n", answer, nthreads);
  } else {
    std::printf("unknown command %s\n", command);
  }
}
}  // namespace

int main(int argc, char** argv) {
  int i = 1;
  for (; i + 1 < argc && std::strncmp(argv[i], "--", 2) == 0; i += 2) {
    if (std::strcmp(argv[i], "--topology") == 0) {
      std::sscanf(argv[i + 1], "%d,%d,%d", &presented.logical, &presented.cores, &presented.nodes);
      vrx_serv_set_topology_source(present_topology);
    } else if (std::strcmp(argv[i], "--omp") == 0) {
      omp_set_num_threads(std::atoi(argv[i + 1]));
    } else if (std::strcmp(argv[i], "--dynamic-override") == 0) {
      *vrx_serv_dynamic_override() = std::atoi(argv[i + 1]);
    }
  }
  for (; i < argc; ++i) run(argv[i]);
  return 0;
}
