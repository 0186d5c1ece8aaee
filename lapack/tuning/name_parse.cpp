// Reading the routine name and the options character as the published query does:
// fixed fields, upper-cased, blank beyond the given length.
#include "lapack/tuning/tuning_query.h"

namespace {
char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

bool orthogonal_suboperation(const char* two) {
  static constexpr char known[][3] = {"QR", "RQ", "LQ", "QL", "HR", "TR", "BR"};
  for (const char* k : known)
    if (two[0] == k[0] && two[1] == k[1]) return true;
  return false;
}
}  // namespace

bool vrx_tuning_is_cpu_name(const char* name, vrx_int name_length) {
  return name_length >= 3 && name[0] == 'C' && name[1] == 'P' && name[2] == 'U';
}

void vrx_tuning_parse(vrx_tuning_query* q, int key, const char* name, vrx_int name_length, const char* opts,
                      vrx_int opts_length, vrx_int n1, vrx_int n2, vrx_int n3, vrx_int n4) {
  q->key = key;
  for (vrx_int i = 0; i < 6; ++i) q->name[i] = i < name_length ? upper(name[i]) : ' ';
  q->opts = opts_length > 0 ? upper(opts[0]) : ' ';
  q->n1 = n1;
  q->n2 = n2;
  q->n3 = n3;
  q->n4 = n4;
  q->cpu = 0;
  q->branch = 1;
}

unsigned vrx_tuning_precision(const vrx_tuning_query& q) { return vrx_tuning_precision_letter(q.name[0]); }

unsigned vrx_tuning_precision_letter(char first) {
  switch (first & ~0x20) {
    case 'S': return vrx_prec_s;
    case 'D': return vrx_prec_d;
    case 'C': return vrx_prec_c;
    case 'Z': return vrx_prec_z;
    default: return 0;
  }
}

bool vrx_tuning_named(const vrx_tuning_query& q, const char* family) {
  if (family[3] == '*') {
    return q.name[1] == family[0] && q.name[2] == family[1] && q.name[3] == family[2] &&
           orthogonal_suboperation(q.name + 4);
  }
  for (int i = 0; i < 5; ++i)
    if (q.name[i + 1] != family[i]) return false;
  return true;
}
