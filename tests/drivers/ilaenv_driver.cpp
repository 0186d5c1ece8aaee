// Child-process driver for the tuning query. Options first, then queries:
//   --fake <profile>      present a made-up processor (tests/service/cpu_fake_processor.h)
//   --large-l2            with --fake: its second-level cache grows to 4 MiB
//   --topology l,c,n      logical processors, cores and packages seen by the library
//   ispec,NAME,opts,n1,n2,n3,n4   prints ILAENV's answer on a line of its own (opts may be empty)
#include <cstdio>
#include <cstring>
#include <initializer_list>

#include "lapack/vrx_lapack.h"
#include "service/cpu_fake_processor.h"
#include "service/vrx_threads.h"

namespace {
vrx_topology presented = {1, 1, 1};
int present_topology(vrx_topology* out) {
  *out = presented;
  return 0;
}

// Data 32 KiB, instruction 32 KiB, unified 4 MiB, unified 16 MiB.
constexpr vrx_cpuid_result large_l2_caches[6] = {
    {0x121, (7u << 22) | 63, 63, 0},   {0x122, (7u << 22) | 63, 63, 0},
    {0x143, (15u << 22) | 63, 4095, 0}, {0x163, (15u << 22) | (1u << 11) | 63, 8191, 0},
    {0, 0, 0, 0},                        {0, 0, 0, 0},
};

// Splits "a,b,,c" in place at the commas, keeping empty fields.
int split(char* text, char* fields[], int most) {
  int count = 0;
  fields[count++] = text;
  for (char* c = text; *c && count < most; ++c)
    if (*c == ',') {
      *c = '\0';
      fields[count++] = c + 1;
    }
  return count;
}

void ask(char* query) {
  char* f[7];
  if (split(query, f, 7) != 7) {
    std::printf("bad query\n");
    return;
  }
  vrx_int number[5];
  const int positions[5] = {0, 3, 4, 5, 6};
  for (int i = 0; i < 5; ++i) {
    long long v = 0;
    std::sscanf(f[positions[i]], "%lld", &v);
    number[i] = v;
  }
  const vrx_int answer = ILAENV(&number[0], f[1], f[2], &number[1], &number[2], &number[3], &number[4],
                                static_cast<vrx_int>(std::strlen(f[1])), static_cast<vrx_int>(std::strlen(f[2])));
  std::printf("%lld\n", static_cast<long long>(answer));
}
}  // namespace

int main(int argc, char** argv) {
  vrx_fake_cpu cpu = {};
  bool fake = false;
  int i = 1;
  for (; i < argc && std::strncmp(argv[i], "--", 2) == 0; ++i) {
    if (std::strcmp(argv[i], "--large-l2") == 0) {
      std::memcpy(cpu.leaf4, large_l2_caches, sizeof large_l2_caches);
      continue;
    }
    if (i + 1 >= argc) break;
    if (std::strcmp(argv[i], "--fake") == 0) {
      const vrx_fake_cpu* profile = vrx_fake_profile(argv[++i]);
      if (!profile) return 2;
      vrx_cpuid_result kept[6];
      std::memcpy(kept, cpu.leaf4, sizeof kept);
      cpu = *profile;
      if (kept[0].eax != 0) std::memcpy(cpu.leaf4, kept, sizeof kept);
      fake = true;
    } else if (std::strcmp(argv[i], "--topology") == 0) {
      std::sscanf(argv[++i], "%d,%d,%d", &presented.logical, &presented.cores, &presented.nodes);
      vrx_serv_set_topology_source(present_topology);
    }
  }
  if (fake) vrx_fake_install(cpu);
  for (; i < argc; ++i) ask(argv[i]);
  return 0;
}
