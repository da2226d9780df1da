# usage: cmake -D PORT=<folder> -D WORK=<folder> -P vcpkg.cmake
#
# Runs a port with stand-ins for the functions of vcpkg, which make the same calls of CMake for one
# build type, and fails if the port leaves a file out or in that vcpkg would reject.
cmake_minimum_required(VERSION 3.25)
set(CURRENT_PACKAGES_DIR ${WORK}/package)
file(REMOVE_RECURSE ${CURRENT_PACKAGES_DIR})

function(vcpkg_cmake_configure)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" "SOURCE_PATH" "OPTIONS")
    execute_process(COMMAND ${CMAKE_COMMAND} -S ${arg_SOURCE_PATH} -B ${WORK}/build -G Ninja
        -DBUILD_SHARED_LIBS=OFF -DCMAKE_CXX_COMPILER_LAUNCHER=ccache
        ${arg_OPTIONS} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

function(vcpkg_cmake_install)
    execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK}/build COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND ${CMAKE_COMMAND} --install ${WORK}/build --prefix ${CURRENT_PACKAGES_DIR}
        COMMAND_ERROR_IS_FATAL ANY)
endfunction()

function(require_file path)
    if(NOT EXISTS ${CURRENT_PACKAGES_DIR}/${path})
        message(FATAL_ERROR "the port installs no ${path}")
    endif()
endfunction()

function(vcpkg_cmake_config_fixup)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" "PACKAGE_NAME;CONFIG_PATH" "")
    require_file(${arg_CONFIG_PATH}/${arg_PACKAGE_NAME}Config.cmake)
endfunction()

function(vcpkg_fixup_pkgconfig)
    require_file(lib/pkgconfig/zeladvanced.pc)
endfunction()

function(vcpkg_install_copyright)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" "" "FILE_LIST")
    file(COPY ${arg_FILE_LIST} DESTINATION ${CURRENT_PACKAGES_DIR}/share/zeladvanced)
endfunction()

file(READ ${PORT}/vcpkg.json manifest)
string(JSON version GET "${manifest}" version)
include(${PORT}/portfile.cmake)
file(STRINGS ${WORK}/build/CMakeCache.txt built REGEX "^CMAKE_PROJECT_VERSION:")
if(NOT built MATCHES "=${version}$")
    message(FATAL_ERROR "the port's version is ${version}, and the project's is ${built}")
endif()
