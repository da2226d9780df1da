#include "zel/core/FileUtils.h"

#include "zel/core/Exception.h"
#include "zel/core/LineReader.h"
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
    LineReader reader(in, buffer, size - 1);
    std::string_view line;
    const LineReader::Result result = reader.Read(&line, keepLineFeed);
    if (line.data() != buffer) {
        std::copy(line.begin(), line.end(), buffer);
    }
    buffer[line.size()] = '\0';
    *length = line.size();
    if (result == LineReader::Result::TooLong) {
        ThrowLineTooLong(size, __LINE__);
    }
    return result == LineReader::Result::Line;
}

}  // namespace zel::FileUtils
