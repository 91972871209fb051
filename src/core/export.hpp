// One line per export: its family, type, class and kernel, by the shape of its argument list.
//
// Each export has its own tag type, and tables are variable templates on the tag: so each export
// owns its copies, in the binary too, while the text stands once. A kernel is a template on the
// tag.
#pragma once

#include "core/call_frame.hpp"
#include "qelvm.h"

#include <cstdint>

#define QELVM_ELEMENT_32f float
#define QELVM_ELEMENT_64f double

/// (src, dst, length)
#define QELVM_ONE_SOURCE(family, type, accuracy, Kernel)                                           \
  QELVM_EXPORT(family, type, accuracy, Kernel,                                                     \
               (QELVM_SOURCE(type, src), QELVM_DESTINATION(type, dst), std::int32_t length),       \
               (src), (dst), length)

/// (src1, src2, dst, length)
#define QELVM_TWO_SOURCES(family, type, accuracy, Kernel)                                          \
  QELVM_EXPORT(family, type, accuracy, Kernel,                                                     \
               (QELVM_SOURCE(type, src1), QELVM_SOURCE(type, src2), QELVM_DESTINATION(type, dst),  \
                std::int32_t length),                                                              \
               (src1, src2), (dst), length)

/// (src, scalar by value, dst, length)
#define QELVM_SOURCE_AND_SCALAR(family, type, accuracy, Kernel)                                    \
  QELVM_EXPORT(family, type, accuracy, Kernel,                                                     \
               (QELVM_SOURCE(type, src), QELVM_ELEMENT_##type scalar,                              \
                QELVM_DESTINATION(type, dst), std::int32_t length),                                \
               (src), (dst), length, scalar)

/// (src, dst1, dst2, length)
#define QELVM_TWO_DESTINATIONS(family, type, accuracy, Kernel)                                     \
  QELVM_EXPORT(family, type, accuracy, Kernel,                                                     \
               (QELVM_SOURCE(type, src), QELVM_DESTINATION(type, dst1),                            \
                QELVM_DESTINATION(type, dst2), std::int32_t length),                               \
               (src), (dst1, dst2), length)

#define QELVM_SOURCE(type, name) const QELVM_ELEMENT_##type* name
#define QELVM_DESTINATION(type, name) QELVM_ELEMENT_##type* name

/// The tag and the definition; after the array lists come the length and the kernel's scalars.
#define QELVM_EXPORT(family, type, accuracy, Kernel, parameters, sourceList, destinationList, ...) \
  namespace qelvm {                                                                                \
  namespace {                                                                                      \
  struct family##_##type##_##accuracy {                                                            \
    using Element = QELVM_ELEMENT_##type;                                                          \
  };                                                                                               \
  }                                                                                                \
  }                                                                                                \
  extern "C" QELVM_API QelStatus QELVM_CALL qels##family##_##type##_##accuracy parameters {        \
    using Export = qelvm::family##_##type##_##accuracy;                                            \
    return qelvm::call<Export, Kernel<Export>>(qelvm::sources sourceList,                          \
                                               qelvm::destinations destinationList, __VA_ARGS__);  \
  }
