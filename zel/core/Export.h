#pragma once

/// @file
/// Export macros of libzelCore.

/// Marks what libzelCore exports. All other symbols are hidden.
///
/// @def ZEL_CORE_API

/// Marks an exported thread-local variable that inline code reads. It selects an access without a
/// function call if the object format has one.
///
/// @def ZEL_CORE_THREAD_LOCAL

#if defined(_WIN32)
#if defined(ZEL_CORE_BUILD)
#define ZEL_CORE_API __declspec(dllexport)
#else
#define ZEL_CORE_API __declspec(dllimport)
#endif
// A DLL can't export a thread-local variable.
#define ZEL_CORE_THREAD_LOCAL
#else
#define ZEL_CORE_API __attribute__((visibility("default")))
#define ZEL_CORE_THREAD_LOCAL __attribute__((visibility("default"), tls_model("initial-exec")))
#endif
