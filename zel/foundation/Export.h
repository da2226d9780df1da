#pragma once

// ZEL_ADVANCED_API marks what libzelAdvanced exports; everything else stays hidden in it.
#if defined(_WIN32)
#if defined(ZEL_ADVANCED_BUILD)
#define ZEL_ADVANCED_API __declspec(dllexport)
#else
#define ZEL_ADVANCED_API __declspec(dllimport)
#endif
#else
#define ZEL_ADVANCED_API __attribute__((visibility("default")))
#endif
