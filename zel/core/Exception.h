#pragma once

#include "zel/core/Export.h"

#include <exception>
#include <memory>
#include <string>

namespace zel {

// Base of every exception that the libraries throw. Each family derives one class from it, which
// adds nothing but its type name. Copying an exception never fails.
class ZEL_CORE_API Exception : public std::exception {
public:
    // `type` is the class's name, `file` and `line` the place in the source that throws. `info` is
    // what more is known about the cause, a position in a document for instance.
    Exception(std::string type, std::string message, std::string file, int line,
              std::string info = {});
    ~Exception() override;

    // The message alone.
    const char* what() const noexcept override;

    // What more is known than the message says; empty for most.
    virtual std::string GetInfo() const;

    // "type: message".
    virtual std::string AsString() const;

    // The same with file, line and, if there is any, the info.
    virtual std::string AsStringEx() const;

    // What the constructor was given.
    const std::string& GetType() const noexcept;
    const std::string& GetText() const noexcept;
    const std::string& GetFile() const noexcept;
    int GetLine() const noexcept;

private:
    struct Details;
    std::shared_ptr<const Details> m_details;
};

// What is known of the exception that is being handled, of whatever type: AsStringEx of an
// Exception, what() of a standard one. For the log of whoever can't let it pass.
ZEL_CORE_API std::string DescribeCurrentException();

}  // namespace zel
