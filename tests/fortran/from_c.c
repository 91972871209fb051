// Calls an export by its name, as a C program calls it: what the module for Fortran is compared
// with.
#include <qelvm.h>
#include <string.h>

enum { noSuchExport = -100 };

#define CALL_OneSource(function, T) function((const T*)src1, (T*)dst1, length)
#define CALL_TwoSources(function, T) function((const T*)src1, (const T*)src2, (T*)dst1, length)
#define CALL_SourceAndScalar(function, T) function((const T*)src1, (T)scalar, (T*)dst1, length)
#define CALL_TwoDestinations(function, T) function((const T*)src1, (T*)dst1, (T*)dst2, length)

#define CLASS(name, shape, class, T)                                                               \
  if (strcmp(export, #name "_" #class) == 0)                                                       \
    return CALL_##shape(qels##name##_##class, T);
#define QELVM_FAMILY(name, shape, statuses, f, a50, a53)                                           \
  CLASS(name, shape, 32f_A11, float)                                                               \
  CLASS(name, shape, 32f_A21, float)                                                               \
  CLASS(name, shape, 32f_A24, float)                                                               \
  CLASS(name, shape, 64f_A50, double)                                                              \
  CLASS(name, shape, 64f_A53, double)
#define QELVM_NOTE(name, text)

QelStatus callFromC(const char* export, const void* src1, const void* src2, double scalar,
                    void* dst1, void* dst2, int32_t length);

QelStatus callFromC(const char* export, const void* src1, const void* src2, double scalar,
                    void* dst1, void* dst2, int32_t length) {
#include "families.inc"
  return noSuchExport;
}
