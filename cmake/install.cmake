# Installation: library, header, CMake package, pkg-config file; and the target `uninstall`.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/qelvm)
install(
  TARGETS qelvmpx
  EXPORT qelvm-targets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES include/qelvm.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(WIN32)
  install(FILES ${PROJECT_BINARY_DIR}/src/qelvmpx.def DESTINATION ${CMAKE_INSTALL_LIBDIR})
endif()

install(EXPORT qelvm-targets NAMESPACE qelvm:: DESTINATION ${package_dir})
# The build tree serves as a package too: -Dqelvm_DIR=<build directory>.
export(EXPORT qelvm-targets NAMESPACE qelvm:: FILE ${PROJECT_BINARY_DIR}/qelvm-targets.cmake)
file(WRITE ${PROJECT_BINARY_DIR}/qelvm-config.cmake
     "include(\${CMAKE_CURRENT_LIST_DIR}/qelvm-targets.cmake)\n")
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qelvm-config-version.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qelvm-config.cmake
              ${PROJECT_BINARY_DIR}/qelvm-config-version.cmake DESTINATION ${package_dir})

# Relative, so that the installed tree can be moved.
file(RELATIVE_PATH path_to_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(cmake/qelvmpx.pc.in qelvmpx.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qelvmpx.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

if(PROJECT_IS_TOP_LEVEL)
  add_custom_target(
    uninstall
    COMMAND ${CMAKE_COMMAND} -DMANIFEST=${PROJECT_BINARY_DIR}/install_manifest.txt -P
            ${PROJECT_SOURCE_DIR}/cmake/uninstall.cmake
    COMMENT "Removing what the last installation from this build directory put in place"
    VERBATIM)
endif()
