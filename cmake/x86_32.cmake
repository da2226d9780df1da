# A 32-bit host, built with Debian's g++-12-multilib, which lacks the path to the kernel's headers,
# and run by qemu-user, because many kernels reject 32-bit programs.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_COMPILER gcc-12)
set(CMAKE_CXX_COMPILER g++-12)
set(flags "-m32 -msse2 -mfpmath=sse -idirafter /usr/include/x86_64-linux-gnu")
set(CMAKE_C_FLAGS_INIT ${flags})
set(CMAKE_CXX_FLAGS_INIT ${flags})
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-i386)
