// The texts of the library's version; the numbers are the public header's. (Read by the compiler
// and by the resource compiler: preprocessor lines only.)
#include "qelvm.h"

#define QELVM_FILE_VERSION_TEXT "5,0,11,35"
#define QELVM_VERSION_TEXT "v5.0"
#define QELVM_BUILD_DATE_TEXT "Sep  7 2005"
#define QELVM_LIBRARY_FILE "qelvmpx.dll"
