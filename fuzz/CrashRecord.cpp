#include "zel/crashd/CrashDaemon.h"

#include "fuzz/Target.h"

#include <cstring>
#include <sstream>

namespace zel::fuzz {

namespace {

template <std::size_t size>
bool HasEnd(const char (&text)[size]) {
    return std::memchr(text, '\0', size) != nullptr;
}

}  // namespace

// The first byte is the size of the pieces in which the record comes, in sixteens.
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
    const bool isOurs = record.magic == MAGIC;
    std::ostringstream complaint;
    CheckCrashMessage(record, complaint);
    Require(complaint.str().empty() == isOurs, "what is no record is told");
    Require(record.magic == (isOurs ? MAGIC : 0), "a fault of the daemon has no mark");
    Require(HasEnd(record.prog_name) && HasEnd(record.asserts) && HasEnd(record.ancillary),
            "each text ends");
    std::ostringstream report;
    PrintCrashReport(record, report);
    Require(report.str().ends_with("\nAncillary data:\n" + std::string(record.ancillary) + '\n'),
            "the report ends with what the record tells");
}

}  // namespace zel::fuzz
