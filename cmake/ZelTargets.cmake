# One function for each kind of target. A list file names sources and links and nothing else.

include(GNUInstallDirs)
include(GoogleTest)

if(PROJECT_IS_TOP_LEVEL AND NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
    find_program(ZEL_CCACHE ccache)
    mark_as_advanced(ZEL_CCACHE)
    if(ZEL_CCACHE)
        set(CMAKE_CXX_COMPILER_LAUNCHER ${ZEL_CCACHE})
    endif()
endif()

# What all code of this house is compiled with, product and tests alike.
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
# A shared library without sources yet: zel_module() brings those. Others link it as zel::<name>; its
# own sources see <macro>_BUILD, which turns <macro>_API from import to export.
function(zel_library target name macro)
    add_library(${target} SHARED)
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
    if(NOT ZEL_SANITIZE)
        # Sanitized objects rest on symbols that only the program brings, and share theirs with it.
        set(exports ${PROJECT_SOURCE_DIR}/cmake/exports.map)
        target_link_options(${target} PRIVATE LINKER:-z,defs LINKER:--version-script=${exports})
        set_target_properties(${target} PROPERTIES LINK_DEPENDS ${exports})
    endif()
endfunction()

# zel_module(<library> [HEADERS <public header>...] [SOURCES <source>...])
# Adds the current folder's files to a library. Headers named here are installed; private ones are
# not named.
function(zel_module library)
    cmake_parse_arguments(PARSE_ARGV 1 module "" "" "HEADERS;SOURCES")
    list(TRANSFORM module_HEADERS PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
    list(TRANSFORM module_SOURCES PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
    target_sources(${library} PUBLIC FILE_SET HEADERS FILES ${module_HEADERS})
    target_sources(${library} PRIVATE ${module_SOURCES})
endfunction()

# zel_test(<module> [OPTIMISED] <source>...)
# One program for the tests of a module; ctest sees each test by itself. Tests are compiled without
# optimisation, which takes a third of the time, and run against the optimised library; OPTIMISED
# is for modules whose own code stands in headers and so is compiled with the tests.
function(zel_test module)
    cmake_parse_arguments(PARSE_ARGV 1 test OPTIMISED "" "")
    set(target ${module}_tests)
    add_executable(${target} ${test_UNPARSED_ARGUMENTS})
    zel_compile_settings(${target})
    if(NOT test_OPTIMISED)
        target_compile_options(${target} PRIVATE -O0)
    endif()
    target_link_libraries(${target} PRIVATE zel::advanced GTest::gtest_main)
    add_dependencies(zel_tests ${target})
    set(timeout 60)
    if(ZEL_SANITIZE)
        set(timeout 240)
    endif()
    gtest_discover_tests(${target}
        TEST_PREFIX ${module}.
        DISCOVERY_MODE PRE_TEST
        DISCOVERY_TIMEOUT 60
        PROPERTIES TIMEOUT ${timeout})
endfunction()

# zel_soak_test(<name> <source>...)
# A test that takes too long for every day; it is a program of its own and fails by its exit code.
function(zel_soak_test name)
    add_executable(${name} EXCLUDE_FROM_ALL ${ARGN})
    zel_compile_settings(${name})
    target_link_libraries(${name} PRIVATE zel::advanced)
    add_dependencies(zel_soak_tests ${name})
endfunction()

# zel_fuzzer(<name> <source>)
# A fuzz target, which starts from the inputs in corpus/<name>. ZEL_SANITIZE brings the counters
# that it is steered by into the libraries.
function(zel_fuzzer name source)
    if(NOT IS_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}/corpus/${name})
        message(FATAL_ERROR "The fuzz target ${name} has no corpus/${name} to start from")
    endif()
    add_executable(${name} ${source})
    zel_compile_settings(${name})
    target_link_options(${name} PRIVATE -fsanitize=fuzzer)
    target_link_libraries(${name} PRIVATE zel::advanced zel_fuzz_main)
    add_dependencies(zel_fuzz ${name})
endfunction()

# zel_benchmark(<module> <source>...)
# One program for the benchmarks of a module.
function(zel_benchmark module)
    set(target ${module}_bench)
    add_executable(${target} ${ARGN})
    zel_compile_settings(${target})
    target_link_libraries(${target} PRIVATE zel::advanced zel_bench_support)
    add_dependencies(zel_bench ${target})
endfunction()

# zel_peer(<module> <source>... NEEDS <target>)
# Puts another library's way of doing the same beside a module's benchmarks, in the same program, so
# that both sides are measured in one run. Without that library the benchmark does without.
function(zel_peer module)
    cmake_parse_arguments(PARSE_ARGV 1 peer "" "NEEDS" "")
    if(NOT TARGET ${peer_NEEDS})
        message(STATUS "${module}_bench: no ${peer_NEEDS}, measuring without it")
        return()
    endif()
    list(TRANSFORM peer_UNPARSED_ARGUMENTS PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
    target_sources(${module}_bench PRIVATE ${peer_UNPARSED_ARGUMENTS})
    target_link_libraries(${module}_bench PRIVATE ${peer_NEEDS})
endfunction()

# zel_example(<name> <source>...)
# A small whole program; its folder also holds `demo`, the script that shows it at work.
function(zel_example name)
    add_executable(${name} ${ARGN})
    zel_compile_settings(${name})
    target_link_libraries(${name} PRIVATE zel::advanced)
    add_dependencies(zel_examples ${name})
endfunction()
