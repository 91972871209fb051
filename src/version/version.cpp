#include "version/version.hpp"

#include "qelvm.h"

#ifndef QELVM_CPU_CODE // a level of the processor, in the libraries over SIMD registers
#define QELVM_CPU_CODE "px"
#endif

namespace {

constexpr QelLibVersion libraryVersion = {
    QELVM_VERSION_MAJOR, QELVM_VERSION_MINOR, QELVM_BUILD_MAJOR,  QELVM_BUILD_NUMBER,
    QELVM_CPU_CODE,      QELVM_LIBRARY_FILE,  QELVM_VERSION_TEXT, QELVM_BUILD_DATE_TEXT,
};

} // namespace

extern "C" QELVM_API const QelLibVersion* QELVM_CALL qelvmGetLibVersion(void) {
  return &libraryVersion;
}
