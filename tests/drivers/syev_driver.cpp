// Calls LAPACKE_dsyev, LAPACKE_ssyev and the DSYEV wrapper in a process of its own, for
// verbose lines and refused memory.
//   syev_driver [--allow N] command...
// --allow N lets the pools' base allocator hand out N buffers, then refuse every one.
// Each command prints "<command> result <info> untouched <1 when the caller's arrays still
// hold their input>".
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "include/customvrx.h"
#include "interface/vrx_interface.h"
#include "service/vrx_memory.h"

namespace {
int buffers_allowed = -1;  // -1: no refusals
void* (*pool_malloc_before)(std::size_t) = nullptr;

void* counted_pool_malloc(std::size_t size) {
  if (__atomic_fetch_sub(&buffers_allowed, 1, __ATOMIC_RELAXED) <= 0) return nullptr;
  return pool_malloc_before(size);
}

// A symmetric 4 by 4 matrix, the same in either layout, and its eigenvalues' array.
struct problem {
  std::vector<double> a{4, 1, 0, 2, 1, 5, 1, 0, 0, 1, 6, 1, 2, 0, 1, 3};
  std::vector<float> a_single{4, 1, 0, 2, 1, 5, 1, 0, 0, 1, 6, 1, 2, 0, 1, 3};
  std::vector<double> w = std::vector<double>(4, -1);
  std::vector<float> w_single = std::vector<float>(4, -1);
};

bool same(const problem& x, const problem& y) {
  return x.a == y.a && x.a_single == y.a_single && x.w == y.w && x.w_single == y.w_single;
}

int call(const char* command, problem& p) {
  const int n = 4;
  if (!std::strcmp(command, "dsyev-col")) return LAPACKE_dsyev(LAPACK_COL_MAJOR, 'V', 'L', n, p.a.data(), n, p.w.data());
  if (!std::strcmp(command, "dsyev-row")) return LAPACKE_dsyev(LAPACK_ROW_MAJOR, 'N', 'U', n, p.a.data(), n, p.w.data());
  if (!std::strcmp(command, "ssyev-row"))
    return LAPACKE_ssyev(LAPACK_ROW_MAJOR, 'V', 'u', n, p.a_single.data(), n, p.w_single.data());
  int info = 0;
  if (!std::strcmp(command, "DSYEV-bad")) {
    double work[16];
    const int lwork = 16;
    DSYEV("X", "U", &n, p.a.data(), &n, p.w.data(), work, &lwork, &info);
  } else {
    std::printf("unknown command %s\n", command);
    std::exit(2);
  }
  return info;
}
}  // namespace

int main(int argc, char** argv) {
  int first = 1;
  if (argc > 2 && !std::strcmp(argv[1], "--allow")) {
    vrx_serv_memory_init();
    pool_malloc_before = vrx_serv_base_allocator.pool_malloc;
    vrx_serv_base_allocator.pool_malloc = counted_pool_malloc;
    buffers_allowed = std::atoi(argv[2]);
    first = 3;
  }
  for (int i = first; i < argc; ++i) {
    problem p;
    const problem before;
    const int info = call(argv[i], p);
    std::printf("%s result %d untouched %d\n", argv[i], info, same(p, before) ? 1 : 0);
  }
  return 0;
}
