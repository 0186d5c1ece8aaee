// Runs products through the classic threaded road in a process of its own, with the
// thread settings, forced CPU type and reproducibility branch of its environment.
// Actions, in order:
//   fake=<profile>         present a made-up processor (tests/service/cpu_fake_processor.h;
//                          also sse41_big_l2: SSSE3 with SSE4.1 and a 4 MiB second level)
//   fail-alloc             every later scratch allocation fails
//   check TR m n k alpha beta
//                          one product on integer data, compared exactly with an integer
//                          reference; prints what the road decided and "ok" or "bad"
//   repeat TR m n k        the same product three times; "same" when all bits agree
//   nested TR m n k        two calls at once from inside an OpenMP parallel region
//   concurrent T order reps
//                          T application threads each run `reps` products of `order`
#include <omp.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <thread>
#include <vector>

#include "blas/level3/classic/vrx_gemm_classic.h"
#include "service/cpu_fake_processor.h"
#include "service/vrx_serv.h"

namespace {
const char* const worker_names[] = {"sequential", "rows",    "columns", "grid",       "shared-panel",
                                    "ring",       "two-by-many", "grouped", "row-slices", "scale-only"};

struct product {
  char tr[2];
  vrx_int m, n, k, lda, ldb, ldc;
  double alpha, beta;
  std::vector<double> a, b, c, c0;
};

// Small integers: every product and sum is exact, so any summation order gives the same bits.
void fill(std::vector<double>& v, unsigned seed) {
  for (double& x : v) {
    seed = seed * 1103515245u + 12345u;
    x = static_cast<double>(static_cast<int>((seed >> 16) % 17) - 8);
  }
}

product make(const char* tr, vrx_int m, vrx_int n, vrx_int k, double alpha, double beta, unsigned seed) {
  product p;
  p.tr[0] = tr[0];
  p.tr[1] = tr[1];
  p.m = m;
  p.n = n;
  p.k = k;
  p.alpha = alpha;
  p.beta = beta;
  const bool an = tr[0] == 'N', bn = tr[1] == 'N';
  p.lda = (an ? m : k) + 1;
  p.ldb = (bn ? k : n) + 2;
  p.ldc = m + 1;
  p.a.resize(p.lda * (an ? k : m));
  p.b.resize(p.ldb * (bn ? n : k));
  p.c.resize(p.ldc * n);
  fill(p.a, seed);
  fill(p.b, seed + 1);
  fill(p.c, seed + 2);
  if (beta == 0.0)
    for (vrx_int j = 0; j < n; ++j)
      for (vrx_int i = j % 3; i < m; i += 3) p.c[i + j * p.ldc] = std::numeric_limits<double>::quiet_NaN();
  p.c0 = p.c;
  return p;
}

void run(product& p) {
  vrx_blas_dgemm_classic(&p.tr[0], &p.tr[1], &p.m, &p.n, &p.k, &p.alpha, p.a.data(), &p.lda, p.b.data(), &p.ldb,
                         &p.beta, p.c.data(), &p.ldc);
}

bool verify(const product& p) {
  const bool an = p.tr[0] == 'N', bn = p.tr[1] == 'N';
  std::vector<long long> column(p.m);
  for (vrx_int j = 0; j < p.n; ++j) {
    std::fill(column.begin(), column.end(), 0);
    for (vrx_int l = 0; l < p.k && p.alpha != 0.0; ++l) {
      const long long bv = static_cast<long long>(bn ? p.b[l + j * p.ldb] : p.b[j + l * p.ldb]);
      if (an)
        for (vrx_int i = 0; i < p.m; ++i) column[i] += static_cast<long long>(p.a[i + l * p.lda]) * bv;
      else
        for (vrx_int i = 0; i < p.m; ++i) column[i] += static_cast<long long>(p.a[l + i * p.lda]) * bv;
    }
    for (vrx_int i = 0; i < p.ldc; ++i) {
      const double got = p.c[i + j * p.ldc];
      if (i >= p.m) {
        if (std::memcmp(&got, &p.c0[i + j * p.ldc], sizeof got) != 0) return false;  // padding written
        continue;
      }
      double want = p.alpha * static_cast<double>(column[i]);
      if (p.beta != 0.0) want += p.beta * p.c0[i + j * p.ldc];
      if (got != want) return false;
    }
  }
  return true;
}

void print_trace(const char* label) {
  const vrx_gemm_classic_trace t = vrx_gemm_classic_last_trace();
  std::printf("%s worker=%s team=%d threads=%d grid=%dx%d mode=%d strategy=%d road=%d fallback=%d", label,
              worker_names[t.worker], t.team, t.threads, t.grid_m, t.grid_n, t.mode, t.strategy, t.compute_road,
              t.fallback);
}

vrx_cpuid_result big_l2_caches[6] = {
    {0x121, (7u << 22) | 63, 63, 0},   {0x122, (7u << 22) | 63, 63, 0},
    {0x143, (15u << 22) | 63, 4095, 0},  // 16 ways x 64 bytes x 4096 sets: 4 MiB
    {0, 0, 0, 0},
};

void* failing_malloc(std::size_t) { return nullptr; }
void* failing_realloc(void*, std::size_t) { return nullptr; }

int check(char** argv, int at, int argc, bool print) {
  if (at + 6 > argc) return -1;
  char label[128];
  std::snprintf(label, sizeof label, "%s %s %s %s %s %s", argv[at], argv[at + 1], argv[at + 2], argv[at + 3],
                argv[at + 4], argv[at + 5]);
  product p = make(argv[at], std::atoll(argv[at + 1]), std::atoll(argv[at + 2]), std::atoll(argv[at + 3]),
                   std::atof(argv[at + 4]), std::atof(argv[at + 5]), 17);
  run(p);
  const bool ok = verify(p);
  if (print) {
    print_trace(label);
    std::printf(" %s\n", ok ? "ok" : "bad");
  }
  return ok ? 0 : 1;
}
}  // namespace

