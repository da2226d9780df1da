#pragma once

#include "zel/crashd/CrashMessage.h"

#include <string>

namespace zel::crashtest {

inline const zel_crash_msg_s crash = {
    .magic = MAGIC,
    .prog_name = "a_server_with_a_lon",
    .pid = 4'294'967'295,
    .tid = 12,
    .exception_flags = 11,
    .exception_code = 0xC0000005,
    .signal_error = 2,
    .last_error = 99'999,
    .timestamp = 1'000'000'000,
    .fault_address = 0xABC,
    .stack_count = 2,
    .stack_addresses = {0xFEDCBA98, 1},
    .asserts = "0x00000001:SymInit:5;",
    .ancillary = "0 server 0x00000ABC main (Main.cpp:12) \n",
};

inline std::string BytesOf(const zel_crash_msg_s& record) {
    return {reinterpret_cast<const char*>(&record), sizeof(record)};
}

}  // namespace zel::crashtest
