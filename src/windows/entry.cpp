// The entry routine of the DLL. Nothing needs initialisation, so it reports success for every
// reason; without a C runtime linked in, it is the whole of what runs at load.

#include "qelvm.h"

extern "C" int QELVM_CALL qelvmEntry(void* /*module*/, unsigned long /*reason*/,
                                     void* /*reserved*/) {
  return 1;
}
