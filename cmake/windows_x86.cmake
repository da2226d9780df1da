# 32-bit Windows, built with Debian's g++-mingw-w64-i686-posix and run by Wine.
set(CMAKE_SYSTEM_PROCESSOR i686)
include(${CMAKE_CURRENT_LIST_DIR}/windows.cmake)
