// Drivers name the precisions to run by their letters (S, D, C, Z).
#pragma once
#include "service/vrx_traits.h"

// Calls run(T{}) for each letter of `letters` in turn, with T the letter's element type;
// false at the first letter that names none.
template <typename Run>
bool vrx_test_for_each_letter(const char* letters, Run&& run) {
  for (const char* l = letters; *l; ++l) {
    switch (*l) {
      case 'S': run(float{}); break;
      case 'D': run(double{}); break;
      case 'C': run(vrx_complex_float{}); break;
      case 'Z': run(vrx_complex_double{}); break;
      default: return false;
    }
  }
  return true;
}
