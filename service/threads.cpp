// Thread counts. Interim: the settings are not read yet, so every routine runs on one thread.
#include <omp.h>
#include "service/vrx_serv.h"

int vrx_serv_get_max_threads() { return 1; }
int vrx_serv_domain_get_max_threads(int) { return 1; }
int vrx_serv_get_dynamic() { return 1; }
int vrx_serv_in_parallel() { return omp_in_parallel(); }
