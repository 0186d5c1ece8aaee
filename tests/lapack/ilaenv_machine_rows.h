// Answers of the tuning query that depend on the CPU type, the cores per package, the
// processor's vendor and caches, or the reproducibility branch: asked in child processes
// that present the machine.
#pragma once
#include <string>
#include <utility>
#include <vector>

#include "lapack/ilaenv_rows.h"

struct ilaenv_machine {
  const char* label;
  std::vector<std::pair<std::string, std::string>> env;
  std::vector<std::string> driver_options;  // before the queries
  std::vector<ilaenv_row> rows;
};

// Four cores on one package unless a machine says otherwise, so that the answers do not
// depend on the machine running the tests.
inline std::vector<std::string> ilaenv_cores(int cores) {
  return {"--topology", std::to_string(cores) + "," + std::to_string(cores) + ",1"};
}
inline std::vector<std::string> ilaenv_with(std::vector<std::string> a, const std::vector<std::string>& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

// Questions whose answer names the CPU type or depends only on it.
inline std::vector<ilaenv_row> ilaenv_type_rows(int type) {
  const bool old = type < 3, avx = type >= 4;
  return {
      {1, "CPU", " ", 1000, 1000, 8, -1, type},   {0, "CPU", " ", 5, 5, 8, -1, type},
      {99, "CPUX", " ", 1, 1, 1, 1, type},       {19, "DGETRF", " ", 1000, 1000, 8, -1, type},
      {3, "DGETRF", " ", 5000, 5000, -1, -1, 64}, {3, "ZGETRF", " ", 20000, 20000, -1, -1, 64},
      {7, "DHGEQZ", " ", 1000, 1000, -1, -1, old ? 2 : 32}, {7, "ZGGHRD", " ", 1000, 1000, -1, -1, old ? 2 : 32},
      {7, "DGEEV ", " ", 1000, 1000, -1, -1, 1},
      {1, "DPOTRF", "U", 5000, 9, -3, -1, old ? 384 : 5000}, {1, "DPOTRF", "U", 5000, 8, -3, -1, 5000},
      {17, "DGETRF", " ", 5501, 5501, 4, -1, avx ? 3 : 3}, {17, "DGETRF", " ", 5500, 5500, 3, -1, avx ? 2 : 3},
      {17, "DGETRF", " ", 900, 900, 2, -1, avx ? 2 : 4}, {18, "DGETRF", " ", 900, 900, 3, -1, avx ? 3 : 0},
      {18, "DGETRF", " ", 900, 900, 2, -1, avx ? 2 : 0},
  };
}

// clang-format off
inline const std::vector<ilaenv_machine> ilaenv_machines = {
    {"type 0", {{"VRX_DEBUG_CPU_TYPE", "0"}}, ilaenv_cores(4), {
        // key 1 of GETRF, 5 to 8 threads on D
        {1, "DGETRF", " ", 5000, 700, 8, -1, 16},    {1, "DGETRF", " ", 5000, 701, 8, -1, 24},
        {1, "DGETRF", " ", 5000, 1700, 5, -1, 24},   {1, "DGETRF", " ", 5000, 1701, 5, -1, 80},
        {1, "DGETRF", " ", 5000, 2400, 6, -1, 80},   {1, "DGETRF", " ", 5000, 2401, 6, -1, 128},
        {1, "DGETRF", " ", 5000, 2800, 7, -1, 128},  {1, "DGETRF", " ", 5000, 2801, 7, -1, 200},
        {1, "DGETRF", " ", 9000, 10000, 8, -1, 200}, {1, "DGETRF", " ", 9000, 10001, 8, -1, 400},
        {1, "DGETRF", " ", 9000, 10001, 9, -1, 160}, {1, "DGETRF", " ", 9000, 2000, 30, -1, 32},
        // key 3 of GETRF: eight threads on D from n 2801
        {3, "DGETRF", " ", 2801, 2801, 8, -1, 4000}, {3, "DGETRF", " ", 5000, 2800, 8, -1, 64},
        {3, "DGETRF", " ", 5000, 5000, 9, -1, 64},
        // key 17
        {17, "DGETRF", " ", 900, 900, 4, -1, 4},     {17, "DGETRF", " ", 901, 901, 4, -1, 3},
        {17, "DGETRF", " ", 3100, 3100, 4, -1, 3},   {17, "DGETRF", " ", 3101, 3101, 4, -1, 2},
        {17, "DGETRF", " ", 3600, 3600, 2, -1, 2},   {17, "DGETRF", " ", 3601, 3601, 2, -1, 3},
        {17, "DGETRF", " ", 2400, 2400, 8, -1, 2},   {17, "DGETRF", " ", 2401, 2401, 8, -1, 1},
        {17, "DGETRF", " ", 10000, 10000, 5, -1, 1}, {17, "DGETRF", " ", 10001, 10001, 5, -1, 2},
        {17, "DGETRF", " ", 6000, 6000, 12, -1, 1},  {17, "DGETRF", " ", 40000, 40000, 16, -1, 1},
        // key 18
        {18, "DGETRF", " ", 1700, 1700, 8, -1, 0},   {18, "DGETRF", " ", 1701, 1701, 8, -1, 4},
        {18, "DGETRF", " ", 2800, 2800, 8, -1, 4},   {18, "DGETRF", " ", 2801, 2801, 8, -1, 8},
        {18, "DGETRF", " ", 10000, 10000, 5, -1, 8}, {18, "DGETRF", " ", 10001, 10001, 5, -1, 16},
        {18, "DGETRF", " ", 2000, 2000, 12, -1, 12}, {18, "DGETRF", " ", 6500, 6500, 12, -1, 12},
        {18, "DGETRF", " ", 6501, 6501, 12, -1, 1000000}, {18, "DGETRF", " ", 6500, 6500, 9, -1, 0},
        {18, "DGETRF", " ", 6501, 6501, 9, -1, 1000000},  {18, "DGETRF", " ", 5000, 5000, 16, -1, 0},
        // eigenvalue band reductions before AVX
        {1, "DSYRDB", "N", 2949, 2, -1, -1, 40},     {1, "DSYRDB", "N", 2950, 2, -1, -1, 64},
        {1, "DSYRDB", "N", 5000, 1, -1, -1, 40},     {1, "SSYRDB", "N", 5000, 4, -1, -1, 40},
        {1, "ZHERDB", "N", 5000, 4, -1, -1, 40},     {1, "CHERDB", "V", 2349, 1, -1, -1, 40},
        {1, "CHERDB", "V", 2350, 1, -1, -1, 64},     {1, "CHERDB", "N", 2799, 4, -1, -1, 40},
        {1, "CHERDB", "N", 2800, 4, -1, -1, 64},
        {3, "DSYEV ", "N", 1000, 1, -1, -1, 1100},   {3, "DSYEV ", "N", 1000, 2, -1, -1, 1197},
        {3, "DSYEV ", "N", 1000, 4, -1, -1, 1900},   {3, "SSYEV ", "N", 1000, 1, -1, -1, 1562},
        {3, "SSYEV ", "N", 1000, 2, -1, -1, 1700},   {3, "SSYEV ", "N", 1000, 4, -1, -1, 2694},
        {3, "DDTTRS", "N", 100, 10, -1, -1, 3000},   {3, "DDTTRS", "N", 100000, 10, -1, -1, 100},
    }},
    {"type 3", {{"VRX_DEBUG_CPU_TYPE", "3"}}, ilaenv_cores(4), {
        // key 1 of GETRF, more than 24 threads from n 1501
        {1, "DGETRF", " ", 9000, 1500, 25, -1, 32},  {1, "DGETRF", " ", 9000, 1501, 25, -1, 16},
        {1, "SGETRF", " ", 9000, 2500, 32, -1, 16},  {1, "CGETRF", " ", 9000, 2501, 25, -1, 24},
        {1, "DGETRF", " ", 9000, 4500, 25, -1, 48},  {1, "ZGETRF", " ", 9000, 4501, 25, -1, 64},
        {1, "DGETRF", " ", 9000, 5500, 64, -1, 72},  {1, "DGETRF", " ", 9000, 2000, 24, -1, 32},
        // key 17 above 8 threads
        {17, "DGETRF", " ", 5500, 5500, 12, -1, 1},  {17, "DGETRF", " ", 5501, 5501, 12, -1, 2},
        {17, "DGETRF", " ", 5501, 5501, 9, -1, 2},   {17, "DGETRF", " ", 35000, 35000, 16, -1, 1},
        {17, "DGETRF", " ", 35001, 35001, 16, -1, 2}, {17, "DGETRF", " ", 35001, 35001, 32, -1, 2},
        {17, "DGETRF", " ", 35001, 35001, 33, -1, 1},
        // key 18 from 9 threads
        {18, "DGETRF", " ", 1501, 1501, 9, -1, 9},   {18, "DGETRF", " ", 1500, 1500, 9, -1, 0},
        {18, "DGETRF", " ", 1501, 1501, 12, -1, 12}, {18, "DGETRF", " ", 3500, 3500, 13, -1, 0},
        {18, "DGETRF", " ", 3501, 3501, 13, -1, 1000000}, {18, "DGETRF", " ", 11000, 11000, 16, -1, 1000000},
        {18, "DGETRF", " ", 11001, 11001, 16, -1, 16}, {18, "DGETRF", " ", 15000, 15000, 17, -1, 1000000},
        {18, "DGETRF", " ", 15001, 15001, 24, -1, 24}, {18, "DGETRF", " ", 3500, 3500, 25, -1, 0},
        {18, "DGETRF", " ", 6500, 6500, 25, -1, 1000000}, {18, "DGETRF", " ", 6501, 6501, 40, -1, 40},
        {3, "DDTTRS", "N", 299, 10, -1, -1, 60},     {3, "DDTTRS", "N", 300, 10, -1, -1, 30},
        {3, "DDTTRS", "N", 699, 10, -1, -1, 30},     {3, "DDTTRS", "N", 700, 10, -1, -1, 10},
    }},
    {"type 4", {{"VRX_DEBUG_CPU_TYPE", "4"}}, ilaenv_cores(4), {
        {1, "DSYRDB", "N", 3999, 2, -1, -1, 24},     {1, "DSYRDB", "N", 4000, 2, -1, -1, 56},
        {1, "DSYRDB", "N", 5999, 8, -1, -1, 56},     {1, "DSYRDB", "N", 6000, 8, -1, -1, 64},
        {1, "DSYRDB", "N", 9999, 8, -1, -1, 64},     {1, "DSYRDB", "N", 10000, 8, -1, -1, 96},
        {1, "DSYRDB", "N", 12999, 8, -1, -1, 96},    {1, "DSYRDB", "N", 13000, 8, -1, -1, 128},
        {1, "DSYRDB", "N", 5000, 1, -1, -1, 40},     {1, "SSYRDB", "N", 4999, 2, -1, -1, 48},
        {1, "SSYRDB", "N", 5000, 2, -1, -1, 64},     {1, "SSYRDB", "N", 9999, 2, -1, -1, 64},
        {1, "SSYRDB", "N", 10000, 2, -1, -1, 96},    {1, "SSYRDB", "N", 13000, 40, -1, -1, 128},
        {1, "DSYRDB", "N", 14999, 2, 1, -1, 64},     {1, "SSYRDB", "N", 15000, 2, 1, -1, 96},
        {1, "ZHERDB", "V", 3999, 4, -1, -1, 64},     {1, "CHERDB", "V", 4000, 4, -1, -1, 96},
        {1, "ZHERDB", "V", 8000, 4, -1, -1, 128},    {1, "ZHERDB", "V", 12000, 4, -1, -1, 160},
        {1, "ZHERDB", "V", 16000, 4, -1, -1, 192},   {1, "CHERDB", "V", 20000, 4, -1, -1, 224},
        {1, "CHERDB", "N", 3999, 4, -1, -1, 24},     {1, "CHERDB", "N", 4000, 4, -1, -1, 56},
        {1, "CHERDB", "N", 6000, 4, -1, -1, 64},     {1, "CHERDB", "N", 10000, 4, -1, -1, 96},
        {1, "CHERDB", "N", 13000, 4, -1, -1, 128},   {1, "ZHERDB", "N", 3999, 4, -1, -1, 48},
        {1, "ZHERDB", "N", 4000, 4, -1, -1, 64},     {1, "ZHERDB", "N", 6000, 4, -1, -1, 88},
        {1, "ZHERDB", "N", 8000, 4, -1, -1, 96},     {1, "ZHERDB", "N", 11000, 4, -1, -1, 104},
        {1, "ZHERDB", "N", 13000, 4, -1, -1, 128},
        {3, "DSYEV ", "N", 1000, 4, -1, -1, 1900},   {1, "DGETRF", " ", 9000, 2000, 30, -1, 16},
        {1, "DORGQR", " ", 2000, 2000, 10000, -1, 128}, {1, "ZUNGQR", " ", 2000, 2000, 10001, -1, 32},
    }},
    {"type 5", {{"VRX_DEBUG_CPU_TYPE", "5"}}, ilaenv_cores(4), {
        // key 1 of GETRF: its own ladder, several threads or the thread-independent question
        {1, "DGETRF", " ", 9000, 2500, 8, -1, 24},   {1, "DGETRF", " ", 9000, 2501, 8, -1, 48},
        {1, "DGETRF", " ", 9000, 3499, 2, -1, 48},   {1, "DGETRF", " ", 9000, 3500, 2, -1, 64},
        {1, "SGETRF", " ", 9000, 4499, 40, -1, 64},  {1, "SGETRF", " ", 9000, 4500, 40, -1, 120},
        {1, "DGETRF", " ", 9000, 9499, -1, -1, 120}, {1, "DGETRF", " ", 9000, 9500, -1, -1, 144},
        {1, "DGETRF", " ", 9000, 10499, 8, -1, 144}, {1, "DGETRF", " ", 9000, 10500, 8, -1, 160},
        {1, "DGETRF", " ", 9000, 64999, 8, -1, 160}, {1, "DGETRF", " ", 9000, 65000, 8, -1, 176},
        // one thread
        {1, "DGETRF", " ", 9000, 1500, 1, -1, 48},   {1, "DGETRF", " ", 9000, 1501, 1, -1, 88},
        {1, "DGETRF", " ", 9000, 3500, 1, -1, 88},   {1, "DGETRF", " ", 9000, 3501, 1, -1, 224},
        {1, "DGETRF", " ", 9000, 4500, 1, -1, 224},  {1, "DGETRF", " ", 9000, 4501, 1, -1, 240},
        {1, "DGETRF", " ", 9000, 5999, 1, -1, 240},  {1, "DGETRF", " ", 9000, 6000, 1, -1, 120},
        {1, "DGETRF", " ", 9000, 10500, 1, -1, 160},
        // narrow complex panels of rectangular matrices
        {1, "CGETRF", " ", 4999, 499, 8, -1, 16},    {1, "CGETRF", " ", 5000, 499, 8, -1, 24},
        {1, "CGETRF", " ", 4999, 500, 8, -1, 24},    {1, "CGETRF", " ", 499, 499, 8, -1, 24},
        {1, "ZGETRF", " ", 1999, 499, 1, -1, 16},    {1, "ZGETRF", " ", 2000, 499, 1, -1, 48},
        {1, "DGETRF", " ", 1000, 499, 8, -1, 24},
        // eigenvalue band reductions on AVX2
        {1, "DSYRDB", "N", 10000, 5, -1, -1, 96},    {1, "DSYRDB", "N", 13000, 5, -1, -1, 128},
        {1, "DSYRDB", "N", 13000, 6, -1, -1, 96},    {1, "DSYRDB", "N", 13000, 17, -1, -1, 96},
        {1, "DSYRDB", "N", 13000, 18, -1, -1, 88},   {1, "DSYRDB", "N", 13000, 35, -1, -1, 88},
        {1, "DSYRDB", "N", 13000, 36, -1, -1, 72},   {1, "DSYRDB", "N", 9999, 36, -1, -1, 64},
        {1, "SSYRDB", "N", 12000, 36, -1, -1, 68},   {1, "SSYRDB", "N", 12000, 35, -1, -1, 96},
        {1, "SSYRDB", "N", 11999, 36, -1, -1, 96},
        {3, "DSYEV ", "N", 1000, 4, -1, -1, 1600},   {3, "SSYEV ", "N", 1000, 1, -1, -1, 3600},
    }},
    {"type 7", {{"VRX_DEBUG_CPU_TYPE", "7"}}, ilaenv_cores(4), {
        {1, "DGETRF", " ", 9000, 2000, 30, -1, 16},  {1, "DGETRF", " ", 9000, 2500, 8, -1, 128},
        {17, "DGETRF", " ", 5501, 5501, 12, -1, 2},  {18, "DGETRF", " ", 5000, 5000, 4, -1, 4},
    }},
    // at least 9 cores: their own ladders on AVX and SSE4.2, under branch 1 only
    {"type 4, 16 cores", {{"VRX_DEBUG_CPU_TYPE", "4"}}, ilaenv_cores(16), {
        {1, "DGETRF", " ", 9000, 1000, 13, -1, 16},  {1, "DGETRF", " ", 9000, 1001, 13, -1, 24},
        {1, "DGETRF", " ", 9000, 2000, 16, -1, 24},  {1, "DGETRF", " ", 9000, 2001, 16, -1, 64},
        {1, "SGETRF", " ", 9000, 4000, 20, -1, 64},  {1, "SGETRF", " ", 9000, 4001, 20, -1, 80},
        {1, "CGETRF", " ", 9000, 5000, 24, -1, 80},  {1, "CGETRF", " ", 9000, 5001, 24, -1, 112},
        {1, "ZGETRF", " ", 9000, 7000, 32, -1, 112}, {1, "ZGETRF", " ", 9000, 7001, 32, -1, 144},
        {1, "DGETRF", " ", 9000, 10000, 40, -1, 144}, {1, "DGETRF", " ", 9000, 10001, 40, -1, 240},
        {1, "DGETRF", " ", 9000, 20000, 64, -1, 240}, {1, "DGETRF", " ", 9000, 20001, 64, -1, 256},
        {1, "DGETRF", " ", 9000, 2000, 30, -1, 24},
        {3, "DSYEV ", "N", 1000, 12, -1, -1, 1600},  {3, "DSYEV ", "N", 1000, 13, -1, -1, 3600},
        {3, "DSYEV ", "N", 1000, 18, -1, -1, 3600},  {3, "DSYEV ", "N", 1000, 19, -1, -1, 4600},
        {3, "SSYEV ", "N", 1000, 12, -1, -1, 3600},  {3, "SSYEV ", "N", 1000, 13, -1, -1, 4600},
        {3, "SSYEV ", "N", 1000, 19, -1, -1, 5600},
    }},
    {"type 4, 16 cores, COMPATIBLE", {{"VRX_DEBUG_CPU_TYPE", "4"}, {"VRX_CBWR", "COMPATIBLE"}}, ilaenv_cores(16), {
        {1, "DGETRF", " ", 9000, 1001, 13, -1, 32},  {1, "DGETRF", " ", 9000, 2001, 16, -1, 32},
        {1, "DGETRF", " ", 9000, 2000, 30, -1, 16},  {1, "DGETRF", " ", 9000, 10001, 40, -1, 160},
        {3, "DSYEV ", "N", 1000, 13, -1, -1, 3826},  {3, "SSYEV ", "N", 1000, 1, -1, -1, 1562},
    }},
    {"type 3, 16 cores", {{"VRX_DEBUG_CPU_TYPE", "3"}}, ilaenv_cores(16), {
        {1, "DGETRF", " ", 9000, 3000, 13, -1, 32},  {1, "DGETRF", " ", 9000, 3001, 13, -1, 64},
        {1, "ZUNGQR", " ", 2000, 2000, 500, -1, 32}, {1, "ZUNGQR", " ", 2000, 2000, 10001, -1, 240},
        {1, "ZUNGQR", " ", 2000, 2000, 2000, -1, 64},
    }},
    {"type 3, 16 cores, AUTO", {{"VRX_DEBUG_CPU_TYPE", "3"}, {"VRX_CBWR", "AUTO"}}, ilaenv_cores(16), {
        {1, "DGETRF", " ", 9000, 3000, 13, -1, 64},  {1, "ZUNGQR", " ", 2000, 2000, 10001, -1, 32},
    }},
    // exactly 8 cores with AVX: the orthogonal generators' own rows
    {"type 4, 8 cores", {{"VRX_DEBUG_CPU_TYPE", "4"}}, ilaenv_cores(8), {
        {1, "DORGQR", " ", 2000, 2000, 10000, -1, 256}, {1, "DORGQR", " ", 2000, 2000, 9999, -1, 128},
        {1, "SORGQR", " ", 2000, 2000, 10000, -1, 128}, {1, "ZUNGQR", " ", 2000, 2000, 10001, -1, 240},
        {1, "CUNGTR", " ", 2000, 2000, 500, -1, 32},     {1, "CUNGBR", " ", 2000, 2000, 501, -1, 64},
    }},
    {"type 4, 8 cores, COMPATIBLE", {{"VRX_DEBUG_CPU_TYPE", "4"}, {"VRX_CBWR", "COMPATIBLE"}}, ilaenv_cores(8), {
        {1, "DORGQR", " ", 2000, 2000, 10000, -1, 128}, {1, "ZUNGQR", " ", 2000, 2000, 10001, -1, 32},
    }},
    // the other vendor's family 10h, type 0
    {"family 10h", {}, ilaenv_with({"--fake", "other_family10"}, ilaenv_cores(4)), {
        {19, "DGETRF", " ", 1000, 1000, 8, -1, 0},
        {3, "DGETRF", " ", 2801, 2801, 8, -1, 64},   {3, "DGETRF", " ", 5000, 5000, 8, -1, 64},
        {1, "DGETRF", " ", 5000, 2400, 8, -1, 64},   {1, "DGETRF", " ", 5000, 2401, 8, -1, 128},
        {1, "SGETRF", " ", 9000, 10001, 5, -1, 128},
        {17, "DGETRF", " ", 2400, 2400, 8, -1, 2},   {17, "DGETRF", " ", 2401, 2401, 8, -1, 1},
        {17, "DGETRF", " ", 10001, 10001, 8, -1, 1},
    }},
    {"family 10h, AUTO", {{"VRX_CBWR", "AUTO"}}, ilaenv_with({"--fake", "other_family10"}, ilaenv_cores(4)), {
        {3, "DGETRF", " ", 2801, 2801, 8, -1, 4000}, {1, "DGETRF", " ", 5000, 2400, 8, -1, 80},
        {17, "DGETRF", " ", 10001, 10001, 8, -1, 2},
    }},
    {"family 10h, COMPATIBLE", {{"VRX_CBWR", "COMPATIBLE"}}, ilaenv_with({"--fake", "other_family10"}, ilaenv_cores(4)), {
        {3, "DGETRF", " ", 2801, 2801, 8, -1, 4000}, {1, "DGETRF", " ", 5000, 2400, 8, -1, 80},
        {17, "DGETRF", " ", 10001, 10001, 8, -1, 2},
    }},
    // type 2 with SSE4.1 and a 1 MiB second level: the small-cache rows of 5 to 8 threads on D
    {"SSE4.1, small L2", {}, ilaenv_with({"--fake", "sse41"}, ilaenv_cores(4)), {
        {19, "DGETRF", " ", 1000, 1000, 8, -1, 2},
        {1, "DGETRF", " ", 9000, 10000, 8, -1, 200}, {1, "DGETRF", " ", 9000, 10001, 8, -1, 200},
        {1, "SGETRF", " ", 9000, 10001, 8, -1, 320},
        {17, "DGETRF", " ", 10001, 10001, 8, -1, 1}, {18, "DGETRF", " ", 10001, 10001, 8, -1, 100000},
        {18, "DGETRF", " ", 10000, 10000, 8, -1, 8},
    }},
    {"SSE4.1, large L2", {}, ilaenv_with({"--large-l2", "--fake", "sse41"}, ilaenv_cores(4)), {
        {1, "DGETRF", " ", 9000, 10001, 8, -1, 400}, {17, "DGETRF", " ", 10001, 10001, 8, -1, 2},
        {18, "DGETRF", " ", 10001, 10001, 8, -1, 16},
    }},
    {"SSSE3 without SSE4.1", {}, ilaenv_with({"--fake", "ssse3"}, ilaenv_cores(4)), {
        {1, "DGETRF", " ", 9000, 10001, 8, -1, 400}, {17, "DGETRF", " ", 10001, 10001, 8, -1, 2},
        {18, "DGETRF", " ", 10001, 10001, 8, -1, 16},
    }},
    {"SSE4.1, small L2, AUTO", {{"VRX_CBWR", "AUTO"}}, ilaenv_with({"--fake", "sse41"}, ilaenv_cores(4)), {
        {19, "DGETRF", " ", 1000, 1000, 8, -1, 2},
        {1, "DGETRF", " ", 9000, 10001, 8, -1, 400}, {17, "DGETRF", " ", 10001, 10001, 8, -1, 2},
        {18, "DGETRF", " ", 10001, 10001, 8, -1, 16},
    }},
    // branch 7: the SSE4.1 test holds and the assumed second level is small, but the row
    // names the cache test
    {"SSE4.1, small L2, branch SSE4_1", {{"VRX_CBWR", "SSE4_1"}},
     ilaenv_with({"--fake", "sse41"}, ilaenv_cores(4)), {
        {19, "DGETRF", " ", 1000, 1000, 8, -1, 2},
        {1, "DGETRF", " ", 9000, 10001, 8, -1, 400}, {17, "DGETRF", " ", 10001, 10001, 8, -1, 2},
        {18, "DGETRF", " ", 10001, 10001, 8, -1, 16},
    }},
    {"SSE4.1, small L2, COMPATIBLE", {{"VRX_CBWR", "COMPATIBLE"}, {"VRX_DEBUG_CPU_TYPE", "2"}},
     ilaenv_with({"--fake", "sse41"}, ilaenv_cores(4)), {
        {1, "DGETRF", " ", 9000, 10001, 8, -1, 400}, {18, "DGETRF", " ", 10001, 10001, 8, -1, 16},
    }},
};
// clang-format on
