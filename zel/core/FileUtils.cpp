#include "zel/core/FileUtils.h"

#include "zel/core/Exception.h"
#include "zel/core/Logger.h"
#include "zel/core/StreamScanner.h"
#include "zel/core/StringUtils.h"

#include <algorithm>
#include <filesystem>

namespace zel::FileUtils {

namespace {

const LoggingRegisterHelper s_log("FileUtils", -1, nullptr);

[[noreturn]] void ThrowLineTooLong(std::size_t size, int line) {
    const std::size_t limit = size == 0 ? 0 : size - 1;
    LogAndThrow(s_log, Exception("Exception",
                                 "Line is longer than the " + StringUtils::AsString(limit) +
                                     " characters that the buffer holds",
                                 s_log.GetName(), line));
}

// Copies what finds place behind the first `used` bytes, a zero with it, and tells how much did.
std::size_t CopyBounded(std::string_view text, char* buffer, std::size_t size, std::size_t used) {
    const std::size_t taken = std::min(text.size(), size - 1 - used);
    std::copy_n(text.data(), taken, buffer + used);
    buffer[used + taken] = '\0';
    return taken;
}

}  // namespace

std::string GetFileFromPath(const std::string& path) {
    constexpr char preferred = static_cast<char>(std::filesystem::path::preferred_separator);
    const std::size_t separator = path.find_last_of(std::string{'/', preferred});
    return separator == std::string::npos ? path : path.substr(separator + 1);
}

void EatWhite(std::istream& in) {
    StreamScanner(in).SkipWhite();
}

bool ReadLine(std::istream& in, char* buffer, std::size_t size, bool keepLineFeed) {
    std::size_t length = 0;
    return ReadLine(in, buffer, size, &length, keepLineFeed);
}

bool ReadLine(std::istream& in, char* buffer, std::size_t size, std::size_t* length,
              bool keepLineFeed) {
    if (size == 0) {
        ThrowLineTooLong(size, __LINE__);
    }
    StreamScanner scanner(in);
    std::size_t used = 0;
    bool isWhole = false;
    // Asking for a byte that isn't there puts the stream in the state that ends its readers' loops.
    const bool any = scanner.Peek() != StreamScanner::End || scanner.Get() != StreamScanner::End;
    while (!isWhole && scanner.Peek() != StreamScanner::End) {
        std::string_view run = scanner.GetRun();
        const std::size_t feed = run.find('\n');
        isWhole = feed != std::string_view::npos;
        run = isWhole ? run.substr(0, feed + (keepLineFeed ? 1 : 0)) : run;
        const std::size_t taken = CopyBounded(run, buffer, size, used);
        scanner.Skip(taken);
        if (taken < run.size()) {
            ThrowLineTooLong(size, __LINE__);
        }
        scanner.Skip(isWhole && !keepLineFeed ? 1 : 0);
        used += taken;
    }
    CopyBounded({}, buffer, size, used);
    *length = used;
    return any;
}

}  // namespace zel::FileUtils
