// The shipped library exports exactly the documented surface and needs libomp alone.
#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <sstream>
#include <string>

namespace {
std::string run_command(const std::string& command) {
  std::string out;
  FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) return out;
  char buffer[4096];
  while (fgets(buffer, sizeof buffer, pipe)) out += buffer;
  pclose(pipe);
  return out;
}

// The whole documented surface of the library.
const std::set<std::string> documented_surface = {
    "cblas_dgemm",
    "LAPACKE_dgetrf", "LAPACKE_dgetri", "LAPACKE_dgetrs", "LAPACKE_dpotrf", "LAPACKE_dpotrs", "LAPACKE_dgels",
    "LAPACKE_dgeev", "LAPACKE_dgesdd", "LAPACKE_dsyev", "LAPACKE_sgetrf", "LAPACKE_sgetrs", "LAPACKE_spotrf",
    "LAPACKE_spotrs", "LAPACKE_sgels", "LAPACKE_sgeev", "LAPACKE_ssyev",
    "VRX_Dimatcopy", "VRX_Domatcopy", "vdsub",
    "feastinit", "dfeast_syev", "zfeast_heev", "cfeast_heev",
    "dtrnlsp_init", "dtrnlsp_solve", "dtrnlsp_get", "dtrnlsp_delete",
    "dtrnlspbc_init", "dtrnlspbc_solve", "dtrnlspbc_get", "dtrnlspbc_delete",
    "djacobi", "djacobix",
};
}  // namespace

TEST(SharedLibrary, ExportsOnlyTheDocumentedSurface) {
  const std::string symbols =
      run_command(std::string("nm -D --defined-only --format=posix ") + VRX_SHARED_LIBRARY + " 2>&1");
  ASSERT_FALSE(symbols.empty());
  std::istringstream lines(symbols);
  std::string name, type;
  std::set<std::string> exported;
  while (lines >> name >> type) {
    std::string rest;
    std::getline(lines, rest);
    if (type == "T" || type == "W" || type == "D" || type == "B" || type == "R" || type == "i") exported.insert(name);
  }
  for (const char* entry : {"cblas_dgemm", "LAPACKE_dgetrf", "LAPACKE_dgetrs", "LAPACKE_dgetri", "LAPACKE_sgetrf",
                            "LAPACKE_sgetrs", "LAPACKE_dpotrf", "LAPACKE_dpotrs", "LAPACKE_spotrf", "LAPACKE_spotrs",
                            "LAPACKE_dgels", "LAPACKE_sgels", "LAPACKE_dsyev", "LAPACKE_ssyev"})
    EXPECT_TRUE(exported.count(entry)) << "missing: " << entry;
  for (const std::string& symbol : exported) EXPECT_TRUE(documented_surface.count(symbol)) << "leaked: " << symbol;
}

TEST(SharedLibrary, NeedsOnlyTheOpenMPRuntimeBesidesTheCLibrary) {
#ifdef VRX_SANITIZED_BUILD
  GTEST_SKIP() << "a sanitizer build's library also needs the sanitizer's runtime";
#endif
  const std::string dynamic = run_command(std::string("readelf -d ") + VRX_SHARED_LIBRARY);
  std::istringstream lines(dynamic);
  std::string line;
  int needed = 0;
  while (std::getline(lines, line)) {
    const auto open = line.find("Shared library: [");
    if (open == std::string::npos) continue;
    const std::string lib = line.substr(open + 17, line.find(']') - open - 17);
    ++needed;
    const bool allowed = lib.rfind("libomp", 0) == 0 || lib.rfind("libc.so", 0) == 0 || lib.rfind("libm.so", 0) == 0 ||
                         lib.rfind("ld-linux", 0) == 0;
    EXPECT_TRUE(allowed) << "unexpected dependency " << lib;
  }
  EXPECT_GT(needed, 0);
}
