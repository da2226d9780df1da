# Debian packages: one per library, with the major version in its name so that two versions can be
# installed together, one with its debug information, and one for building against both.

# Debian's tools take the packager's name and address from the environment. The default address is
# well formed and belongs to no one.
set(packager "zelAdvanced developers")
set(address developers@zeladvanced.invalid)
if(DEFINED ENV{DEBFULLNAME})
    set(packager $ENV{DEBFULLNAME})
endif()
if(DEFINED ENV{DEBEMAIL})
    set(address $ENV{DEBEMAIL})
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zeladvanced)
set(CPACK_PACKAGE_CONTACT "${packager} <${address}>")
# CPack puts any other summary before those of the packages.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${CMAKE_PROJECT_NAME} built using CMake")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/zel)
# Programs built against a version need that version or a later one of the same number after .so.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_BUILD_SOURCE_DIRS ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR})

set(major ${PROJECT_VERSION_MAJOR})
set(debianFolder ${PROJECT_SOURCE_DIR}/packaging/debian)
set(CPACK_POST_BUILD_SCRIPTS ${debianFolder}/finish.cmake)

# zel_debian_package(<component> <name> <section> <depends> <summary> <description>)
# Describes the package of a component, and adds the documents that Debian requires.
macro(zel_debian_package component name section depends summary description)
    string(TOUPPER ${component} prefix)
    list(APPEND CPACK_COMPONENTS_ALL ${component})
    set(CPACK_DEBIAN_${prefix}_PACKAGE_NAME ${name})
    set(CPACK_DEBIAN_${prefix}_PACKAGE_SECTION ${section})
    set(CPACK_DEBIAN_${prefix}_PACKAGE_DEPENDS "${depends}")
    set(CPACK_DEBIAN_${prefix}_DESCRIPTION "${summary}\n${description}")
    if(${section} STREQUAL libs)
        set(CPACK_DEBIAN_${prefix}_DEBUGINFO_PACKAGE ON)
        set(CPACK_DEBIAN_${prefix}_PACKAGE_CONTROL_EXTRA ${debianFolder}/triggers)
    endif()
    # An installation below another prefix isn't Debian's.
    if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
        install(FILES ${debianFolder}/copyright ${PROJECT_BINARY_DIR}/changelog.gz
            DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} COMPONENT ${component})
    endif()
endmacro()

set(CPACK_COMPONENTS_ALL)
zel_debian_package(core libzelcore${major} libs ""
    "base library of building blocks for long-running C++ programs"
    "Reference counting, locks, threads, events, logging, exceptions,\nnumbers as text\
 and stack walking.")
zel_debian_package(advanced libzeladvanced${major} libs "libzelcore${major} (= ${PROJECT_VERSION})"
    "building blocks for long-running C++ programs"
    "Tree documents, tables, variants, persistence, commands and timers,\ndirectory\
 watching, processes, crash reports and a bridge from C.")
zel_debian_package(development libzeladvanced-dev libdevel
    "libzeladvanced${major} (= ${PROJECT_VERSION})"
    "building blocks for long-running C++ programs - development files"
    "The headers of libzelCore and libzelAdvanced, the files for CMake,\npkg-config and\
 GDB, the guides and the examples.")

if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
    configure_file(${debianFolder}/changelog.in ${PROJECT_BINARY_DIR}/changelog @ONLY)
    execute_process(COMMAND gzip -9nc ${PROJECT_BINARY_DIR}/changelog
        OUTPUT_FILE ${PROJECT_BINARY_DIR}/changelog.gz COMMAND_ERROR_IS_FATAL ANY)
    install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libzeladvanced-dev COMPONENT development)
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs ${PROJECT_SOURCE_DIR}/examples
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libzeladvanced-dev COMPONENT development
        PATTERN reference EXCLUDE)
endif()

include(CPack)
