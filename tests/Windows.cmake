# What isn't tested on Windows, and why.

set(ZEL_UNTESTED_MODULES
    gdb # The views are installed on Linux only.
    soak) # Reads the process file system of Linux.

# The tests replace the program's allocator, which isn't that of a DLL.
if(BUILD_SHARED_LIBS)
    list(APPEND ZEL_UNTESTED_MODULES faults)
endif()

set(ZEL_UNTESTED_SOURCES
    CrashDaemonOnLinuxTest.cpp # Reads pipes of files and devices, and checks modes.
    CrashHandlerOnLinuxTest.cpp # Signals, forks, limits; CrashHandlerOnWindowsTest.cpp takes its place.
    LimitsOnLinuxTest.cpp # Watching has no limits there that a process can set.
    ProcessesOnLinuxTest.cpp # Hides and deletes what only Linux can.
    SettledOnLinuxTest.cpp # The system doesn't report how files are written.
    StackWalkerOnLinuxTest.cpp # The service's files can't be made unreadable.
    SaveOnLinuxTest.cpp) # Links, modes and the limit of a file's size; SaveOnWindowsTest.cpp takes its place.
