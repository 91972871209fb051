/*
 * Misra1a: a nonlinear regression certified by NIST (dental monomolecular adsorption).
 *
 * The model for the volume y at the pressure x is y = b1 (1 - exp(-b2 x)). This program evaluates
 * it with the certified parameters, all exponentials in one call, and compares the residual sum of
 * squares with the certified one. Usage: misra1a DATA
 */
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

#include <qelvm.h>

enum { observations = 14 };

static const double b1 = 2.3894212918E+02;
static const double b2 = 5.5015643181E-04;
static const char certified[] = "1.2455138894E-01";

static int fail(const char* file, const char* message) {
  fprintf(stderr, "misra1a: %s: %s\n", file, message);
  return EXIT_FAILURE;
}

/* Reads `observations` lines "y x"; lines that begin with # are comments. Returns the number read.
 */
static int readData(FILE* file, double* y, double* x) {
  char line[256];
  int count = 0;
  while (count < observations && fgets(line, sizeof line, file) != NULL)
    if (line[0] != '#' && sscanf(line, "%lf %lf", &y[count], &x[count]) == 2)
      ++count;
  return count;
}

int main(int argc, char** argv) {
  double y[observations], x[observations], exponent[observations], power[observations];
  if (argc != 2) {
    fprintf(stderr, "usage: misra1a DATA\n");
    return EXIT_FAILURE;
  }
  FILE* file = fopen(argv[1], "r");
  if (file == NULL)
    return fail(argv[1], "cannot be read");
  const int count = readData(file, y, x);
  fclose(file);
  if (count != observations)
    return fail(argv[1], "fewer than 14 observations");

  for (int i = 0; i < observations; ++i)
    exponent[i] = -b2 * x[i];
  if (qelsExp_64f_A53(exponent, power, observations) != qelStatusOk)
    return fail(argv[1], "an exponential overflowed or underflowed");

  double sum = 0;
  printf("%10s %10s %14s %14s\n", "pressure", "observed", "fitted", "residual");
  for (int i = 0; i < observations; ++i) {
    const double fitted = b1 * (1 - power[i]);
    const double residual = y[i] - fitted;
    sum += residual * residual;
    printf("%10.1f %10.2f %14.10f %14.10f\n", x[i], y[i], fitted, residual);
  }

  char computed[32];
  snprintf(computed, sizeof computed, "%.10E", sum);
  const int same = strtod(computed, NULL) == strtod(certified, NULL);
  printf("\nresidual sum of squares  %s\ncertified                %s  %s\n", computed, certified,
         same ? "(all 11 digits agree)" : "(DIFFERS)");
  return same ? EXIT_SUCCESS : EXIT_FAILURE;
}
