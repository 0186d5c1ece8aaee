/* Reaches the header through the imported target's include directory only. */
#include <stdio.h>

#include <customvrx.h>

int main(void) {
  const double a[6] = {1, 2, 3, 4, 5, 6}, b[6] = {7, 8, 9, 10, 11, 12};
  double c[4] = {0};
  cblas_dgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, 2, 2, 3, 1.0, a, 3, b, 2, 0.0, c, 2);
  printf("C = [%g %g; %g %g]\n", c[0], c[1], c[2], c[3]);
  return c[0] == 58 && c[1] == 64 && c[2] == 139 && c[3] == 154 ? 0 : 1;
}
