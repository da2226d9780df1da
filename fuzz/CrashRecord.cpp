#include "zel/crashd/CrashDaemon.h"

#include "fuzz/Target.h"

#include <cstring>
#include <sstream>

namespace zel::fuzz {

namespace {

template <std::size_t size>
bool IsTerminated(const char (&text)[size]) {
    return std::memchr(text, '\0', size) != nullptr;
}

}  // namespace

// The first byte is the size of the pieces in which the record is read, in units of 16 bytes.
void Run(Input input) {
    const std::size_t piece = 16 * (input.TakeByte() + 1);
    std::string_view rest = input.GetRest();
    const auto read = [&](void* buffer, std::size_t missing) {
        const std::size_t count = std::min({piece, missing, rest.size()});
        std::copy_n(rest.data(), count, static_cast<char*>(buffer));
        rest.remove_prefix(count);
        return count;
    };
    zel_crash_msg_s record = {};
    const bool isWhole = ReadCrashMessage(read, record);
    Require(isWhole == (input.GetRest().size() >= sizeof record), "all bytes make a record");
    if (!isWhole) {
        return;
    }
    const bool isValid = record.magic == MAGIC;
    std::ostringstream complaint;
    CheckCrashMessage(record, 0, complaint);
    Require(complaint.str().empty() == isValid, "an invalid record is reported");
    Require(record.magic == (isValid ? MAGIC : 0), "an invalid magic is cleared");
    Require(IsTerminated(record.prog_name) && IsTerminated(record.asserts) &&
                IsTerminated(record.ancillary),
            "each text is terminated");
    std::ostringstream report;
    PrintCrashReport(record, report);
    Require(report.str().ends_with("\nAncillary data:\n" + std::string(record.ancillary) + '\n'),
            "the report ends with the ancillary data");
}

}  // namespace zel::fuzz
