# Debian packages: one per library, with the major version in its name so that two versions can be
# installed together, one with its debug information, and one for building against both.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zeladvanced)
set(CPACK_PACKAGE_CONTACT "zelAdvanced developers <zeladvanced@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/zel)
set(CPACK_BUILD_SOURCE_DIRS ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR})

set(major ${PROJECT_VERSION_MAJOR})
set(CPACK_COMPONENTS_ALL core advanced development)

set(CPACK_DEBIAN_CORE_PACKAGE_NAME libzelcore${major})
set(CPACK_DEBIAN_CORE_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_CORE_DEBUGINFO_PACKAGE ON)
set(CPACK_COMPONENT_CORE_DESCRIPTION "Locks, threads, events, logging and text: the base library.")

set(CPACK_DEBIAN_ADVANCED_PACKAGE_NAME libzeladvanced${major})
set(CPACK_DEBIAN_ADVANCED_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_ADVANCED_DEBUGINFO_PACKAGE ON)
set(CPACK_DEBIAN_ADVANCED_PACKAGE_DEPENDS "libzelcore${major} (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_ADVANCED_DESCRIPTION "Building blocks for long-running C++ programs.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libzeladvanced-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libzeladvanced${major} (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "Headers of both libraries, for CMake and pkg-config.")

include(CPack)
