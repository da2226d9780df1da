#pragma once

// ZEL_CORE_API marks what libzelCore exports; everything else stays hidden in it.
// ZEL_CORE_THREAD_LOCAL is for the exported thread-local variable that inlined code reads: it asks
// for the access without a call, where the object format offers one.
#if defined(_WIN32)
#if defined(ZEL_CORE_BUILD)
#define ZEL_CORE_API __declspec(dllexport)
#else
#define ZEL_CORE_API __declspec(dllimport)
#endif
#define ZEL_CORE_THREAD_LOCAL  // such a variable doesn't leave a DLL: there a call must take its
                               // place
#else
#define ZEL_CORE_API __attribute__((visibility("default")))
#define ZEL_CORE_THREAD_LOCAL __attribute__((visibility("default"), tls_model("initial-exec")))
#endif
