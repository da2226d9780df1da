#include "zel/core/LogSink.h"

#include "zel/core/CriticalSectionLock.h"
#include "zel/core/Exception.h"
#include "zel/core/FileUtils.h"
#include "zel/core/Logger.h"
#include "zel/core/StringUtils.h"
#include "zel/platform/AppendFile.h"

#include <cerrno>
#include <cstdio>

namespace zel {

namespace {

const LoggingRegisterHelper s_log("LogSink", -1, nullptr);

// Escapes control characters, so that untrusted text in a message can't forge a log line.
void AppendOnOneLine(std::string& text, std::string_view part) {
    for (const char c : part) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\n') {
            text += "\\n";
        } else if (byte < 0x20 || byte == 0x7F) {
            text += StringUtils::Format("\\x%02x", byte);
        } else {
            text += c;
        }
    }
}

template <class Number>
void AppendPadded(std::string& text, Number value, std::size_t width) {
    const std::string digits = StringUtils::AsString(static_cast<long long>(value));
    text.append(width > digits.size() ? width - digits.size() : 0, '0');
    text += digits;
}

void AppendTime(std::string& text, std::chrono::system_clock::time_point time) {
    const auto day = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss clock(std::chrono::floor<std::chrono::microseconds>(time - day));
    AppendPadded(text, static_cast<int>(date.year()), 4);
    text += '-';
    AppendPadded(text, static_cast<unsigned>(date.month()), 2);
    text += '-';
    AppendPadded(text, static_cast<unsigned>(date.day()), 2);
    text += 'T';
    AppendPadded(text, clock.hours().count(), 2);
    text += ':';
    AppendPadded(text, clock.minutes().count(), 2);
    text += ':';
    AppendPadded(text, clock.seconds().count(), 2);
    text += '.';
    AppendPadded(text, clock.subseconds().count(), 6);
    text += 'Z';
}

}  // namespace

std::string FormatLogRecord(const LogRecord& record) {
    std::string text;
    AppendTime(text, record.time);
    text += ' ' + StringUtils::AsString(record.level) + ' ';
    AppendOnOneLine(text, record.area);
    const std::string file = FileUtils::GetFileFromPath(std::string(record.file));
    if (!file.empty() && file != record.area) {
        AppendOnOneLine(text += ' ', file);
    }
    text += ':' + StringUtils::AsString(record.line) + " [" + StringUtils::AsString(record.thread) +
            "] ";
    AppendOnOneLine(text, record.text);
    return text;
}

void StandardErrorLogSink::Write(const LogRecord& record) {
    const std::string text = FormatLogRecord(record) + '\n';
    std::fwrite(text.data(), 1, text.size(), stderr);
    // Some systems buffer it, and a crash would lose the last lines.
    std::fflush(stderr);
}

struct FileLogSink::File : platform::AppendFile {
    using AppendFile::AppendFile;
};

FileLogSink::FileLogSink(const std::string& path) : m_file(std::make_unique<File>(path)) {
    if (!m_file->IsOpen()) {
        LogAndThrow(s_log, Exception("Exception", "Could not open log file " + path,
                                     s_log.GetName(), __LINE__));
    }
}

FileLogSink::~FileLogSink() = default;

void FileLogSink::Write(const LogRecord& record) {
    const std::string text = FormatLogRecord(record) + '\n';
    CriticalSectionLock lock(&m_cs);
    BeforeAppend(text.size());
    m_file->Append(text);
}

void FileLogSink::BeforeAppend(std::size_t /*length*/) noexcept {}

RotatingFileLogSink::RotatingFileLogSink(const std::string& path, std::uint64_t maxBytes,
                                         unsigned oldFiles)
    : FileLogSink(path), m_maxBytes(maxBytes), m_names{path} {
    for (unsigned i = 1; i <= oldFiles; ++i) {
        m_names.push_back(path + '.' + StringUtils::AsString(i));
    }
}

RotatingFileLogSink::~RotatingFileLogSink() = default;

void RotatingFileLogSink::BeforeAppend(std::size_t length) noexcept {
    const std::uint64_t size = m_file->GetSize();
    if (size == 0 || size + length <= m_maxBytes) {
        return;
    }
    std::remove(m_names.back().c_str());
    for (std::size_t i = m_names.size() - 1; i > 0; --i) {
        // A file that stays must not be replaced by a newer one.
        if (std::rename(m_names[i - 1].c_str(), m_names[i].c_str()) != 0 && errno != ENOENT) {
            return;
        }
    }
}

}  // namespace zel
