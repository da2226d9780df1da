# A function for each kind of target.

include(GNUInstallDirs)

# A Windows program finds DLLs in its own folder, those of the compiler too.
if(WIN32)
    set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
    set(ZEL_RUNTIME_LIBRARIES)
    foreach(library libstdc++-6 libgcc_s_seh-1 libgcc_s_dw2-1 libwinpthread-1)
        execute_process(
            COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${library}.dll
            OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
        if(EXISTS ${path})
            list(APPEND ZEL_RUNTIME_LIBRARIES ${path})
        endif()
    endforeach()
    file(COPY ${ZEL_RUNTIME_LIBRARIES} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
endif()
include(GoogleTest)

if(PROJECT_IS_TOP_LEVEL AND NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
    find_program(ZEL_CCACHE ccache)
    mark_as_advanced(ZEL_CCACHE)
    if(ZEL_CCACHE)
        set(CMAKE_CXX_COMPILER_LAUNCHER ${ZEL_CCACHE})
    endif()
endif()

# The compiler settings of all code, tests included.
function(zel_compile_settings target)
    target_compile_features(${target} PUBLIC cxx_std_20)
    set_target_properties(${target} PROPERTIES
        CXX_EXTENSIONS OFF
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
    if(ZEL_WARNINGS_AS_ERRORS)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
    if(ZEL_SANITIZE)
        target_compile_options(${target} PRIVATE
            -fsanitize=${ZEL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
        target_link_options(${target} PRIVATE -fsanitize=${ZEL_SANITIZE})
    endif()
endfunction()

# zel_library(<target> <name> <macro>)
# Adds a library, to which zel_module() adds sources. Its alias is zel::<name>. <macro>_BUILD
# is defined for its own sources, so that <macro>_API exports instead of importing.
function(zel_library target name macro)
    add_library(${target})
    add_library(zel::${name} ALIAS ${target})
    zel_compile_settings(${target})
    target_compile_definitions(${target} PRIVATE ${macro}_BUILD)
    target_sources(${target} PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR})
    set_target_properties(${target} PROPERTIES
        EXPORT_NAME ${name}
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}
        INSTALL_RPATH "$ORIGIN"
        VERIFY_INTERFACE_HEADER_SETS ON)
    if(NOT BUILD_SHARED_LIBS)
        target_compile_definitions(${target} PUBLIC ZEL_STATIC)
    elseif(WIN32)
        # The version is part of the DLL's name and not of the import library's.
        set_target_properties(${target} PROPERTIES
            RUNTIME_OUTPUT_NAME ${target}-${PROJECT_VERSION_MAJOR})
    elseif(NOT ZEL_SANITIZE)
        # Sanitized libraries use symbols of the program and share theirs with it.
        set(exports ${PROJECT_SOURCE_DIR}/cmake/exports.map)
        target_link_options(${target} PRIVATE LINKER:-z,defs LINKER:--version-script=${exports})
        set_target_properties(${target} PROPERTIES LINK_DEPENDS ${exports})
    endif()
endfunction()

# zel_module(<library> [HEADERS <public header>...] [SOURCES <source>...])
# Adds the current folder's files to a library. HEADERS are installed; private ones aren't listed.
# From a header NAME.h.in, NAME.h is made in the build folder.
function(zel_module library)
    cmake_parse_arguments(PARSE_ARGV 1 module "" "" "HEADERS;SOURCES")
    set(templates ${module_HEADERS})
    list(FILTER templates INCLUDE REGEX "\\.in$")
    list(FILTER module_HEADERS EXCLUDE REGEX "\\.in$")
    foreach(template IN LISTS templates)
        zel_generated_header(${library} ${template})
    endforeach()
    list(TRANSFORM module_HEADERS PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
    list(TRANSFORM module_SOURCES PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
    target_sources(${library} PUBLIC FILE_SET HEADERS FILES ${module_HEADERS})
    target_sources(${library} PRIVATE ${module_SOURCES})
endfunction()

function(zel_generated_header library template)
    set(folder ${PROJECT_BINARY_DIR}/include)
    cmake_path(RELATIVE_PATH CMAKE_CURRENT_SOURCE_DIR
        BASE_DIRECTORY ${PROJECT_SOURCE_DIR} OUTPUT_VARIABLE module)
    string(REGEX REPLACE "\\.in$" "" header ${folder}/${module}/${template})
    configure_file(${template} ${header} @ONLY)
    target_sources(${library} PUBLIC
        FILE_SET generated TYPE HEADERS BASE_DIRS ${folder} FILES ${header})
endfunction()

# zel_test(<module> [OPTIMISED] <source>...)
# Adds a program with the tests of a module; CTest runs each test separately. Tests are compiled
# without optimisation, in a third of the time, and linked to the optimised library. OPTIMISED is for
# modules whose code is in headers and thus compiled with the tests.
function(zel_test module)
    cmake_parse_arguments(PARSE_ARGV 1 test OPTIMISED "" "")
    set(target ${module}_tests)
    list(REMOVE_ITEM test_UNPARSED_ARGUMENTS ${ZEL_UNTESTED_SOURCES} "")
    add_executable(${target} ${test_UNPARSED_ARGUMENTS})
    zel_compile_settings(${target})
    if(NOT test_OPTIMISED)
        target_compile_options(${target} PRIVATE -O0)
    endif()
    target_link_libraries(${target} PRIVATE zel::advanced zel_test_support GTest::gtest_main)
    add_dependencies(zel_tests ${target})
    set(timeout 60)
    if(ZEL_SANITIZE OR WIN32)
        set(timeout 240)
    endif()
    gtest_discover_tests(${target}
        TEST_PREFIX ${module}.
        DISCOVERY_MODE PRE_TEST
        DISCOVERY_TIMEOUT 60
        PROPERTIES TIMEOUT ${timeout})
endfunction()

# zel_soak_test(<name> <source>...)
# Adds a program that tests for minutes to half an hour and reports failure by its exit code.
function(zel_soak_test name)
    add_executable(${name} EXCLUDE_FROM_ALL ${ARGN})
    zel_compile_settings(${name})
    target_link_libraries(${name} PRIVATE zel::advanced)
    add_dependencies(zel_soak_tests ${name})
endfunction()

# zel_fuzzer(<name> <source>)
# Adds a fuzz target, which starts from the inputs in corpus/<name>. ZEL_SANITIZE instruments the
# libraries for coverage.
function(zel_fuzzer name source)
    if(NOT IS_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}/corpus/${name})
        message(FATAL_ERROR "The fuzz target ${name} has no folder corpus/${name}")
    endif()
    add_executable(${name} ${source})
    zel_compile_settings(${name})
    target_link_options(${name} PRIVATE -fsanitize=fuzzer)
    target_link_libraries(${name} PRIVATE zel::advanced zel_fuzz_main)
    add_dependencies(zel_fuzz ${name})
endfunction()

# zel_benchmark(<module> <source>...)
# Adds a program with the benchmarks of a module.
function(zel_benchmark module)
    set(target ${module}_bench)
    add_executable(${target} ${ARGN})
    zel_compile_settings(${target})
    target_link_libraries(${target} PRIVATE zel::advanced zel_bench_support)
    add_dependencies(zel_bench ${target})
endfunction()

# zel_peer(<module> <source>... NEEDS <target>)
# Adds another library's solution to a module's benchmarks, so that both are measured in one run.
# If that library isn't installed, it is added to the global property ZEL_MISSING_PEERS.
function(zel_peer module)
    cmake_parse_arguments(PARSE_ARGV 1 peer "" "NEEDS" "")
    if(NOT TARGET ${peer_NEEDS})
        set_property(GLOBAL APPEND PROPERTY ZEL_MISSING_PEERS ${peer_NEEDS})
        return()
    endif()
    list(TRANSFORM peer_UNPARSED_ARGUMENTS PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
    target_sources(${module}_bench PRIVATE ${peer_UNPARSED_ARGUMENTS})
    target_link_libraries(${module}_bench PRIVATE ${peer_NEEDS})
endfunction()

# zel_example(<name> <source>...)
# Adds a small complete program; the script `demo` in its folder runs it on real input.
function(zel_example name)
    add_executable(${name} ${ARGN})
    zel_compile_settings(${name})
    target_link_libraries(${name} PRIVATE zel::advanced)
    add_dependencies(zel_examples ${name})
endfunction()
