// Scratch memory: a repeated allocate/free of one size through the pool, the
// direct path, plain malloc/free and aligned_alloc/free, as ratios to malloc.
#include <cstdio>
#include <cstdlib>

#include "service/vrx_serv.h"
#include "support/bench_support.h"

namespace {
constexpr int pairs = 200000;
unsigned char* volatile sink;

template <typename Allocate, typename Release>
double nanoseconds_per_pair(Allocate&& allocate, Release&& release) {
  const double seconds = bench_best_seconds(5, [&] {
    for (int i = 0; i < pairs; ++i) {
      unsigned char* p = static_cast<unsigned char*>(allocate());
      p[0] = static_cast<unsigned char>(i);
      sink = p;
      release(p);
    }
  });
  return seconds * 1e9 / pairs;
}
}  // namespace

int main() {
  const std::size_t sizes[] = {256, 8192, 262144, 4194304};
  std::printf("%10s %10s %10s %10s %10s %10s %12s %12s\n", "bytes", "malloc", "aligned", "pool", "direct",
              "pool/mal", "pool/align", "direct/mal");
  for (std::size_t size : sizes) {
    const std::size_t rounded = (size + 127) & ~std::size_t{127};
    const double plain = nanoseconds_per_pair([&] { return std::malloc(size); }, [](void* p) { std::free(p); });
    const double aligned =
        nanoseconds_per_pair([&] { return std::aligned_alloc(128, rounded); }, [](void* p) { std::free(p); });
    const double pool =
        nanoseconds_per_pair([&] { return vrx_serv_malloc(size, 128); }, [](void* p) { vrx_serv_free(p); });
    const double direct = nanoseconds_per_pair([&] { return vrx_serv_malloc_direct(size, 128); },
                                               [](void* p) { vrx_serv_free_direct(p); });
    std::printf("%10zu %8.1fns %8.1fns %8.1fns %8.1fns %10.2f %12.2f %12.2f\n", size, plain, aligned, pool, direct,
                pool / plain, pool / aligned, direct / plain);
  }
  return 0;
}