int main(int argc, char** argv) {
  int failures = 0;
  for (int i = 1; i < argc; ++i) {
    const char* action = argv[i];
    if (std::strncmp(action, "fake=", 5) == 0) {
      const char* name = action + 5;
      vrx_fake_cpu cpu;
      if (std::strcmp(name, "sse41_big_l2") == 0) {
        cpu = *vrx_fake_profile("sse41");
        std::memcpy(cpu.leaf4, big_l2_caches, sizeof big_l2_caches);
      } else if (const vrx_fake_cpu* found = vrx_fake_profile(name)) {
        cpu = *found;
      } else {
        std::printf("unknown profile %s\n", name);
        return 2;
      }
      vrx_fake_install(cpu);
    } else if (std::strcmp(action, "fail-alloc") == 0) {
      vrx_serv_memory_init();
      vrx_serv_base_allocator.malloc = failing_malloc;
      vrx_serv_base_allocator.realloc = failing_realloc;
      vrx_serv_base_allocator.pool_malloc = failing_malloc;
    } else if (std::strcmp(action, "check") == 0) {
      const int r = check(argv, i + 1, argc, true);
      if (r < 0) return 2;
      failures += r;
      i += 6;
    } else if (std::strcmp(action, "repeat") == 0 && i + 4 < argc) {
      std::vector<double> first;
      bool same = true;
      for (int rep = 0; rep < 3; ++rep) {
        product p = make(argv[i + 1], std::atoll(argv[i + 2]), std::atoll(argv[i + 3]), std::atoll(argv[i + 4]),
                         0.7, 0.3, 5);
        // Values with full mantissas, so that the order of summation shows in the bits.
        for (double& x : p.a) x = std::sin(x + 0.123 * static_cast<double>(&x - p.a.data()));
        run(p);
        if (rep == 0) first = p.c;
        same = same && std::memcmp(first.data(), p.c.data(), first.size() * sizeof(double)) == 0;
      }
      print_trace("repeat");
      std::printf(" %s\n", same ? "same" : "differs");
      failures += same ? 0 : 1;
      i += 4;
    } else if (std::strcmp(action, "nested") == 0 && i + 4 < argc) {
      int bad = 0;
      char alpha[] = "1.5", beta[] = "-2";
      char* args[6] = {argv[i + 1], argv[i + 2], argv[i + 3], argv[i + 4], alpha, beta};
#pragma omp parallel num_threads(2) reduction(+ : bad)
      bad += check(args, 0, 6, false);
      print_trace("nested");
      std::printf(" %s\n", bad ? "bad" : "ok");
      failures += bad;
      i += 4;
    } else if (std::strcmp(action, "concurrent") == 0 && i + 3 < argc) {
      const int threads = std::atoi(argv[i + 1]), reps = std::atoi(argv[i + 3]);
      const vrx_int order = std::atoll(argv[i + 2]);
      std::vector<int> bad(threads, 0);
      std::vector<std::thread> pool;
      for (int t = 0; t < threads; ++t)
        pool.emplace_back([&, t] {
          for (int r = 0; r < reps; ++r) {
            product p = make(t % 2 ? "NT" : "TN", order, order, order, 1.0, t % 3 ? 0.0 : 0.5, 31u * t + r);
            vrx_blas_dgemm(&p.tr[0], &p.tr[1], &p.m, &p.n, &p.k, &p.alpha, p.a.data(), &p.lda, p.b.data(), &p.ldb,
                           &p.beta, p.c.data(), &p.ldc);
            bad[t] += verify(p) ? 0 : 1;
          }
        });
      int total = 0;
      for (int t = 0; t < threads; ++t) {
        pool[t].join();
        total += bad[t];
      }
      std::printf("concurrent %d failures\n", total);
      failures += total;
      i += 3;
    } else {
      std::printf("unknown action %s\n", action);
      return 2;
    }
  }
  return failures ? 1 : 0;
}
