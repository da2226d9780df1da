#include "zel/core/StringUtils.h"
#include "zel/crashd/CrashHandler.h"
#include "zel/platform/NewFile.h"
#include "zel/platform/SystemError.h"

#include <ctime>
#include <iostream>
#include <sstream>
#include <string>

namespace zel {

namespace {

// Two crashes have the same name only if process numbers are reused within a second.
constexpr int MAX_SAME_NAMES = 100;

std::string MakeReportPath(const std::string& prefix, const zel_crash_msg_s& record) {
    const auto time = static_cast<std::time_t>(record.timestamp);
    char text[32] = "";
    if (const std::tm* const utc = std::gmtime(&time)) {
        std::strftime(text, sizeof(text), "%Y%m%dT%H%M%SZ", utc);
    }
    return StringUtils::Format("%s%s-%u", prefix.c_str(), text, record.pid);
}

// Returns the system's error number.
int WriteReport(const std::string& path, const std::string& report) {
    bool fileExists = false;
    int error = platform::WriteNewFile(path + ".txt", report, fileExists);
    for (int i = 2; fileExists && i <= MAX_SAME_NAMES; ++i) {
        const std::string next = StringUtils::Format("%s-%d.txt", path.c_str(), i);
        error = platform::WriteNewFile(next, report, fileExists);
    }
    return error;
}

}  // namespace

CrashCallback CrashHandler::ReportToFile(const std::string& prefix) {
    return BindCallback<ZelVoidT, const zel_crash_msg_s*>([prefix](const zel_crash_msg_s* record) {
        std::ostringstream report;
        PrintCrashReport(*record, report);
        const std::string path = MakeReportPath(prefix, *record);
        if (const int error = WriteReport(path, report.str())) {
            std::cerr << "crashd: Failed to write the crash report '" << path
                      << ".txt': " << platform::SystemErrorText(error) << '\n'
                      << report.str() << std::flush;
        }
    });
}

}  // namespace zel
