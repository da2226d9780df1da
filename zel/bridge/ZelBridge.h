#pragma once

#include "zel/foundation/Export.h"

/// @file
/// Entry point from plain C to functions that a C++ program has registered. This header is valid C
/// and C++.
///
///     extern char station_add;                // key: only its address is used
///     ...
///     int sum = 0;
///     ZelCppBridge(&station_add, 2, 3, &sum);
///
/// - **Key**: any address that both sides agree on, preferably of a variable defined for the
///   purpose. It is compared, never dereferenced. A key defined in the executable and used by a
///   shared library that is loaded at run time must be exported: link the executable with
///   `-rdynamic`, or define the key in the library.
/// - **Arguments**: number and types must be what the registered function expects; nothing checks
///   them. The default argument promotions apply: a type narrower than `int` is passed as `int`, a
///   `float` as `double`. An integer constant is an `int`: cast it where a wider type is expected.
///   Cast null pointers, too, as `NULL` may be an `int`.
/// - **Results**: returned through pointer arguments. A function registered with a return value
///   takes one more pointer, after its arguments, to where the value is stored, or null.
/// - **Ownership**: passing a pointer transfers no ownership unless the function documents it. The
///   registry owns what is registered and deletes it when it is replaced, and after the last
///   `CBinder::Release`.
/// - **Threads**: thread-safe. One lock serializes all calls, whatever their keys. A registered
///   function may call the bridge again.
/// - **Set-up**: the C++ side calls `CBinder::Prepare` before the first call and `CBinder::Release`
///   after the last. Without `Prepare` a call logs an error, sleeps 150 milliseconds and has no
///   effect.
/// - **Exceptions**: an exception thrown by the function propagates to the caller of
///   `ZelCppBridge`. C code can't catch it and releases no resources, and the program terminates if
///   the C code was compiled without unwind tables (`-fexceptions`). Functions called from C should
///   catch their own exceptions and return an error.
///
/// Guide: docs/c-bridge.md
#ifdef __cplusplus
extern "C" {
#endif

/// Calls the function registered under the key `function` with the arguments that follow the key.
/// Has no effect, and logs nothing, if no function is registered. Thread-safe.
ZEL_ADVANCED_API void ZelCppBridge(void* function, ...);

#ifdef __cplusplus
}
#endif
