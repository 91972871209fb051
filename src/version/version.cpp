#include "version/version.hpp"

#include "qelvm.h"

namespace {

constexpr QelLibVersion libraryVersion = {
    QELVM_VERSION_MAJOR, QELVM_VERSION_MINOR, QELVM_BUILD_MAJOR,  QELVM_BUILD_NUMBER,
    {'p', 'x', 0, 0},    QELVM_LIBRARY_FILE,  QELVM_VERSION_TEXT, QELVM_BUILD_DATE_TEXT,
};

} // namespace

extern "C" QELVM_API const QelLibVersion* QELVM_CALL qelvmGetLibVersion(void) {
  return &libraryVersion;
}
