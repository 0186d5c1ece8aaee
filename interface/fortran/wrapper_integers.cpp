// The wrappers' 64-bit integer temporaries.
#include "interface/fortran/vrx_wrapper_frame.h"
#include "interface/vrx_interface.h"

vrx_int* vrx_wrapper_integers(const int* source, vrx_int count, const char* name, int length, int* info) {
  vrx_int* wide = static_cast<vrx_int*>(LAPACKE_malloc(sizeof(vrx_int) * static_cast<std::size_t>(count)));
  if (!wide) {
    static const int not_enough_memory = 1089;
    XERBLA(name, &not_enough_memory, length);
    *info = -1023;
    return nullptr;
  }
  if (source)
    for (vrx_int i = 0; i < count; ++i) wide[i] = source[i];
  return wide;
}

void vrx_wrapper_narrow(const vrx_int* source, vrx_int count, int* target) {
  for (vrx_int i = 0; i < count; ++i) target[i] = static_cast<int>(source[i]);
}
