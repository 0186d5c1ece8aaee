// Reproducibility branch. Interim: the setting is not read yet, so the branch is 1 (off).
#include "service/vrx_serv.h"

int vrx_serv_cbwr_get(int option) {
  if (option == 1) return 1;
  if (option == -1) return 0;
  return -2;
}
