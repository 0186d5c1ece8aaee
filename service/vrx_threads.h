// Threading control: how many threads a routine may use.
#pragma once
#include <cstddef>
#include <cstdint>
#include "service/vrx_types.h"

int vrx_serv_get_max_threads();
int vrx_serv_domain_get_max_threads(int domain);
int vrx_serv_get_dynamic();
int vrx_serv_in_parallel();

