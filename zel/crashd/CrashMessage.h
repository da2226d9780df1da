#pragma once

#include <cstddef>
#include <cstdint>

/// @file
/// Guide: docs/crash.md

namespace zel {

/// The first field of every valid crash record.
inline constexpr std::uint32_t MAGIC = 0xCAFE2BAD;

/// The crash record: 4096 bytes that a crashed program sends to its daemon as they are in memory. A
/// text ends at its first zero byte; the daemon makes sure that each text has one. Addresses are
/// the low 32 bits.
struct zel_crash_msg_s {
    std::uint32_t magic;                ///< `MAGIC`, or 0 if the daemon reports a fault of its own
    char prog_name[20];                 ///< without directories, truncated to the field
    std::uint32_t pid;                  ///< of the program
    std::uint32_t tid;                  ///< of the thread that failed
    std::int32_t exception_flags;       ///< the signal's number; on Windows `ExceptionFlags`
    std::uint32_t exception_code;       ///< see `CrashHandler::Code2Str`
    std::int32_t signal_error;          ///< the system's error number at the crash
    std::int32_t last_error;            ///< the same
    std::uint32_t timestamp;            ///< seconds since 1970
    std::uint32_t fault_address;        ///< of the faulting instruction
    std::uint32_t stack_count;          ///< number of valid entries of `stack_addresses`
    std::uint32_t stack_addresses[50];  ///< innermost function first
    char asserts[128];     ///< `0xADDRESS:SERVICE:ERROR;` for each service that failed in the walk
    char ancillary[3708];  ///< one line for each function on the stack, innermost first
};

static_assert(sizeof(zel_crash_msg_s) == 4096);
static_assert(offsetof(zel_crash_msg_s, pid) == 24);
static_assert(offsetof(zel_crash_msg_s, stack_addresses) == 60);
static_assert(offsetof(zel_crash_msg_s, asserts) == 260);
static_assert(offsetof(zel_crash_msg_s, ancillary) == 388);

}  // namespace zel
