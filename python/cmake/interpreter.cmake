# QELVM_PYTHON_INTERPRETER: a Python that has NumPy; QELVM_PYTHON_DIR: where its packages are, below the
# prefix. Sets python_headers and numpy_headers.
set(QELVM_PYTHON_INTERPRETER "" CACHE FILEPATH "Python 3.9 or later with NumPy and its headers")
set(question [[
import os, sys, sysconfig, numpy
assert sys.version_info >= (3, 9)
place = os.path.relpath(sysconfig.get_path("platlib"), sys.prefix)
print(sysconfig.get_path("include"), numpy.get_include(), place.replace("local/", "", 1), sep=";")
]])
set(candidates ${QELVM_PYTHON_INTERPRETER})
if(NOT candidates)
  set(candidates python3 /usr/bin/python3) # the first may be one that the user keeps for other things
endif()
foreach(candidate IN LISTS candidates)
  execute_process(
    COMMAND ${candidate} -c "${question}"
    RESULT_VARIABLE failed
    OUTPUT_VARIABLE answer
    ERROR_VARIABLE error
    OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT failed)
    set(interpreter ${candidate})
    list(GET answer 0 python_headers)
    list(GET answer 1 numpy_headers)
    list(GET answer 2 place)
    if(EXISTS ${python_headers}/Python.h)
      break()
    endif()
    set(failed TRUE)
    set(error "no ${python_headers}/Python.h")
  endif()
endforeach()
if(failed)
  message(FATAL_ERROR "QELVM_PYTHON needs Python 3.9 or later with its headers and NumPy (Debian: python3-dev "
                      "python3-numpy); QELVM_PYTHON_INTERPRETER names another than ${candidates}: ${error}")
endif()
set(QELVM_PYTHON_INTERPRETER ${interpreter} CACHE FILEPATH "" FORCE)
set(QELVM_PYTHON_DIR ${place} CACHE STRING "Folder of Python's packages, below the prefix")
