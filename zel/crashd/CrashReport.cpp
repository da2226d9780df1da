#include "zel/core/StringUtils.h"
#include "zel/crashd/CrashDaemon.h"
#include "zel/crashd/CrashHandler.h"
#include "zel/platform/SystemError.h"

#include <algorithm>
#include <ctime>
#include <iterator>
#include <ostream>
#include <string>

namespace zel {

namespace {

constexpr const char* VERSION = "0.1";

// The text ends with a line feed.
std::string TimeText(std::uint32_t timestamp) {
    const auto time = static_cast<std::time_t>(timestamp);
    const char* const text = std::ctime(&time);
    return text == nullptr ? "\n" : text;
}

std::string ErrorText(int number) {
    return StringUtils::Format("(%d) %s", number, platform::SystemErrorText(number).c_str());
}

std::string HeadText(const zel_crash_msg_s& record) {
    return StringUtils::Format(
        "\n"
        "+------------------------------+\n"
        "|     Zelmar Crash Handler     |\n"
        "|     Program Crash Report     |\n"
        "+------------------------------+\n"
        "Crash Handler Version: %s\n"
        "Timestamp: [%u] %s"
        "Program Name: %s\n"
        "Process ID: %u\n"
        "Thread ID: %u\n"
        "Exception Caught: (%d)  \n"
        "Reason: %s\n"
        "Fault Address: %08X\n"
        "Signal Error: %s\n"
        "Last Error: %s\n"
        "Asserts: %s",
        VERSION, record.timestamp, TimeText(record.timestamp).c_str(), record.prog_name, record.pid,
        record.tid, record.exception_flags,
        CrashHandler::Code2Str(record.exception_code,
                               static_cast<unsigned>(record.exception_flags)),
        record.fault_address, ErrorText(record.signal_error).c_str(),
        ErrorText(record.last_error).c_str(), record.asserts);
}

}  // namespace

void PrintCrashReport(const zel_crash_msg_s& record, std::ostream& out) {
    std::string text = HeadText(record) + "\nStack Addresses:";
    const std::size_t count =
        std::min<std::size_t>(record.stack_count, std::size(record.stack_addresses));
    for (std::size_t i = 0; i < count; ++i) {
        text += StringUtils::Format("\n\t[%u] %08X", static_cast<unsigned>(i),
                                    record.stack_addresses[i]);
    }
    text += "\nAncillary data:\n";
    text += record.ancillary;
    // One write, so that the output of other processes doesn't mix with the report.
    out << text + '\n' << std::flush;
}

}  // namespace zel
