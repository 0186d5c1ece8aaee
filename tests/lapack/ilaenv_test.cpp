// The tuning query: answers that depend only on the question (in-process), answers that
// depend on the machine or the reproducibility branch (child processes presenting them),
// and concurrent questions from inside a parallel region.
#include <gtest/gtest.h>
#include <omp.h>

#include <cstdio>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "lapack/ilaenv_machine_rows.h"
#include "lapack/vrx_lapack.h"
#include "service/vrx_cpu.h"
#include "support/child_process.h"

namespace {
vrx_int ask(const ilaenv_row& r) {
  return ILAENV(&r.ispec, r.name, r.opts, &r.n1, &r.n2, &r.n3, &r.n4, static_cast<vrx_int>(std::strlen(r.name)),
                static_cast<vrx_int>(std::strlen(r.opts)));
}

vrx_int ask(vrx_int ispec, const char* name, const char* opts, vrx_int n1, vrx_int n2, vrx_int n3, vrx_int n4) {
  return ask(ilaenv_row{ispec, name, opts, n1, n2, n3, n4, 0});
}

std::string describe(const ilaenv_row& r) {
  char text[160];
  std::snprintf(text, sizeof text, "%lld,%s,%s,%lld,%lld,%lld,%lld", static_cast<long long>(r.ispec), r.name,
                r.opts, static_cast<long long>(r.n1), static_cast<long long>(r.n2), static_cast<long long>(r.n3),
                static_cast<long long>(r.n4));
  return text;
}

TEST(IlaenvTable, AnswersThatDependOnlyOnTheQuestion) {
  for (const ilaenv_row& r : ilaenv_plain_rows) EXPECT_EQ(ask(r), r.expected) << describe(r);
}

TEST(IlaenvTable, CpuNameAndKey19GiveTheCpuType) {
  const vrx_int type = vrx_serv_cpu_detect();
  EXPECT_EQ(ask(1, "CPU", " ", 5, 5, -1, -1), type);
  EXPECT_EQ(ask(21, "CPU", " ", 1000, 1000, 8, -1), type);
  EXPECT_EQ(ask(19, "ZGETRF", " ", 1000, 1000, 8, -1), type);
}

TEST(IlaenvTable, NameIsReadWithinItsLength) {
  const vrx_int key = 1, m = 1000, n = 1000, none = -1;
  // Characters past the given length are blanks: "DGETR" is no routine of the table.
  EXPECT_EQ(ILAENV(&key, "DGETRF", "S", &m, &n, &none, &none, 5, 1), 1);
  EXPECT_EQ(ILAENV(&key, "DGETRFXYZ", "SX", &m, &n, &none, &none, 6, 1), 512);
  // "CP" alone is not the CPU entry; an empty option reads as blank.
  const vrx_int small = 5;
  EXPECT_EQ(ILAENV(&key, "CPU", " ", &small, &small, &none, &none, 2, 1), 1);
  const vrx_int eight = 8;
  EXPECT_EQ(ILAENV(&key, "DGETRF", "S", &m, &n, &eight, &none, 6, 0), ask(1, "DGETRF", " ", m, n, 8, -1));
}

TEST(IlaenvTable, GetrfCrossoverIgnoresThreadsForTheThreadIndependentQuestion) {
  for (vrx_int n : {100, 2801, 5000, 60000})
    for (const char* name : {"SGETRF", "DGETRF", "CGETRF", "ZGETRF"}) EXPECT_EQ(ask(3, name, " ", n, n, -1, -1), 64);
}

// Once a thread count is given, the QR panel width stays between 1 and 160.
TEST(IlaenvTable, GeqrfWidthWithThreadsNeverExceeds160) {
  const vrx_int sizes[] = {1, 7, 11, 40, 64, 150, 151, 250, 251, 400, 1000, 2500, 4000, 10000, 50000, 200000};
  for (const char* name : {"DGEQRF", "SGEQRF", "ZGEQRF"})
    for (vrx_int t = 1; t <= 72; t += (t < 20 ? 1 : 7))
      for (vrx_int m : sizes)
        for (vrx_int n : sizes)
          for (const char* opts : {" ", "P"}) {
            const vrx_int nb = ask(1, name, opts, m, n, t, -1);
            ASSERT_LE(nb, 160) << name << " m=" << m << " n=" << n << " t=" << t;
            ASSERT_GE(nb, 1) << name << " m=" << m << " n=" << n << " t=" << t;
          }
}

// The tables left open keep their bounds: GETRF widths 16 to 480 on the threaded paths of
// the types other than 5, SYGST and HEGST 64 to 640, GESVD 24 to 96 (D) and up to 128 (S).
TEST(IlaenvTable, OpenLaddersStayWithinTheirBounds) {
  for (vrx_int n = 500; n <= 70000; n += 500) {
    for (vrx_int t : {-1, 1, 2, 4, 5, 8, 9, 12, 13, 24, 25, 64}) {
      for (const char* name : {"DGETRF", "SGETRF", "ZGETRF"}) {
        if (vrx_serv_cpu_detect() == VRX_CPU_AVX2) break;
        const vrx_int nb = ask(1, name, " ", 70000, n, t, -1);
        ASSERT_GE(nb, 16) << name << " n=" << n << " t=" << t;
        ASSERT_LE(nb, 480) << name << " n=" << n << " t=" << t;
      }
      for (const char* name : {"DSYGST", "SSYGST", "ZHEGST", "CHEGST"})
        for (const char* uplo : {"U", "L"}) {
          const vrx_int nb = ask(1, name, uplo, n, t, -1, -1);
          ASSERT_GE(nb, 64) << name << " n=" << n;
          ASSERT_LE(nb, 640) << name << " n=" << n;
        }
    }
    for (const char* opts : {"A", "S", "N"})
      for (vrx_int other : {vrx_int{100}, n, 2 * n}) {
        const vrx_int d = ask(1, "DGESVD", opts, n, other, -1, -1), s = ask(1, "SGESVD", opts, other, n, -1, -1);
        ASSERT_GE(d, 24);
        ASSERT_LE(d, 96);
        ASSERT_LE(s, 128);
      }
  }
}

// Every thread asks at once, inside a parallel region, and gets the serial answers.
TEST(IlaenvConcurrency, ThreadsOfAParallelRegionGetTheSameAnswers) {
  std::vector<vrx_int> serial;
  for (const ilaenv_row& r : ilaenv_plain_rows) serial.push_back(ask(r));
  int mismatches = 0;
#pragma omp parallel num_threads(8) reduction(+ : mismatches)
  for (int round = 0; round < 20; ++round) {
    int i = 0;
    for (const ilaenv_row& r : ilaenv_plain_rows) mismatches += ask(r) != serial[i++];
    mismatches += ask(1, "DGETRF", " ", 9000, 5000, 8, -1) != ask(1, "DGETRF", " ", 9000, 5000, 8, -1);
  }
  EXPECT_EQ(mismatches, 0);
}

// ---- machines presented to a child process ----
std::vector<std::string> output_lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

void expect_machine(const ilaenv_machine& machine, const std::vector<ilaenv_row>& rows) {
  std::vector<std::string> args = machine.driver_options;
  for (const ilaenv_row& r : rows) args.push_back(describe(r));
  const vrx_child_result run = vrx_test_run(vrx_test_driver("ilaenv_driver"), args, machine.env);
  ASSERT_EQ(run.exit_status, 0) << machine.label;
  const std::vector<std::string> lines = output_lines(run.output);
  ASSERT_EQ(lines.size(), rows.size()) << machine.label << "\n" << run.output;
  for (std::size_t i = 0; i < rows.size(); ++i)
    EXPECT_EQ(lines[i], std::to_string(rows[i].expected)) << machine.label << ": " << describe(rows[i]);
}

TEST(IlaenvMachines, LaddersByCpuTypeCoresVendorCacheAndBranch) {
  for (const ilaenv_machine& machine : ilaenv_machines) expect_machine(machine, machine.rows);
}

TEST(IlaenvMachines, AnswersNamingTheCpuType) {
  for (int type : {0, 2, 3, 4, 5, 7}) {
    const ilaenv_machine machine = {"forced type", {{"VRX_DEBUG_CPU_TYPE", std::to_string(type)}}, ilaenv_cores(4),
                                    {}};
    expect_machine(machine, ilaenv_type_rows(type));
  }
}
}  // namespace
