// One line per family: the kernels of its five exports, by the shape of their argument list.
//
// An export stands alone: its kernel and its tables are its own, in the binary too, so that nothing
// done to one touches another. Each has a tag type; kernels are templates on the tag and tables
// variable templates on it: the text stands once, and every export owns its copies. For the same
// reason the headers of stages and subjects are in an anonymous namespace: what they define is part
// of the source that includes them, and no linker merges it with another's. (core/ and
// reduce_trig_argument.hpp are not: their types pass between sources.)
#pragma once

#include "core/call_frame.hpp"
#include "qelvm.h"

#include <cstdint>

// A family, and the kernels (in namespace qelvm) of 32f, 64f_A50 and 64f_A53:
// QELVM_ONE_SOURCE(Exp, ExpA53, ExpA50, ExpA53)
#define QELVM_ONE_SOURCE(...)                                                                      \
  QELVM_EXPORTS(QELVM_SRC_DST, (sources(src), destinations(dst), length), __VA_ARGS__)
#define QELVM_TWO_SOURCES(...)                                                                     \
  QELVM_EXPORTS(QELVM_SRC_SRC_DST, (sources(src1, src2), destinations(dst), length), __VA_ARGS__)
#define QELVM_SOURCE_AND_SCALAR(...)                                                               \
  QELVM_EXPORTS(QELVM_SRC_SCALAR_DST, (sources(src), destinations(dst), length, scalar),           \
                __VA_ARGS__)
#define QELVM_TWO_DESTINATIONS(...)                                                                \
  QELVM_EXPORTS(QELVM_SRC_DST_DST, (sources(src), destinations(dst1, dst2), length), __VA_ARGS__)

#define QELVM_SRC_DST(T) const T *src, T *dst, std::int32_t length
#define QELVM_SRC_SRC_DST(T) const T *src1, const T *src2, T *dst, std::int32_t length
#define QELVM_SRC_SCALAR_DST(T) const T *src, T scalar, T *dst, std::int32_t length
#define QELVM_SRC_DST_DST(T) const T *src, T *dst1, T *dst2, std::int32_t length

#define QELVM_EXPORTS(parameters, arguments, family, Single, Fast, Accurate)                       \
  QELVM_EXPORT(family##_32f_A11, float, Single, parameters, arguments)                             \
  QELVM_EXPORT(family##_32f_A21, float, Single, parameters, arguments)                             \
  QELVM_EXPORT(family##_32f_A24, float, Single, parameters, arguments)                             \
  QELVM_EXPORT(family##_64f_A50, double, Fast, parameters, arguments)                              \
  QELVM_EXPORT(family##_64f_A53, double, Accurate, parameters, arguments)

#define QELVM_TAG(name, T)                                                                         \
  namespace qelvm {                                                                                \
  namespace {                                                                                      \
  struct name {                                                                                    \
    using Element = T;                                                                             \
  };                                                                                               \
  }                                                                                                \
  }
#define QELVM_EXPORT(name, T, Kernel, parameters, arguments)                                       \
  QELVM_TAG(name, T)                                                                               \
  extern "C" QELVM_API QelStatus QELVM_CALL qels##name(parameters(T)) {                            \
    using namespace qelvm;                                                                         \
    return call<name, Kernel<name>> arguments;                                                     \
  }
