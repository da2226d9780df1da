# 64-bit Windows, built with Debian's g++-mingw-w64-x86-64-posix and run by Wine.
set(CMAKE_SYSTEM_PROCESSOR x86_64)
include(${CMAKE_CURRENT_LIST_DIR}/windows.cmake)
