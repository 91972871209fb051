# Installation: library, header, CMake package, pkg-config file; and the target `uninstall`.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/qelvm)
set(libraries qelvm_static)
if(QELVM_SHARED)
  list(APPEND libraries qelvmpx)
endif()
install(
  TARGETS ${libraries}
  EXPORT qelvm-targets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
# The levels stand beside it for the loader: programs link the plain one.
foreach(level IN LISTS levels)
  qelvm_level_folder(${level} folder)
  install(TARGETS qelvmpx_${level} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/${folder}
                                           NAMELINK_SKIP)
endforeach()
install(FILES include/qelvm.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(WIN32)
  install(FILES ${PROJECT_BINARY_DIR}/src/qelvmpx.def DESTINATION ${CMAKE_INSTALL_LIBDIR})
endif()
# What callers read: the guides, with the tables and pictures that they refer to, and the reference.
install(FILES LICENSE docs/using.md docs/command-line.md docs/accuracy.md docs/every-float.md docs/short-roads.md
              docs/performance.md docs/python.md docs/javascript.md docs/clusters.md docs/fortran.md
              docs/islands.svg docs/mutations.md
        DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs/accuracy DESTINATION ${CMAKE_INSTALL_DOCDIR})
find_program(DOXYGEN doxygen)
mark_as_advanced(DOXYGEN)
if(DOXYGEN AND PROJECT_IS_TOP_LEVEL)
  file(READ docs/Doxyfile doxyfile)
  # A reference with a warning of another version's is better than none.
  file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/Doxyfile CONTENT
       "${doxyfile}OUTPUT_DIRECTORY = \"${PROJECT_BINARY_DIR}\"\nWARN_AS_ERROR = NO\n")
  file(GLOB pictures CONFIGURE_DEPENDS docs/accuracy/*.svg)
  add_custom_command(
    OUTPUT reference/index.html
    COMMAND ${DOXYGEN} ${PROJECT_BINARY_DIR}/Doxyfile
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
    DEPENDS include/qelvm.h ${pictures} ${PROJECT_BINARY_DIR}/Doxyfile
    COMMENT "Writing the reference of the header"
    VERBATIM)
  add_custom_target(reference_pages ALL DEPENDS reference/index.html)
  install(DIRECTORY ${PROJECT_BINARY_DIR}/reference DESTINATION ${CMAKE_INSTALL_DOCDIR})
endif()

install(EXPORT qelvm-targets NAMESPACE qelvm:: DESTINATION ${package_dir})
# The build tree serves as a package too: -Dqelvm_DIR=<build directory>.
export(EXPORT qelvm-targets NAMESPACE qelvm:: FILE ${PROJECT_BINARY_DIR}/qelvm-targets.cmake)
configure_file(cmake/qelvm-config.cmake.in qelvm-config.cmake COPYONLY)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qelvm-config-version.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qelvm-config.cmake
              ${PROJECT_BINARY_DIR}/qelvm-config-version.cmake DESTINATION ${package_dir})

# Relative to its own place, so that the installed tree can be moved, unless a folder was given that
# is not.
file(RELATIVE_PATH path_to_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
set(pc_prefix "\${pcfiledir}/${path_to_prefix}")
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(pc_prefix ${CMAKE_INSTALL_PREFIX})
endif()
foreach(kind lib include)
  string(TOUPPER ${kind} upper)
  set(pc_${kind}dir ${CMAKE_INSTALL_${upper}DIR})
  if(NOT IS_ABSOLUTE "${pc_${kind}dir}")
    set(pc_${kind}dir "\${prefix}/${pc_${kind}dir}")
  endif()
endforeach()
configure_file(cmake/qelvmpx.pc.in qelvmpx.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qelvmpx.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

if(PROJECT_IS_TOP_LEVEL)
  add_custom_target(
    uninstall
    COMMAND ${CMAKE_COMMAND} -DMANIFEST=${PROJECT_BINARY_DIR}/install_manifest.txt
            -DFOLDERS=${folders_note} -P
            ${PROJECT_SOURCE_DIR}/cmake/uninstall.cmake
    COMMENT "Removing what the last installation from this build directory put in place"
    VERBATIM)
endif()
