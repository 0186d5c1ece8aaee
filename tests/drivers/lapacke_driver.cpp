// Calls the LAPACKE entries and the LU, Cholesky, least-squares and eigen wrappers in a
// process of its own, for verbose lines and refused memory.
//   lapacke_driver [--allow N] command...
// --allow N lets the pools' base allocator hand out N buffers, then refuse every one.
// Each command prints "<command> result <info> untouched <1 when every caller array
// still holds its input>".
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

// A 4 by 4 matrix with a dominant diagonal, the same in both layouts' reading up to
// transposition; two right-hand sides; pivots that name no interchange.
struct problem {
  std::vector<double> a{4, 1, 0, 2, 1, 5, 1, 0, 0, 2, 6, 1, 1, 0, 1, 3};
  std::vector<double> b{1, 2, 3, 4, 5, 6, 7, 8};
  std::vector<float> a_single{4, 1, 0, 2, 1, 5, 1, 0, 0, 2, 6, 1, 1, 0, 1, 3};
  std::vector<float> b_single{1, 2, 3, 4, 5, 6, 7, 8};
  std::vector<int> ipiv{1, 2, 3, 4};
};

bool same(const problem& x, const problem& y) {
  return x.a == y.a && x.b == y.b && x.a_single == y.a_single && x.b_single == y.b_single && x.ipiv == y.ipiv;
}

int call(const char* command, problem& p) {
  const int n = 4, nrhs = 2;
  if (!std::strcmp(command, "dgetrf-col")) return LAPACKE_dgetrf(LAPACK_COL_MAJOR, n, n, p.a.data(), n, p.ipiv.data());
  if (!std::strcmp(command, "dgetrf-row")) return LAPACKE_dgetrf(LAPACK_ROW_MAJOR, n, n, p.a.data(), n, p.ipiv.data());
  if (!std::strcmp(command, "sgetrf-col"))
    return LAPACKE_sgetrf(LAPACK_COL_MAJOR, n, n, p.a_single.data(), n, p.ipiv.data());
  if (!std::strcmp(command, "dgetrs-col"))
    return LAPACKE_dgetrs(LAPACK_COL_MAJOR, 'N', n, nrhs, p.a.data(), n, p.ipiv.data(), p.b.data(), n);
  if (!std::strcmp(command, "dgetrs-row"))
    return LAPACKE_dgetrs(LAPACK_ROW_MAJOR, 'N', n, nrhs, p.a.data(), n, p.ipiv.data(), p.b.data(), nrhs);
  if (!std::strcmp(command, "sgetrs-col"))
    return LAPACKE_sgetrs(LAPACK_COL_MAJOR, 'T', n, nrhs, p.a_single.data(), n, p.ipiv.data(), p.b_single.data(), n);
  if (!std::strcmp(command, "sgetrs-row"))
    return LAPACKE_sgetrs(LAPACK_ROW_MAJOR, 'T', n, nrhs, p.a_single.data(), n, p.ipiv.data(), p.b_single.data(),
                          nrhs);
  if (!std::strcmp(command, "dgetri-col")) return LAPACKE_dgetri(LAPACK_COL_MAJOR, n, p.a.data(), n, p.ipiv.data());
  if (!std::strcmp(command, "dgetri-row")) return LAPACKE_dgetri(LAPACK_ROW_MAJOR, n, p.a.data(), n, p.ipiv.data());
  // The Cholesky members read one triangle: A's upper one is the lower one of its
  // transpose, and either is positive definite.
  if (!std::strcmp(command, "dpotrf-col")) return LAPACKE_dpotrf(LAPACK_COL_MAJOR, 'U', n, p.a.data(), n);
  if (!std::strcmp(command, "dpotrf-row")) return LAPACKE_dpotrf(LAPACK_ROW_MAJOR, 'L', n, p.a.data(), n);
  if (!std::strcmp(command, "spotrf-row")) return LAPACKE_spotrf(LAPACK_ROW_MAJOR, 'U', n, p.a_single.data(), n);
  if (!std::strcmp(command, "dpotrs-col"))
    return LAPACKE_dpotrs(LAPACK_COL_MAJOR, 'L', n, nrhs, p.a.data(), n, p.b.data(), n);
  if (!std::strcmp(command, "dpotrs-row"))
    return LAPACKE_dpotrs(LAPACK_ROW_MAJOR, 'U', n, nrhs, p.a.data(), n, p.b.data(), nrhs);
  if (!std::strcmp(command, "spotrs-row"))
    return LAPACKE_spotrs(LAPACK_ROW_MAJOR, 'l', n, nrhs, p.a_single.data(), n, p.b_single.data(), nrhs);
  // The symmetric eigenproblem reads one triangle of A; its eigenvalues go to b.
  if (!std::strcmp(command, "dsyev-col"))
    return LAPACKE_dsyev(LAPACK_COL_MAJOR, 'V', 'L', n, p.a.data(), n, p.b.data());
  if (!std::strcmp(command, "dsyev-row"))
    return LAPACKE_dsyev(LAPACK_ROW_MAJOR, 'N', 'U', n, p.a.data(), n, p.b.data());
  if (!std::strcmp(command, "ssyev-row"))
    return LAPACKE_ssyev(LAPACK_ROW_MAJOR, 'V', 'u', n, p.a_single.data(), n, p.b_single.data());
  // Least squares on the square system: its QR factorisation, then the solve.
  if (!std::strcmp(command, "dgels-col"))
    return LAPACKE_dgels(LAPACK_COL_MAJOR, 'N', n, n, nrhs, p.a.data(), n, p.b.data(), n);
  if (!std::strcmp(command, "dgels-row"))
    return LAPACKE_dgels(LAPACK_ROW_MAJOR, 'T', n, n, nrhs, p.a.data(), n, p.b.data(), nrhs);
  if (!std::strcmp(command, "sgels-row"))
    return LAPACKE_sgels(LAPACK_ROW_MAJOR, 'N', n, n, nrhs, p.a_single.data(), n, p.b_single.data(), nrhs);
  int info = 0;
  if (!std::strcmp(command, "DGETRF-bad")) {
    const int m = -1;
    DGETRF(&m, &n, p.a.data(), &n, p.ipiv.data(), &info);
  } else if (!std::strcmp(command, "SPOTRF-bad")) {
    SPOTRF("X", &n, p.a_single.data(), &n, &info);
  } else if (!std::strcmp(command, "DSYEV-bad")) {
    double work[16];
    const int lwork = 16;
    DSYEV("X", "U", &n, p.a.data(), &n, p.b.data(), work, &lwork, &info);
  } else if (!std::strcmp(command, "DGELS-query")) {
    double size = 0;
    const int lwork = -1;
    DGELS("N", &n, &n, &nrhs, p.a.data(), &n, p.b.data(), &n, &size, &lwork, &info);
  } else if (!std::strcmp(command, "SGELS-short")) {
    float work[3];
    const int lwork = 3;
    SGELS("N", &n, &n, &nrhs, p.a_single.data(), &n, p.b_single.data(), &n, work, &lwork, &info);
  } else if (!std::strcmp(command, "DGETRI-query")) {
    double size = 0;
    const int lwork = -1;
    DGETRI(&n, p.a.data(), &n, nullptr, &size, &lwork, &info);
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
