// The packed-operand service of one precision under this process's CPU type, checked
// against a wider reference.
//   gemm_pack_driver LETTER [shapes|threads|noscratch|nomemory]
//     shapes: operands on both sides of the register block and of the depth slices, row
//       ranges from the start, the middle and the tail, several alpha and beta, one
//       handle packed again with a smaller operand;
//     threads: four threads multiplying with one handle at once, on disjoint columns
//       and on disjoint rows;
//     noscratch: the memory manager refuses everything after the pack, so that the
//       multiplies run without a B buffer;
//     nomemory: create fails, returns non-zero and leaves the handle null.
// Prints "LETTER query Q MODE ok" (Q the query's answer, MODE plain or packed) and exits
// 0, or prints what went wrong and exits 1.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "blas/level3/gemm_pack/vrx_gemm_pack_handle.h"
#include "service/vrx_cpu.h"
#include "support/gemm_typed_reference.h"
#include "support/refused_memory.h"

namespace {

int failures = 0;

void fail(const char* what, long long a, long long b, long long c, long long d) {
  if (failures++ < 10) std::printf("%s (%lld %lld %lld %lld)\n", what, a, b, c, d);
}

// The register height of the packed panels on this CPU type, or 8 for the plain copy.
template <typename T>
int64_t panel_height() {
  const vrx_l3_kernels<T>* kernels = vrx_l3_kernels_for<T>(vrx_serv_cpu_detect());
  return kernels ? kernels->mr : 8;
}

// The product of rows [row0, row0 + rows) of the whole operand of `full`, with a C of
// its own (padded by 3 rows).
template <typename T>
vrx_test_product<T> row_range(const vrx_test_product<T>& full, int64_t row0, int64_t rows) {
  vrx_test_product<T> p = full;
  p.m = rows;
  p.a.erase(p.a.begin(), p.a.begin() + row0);
  p.ldc = rows + 3;
  p.c.resize(static_cast<std::size_t>(p.ldc * p.n));
  return p;
}

struct range {
  int64_t row0, rows;
};

// Multiplies each range with the handle packed from `full` and checks it.
template <typename T>
void check_ranges(vrx_gemm_pack_handle* h, const vrx_test_product<T>& full, const std::vector<range>& ranges) {
  for (const range& r : ranges) {
    const vrx_test_product<T> p = row_range(full, r.row0, r.rows);
    std::vector<T> c = p.c;
    if (vrx_blas_gemm_pack_multiply<T>(h, r.row0, r.rows, p.n, p.alpha, p.b.data(), p.ldb, p.beta, c.data(),
                                       p.ldc) != 0)
      fail("multiply failed", full.m, full.k, r.row0, r.rows);
    else if (vrx_test_gemm_bad_elements(p, c) != 0)
      fail("wrong product: rows, depth, row0, rows", full.m, full.k, r.row0, r.rows);
  }
}

// Row ranges of an operand of `m` rows with panels of height mr: the whole, aligned
// starts to the end and inside, unaligned starts, and pieces of the tail panels.
std::vector<range> ranges_of(int64_t m, int64_t mr) {
  std::vector<range> all = {{0, m}, {0, 1}, {m - 1, 1}};
  if (m > mr) all.push_back({mr, m - mr});
  if (m > 2 * mr) all.push_back({mr, mr});
  if (m > 3) all.push_back({3, m - 5 > 0 ? m - 5 : 1});
  if (m > mr + 2) all.push_back({m - mr + 1, mr - 2});
  return all;
}

template <typename T>
T scalar(double re, double im) {
  return vrx_traits<T>::make(static_cast<vrx_real_t<T>>(re), static_cast<vrx_real_t<T>>(im));
}

template <typename T>
void shapes() {
  const int64_t mr = panel_height<T>();
  const int64_t depths[] = {0, 1, 7, 8, 9, 64, 255, 256, 257, 384, 385};
  const int64_t row_counts[] = {1, mr - 1, mr, mr + 1, 2 * mr + 7};
  const int64_t ns[] = {1, 5, 33, 300, 17};
  const T scalars[][2] = {{scalar<T>(-1, 0), scalar<T>(1, 0)},
                          {scalar<T>(0.75, -0.5), scalar<T>(-1.25, 0.25)},
                          {scalar<T>(1.5, 0.5), scalar<T>(0, 0)},
                          {scalar<T>(0, 0), scalar<T>(0.5, 0)}};
  vrx_gemm_pack_handle* h = nullptr;
  if (vrx_blas_gemm_pack_create<T>(&h, 2 * mr + 9, 390) != 0 || !h) {
    fail("create failed", 2 * mr + 9, 390, 0, 0);
    return;
  }
  int seed = 1;
  for (int64_t k : depths)
    for (int64_t m : row_counts) {
      if (m < 1) continue;
      const int64_t n = ns[seed % 5];
      const T* ab = scalars[seed % 4];
      vrx_test_product<T> full = vrx_test_make_product<T>('N', 'N', m, n, k, ab[0], ab[1], seed++);
      // A beta of zero stores C without reading it: NaN in C must not survive.
      if (vrx_traits<T>::is_zero(ab[1])) full.c.assign(full.c.size(), scalar<T>(NAN, 0));
      if (vrx_blas_gemm_pack<T>(h, m, k, full.a.data(), full.lda) != 0) {
        fail("pack failed", m, k, 0, 0);
        continue;
      }
      check_ranges(h, full, ranges_of(m, mr));
    }
  // Out of bounds: more rows or depth than created, rows beyond the packed ones, another type.
  if (vrx_blas_gemm_pack<T>(h, 2 * mr + 10, 1, std::vector<T>(4 * mr).data(), 2 * mr + 10) == 0 ||
      vrx_blas_gemm_pack_multiply<T>(h, 1, 2 * mr + 7, 1, T{}, nullptr, 400, T{}, nullptr, 4 * mr) == 0)
    fail("out of bounds accepted", mr, 0, 0, 0);
  typedef std::conditional_t<std::is_same_v<T, double>, vrx_complex_float, double> other;
  const other one_value{};
  if (vrx_blas_gemm_pack<other>(h, 1, 1, &one_value, 1) == 0) fail("another element type accepted", 0, 0, 0, 0);
  vrx_blas_gemm_pack_release(h);
}

// Four threads at once on one handle: columns [j0, j1) or rows of whole panels each.
template <typename T>
void threads() {
  const int64_t mr = panel_height<T>();
  const int64_t m = 4 * mr + 5, k = 257, n = 300;
  const vrx_test_product<T> full = vrx_test_make_product<T>('N', 'N', m, n, k, scalar<T>(-1, 0), scalar<T>(1, 0), 7);
  vrx_gemm_pack_handle* h = nullptr;
  if (vrx_blas_gemm_pack_create<T>(&h, m, k) != 0 || vrx_blas_gemm_pack<T>(h, m, k, full.a.data(), full.lda) != 0) {
    fail("create or pack failed", m, k, 0, 0);
    vrx_blas_gemm_pack_release(h);
    return;
  }
  for (int by_rows = 0; by_rows < 2; ++by_rows)
    for (int round = 0; round < 3; ++round) {
      std::vector<T> c = full.c;
      int errors = 0;
      std::vector<std::thread> team;
      for (int t = 0; t < 4; ++t)
        team.emplace_back([&, t] {
          int64_t row0 = 0, rows = m, j0 = t * n / 4, cols = (t + 1) * n / 4 - j0;
          if (by_rows) {
            row0 = t * mr;
            rows = t == 3 ? m - row0 : mr;
            j0 = 0;
            cols = n;
          }
          if (vrx_blas_gemm_pack_multiply<T>(h, row0, rows, cols, full.alpha, full.b.data() + j0 * full.ldb,
                                             full.ldb, full.beta, c.data() + row0 + j0 * full.ldc, full.ldc) != 0)
            __atomic_add_fetch(&errors, 1, __ATOMIC_RELAXED);
        });
      for (std::thread& t : team) t.join();
      if (errors || vrx_test_gemm_bad_elements(full, c) != 0) fail("threads: wrong product", by_rows, round, 0, 0);
    }
  vrx_blas_gemm_pack_release(h);
}

// The memory manager refuses everything once the operand is packed.
template <typename T>
void noscratch() {
  const int64_t mr = panel_height<T>();
  const int64_t m = 2 * mr + 7, k = 385;
  const vrx_test_product<T> full =
      vrx_test_make_product<T>('N', 'N', m, 45, k, scalar<T>(0.5, 1), scalar<T>(-0.75, 0), 11);
  vrx_gemm_pack_handle* h = nullptr;
  if (vrx_blas_gemm_pack_create<T>(&h, m, k) != 0 || vrx_blas_gemm_pack<T>(h, m, k, full.a.data(), full.lda) != 0) {
    fail("create or pack failed", m, k, 0, 0);
    vrx_blas_gemm_pack_release(h);
    return;
  }
  vrx_test_refuse_memory("nomemory");
  check_ranges(h, full, ranges_of(m, mr));
  vrx_blas_gemm_pack_release(h);
}

template <typename T>
void nomemory() {
  vrx_test_refuse_memory("nomemory");
  vrx_gemm_pack_handle* h = reinterpret_cast<vrx_gemm_pack_handle*>(&failures);
  if (vrx_blas_gemm_pack_create<T>(&h, 100, 100) == 0 || h != nullptr) fail("create without memory", 0, 0, 0, 0);
  if (vrx_test_refusals == 0) fail("nothing was refused", 0, 0, 0, 0);
  vrx_blas_gemm_pack_release(h);
  vrx_blas_gemm_pack_release(nullptr);
}

template <typename T>
const char* run(const std::string& mode) {
  if (mode == "shapes") shapes<T>();
  else if (mode == "threads") threads<T>();
  else if (mode == "noscratch") noscratch<T>();
  else if (mode == "nomemory") nomemory<T>();
  else return nullptr;
  return vrx_l3_kernels_for<T>(vrx_serv_cpu_detect()) ? "packed" : "plain";
}
}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) return 2;
  const char letter = argv[1][0];
  const std::string mode = argv[2];
  const char* kind = letter == 'S'   ? run<float>(mode)
                     : letter == 'D' ? run<double>(mode)
                     : letter == 'C' ? run<vrx_complex_float>(mode)
                     : letter == 'Z' ? run<vrx_complex_double>(mode)
                                     : nullptr;
  if (!kind) return 2;
  if (failures) return 1;
  std::printf("%c query %d %s ok\n", letter, vrx_blas_gemm_pack_query(), kind);
  return 0;
}
