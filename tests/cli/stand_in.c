/* A library of three exports with arithmetic that a test can do in its head: the shapes of call of
 * one source and a scalar, two destinations, and one source; without a version record. */
#include "qelvm.h"

/* The product; a negative source leaves the domain. */
QELVM_API QelStatus QELVM_CALL qelsPowx_64f_A50(const double* src, double power, double* dst,
                                                int32_t length);
/* One more and one less; no element reports. */
QELVM_API QelStatus QELVM_CALL qelsSinCos_32f_A11(const float* src, float* dst1, float* dst2,
                                                  int32_t length);
/* The source; an element of the value of a status reports it, one that is negative ends as an
 * error. */
QELVM_API QelStatus QELVM_CALL qelsExp_64f_A50(const double* src, double* dst, int32_t length);

QelStatus QELVM_CALL qelsPowx_64f_A50(const double* src, double power, double* dst,
                                      int32_t length) {
  QelStatus status = qelStatusOk;
  for (int32_t i = 0; i < length; ++i) {
    dst[i] = src[i] * power;
    if (src[i] < 0)
      status = qelStatusDomain;
  }
  return status;
}

QelStatus QELVM_CALL qelsSinCos_32f_A11(const float* src, float* dst1, float* dst2,
                                        int32_t length) {
  for (int32_t i = 0; i < length; ++i) {
    dst1[i] = src[i] + 1;
    dst2[i] = src[i] - 1;
  }
  return qelStatusOk;
}

QelStatus QELVM_CALL qelsExp_64f_A50(const double* src, double* dst, int32_t length) {
  QelStatus status = qelStatusOk;
  for (int32_t i = 0; i < length; ++i) {
    dst[i] = src[i];
    if (src[i] < 0)
      return qelStatusSizeError;
    if (src[i] == qelStatusOverflow || src[i] == qelStatusUnderflow ||
        src[i] == qelStatusSingularity || src[i] == qelStatusDomain)
      status = (QelStatus)src[i];
  }
  return status;
}
