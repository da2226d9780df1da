#pragma once

#include <cstddef>
#include <cstdint>

namespace zel {

// Marks a record as one of ours.
inline constexpr std::uint32_t MAGIC = 0xCAFE2BAD;

// What a crashed program tells its daemon, 4096 bytes in all, which pass the channel as they lie in
// memory. A text ends at its first zero byte; the daemon sees to it that each has one. Addresses
// are the low 32 bits.
struct zel_crash_msg_s {
    std::uint32_t magic;  // MAGIC, or 0 where the daemon tells of a fault of its own
    char prog_name[20];   // without directories, cut to what fits
    // Of the program, and of the thread that failed.
    std::uint32_t pid;
    std::uint32_t tid;
    std::int32_t exception_flags;  // what the system calls the fault: on Linux the signal's number
    std::uint32_t exception_code;  // as CrashHandler::Code2Str names it
    std::int32_t signal_error;     // the system's error number at the crash
    std::int32_t last_error;       // the same
    std::uint32_t timestamp;       // seconds since 1970
    std::uint32_t fault_address;   // of the instruction
    std::uint32_t stack_count;     // how many of the next are valid
    // Of the functions on the stack, the one that failed first.
    std::uint32_t stack_addresses[50];
    char asserts[128];     // "0xADDRESS:SERVICE:ERROR;" for each service that failed in the walk
    char ancillary[3708];  // a line for each function on the stack, the one that failed first
};

static_assert(sizeof(zel_crash_msg_s) == 4096);
static_assert(offsetof(zel_crash_msg_s, pid) == 24);
static_assert(offsetof(zel_crash_msg_s, stack_addresses) == 60);
static_assert(offsetof(zel_crash_msg_s, asserts) == 260);
static_assert(offsetof(zel_crash_msg_s, ancillary) == 388);

}  // namespace zel
