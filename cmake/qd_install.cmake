# What `cmake --install` puts where: the libraries in the export set qdlogTargets
# (imported as qdlog::<name> by find_package(qdlog)), their headers under
# include/qdlog, pkg-config files, and programs. Files go to the component "runtime"
# (what a program needs to run) or "dev" (what it needs to be built); the Debian
# packages are cut along the same line.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(QD_INCLUDE_DIR ${CMAKE_INSTALL_INCLUDEDIR}/qdlog)
set(QD_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/qdlog)

# qd_install_library(TARGET NAME name [HEADERS_FROM dir] [HEADERS_TO subdir]
#                    [PKG_REQUIRES pc-names] [PKG_LIBS flags]):
# installs a library as qdlog::<name> with a pkg-config file qdlog-<name>.pc (for
# the engine, qdlog.pc); HEADERS_FROM copies the *.h of a source folder, with its
# platform/ folder, into include/qdlog/<HEADERS_TO>.
function(qd_install_library target)
  cmake_parse_arguments(L "" "NAME;HEADERS_FROM;HEADERS_TO" "PKG_REQUIRES;PKG_LIBS" ${ARGN})
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${L_NAME})
  install(TARGETS ${target} EXPORT qdlogTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)
  if(L_HEADERS_FROM)
    install(DIRECTORY ${L_HEADERS_FROM}/ DESTINATION ${QD_INCLUDE_DIR}/${L_HEADERS_TO}
      COMPONENT dev FILES_MATCHING PATTERN "*.h")
  endif()
  get_target_property(kind ${target} TYPE)
  get_target_property(file ${target} OUTPUT_NAME)
  if(NOT file)
    set(file ${target})
  endif()
  if(L_NAME STREQUAL "qdlog")
    set(pc qdlog)
    set(QD_PC_CFLAGS "-I\${includedir}/qdlog")
  else()
    set(pc qdlog-${L_NAME})
    set(QD_PC_CFLAGS "-I\${includedir}/qdlog/${L_HEADERS_TO} -I\${includedir}/qdlog")
  endif()
  set(QD_PC_NAME ${pc})
  # Relative to the file, so that an install under any prefix finds itself.
  file(RELATIVE_PATH QD_PC_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
  set(QD_PC_LIBS "-l${file} ${L_PKG_LIBS}")
  string(REPLACE ";" ", " QD_PC_REQUIRES "${L_PKG_REQUIRES}")
  configure_file(${PROJECT_SOURCE_DIR}/cmake/qdlog.pc.in ${PROJECT_BINARY_DIR}/pkgconfig/${pc}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/pkgconfig/${pc}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
endfunction()

# qd_install_program(TARGET): a program of the runtime package, in bin/.
function(qd_install_program target)
  install(TARGETS ${target} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
endfunction()

# The package files, once every library has been listed.
function(qd_install_package)
  install(EXPORT qdlogTargets NAMESPACE qdlog:: FILE qdlogTargets.cmake
    DESTINATION ${QD_CMAKE_DIR} COMPONENT dev)
  configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/qdlogConfig.cmake.in
    ${PROJECT_BINARY_DIR}/qdlogConfig.cmake INSTALL_DESTINATION ${QD_CMAKE_DIR})
  write_basic_package_version_file(${PROJECT_BINARY_DIR}/qdlogConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
  install(FILES ${PROJECT_BINARY_DIR}/qdlogConfig.cmake ${PROJECT_BINARY_DIR}/qdlogConfigVersion.cmake
    DESTINATION ${QD_CMAKE_DIR} COMPONENT dev)
endfunction()
