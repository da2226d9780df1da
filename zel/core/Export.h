#pragma once

/// @file
/// Export macros of libzelCore, and what its inline code needs of the compiler and the system.

#if __cplusplus < 202002L
#error "zelAdvanced needs C++20: compile with -std=c++20 or later"
// Compilers continue after an error, but not after a missing file.
#include "zel/core/stopped, see the error above"
#endif

/// Marks what libzelCore exports. All other symbols are hidden. Programs that link to the static
/// library on Windows define `ZEL_STATIC`; the CMake package does it for them.
///
/// @def ZEL_CORE_API

/// Declares an explicit instantiation that the library contains, so that programs don't compile
/// their own. Empty on Windows, where a DLL doesn't export the members defined inside a class.
///
/// @def ZEL_EXTERN_TEMPLATE

#if defined(_WIN32)

#define ZEL_EXTERN_TEMPLATE(...)

#if defined(ZEL_STATIC)
#define ZEL_CORE_API
#elif defined(ZEL_CORE_BUILD)
#define ZEL_CORE_API __declspec(dllexport)
#else
#define ZEL_CORE_API __declspec(dllimport)
#endif

namespace zel {

/// Returns an address that identifies the calling thread. It is that of the system's own data of
/// the thread, as a DLL can't export a thread-local variable.
inline const void* ThreadIdentity() noexcept {
    const void* block = nullptr;
#if defined(_WIN64)
    asm("movq %%gs:0x30, %0" : "=r"(block));
#else
    asm("movl %%fs:0x18, %0" : "=r"(block));
#endif
    return block;
}

}  // namespace zel

#else

#define ZEL_EXTERN_TEMPLATE(...) extern template __VA_ARGS__
#define ZEL_CORE_API __attribute__((visibility("default")))

namespace zel {

/// Identifies the calling thread by its address; its value is not used. The model selects an access
/// without a function call.
extern constinit thread_local char t_threadIdentity
    __attribute__((visibility("default"), tls_model("initial-exec")));

/// Returns an address that identifies the calling thread.
inline const void* ThreadIdentity() noexcept {
    return &t_threadIdentity;
}

}  // namespace zel

#endif
