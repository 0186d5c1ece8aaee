// CPU detection, kernel dispatch and the reproducibility branch.
#pragma once
#include <cstddef>
#include <cstdint>
#include "service/vrx_types.h"

int vrx_serv_cpu_detect();
int vrx_serv_cbwr_get(int option);
int vrx_serv_vendor_gate();

