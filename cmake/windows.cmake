# What windows_x64.cmake and windows_x86.cmake share. The compilers are those with POSIX threads,
# which the standard library's threads need.
set(CMAKE_SYSTEM_NAME Windows)
set(target ${CMAKE_SYSTEM_PROCESSOR}-w64-mingw32)
set(CMAKE_C_COMPILER ${target}-gcc-posix)
set(CMAKE_CXX_COMPILER ${target}-g++-posix)
set(CMAKE_RC_COMPILER ${target}-windres)
# Wine's dbghelp doesn't read later versions of DWARF.
foreach(language C CXX)
    set(CMAKE_${language}_FLAGS_DEBUG_INIT -gdwarf-4)
    set(CMAKE_${language}_FLAGS_RELWITHDEBINFO_INIT -gdwarf-4)
endforeach()
set(CMAKE_FIND_ROOT_PATH /usr/${target})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../scripts/wine ${CMAKE_SYSTEM_PROCESSOR})
