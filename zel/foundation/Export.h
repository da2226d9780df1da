#pragma once

/// @file
/// Export macro of libzelAdvanced, and what its headers name of the system.

/// Marks what libzelAdvanced exports. All other symbols are hidden.
///
/// @def ZEL_ADVANCED_API

/// Marks a function that the system calls.
///
/// @def ZEL_SYSTEM_CALL

#if defined(_WIN32)

#define ZEL_SYSTEM_CALL __stdcall

#if defined(ZEL_STATIC)
#define ZEL_ADVANCED_API
#elif defined(ZEL_ADVANCED_BUILD)
#define ZEL_ADVANCED_API __declspec(dllexport)
#else
#define ZEL_ADVANCED_API __declspec(dllimport)
#endif
#if defined(__cplusplus)
struct _EXCEPTION_POINTERS;

namespace zel {

/// The system's description of a fault.
using ExceptionPointers = ::_EXCEPTION_POINTERS;

}  // namespace zel
#endif
#else

#define ZEL_SYSTEM_CALL
#define ZEL_ADVANCED_API __attribute__((visibility("default")))
#if defined(__cplusplus)
namespace zel {

namespace platform {
struct FaultRecord;
}

/// The system's description of a fault.
using ExceptionPointers = platform::FaultRecord;

}  // namespace zel
#endif
#endif
