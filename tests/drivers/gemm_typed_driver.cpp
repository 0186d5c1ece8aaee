// Products of one precision through its published GEMM under this process's settings
// (CPU type, thread count, dynamic mode), checked against a wider reference.
//   gemm_typed_driver LETTER [refuse|nomemory]
//     LETTER is S, D, C or Z; refuse: the level-3 driver's scratch allocations fail;
//     nomemory: every allocation of the memory manager fails (gathers, conjugated
//     copies, packed buffers, slabs)
// Runs shapes on both sides of the team road's cost thresholds and of each layout
// (rows, columns, grid, split of k, cooperating, three-dimensional), every pair of
// transpositions on a smaller set, each product twice. Prints "ok HASH" (HASH of every
// result's bits) and exits 0, or prints what went wrong and exits 1.
#include <cstdio>
#include <cstring>
#include <vector>

#include "blas/gemm_typed_support.h"
#include "blas/vrx_l3.h"
#include "support/refused_memory.h"

namespace {

struct shape {
  int64_t m, n, k;
};

template <typename T>
bool same_bits(const std::vector<T>& x, const std::vector<T>& y) {
  return x.size() == y.size() && std::memcmp(x.data(), y.data(), x.size() * sizeof(T)) == 0;
}

uint64_t hash_bytes(uint64_t h, const void* data, std::size_t bytes) {
  const unsigned char* p = static_cast<const unsigned char*>(data);
  for (std::size_t i = 0; i < bytes; ++i) h = (h ^ p[i]) * 1099511628211ull;
  return h;
}

template <typename T>
bool check(char ta, char tb, shape s, T alpha, T beta, unsigned seed, uint64_t* hash) {
  const vrx_test_product<T> p = vrx_test_make_product<T>(ta, tb, s.m, s.n, s.k, alpha, beta, seed);
  const std::vector<T> c = gemm_run<T>(gemm_published<T>::fn, p);
  bool good = true;
  if (vrx_test_gemm_bad_elements(p, c) != 0) good = false;
  if (!same_bits(gemm_run<T>(gemm_published<T>::fn, p), c)) {
    std::printf("a second run differs\n");
    good = false;
  }
  if (!good)
    std::printf("%c%c %lld %lld %lld failed\n", ta, tb, (long long)s.m, (long long)s.n, (long long)s.k);
  *hash = hash_bytes(*hash, c.data(), c.size() * sizeof(T));
  return good;
}

template <typename T>
int run() {
  // Both sides of the cost model's thresholds, tails of every register block, and the
  // layouts: rows (tall), columns, a grid, a split of k (small C, long k), a cooperating
  // team (m >= 1000, n >= 4000) and the three-dimensional grid.
  const shape layouts[] = {{6, 7, 9},      {16, 16, 16},  {40, 33, 29},   {130, 70, 60},  {700, 20, 64},
                           {25, 300, 70},  {420, 400, 50}, {100, 90, 800}, {1000, 4000, 3}, {1304, 16, 1304}};
  // With the vector-shaped products: a row, a column, k = 1 with a gathered column.
  const shape pairs[] = {{2, 3, 4}, {37, 29, 41}, {97, 67, 130}, {1, 37, 29}, {41, 1, 23}, {70, 33, 1}};
  const char trans[] = "NTC";
  const T alpha = gemm_scalar<T>(0.75, -0.5), beta = gemm_scalar<T>(0.0, 1.25);
  uint64_t hash = 1469598103934665603ull;
  bool good = true;
  unsigned seed = 1;
  for (shape s : layouts) good = check<T>('N', 'N', s, alpha, beta, seed++, &hash) && good;
  for (shape s : layouts)
    if (s.m * s.n * s.k < 4000000) good = check<T>('T', 'C', s, gemm_scalar<T>(1.0, 0.0), T{}, seed++, &hash) && good;
  for (shape s : pairs)
    for (char ta : trans)
      for (char tb : trans) good = check<T>(ta, tb, s, alpha, beta, seed++, &hash) && good;
  if (!good) return 1;
  std::printf("ok %016llx\n", (unsigned long long)hash);
  return 0;
}
}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || argc > 3) return 2;
  if (argc == 3 && !vrx_test_refuse_memory(argv[2])) return 2;
  switch (argv[1][0]) {
    case 'S': return run<float>();
    case 'D': return run<double>();
    case 'C': return run<vrx_complex_float>();
    case 'Z': return run<vrx_complex_double>();
    default: return 2;
  }
}
