#pragma once

/// @file
/// Export macro of libzelAdvanced.

/// Marks what libzelAdvanced exports. All other symbols are hidden.
///
/// @def ZEL_ADVANCED_API

#if defined(_WIN32)
#if defined(ZEL_STATIC)
#define ZEL_ADVANCED_API
#elif defined(ZEL_ADVANCED_BUILD)
#define ZEL_ADVANCED_API __declspec(dllexport)
#else
#define ZEL_ADVANCED_API __declspec(dllimport)
#endif
#else
#define ZEL_ADVANCED_API __attribute__((visibility("default")))
#endif
