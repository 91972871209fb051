# QELVM_WIDE: the same library over SIMD registers, too.
#   ON     for two levels of x86-64, which the dynamic loader of Linux chooses from by itself
#   neon   for aarch64, in a folder of its own, which nothing chooses by itself
#   OFF    the plain library alone, as it always is without a shared library
set(wide OFF)
if(PROJECT_IS_TOP_LEVEL AND CMAKE_SYSTEM_NAME STREQUAL "Linux"
   AND CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64)$" AND CMAKE_SIZEOF_VOID_P EQUAL 8)
  set(wide ON)
endif()
set(QELVM_WIDE ${wide} CACHE STRING "Libraries over SIMD registers too: ON (x86-64), neon or OFF")
set_property(CACHE QELVM_WIDE PROPERTY STRINGS ON neon OFF)

string(TOUPPER "${QELVM_WIDE}" wide)
if(wide MATCHES "^(ON|TRUE|YES|Y|1)$")
  set(wide ON)
  set(fitting "^(x86_64|AMD64)$")
elseif(wide STREQUAL "NEON")
  set(fitting "^(aarch64|arm64)$")
elseif(wide MATCHES "^(OFF|FALSE|NO|N|0)$")
  set(wide OFF)
else()
  message(FATAL_ERROR "QELVM_WIDE is \"${QELVM_WIDE}\": it can be ON, neon or OFF")
endif()
if(wide AND NOT (CMAKE_SYSTEM_NAME STREQUAL "Linux" AND CMAKE_SYSTEM_PROCESSOR MATCHES "${fitting}"
                 AND CMAKE_SIZEOF_VOID_P EQUAL 8))
  math(EXPR bits "8 * ${CMAKE_SIZEOF_VOID_P}")
  message(FATAL_ERROR "QELVM_WIDE=${QELVM_WIDE} does not fit ${CMAKE_SYSTEM_NAME} on "
                      "${CMAKE_SYSTEM_PROCESSOR} (${bits} bits): ON is for Linux on x86_64, neon for "
                      "Linux on aarch64; OFF builds the plain library alone")
endif()

# qelvm_level_folder(LEVEL VARIABLE): where the library of a level stands, from the plain one. The
# dynamic loader looks into the folders of x86-64 that the processor can run before it takes the plain
# library beside them.
function(qelvm_level_folder level variable)
  if(level STREQUAL "neon")
    set(${variable} qelvm/neon PARENT_SCOPE)
  else()
    set(${variable} glibc-hwcaps/x86-64-${level} PARENT_SCOPE)
  endif()
endfunction()
