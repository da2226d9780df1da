#pragma once

#include "zel/foundation/Export.h"

// The way from plain C to what a C++ program has registered. This header is C and C++.
//
//     extern char station_add;                // the key; its address is all that counts
//     ...
//     int sum = 0;
//     ZelCppBridge(&station_add, 2, 3, &sum); // as the function behind the key wants it
//
// Key: any address on which both sides have agreed, of a variable of its own best. It is compared
// and never followed. A key that nobody registered has no effect, without a word.
//
// Arguments: what stands behind the key, in number and type just what the registered function asks
// for; nothing can check that here. They are promoted as with every `...`: what is narrower than an
// int arrives as int, a float as double. An integer constant is an int: where a wider one is
// wanted, cast it. A null pointer is to be cast as well, NULL may be a mere 0.
//
// Results: come back through pointers among the arguments only. A function registered as returning
// a value takes one pointer more, behind its arguments, to where the value goes; a null pointer if
// nobody wants it.
//
// Ownership: memory stays whose it was, unless the function says otherwise. The program keeps and
// deletes what it has registered.
//
// Threads: any thread may call. There is one lock: calls run one after the other, whatever their
// keys, and from inside a function registered here one may call again.
//
// The C++ side calls CBinder::Prepare before the first call, and CBinder::Release after the last.
// Without Prepare a call logs that, waits 150 milliseconds and has no effect.
//
// A C++ exception that leaves the registered function passes through this call to its caller. Plain
// C can't catch it, frees nothing on its way, and has to be compiled with unwind tables to let it
// pass at all (-fexceptions); without them the process ends. Let the function catch its own where C
// calls it, and tell by a result.
#ifdef __cplusplus
extern "C" {
#endif

// Calls what is registered for the key, with the arguments behind it, as told at the top.
ZEL_ADVANCED_API void ZelCppBridge(void* function, ...);

#ifdef __cplusplus
}
#endif
