/* A short tour of customvrx: one matrix product in both layouts, a bad argument,
   and the speed of a 1000 by 1000 product. */
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

  /* Speed of a 1000 by 1000 by 1000 product. */
  const int n = 1000;
  double *x = malloc(sizeof(double) * n * n), *y = malloc(sizeof(double) * n * n), *z = malloc(sizeof(double) * n * n);
  if (!x || !y || !z) return 1;
  for (int i = 0; i < n * n; ++i) {
    x[i] = (double)(i % 7) - 3.0;
    y[i] = (double)(i % 5) - 2.0;
  }
  cblas_dgemm(CblasColMajor, CblasNoTrans, CblasNoTrans, n, n, n, 1.0, x, n, y, n, 0.0, z, n); /* warm-up */
  const double start = now();
  cblas_dgemm(CblasColMajor, CblasNoTrans, CblasNoTrans, n, n, n, 1.0, x, n, y, n, 0.0, z, n);
  const double seconds = now() - start;
  printf("\n1000 x 1000 x 1000 product: %.3f s, %.2f GFLOPS\n", seconds, 2e-9 * n * (double)n * n / seconds);
  free(x);
  free(y);
  free(z);
  return ok && ok_col ? 0 : 1;
}
