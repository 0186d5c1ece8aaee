/* A short tour of customvrx: one matrix product in both layouts, a bad argument,
   two small linear systems, and the speed of a 1000 by 1000 product. */
#define _POSIX_C_SOURCE 199309L
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

#include <customvrx.h>

static double now(void) {
  struct timespec t;
  clock_gettime(CLOCK_MONOTONIC, &t);
  return (double)t.tv_sec + 1e-9 * (double)t.tv_nsec;
}

int main(void) {
  /* A is 2 by 3, B is 3 by 2, C = A B is 2 by 2. */
  const double a_row[6] = {1, 2, 3, 4, 5, 6};    /* row major: [1 2 3; 4 5 6] */
  const double b_row[6] = {7, 8, 9, 10, 11, 12}; /* row major: [7 8; 9 10; 11 12] */
  const double expected[4] = {58, 64, 139, 154};
  double c[4] = {0};

  cblas_dgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, 2, 2, 3, 1.0, a_row, 3, b_row, 2, 0.0, c, 2);
  int ok = 1;
  for (int i = 0; i < 4; ++i) ok &= c[i] == expected[i];
  printf("row major    C = [%g %g; %g %g]  %s\n", c[0], c[1], c[2], c[3], ok ? "correct" : "WRONG");

  /* The same product in column-major storage: A^T B^T stored row-wise is A, B column-wise. */
  const double a_col[6] = {1, 4, 2, 5, 3, 6};
  const double b_col[6] = {7, 9, 11, 8, 10, 12};
  cblas_dgemm(CblasColMajor, CblasNoTrans, CblasNoTrans, 2, 2, 3, 1.0, a_col, 2, b_col, 3, 0.0, c, 2);
  const double expected_col[4] = {58, 139, 64, 154};
  int ok_col = 1;
  for (int i = 0; i < 4; ++i) ok_col &= c[i] == expected_col[i];
  printf("column major C = [%g %g; %g %g]  %s\n", c[0], c[2], c[1], c[3], ok_col ? "correct" : "WRONG");

  /* A leading dimension that is too small: the library prints one message and leaves C alone. */
  printf("\nA bad argument (lda = 1 where 3 is needed):");
  cblas_dgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, 2, 2, 3, 1.0, a_row, 1, b_row, 2, 0.0, c, 2);

  /* A 3 by 3 system A x = b, row major: factor A = P L U, then solve with the factors. */
  double system[9] = {2, 1, 1, 4, -6, 0, -2, 7, 2};
  double x[3] = {5, -2, 9}; /* b; the solution is (1, 1, 2) */
  int ipiv[3];
  int info = LAPACKE_dgetrf(LAPACK_ROW_MAJOR, 3, 3, system, 3, ipiv);
  if (info == 0) info = LAPACKE_dgetrs(LAPACK_ROW_MAJOR, 'N', 3, 1, system, 3, ipiv, x, 1);
  int solved = info == 0;
  const double solution[3] = {1, 1, 2};
  for (int i = 0; i < 3; ++i) solved &= fabs(x[i] - solution[i]) < 1e-12;
  printf("\nA x = b gives x = (%g, %g, %g)  %s\n", x[0], x[1], x[2], solved ? "correct" : "WRONG");

  /* A symmetric positive definite system, row major, of which only the lower triangle is
     stored: factor A = L L^T, then solve with L. The upper triangle is never read. */
  double spd[9] = {4, -1, -1, 2, 5, -1, 2, 3, 6};
  double y3[3] = {10, 13, 17}; /* b; the solution is (1, 1, 2) */
  info = LAPACKE_dpotrf(LAPACK_ROW_MAJOR, 'L', 3, spd, 3);
  if (info == 0) info = LAPACKE_dpotrs(LAPACK_ROW_MAJOR, 'L', 3, 1, spd, 3, y3, 1);
  int solved_spd = info == 0;
  for (int i = 0; i < 3; ++i) solved_spd &= fabs(y3[i] - solution[i]) < 1e-12;
  printf("Cholesky: A y = b gives y = (%g, %g, %g)  %s\n", y3[0], y3[1], y3[2], solved_spd ? "correct" : "WRONG");

  /* Speed of a 1000 by 1000 by 1000 product. */
  const int n = 1000;
  double *p = malloc(sizeof(double) * n * n), *y = malloc(sizeof(double) * n * n), *z = malloc(sizeof(double) * n * n);
  if (!p || !y || !z) return 1;
  for (int i = 0; i < n * n; ++i) {
    p[i] = (double)(i % 7) - 3.0;
    y[i] = (double)(i % 5) - 2.0;
  }
  cblas_dgemm(CblasColMajor, CblasNoTrans, CblasNoTrans, n, n, n, 1.0, p, n, y, n, 0.0, z, n); /* warm-up */
  const double start = now();
  cblas_dgemm(CblasColMajor, CblasNoTrans, CblasNoTrans, n, n, n, 1.0, p, n, y, n, 0.0, z, n);
  const double seconds = now() - start;
  printf("\n1000 x 1000 x 1000 product: %.3f s, %.2f GFLOPS\n", seconds, 2e-9 * n * (double)n * n / seconds);
  free(p);
  free(y);
  free(z);
  return ok && ok_col && solved && solved_spd ? 0 : 1;
}
