// Child-process driver for the trust-region solvers' memory: counts the blocks of the
// service's base allocator and can refuse the k-th request (k from 1; 0 refuses none).
//   init plain|bounded <k>  prints "status=<s> live=<blocks held> handle=<kept|written>"
//                           and, after a success, "deleted live=<blocks held>"
//   step bounded <k>        refuses the k-th request made by the bounded step itself;
//                           prints "status=<s> st_cr=<c> request=<r> live=<held>"
//   loop plain|bounded      prints "requests=<r> taken=<blocks taken during the loop>
//                           kept=<blocks still held from them>"
// Run with VRX_DISABLE_FAST_MM set, so that every block goes to the base allocator.
#include <cfloat>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "include/customvrx.h"
#include "service/vrx_serv.h"

namespace {
vrx_base_allocator underlying;
long live = 0, taken = 0, refuse_at = 0;

void* counted(void* p) {
  if (p) ++live;
  return p;
}
void* next_block(void* (*allocate)(std::size_t), std::size_t size) {
  if (++taken == refuse_at) return nullptr;
  return counted(allocate(size));
}
void* counted_malloc(std::size_t size) { return next_block(underlying.malloc, size); }
void* counted_pool_malloc(std::size_t size) { return next_block(underlying.pool_malloc, size); }
void counted_free(void* p) {
  if (p) --live;
  underlying.free(p);
}
void counted_pool_free(void* p) {
  if (p) --live;
  underlying.pool_free(p);
}

void count_blocks() {
  vrx_serv_free(vrx_serv_malloc(64, 64));  // the manager's own records come first
  underlying = vrx_serv_base_allocator;
  vrx_serv_base_allocator.malloc = counted_malloc;
  vrx_serv_base_allocator.free = counted_free;
  vrx_serv_base_allocator.pool_malloc = counted_pool_malloc;
  vrx_serv_base_allocator.pool_free = counted_pool_free;
}

// F_i = x_i^2 - (i + 1) on a small box: a few steps, some on the bounds.
constexpr int n = 3, m = 4;
void residual(const double* x, double* f) {
  for (int i = 0; i < n; ++i) f[i] = x[i] * x[i] - (i + 1);
  f[3] = x[0] + x[1] + x[2] - 3.0;
}
void jacobian(const double* x, double* j) {
  for (int k = 0; k < m * n; ++k) j[k] = 0.0;
  for (int i = 0; i < n; ++i) j[i * m + i] = 2.0 * x[i], j[i * m + 3] = 1.0;
}

double x[n] = {1.0, 1.0, 1.0};
const double lw[n] = {0.5, 0.5, -DBL_MAX}, up[n] = {1.2, DBL_MAX, 1.5};
const double eps[6] = {1e-10, 1e-10, 1e-12, 1e-12, 1e-14, 1e-10};
const int sizes[2] = {n, m}, iter1 = 100, iter2 = 100;
const double rs = 0.0;

int init(bool bounded, dtrnlsp_handle_t* h) {
  return bounded ? dtrnlspbc_init(h, &sizes[0], &sizes[1], x, lw, up, eps, &iter1, &iter2, &rs)
                 : dtrnlsp_init(h, &sizes[0], &sizes[1], x, eps, &iter1, &iter2, &rs);
}
int solve(bool bounded, dtrnlsp_handle_t* h, double* f, double* j, int* request) {
  return bounded ? dtrnlspbc_solve(h, f, j, request) : dtrnlsp_solve(h, f, j, request);
}
}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) return 2;
  const char* mode = argv[1];
  const bool bounded = std::strcmp(argv[2], "bounded") == 0;
  count_blocks();
  dtrnlsp_handle_t h = &x;  // a value init must not overwrite on a failure
  double f[m], j[m * n];

  if (std::strcmp(mode, "init") == 0 && argc == 4) {
    refuse_at = std::atol(argv[3]);
    const int status = init(bounded, &h);
    std::printf("status=%d live=%ld handle=%s\n", status, live, h == static_cast<void*>(&x) ? "kept" : "written");
    if (status == TRN_SUCCESS) {
      bounded ? dtrnlspbc_delete(&h) : dtrnlsp_delete(&h);
      std::printf("deleted live=%ld\n", live);
    }
    return 0;
  }
  if (std::strcmp(mode, "step") == 0 && bounded && argc == 4) {
    if (init(true, &h) != TRN_SUCCESS) return 3;
    int request = 0;
    while (request != 2) {
      if (solve(true, &h, f, j, &request) != TRN_SUCCESS || request < 0) return 4;
      if (request == 1) residual(x, f);
    }
    jacobian(x, j);
    const long held = live;
    refuse_at = taken + std::atol(argv[3]);
    const int status = solve(true, &h, f, j, &request);
    int iter = 0, st_cr = 0;
    double r1 = 0, r2 = 0;
    dtrnlspbc_get(&h, &iter, &st_cr, &r1, &r2);
    std::printf("status=%d st_cr=%d request=%d live=%ld\n", status, st_cr, request, live - held);
    dtrnlspbc_delete(&h);
    return 0;
  }
  if (std::strcmp(mode, "loop") == 0) {
    if (init(bounded, &h) != TRN_SUCCESS) return 3;
    const long before = taken, held = live;
    int request = 0, requests = 0;
    while (solve(bounded, &h, f, j, &request) == TRN_SUCCESS && request >= 0 && requests < 10000) {
      ++requests;
      if (request == 1) residual(x, f);
      if (request == 2) jacobian(x, j);
    }
    std::printf("requests=%d taken=%ld kept=%ld\n", requests, taken - before, live - held);
    bounded ? dtrnlspbc_delete(&h) : dtrnlsp_delete(&h);
    return 0;
  }
  return 2;
}
