# 32-bit Windows, built with Debian's g++-mingw-w64-i686-posix and run by Wine.
set(CMAKE_SYSTEM_PROCESSOR i686)
# Floating-point numbers keep their precision as on other hosts. The system's callbacks don't align
# the stack for the registers used. A stack is walked by its frame pointers.
set(CMAKE_C_FLAGS_INIT "-msse2 -mfpmath=sse -mstackrealign -fno-omit-frame-pointer")
set(CMAKE_CXX_FLAGS_INIT ${CMAKE_C_FLAGS_INIT})
include(${CMAKE_CURRENT_LIST_DIR}/windows.cmake)
