// Verbose mode. Interim: the flag reads as off and no line is written.
#include <ctime>
#include "service/vrx_serv.h"

static int verbose_flag = 0;

int* vrx_serv_verbose_mode() { return &verbose_flag; }

double vrx_serv_second() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

void vrx_serv_verbose_print(int, const char*, double) {}

const int vrx_serv_verbose_unasked = -1;

int vrx_serv_verbose_settle(const int** private_state) {
  const int* flag = vrx_serv_verbose_mode();
  __atomic_store_n(private_state, flag, __ATOMIC_RELEASE);
  return *flag;
}
