// SYMM and HEMM of one precision through the published names under this process's
// settings (CPU type, thread count, dynamic mode), checked against a wider reference.
//   symm_driver LETTER [refuse|nomemory|cooperating]
//     LETTER is S, D, C or Z; refuse: the scratch allocations of the level-3 driver and
//     of the classic blocks fail; nomemory: every allocation of the memory manager fails
//     (both leave out the largest products, which then run unpacked); cooperating: adds
//     a product large enough for the cooperating team
// Runs both sides and triangles on both sides of the sequential threshold and of the
// team's layouts (rows, columns, grid, split of k, on request the cooperating team),
// each product twice; alpha = 0 with NaN in A, B and C. Prints "roads R..." (the roads
// the calls took, by trace code), "refused yes|no" (whether a scratch allocation was
// refused), then "ok HASH" (HASH of every result's bits) and exits 0, or prints what
// went wrong and exits 1.
#include <cstdio>
#include <cstring>
#include <set>
#include <vector>

#include "blas/level3/symm/vrx_symm.h"
#include "blas/symm_support.h"
#include "support/refused_memory.h"
#include "service/vrx_serv.h"

namespace {

struct shape {
  char side;
  int64_t m, n;
  int64_t sample;  // check every sample-th column
};

uint64_t hash_bytes(uint64_t h, const void* data, std::size_t bytes) {
  const unsigned char* p = static_cast<const unsigned char*>(data);
  for (std::size_t i = 0; i < bytes; ++i) h = (h ^ p[i]) * 1099511628211ull;
  return h;
}

// poison: NaN in A, B and C, for alpha = 0 with beta = 0.
template <typename T>
bool check(bool hermitian, char uplo, shape s, T alpha, T beta, unsigned seed, std::set<int>* roads, uint64_t* hash,
           bool poison = false) {
  symm_case<T> c = symm_make_case<T>(s.side, uplo, hermitian, s.m, s.n, alpha, beta, seed);
  if (poison) symm_poison(&c);
  const symm_fn<T> fn = hermitian ? symm_published<T>::hemm : symm_published<T>::symm;
  const std::vector<T> got = symm_run<T>(fn, c);
  roads->insert(vrx_symm_last_trace().road);
  bool good = symm_bad_elements(c, got, s.sample) == 0;
  if (std::memcmp(symm_run<T>(fn, c).data(), got.data(), got.size() * sizeof(T)) != 0) {
    std::printf("a second run differs\n");
    good = false;
  }
  if (!good)
    std::printf("%s %c%c %lld %lld failed\n", hermitian ? "HEMM" : "SYMM", s.side, uplo, (long long)s.m,
                (long long)s.n);
  *hash = hash_bytes(*hash, got.data(), got.size() * sizeof(T));
  return good;
}

template <typename T>
int run(bool without_memory, bool with_cooperating) {
  // The unpacked extents, both sides of 16/17, and the team's layouts.
  // The reference is the cost here: large products are checked on a sample of columns.
  std::vector<shape> shapes = {{'L', 3, 5, 1},    {'R', 16, 16, 1},  {'L', 17, 16, 1},  {'R', 16, 17, 1},
                               {'L', 40, 33, 1},  {'R', 130, 70, 7}, {'L', 700, 20, 10}, {'R', 25, 300, 15},
                               {'L', 350, 60, 12}, {'R', 60, 350, 20}, {'L', 420, 400, 67}};
  if (without_memory) shapes.pop_back();
  if (with_cooperating) shapes.push_back({'L', 1000, 4000, 397});
  const T alpha = symm_scalar<T>(0.75, -0.5), beta = symm_scalar<T>(0.0, 1.25);
  std::set<int> roads;
  uint64_t hash = 1469598103934665603ull;
  bool good = true;
  unsigned seed = 1;
  for (bool hermitian : {false, true}) {
    if (hermitian && !vrx_is_complex<T>) break;
    for (const shape& s : shapes)
      for (char uplo : {'U', 'L'}) good = check<T>(hermitian, uplo, s, alpha, beta, seed++, &roads, &hash) && good;
    good = check<T>(hermitian, 'L', {'R', 30, 20, 1}, T{}, beta, seed++, &roads, &hash) && good;
    good = check<T>(hermitian, 'U', {'L', 40, 30, 1}, T{}, T{}, seed++, &roads, &hash, true) && good;
    good = check<T>(hermitian, 'U', {'L', 120, 40, 3}, symm_scalar<T>(1.0, 0.0), T{}, seed++, &roads, &hash) && good;
  }
  if (!good) return 1;
  std::printf("roads");
  for (int r : roads) std::printf(" %d", r);
  std::printf("\nrefused %s\nok %016llx\n", vrx_test_refusals ? "yes" : "no", (unsigned long long)hash);
  return 0;
}
}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || argc > 3) return 2;
  const bool cooperating = argc == 3 && std::strcmp(argv[2], "cooperating") == 0;
  if (argc == 3 && !cooperating && !vrx_test_refuse_memory(argv[2])) return 2;
  const bool without_memory = argc == 3 && !cooperating;
  switch (argv[1][0]) {
    case 'S': return run<float>(without_memory, cooperating);
    case 'D': return run<double>(without_memory, cooperating);
    case 'C': return run<vrx_complex_float>(without_memory, cooperating);
    case 'Z': return run<vrx_complex_double>(without_memory, cooperating);
    default: return 2;
  }
}
