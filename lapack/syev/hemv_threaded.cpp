// The symmetric (Hermitian) matrix-vector product of the panel, forked: each thread
// walks a block of columns of the stored triangle with the fused kernel that adds
// x(j) A(:, j) to its partial vector and returns A(:, j)^H x, so that every element of
// the triangle is read once; after a barrier the partial vectors are summed by rows.
// Blocks are of equal area, and the sums run in thread order, so the result doesn't
// depend on which thread ran first.
#include <omp.h>

#include "lapack/sched/vrx_team_sync.h"
#include "lapack/syev/vrx_sytrd.h"

template <typename T>
void vrx_lapack_hemv_threaded(bool upper, vrx_int m, const T* a, vrx_int lda, const T* x, T* y, T* scratch,
                              int threads) {
  typedef vrx_traits<T> tr;
  if (m <= 0) return;
  const vrx_level2_kernels<T>* l2 = vrx_blas_level2<T>();
#pragma omp parallel num_threads(threads)
  {
    const int parts = omp_get_num_threads(), me = omp_get_thread_num();
    T* partial = scratch + static_cast<vrx_int>(me) * m;
    for (vrx_int i = 0; i < m; ++i) partial[i] = tr::make(0, 0);
    // Columns of an upper triangle grow with their index, those of a lower one shrink.
    const vrx_int c0 = vrx_syev_area_edge(m, me, parts, upper), c1 = vrx_syev_area_edge(m, me + 1, parts, upper);
    for (vrx_int j = c0; j < c1; ++j) {
      const T* col = a + j * lda;
      const T diagonal = tr::scale(tr::real_part(col[j]), x[j]);
      if (upper) {
        partial[j] += diagonal + l2->axpy_dotc(j, x[j], col, x, partial);
      } else {
        const vrx_int below = m - j - 1;
        partial[j] += diagonal + (below > 0 ? l2->axpy_dotc(below, x[j], col + j + 1, x + j + 1, partial + j + 1)
                                            : tr::make(0, 0));
      }
    }
#pragma omp barrier
    vrx_int r0, rows;
    vrx_lapack_split(m, parts, me, &r0, &rows);
    for (vrx_int i = r0; i < r0 + rows; ++i) {
      T sum = scratch[i];
      for (int p = 1; p < parts; ++p) sum += scratch[static_cast<vrx_int>(p) * m + i];
      y[i] = sum;
    }
  }
}

template void vrx_lapack_hemv_threaded<float>(bool, vrx_int, const float*, vrx_int, const float*, float*, float*,
                                              int);
template void vrx_lapack_hemv_threaded<double>(bool, vrx_int, const double*, vrx_int, const double*, double*,
                                               double*, int);
template void vrx_lapack_hemv_threaded<vrx_complex_float>(bool, vrx_int, const vrx_complex_float*, vrx_int,
                                                          const vrx_complex_float*, vrx_complex_float*,
                                                          vrx_complex_float*, int);
template void vrx_lapack_hemv_threaded<vrx_complex_double>(bool, vrx_int, const vrx_complex_double*, vrx_int,
                                                           const vrx_complex_double*, vrx_complex_double*,
                                                           vrx_complex_double*, int);
