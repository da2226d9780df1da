# Installs libraries, headers, and the files for find_package(zelAdvanced) and pkg-config. None of
# them contains the prefix, so that an installation can be moved.

include(CMakePackageConfigHelpers)

set(packageFolder ${CMAKE_INSTALL_LIBDIR}/cmake/zelAdvanced)
set(pkgConfigFolder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

function(zel_install target component)
    install(TARGETS ${target} EXPORT zelAdvancedTargets
        RUNTIME COMPONENT ${component}
        LIBRARY COMPONENT ${component} NAMELINK_COMPONENT development
        ARCHIVE COMPONENT development
        FILE_SET HEADERS COMPONENT development
        FILE_SET generated COMPONENT development)
endfunction()
zel_install(zelCore core)
zel_install(zelAdvanced advanced)
if(WIN32 AND BUILD_SHARED_LIBS)
    install(FILES ${ZEL_RUNTIME_LIBRARIES} DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT core)
    # The licences of the runtime: GCC's and that of its threads.
    foreach(package gcc-mingw-w64-base mingw-w64-common)
        install(FILES /usr/share/doc/${package}/copyright RENAME ${package}.txt
            DESTINATION ${CMAKE_INSTALL_DATADIR}/zelAdvanced/licences COMPONENT core OPTIONAL)
    endforeach()
endif()
install(EXPORT zelAdvancedTargets NAMESPACE zel:: DESTINATION ${packageFolder}
    COMPONENT development)

install(FILES ${PROJECT_SOURCE_DIR}/gdb/zel.natvis
    DESTINATION ${CMAKE_INSTALL_DATADIR}/zelAdvanced COMPONENT development)

write_basic_package_version_file(${PROJECT_BINARY_DIR}/zelAdvancedConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES
    ${PROJECT_SOURCE_DIR}/cmake/zelAdvancedConfig.cmake
    ${PROJECT_BINARY_DIR}/zelAdvancedConfigVersion.cmake
    DESTINATION ${packageFolder} COMPONENT development)

cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
    BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX}/${pkgConfigFolder}
    OUTPUT_VARIABLE pkgConfigToPrefix)
# zel_pkg_config(<target>): installs the description of a library. It has all that programs need to link
# to a static one.
function(zel_pkg_config target)
    string(TOLOWER ${target} package)
    set(staticDefinition)
    set(staticLibraries)
    if(NOT BUILD_SHARED_LIBS)
        set(staticDefinition " -DZEL_STATIC")
        get_target_property(libraries ${target} LINK_LIBRARIES)
        # CMake marks names that another folder has added.
        list(FILTER libraries EXCLUDE REGEX "^::@|^zel")
        list(TRANSFORM libraries REPLACE "^Threads::Threads$" pthread)
        list(TRANSFORM libraries PREPEND " -l")
        list(JOIN libraries "" staticLibraries)
    endif()
    configure_file(${PROJECT_SOURCE_DIR}/cmake/${package}.pc.in
        ${PROJECT_BINARY_DIR}/${package}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${package}.pc DESTINATION ${pkgConfigFolder}
        COMPONENT development)
endfunction()
zel_pkg_config(zelCore)
zel_pkg_config(zelAdvanced)
