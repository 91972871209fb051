/* Calls one function of every shape of argument list, and the version; 0 if all is as it should be.
   A callee that removes other arguments than the caller passed would crash the loop. */
#include <qelvm.h>

int main(void) {
  const double x[2] = {4.0, -800.0}, y[2] = {0.5, 1.0};
  double a[2], b[2];
  int i;
  for (i = 0; i < 1000; ++i) {
    if (qelsExp_64f_A53(x, a, 2) != qelStatusUnderflow || a[1] != 0.0)
      return 1;
    if (qelsDiv_64f_A53(x, y, a, 2) != qelStatusOk || a[0] != 8.0)
      return 2;
    if (qelsPowx_64f_A53(x, 2.0, a, 2) != qelStatusOk || a[0] != 16.0)
      return 3;
    if (qelsSinCos_64f_A53(x, a, b, 1) != qelStatusOk || !(a[0] < -0.75 && b[0] > -0.66))
      return 4;
    if (qelvmGetLibVersion()->versionMajor != 5)
      return 5;
  }
  return 0;
}
