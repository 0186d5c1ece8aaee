// Child-process driver for the vector math frame: the settings read from the
// environment at first use, and vdsub on them. Arguments run in order:
//   fake=<profile>  present a made-up processor (tests/service/cpu_fake_processor.h)
//   mode            "mode=<decimal>" of this thread, then of a second thread
//   code            "code=<column> branch=<reproducibility branch>"
//   kernel          "kernel=<name>" of the kernel vdsub takes
//   sub:<n>         vdsub on n elements, also with y = a and y = b: "sub <n> ok status=<s>"
//   team:<n>        the driver with a recording kernel: "team <n> threads=<T> parts=<c0>,<c1>,..."
//   fatal           the per-thread block cannot be had
#include <omp.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

#include "customvrx.h"
#include "service/cpu_fake_processor.h"
#include "service/vrx_serv.h"
#include "vector/vrx_vmf.h"

namespace {
const char* kernel_name(vrx_vmf_dkernel k) {
  if (k == vrx_vmf_dsub_plain_sse2) return "plain_sse2";
  if (k == vrx_vmf_dsub_guarded_sse2) return "guarded_sse2";
  if (k == vrx_vmf_dsub_guarded_sse42) return "guarded_sse42";
  if (k == vrx_vmf_dsub_guarded_avx) return "guarded_avx";
  if (k == vrx_vmf_dsub_guarded_avx2) return "guarded_avx2";
  if (k == vrx_vmf_dsub_guarded_avx512) return "guarded_avx512";
  return "none";
}

std::vector<double> values(int n, double scale) {
  std::vector<double> v(n);
  for (int i = 0; i < n; ++i) v[i] = scale * (static_cast<long long>(i) * 7919 % 1000 - 500) / 3.0;
  return v;
}

bool exact(const std::vector<double>& y, const std::vector<double>& a, const std::vector<double>& b) {
  for (std::size_t i = 0; i < a.size(); ++i)
    if (y[i] != a[i] - b[i]) return false;
  return true;
}

void run_sub(int n) {
  const std::vector<double> a = values(n, 1.5), b = values(n, -0.7);
  std::vector<double> y(n);
  vdsub(&n, a.data(), b.data(), y.data());
  bool ok = exact(y, a, b);
  y = a;
  vdsub(&n, y.data(), b.data(), y.data());
  ok = ok && exact(y, a, b);
  y = b;
  vdsub(&n, a.data(), y.data(), y.data());
  ok = ok && exact(y, a, b);
  std::printf("sub %d %s status=%d\n", n, ok ? "ok" : "WRONG", vrx_vmf_get_status());
}

int parts[64];
void counting_kernel(int n, const double* a, const double* b, double* y) {
  const int t = omp_get_thread_num();
  if (t < 64) parts[t] = n;
  for (int i = 0; i < n; ++i) y[i] = a[i] - b[i];
}

void run_team(int n) {
  const std::vector<double> a = values(n, 1.0), b = values(n, 2.0);
  std::vector<double> y(n);
  std::memset(parts, 0, sizeof parts);
  const int index = vrx_vmf_row(vrx_vmf_cpu_code());
  int team = 0;
  // The team size is seen from inside the kernel calls.
  vrx_vmf_drive(counting_kernel, n, a.data(), b.data(), y.data(), vrx_vmf_dsub_table.costs[index]);
  for (int t = 0; t < 64; ++t)
    if (parts[t] > 0) team = t + 1;
  std::printf("team %d threads=%d parts=", n, team);
  for (int t = 0; t < team; ++t) std::printf(t ? ",%d" : "%d", parts[t]);
  std::printf(" domain=%d dynamic=%d factor=%.9g cost=%.9g%s\n", vrx_serv_domain_get_max_threads(VRX_DOMAIN_VML),
              vrx_serv_get_dynamic(), static_cast<double>(vrx_vmf_thread_factor()),
              static_cast<double>(vrx_vmf_dsub_table.costs[index]), exact(y, a, b) ? "" : " WRONG");
}
}  // namespace

int main(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    const char* arg = argv[i];
    if (std::strncmp(arg, "fake=", 5) == 0) {
      const vrx_fake_cpu* cpu = vrx_fake_profile(arg + 5);
      if (!cpu) {
        std::printf("unknown profile %s\n", arg + 5);
        return 2;
      }
      vrx_fake_install(*cpu);
    } else if (std::strcmp(arg, "mode") == 0) {
      unsigned other = 0;
      std::thread second([&] { other = vrx_vmf_get_mode(); });
      second.join();
      std::printf("mode=%u other=%u\n", vrx_vmf_get_mode(), other);
    } else if (std::strcmp(arg, "code") == 0) {
      std::printf("code=%d branch=%d\n", vrx_vmf_cpu_code(), vrx_serv_cbwr_get(1));
    } else if (std::strcmp(arg, "kernel") == 0) {
      std::printf("kernel=%s\n", kernel_name(vrx_vmf_dsub_table.kernels[vrx_vmf_row(vrx_vmf_cpu_code())]));
    } else if (std::strncmp(arg, "sub:", 4) == 0) {
      run_sub(std::atoi(arg + 4));
    } else if (std::strncmp(arg, "team:", 5) == 0) {
      run_team(std::atoi(arg + 5));
    } else if (std::strcmp(arg, "fatal") == 0) {
      vrx_vmf_context_checked(nullptr);
      std::printf("survived\n");
    } else {
      std::printf("unknown argument %s\n", arg);
      return 2;
    }
  }
  return 0;
}
