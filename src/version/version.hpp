// The library's version: the one place for the record, the Windows resource and the build.
// (Read by the compiler and by the resource compiler: preprocessor lines only.)
#define QELVM_VERSION_MAJOR 5
#define QELVM_VERSION_MINOR 0
#define QELVM_BUILD_MAJOR 11
#define QELVM_BUILD_NUMBER 35
#define QELVM_FILE_VERSION_TEXT "5,0,11,35"
#define QELVM_VERSION_TEXT "v5.0"
#define QELVM_BUILD_DATE_TEXT "Sep  7 2005"
#define QELVM_LIBRARY_FILE "qelvmpx.dll"
