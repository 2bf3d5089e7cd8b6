# `make deb`: Debian packages cut from the install components. "qdlog" holds what
# programs need at run time (the library and the tools), "qdlog-dev" what they need
# to be built (headers, static libraries, the CMake package, pkg-config files). The
# runtime's dependencies come from dpkg-shlibdeps.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME qdlog)
set(CPACK_PACKAGE_CONTACT "qdlog developers <qdlog@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime dev)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME qdlog)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "${PROJECT_DESCRIPTION}
 libqdlog_9d.so takes events from any thread and writes them to standard output,
 rotating log files that clean up after themselves, and callbacks; qdlogpipe
 gives any program's output the same files.")
set(CPACK_DEBIAN_DEV_PACKAGE_NAME qdlog-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "qdlog (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEV_DESCRIPTION "${PROJECT_DESCRIPTION} (development files)
 The header of libqdlog_9d.so, the static smart and qdr libraries with their
 headers, the CMake package (find_package(qdlog)) and pkg-config files.")
include(CPack)
