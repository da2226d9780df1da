#include "zel/core/Exception.h"

#include "zel/core/StringUtils.h"

#include <utility>

namespace zel {

struct Exception::Details {
    std::string type;
    std::string message;
    std::string file;
    int line;
    std::string info;
};

Exception::Exception(std::string type, std::string message, std::string file, int line,
                     std::string info)
    : m_details(std::make_shared<const Details>(
          Details{std::move(type), std::move(message), std::move(file), line, std::move(info)})) {}

Exception::Exception(std::string type, const char* message, std::string file, int line,
                     std::string info)
    : Exception(std::move(type), std::string(message == nullptr ? "" : message), std::move(file),
                line, std::move(info)) {}

Exception::~Exception() = default;

const char* Exception::what() const noexcept {
    return m_details->message.c_str();
}

std::string Exception::GetInfo() const {
    return m_details->info;
}

std::string Exception::AsString() const {
    return m_details->type + ": " + m_details->message;
}

std::string Exception::AsStringEx() const {
    std::string text =
        AsString() + " (" + m_details->file + ':' + StringUtils::AsString<int>(m_details->line);
    const std::string info = GetInfo();
    if (!info.empty()) {
        text += ", " + info;
    }
    return text + ')';
}

const std::string& Exception::GetType() const noexcept {
    return m_details->type;
}

const std::string& Exception::GetText() const noexcept {
    return m_details->message;
}

const std::string& Exception::GetFile() const noexcept {
    return m_details->file;
}

int Exception::GetLine() const noexcept {
    return m_details->line;
}

std::string DescribeCurrentException() {
    try {
        throw;
    } catch (const Exception& exception) {
        return exception.AsStringEx();
    } catch (const std::exception& exception) {
        return exception.what();
    } catch (...) {
        return "It is of no known type.";
    }
}

}  // namespace zel
