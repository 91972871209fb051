# Notes, before anything is installed, which folders the installation is going to make: the target
# `uninstall` removes them again.
set(folders_note ${PROJECT_BINARY_DIR}/install_folders.txt)
set(more_folders)
if(QELVM_FORTRAN)
  set(more_folders " ${CMAKE_INSTALL_INCLUDEDIR}/qelvm")
endif()
get_property(levels GLOBAL PROPERTY QELVM_LEVELS)
foreach(level IN LISTS levels)
  qelvm_level_folder(${level} folder)
  string(APPEND more_folders " ${CMAKE_INSTALL_LIBDIR}/${folder}")
endforeach()
set(python_folder)
if(QELVM_PYTHON)
  set(python_folder ${QELVM_PYTHON_DIR}/qelvm)
endif()
install(CODE "
  foreach(folder ${CMAKE_INSTALL_BINDIR} ${CMAKE_INSTALL_INCLUDEDIR} ${CMAKE_INSTALL_LIBDIR}/pkgconfig
                 ${CMAKE_INSTALL_LIBDIR}/cmake/qelvm${more_folders}
                 ${python_folder} ${CMAKE_INSTALL_DOCDIR}/accuracy
                 ${CMAKE_INSTALL_DOCDIR}/reference/search
                 ${CMAKE_INSTALL_MANDIR}/man1
                 ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
    cmake_path(ABSOLUTE_PATH folder BASE_DIRECTORY \"\${CMAKE_INSTALL_PREFIX}\")
    set(folder \"\$ENV{DESTDIR}\${folder}\")
    while(NOT EXISTS \"\${folder}\")
      file(APPEND \"${folders_note}\" \"\${folder}\\n\")
      cmake_path(GET folder PARENT_PATH folder)
    endwhile()
  endforeach()")
