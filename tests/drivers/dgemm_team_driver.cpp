// Products through the GEMM entry under this process's settings (CPU type, thread
// count, dynamic mode), checked against long-double sums.
//   plan M N K              the thread count and layout the entry chooses
//   inside M N K            the same from inside a parallel region of two threads, and the product
//   product TR M N K [repeat] [alone] [fail-slabs|fail-shared]
//                           repeat: a second run gives the same bits; alone: so does the
//                           sequential GEMM
//   sweep                   shapes that reach every layout at this thread count
//   concurrent              eight application threads, each DGEMM of order 300
// Prints "ok" (or the plan) and exits 0; prints what went wrong and exits 1.
#include <omp.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

#include "blas/dgemm_team_check.h"
#include "service/vrx_serv.h"

namespace {
void* refuse_page_aligned(std::size_t size, int alignment) {
  return alignment == 4096 ? nullptr : vrx_serv_malloc(size, alignment);
}
void* refuse_large(std::size_t size, int alignment) {
  return size >= 4196992 ? nullptr : vrx_serv_malloc(size, alignment);
}

void print_plan(vrx_int m, vrx_int n, vrx_int k) {
  vrx_l3_team<double> team;
  const int threads = vrx_l3_team_plan<double>(m, n, k, &team);
  if (threads > 1) vrx_l3_team_layout(&team, m, n, k);
  std::printf("type %u threads %d split %u mode %u grid %d %d %d\n", team.cpu, threads, team.split, team.team_mode, team.grid_m,
              team.grid_n, team.grid_k);
}

bool check(const char* trans, vrx_int m, vrx_int n, vrx_int k, double alpha, double beta, bool repeat,
           bool alone = false) {
  const team_problem p = team_make(trans, m, n, k, alpha, beta, static_cast<std::uint64_t>(m * 7 + n * 3 + k));
  const std::vector<double> c = team_entry(p);
  const double error = team_error(p, c);
  bool good = error < 1.0;
  if (repeat && team_entry(p) != c) {
    std::printf("%s %lld %lld %lld: a second run differs\n", trans, (long long)m, (long long)n, (long long)k);
    good = false;
  }
  if (alone) {
    std::vector<double> one = p.c0;
    vrx_blas_dgemm_sequential(&p.ta, &p.tb, &p.m, &p.n, &p.k, &p.alpha, p.a.data(), &p.lda, p.b.data(), &p.ldb,
                              &p.beta, one.data(), &p.ldc);
    if (one != c) {
      std::printf("%s %lld %lld %lld: differs from the sequential product\n", trans, (long long)m, (long long)n,
                  (long long)k);
      good = false;
    }
  }
  if (!(error < 1.0))
    std::printf("%s %lld %lld %lld: error %g\n", trans, (long long)m, (long long)n, (long long)k, error);
  return good;
}

int finish(bool good) {
  std::printf(good ? "ok\n" : "bad\n");
  return good ? 0 : 1;
}

vrx_int arg(char** argv, int i) { return std::atoll(argv[i]); }
}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  const char* mode = argv[1];
  if (!std::strcmp(mode, "plan") && argc == 5) {
    print_plan(arg(argv, 2), arg(argv, 3), arg(argv, 4));
    return 0;
  }
  if (!std::strcmp(mode, "inside") && argc == 5) {
    const vrx_int m = arg(argv, 2), n = arg(argv, 3), k = arg(argv, 4);
    bool good = true;
#pragma omp parallel num_threads(2) reduction(&& : good)
    {
      if (omp_get_thread_num() == 0) print_plan(m, n, k);
#pragma omp barrier
      good = check(omp_get_thread_num() ? "TN" : "NN", m, n, k, 1.0, 0.5, false);
    }
    return finish(good);
  }
  if (!std::strcmp(mode, "product") && argc >= 6) {
    bool repeat = false, alone = false;
    for (int i = 6; i < argc; ++i) {
      if (!std::strcmp(argv[i], "repeat")) repeat = true;
      if (!std::strcmp(argv[i], "alone")) alone = true;
      if (!std::strcmp(argv[i], "fail-slabs")) vrx_l3_scratch_alloc = refuse_page_aligned;
      if (!std::strcmp(argv[i], "fail-shared")) vrx_l3_scratch_alloc = refuse_large;
    }
    return finish(check(argv[2], arg(argv, 3), arg(argv, 4), arg(argv, 5), 1.0, 2.0, repeat, alone));
  }
  if (!std::strcmp(mode, "sweep")) {
    const struct {
      const char* trans;
      vrx_int m, n, k;
      double alpha, beta;
    } shapes[] = {
        {"NN", 100, 100, 100, 1.0, 0.0},   {"TN", 300, 20, 50, -1.0, 1.0},    {"NT", 800, 300, 100, 1.0, 2.0},
        {"TT", 400, 7, 20, 0.5, 0.0},      {"NN", 100, 16, 1000, 1.0, 1.0},   {"TN", 64, 24, 700, 1.0, 0.0},
        {"NT", 2048, 16, 2048, 1.0, 0.0},  {"NN", 1000, 4000, 16, 1.0, 0.0},
        {"NN", 53, 7, 33, 2.0, -1.0},
    };
    bool good = true;
    for (const auto& s : shapes) good = check(s.trans, s.m, s.n, s.k, s.alpha, s.beta, false) && good;
    return finish(good);
  }
  if (!std::strcmp(mode, "concurrent")) {
    std::vector<int> results(8, 0);
    std::vector<std::thread> users;
    for (int u = 0; u < 8; ++u)
      users.emplace_back([u, &results] {
        bool good = true;
        for (int round = 0; round < 2; ++round) good = check(u % 2 ? "TN" : "NN", 300, 300, 300, 1.0, 1.0, false) && good;
        results[static_cast<size_t>(u)] = good;
      });
    for (auto& t : users) t.join();
    bool good = true;
    for (int r : results) good = good && r;
    return finish(good);
  }
  return 2;
}
