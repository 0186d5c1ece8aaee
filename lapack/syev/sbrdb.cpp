// Band to tridiagonal form (SBRDB, HBRDB): the checks, the workspace answer, Q started as
// the identity for "V", and the sweeps. The workspace answer holds n elements per thread
// and, with Q wanted, the room of the blocked application of the stored reflectors; the
// least accepted is what the sequential sweeps need.
#include "blas/level2/level2_common.h"
#include "lapack/aux/vrx_aux.h"
#include "lapack/solve/vrx_solve.h"
#include "lapack/syev/vrx_band_reduction.h"

namespace {
template <typename T>
constexpr const char* family() {
  return vrx_is_complex<T> ? "HBRDB" : "SBRDB";
}
}  // namespace

template <typename T>
void vrx_lapack_sbrdb(const char* vect, const char* uplo, vrx_int n, vrx_int kd, T* ab, vrx_int ldab,
                      vrx_real_t<T>* d, vrx_real_t<T>* e, T* q, vrx_int ldq, T* work, vrx_int lwork, vrx_int* info) {
  typedef vrx_traits<T> tr;
  *info = 0;
  const bool vectors = vrx_l2_letter(vect, "VU"), query = lwork == -1;
  const int threads = vrx_serv_get_max_threads() > 1 ? vrx_serv_get_max_threads() : 1;
  vrx_int answer = static_cast<vrx_int>(threads) * n + (vectors ? vrx_band_q_workspace(n, kd) : 0);
  const vrx_int least = n > 0 ? vrx_band_sweep_workspace(n, kd, vectors) : 1;
  if (answer < least) answer = least;
  int position = 0;
  if (!vrx_l2_letter(vect, "NVU")) position = 1;
  else if (!vrx_l2_letter(uplo, "UL")) position = 2;
  else if (n < 0) position = 3;
  else if (kd < 0) position = 4;
  else if (ldab < (2 * kd > 1 ? 2 * kd : 1)) position = 6;
  else if (vectors && ldq < (n > 1 ? n : 1)) position = 10;
  else if (lwork < least && !query) position = 12;
  if (vrx_lapack_reject<T>(family<T>(), position, info)) return;
  work[0] = tr::make(static_cast<vrx_real_t<T>>(answer), 0);
  if (query || n == 0) return;
  if (vrx_l2_letter(vect, "V")) vrx_lapack_laset<T>("Full", n, n, T{}, tr::make(1, 0), q, ldq);
  const bool upper = vrx_l2_letter(uplo, "U");
  T* const qv = vectors ? q : nullptr;
  // The sweeps run side by side for the lower triangle when a chase has blocks to pass.
  int sequential = 1;
  vrx_lapack_sbrdb_trace()->region_threads = 0;
  if (!upper && kd > 1 && n > 3 && threads > 1) {
    const int team = threads < n - 2 ? threads : static_cast<int>(n - 2);
    sequential = vrx_lapack_sbrdb_parallel<T>(false, n, kd, ab, ldab, d, e, qv, ldq, team);
    if (sequential == -100) {
      *info = -100;
      return;
    }
  }
  if (sequential) vrx_lapack_sbrdb_seq<T>(upper, n, kd, ab, ldab, d, e, qv, ldq, work);
  work[0] = tr::make(static_cast<vrx_real_t<T>>(answer), 0);
}

template void vrx_lapack_sbrdb<float>(const char*, const char*, vrx_int, vrx_int, float*, vrx_int, float*, float*,
                                      float*, vrx_int, float*, vrx_int, vrx_int*);
template void vrx_lapack_sbrdb<double>(const char*, const char*, vrx_int, vrx_int, double*, vrx_int, double*,
                                       double*, double*, vrx_int, double*, vrx_int, vrx_int*);
template void vrx_lapack_sbrdb<vrx_complex_float>(const char*, const char*, vrx_int, vrx_int, vrx_complex_float*,
                                                  vrx_int, float*, float*, vrx_complex_float*, vrx_int,
                                                  vrx_complex_float*, vrx_int, vrx_int*);
template void vrx_lapack_sbrdb<vrx_complex_double>(const char*, const char*, vrx_int, vrx_int, vrx_complex_double*,
                                                   vrx_int, double*, double*, vrx_complex_double*, vrx_int,
                                                   vrx_complex_double*, vrx_int, vrx_int*);
