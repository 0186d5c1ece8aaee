// Memory and messages of the LAPACKE layers.
#include "interface/lapacke/vrx_lapacke.h"
#include "interface/vrx_interface.h"
#include "service/vrx_serv.h"

extern "C" void* LAPACKE_malloc(std::size_t size) { return vrx_serv_malloc(size, 128); }

extern "C" void LAPACKE_free(void* pointer) { vrx_serv_free(pointer); }

extern "C" void LAPACKE_xerbla(const char* name, int info) {
  if (info == -1010) vrx_serv_printf("Not enough memory to allocate work array in %s\n", name);
  else if (info == -1011) vrx_serv_printf("Not enough memory to transpose matrix in %s\n", name);
  else if (info < 0) vrx_serv_printf("Wrong parameter %d in %s\n", -info, name);
}
