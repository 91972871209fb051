/* The map of islands.py, in C with the exports: the same bits, also of a 32-bit program.
 *   islands STEPS    writes the last state to standard output, as little-endian elements
 * For float: -DREAL=float -DTYPE=32f_A24. On x86 of 32 bits: -msse2 -mfpmath=sse, so that every
 * operation is rounded once; anywhere: -ffp-contract=off. */
#include <qelvm.h>
#include <stdio.h>
#include <stdlib.h>

#ifndef REAL
#define REAL double
#define TYPE 64f_A53
#endif
#define JOIN(family, type) qels##family##_##type
#define NAMED(family, type) JOIN(family, type)
#define EXPORT(family) NAMED(family, TYPE)

enum { rings = 2, islands = 16 };

static void step(REAL* x, long year) {
  const REAL one = 1, half = one / 2;
  REAL argument[islands], climate[islands], eaten[islands], growth[islands], y[islands],
      leave[islands];
  for (int i = 0; i < islands; ++i)
    argument[i] = (REAL)year * (one / 64) + (REAL)i;
  EXPORT(Sin)(argument, climate, islands);
  EXPORT(Tanh)(x, eaten, islands);
  for (int i = 0; i < islands; ++i) {
    const REAL seasonal = climate[i] * (one / 4);
    const REAL r = (REAL)3.25 + seasonal;
    argument[i] = (r - x[i]) - half * eaten[i];
  }
  EXPORT(Exp)(argument, growth, islands);
  for (int i = 0; i < islands; ++i)
    y[i] = x[i] * growth[i];
  EXPORT(Powx)(y, (REAL)1.5, leave, islands);
  for (int i = 0; i < islands; ++i)
    leave[i] *= one / 128;
  for (int i = 0; i < islands; ++i) {
    x[i] = y[i] - leave[i];
    x[i] += leave[(i + islands - 1) % islands] * half;
    x[i] += leave[(i + 1) % islands] * half;
  }
}

int main(int count, char** arguments) {
  REAL x[rings][islands];
  if (count != 2) {
    fprintf(stderr, "usage: islands STEPS\n");
    return 2;
  }
  for (int i = 0; i < rings * islands; ++i)
    x[i / islands][i % islands] = (REAL)(i * 37 % 32 + 8) / 16;
  for (long year = 0, years = atol(arguments[1]); year < years; ++year)
    for (int ring = 0; ring < rings; ++ring)
      step(x[ring], year);
  return fwrite(x, sizeof x, 1, stdout) == 1 ? 0 : 1;
}
