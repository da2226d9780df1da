#pragma once

#include "zel/core/Export.h"

#include <exception>
#include <memory>
#include <string>

namespace zel {

/// Base class of the exceptions that the libraries throw. Each family derives one class from it
/// that adds only its type name. Copies share their content and never throw.
///
/// Thread-compatible: const calls may run concurrently.
///
/// Guide: docs/core.md
class ZEL_CORE_API Exception : public std::exception {
public:
    /// Makes an exception. `type` is the name of the class, `file` and `line` the source location
    /// that throws, and `info` any further detail about the cause, for example a position in a
    /// document. A null `message` is an empty one. Requires: no other text is a null pointer.
    ///@{
    Exception(std::string type, std::string message, std::string file, int line,
              std::string info = {});
    Exception(std::string type, const char* message, std::string file, int line,
              std::string info = {});
    ///@}
    ~Exception() override;

    /// Returns the message alone, up to its first zero byte.
    const char* what() const noexcept override;

    /// Returns the further detail; empty for most exceptions.
    virtual std::string GetInfo() const;

    /// Returns "type: message".
    virtual std::string AsString() const;

    /// Returns "type: message (file:line)", or "type: message (file:line, info)" if there is
    /// further detail.
    virtual std::string AsStringEx() const;

    /// Returns the type, message, file or line passed to the constructor.
    ///@{
    const std::string& GetType() const noexcept;
    const std::string& GetText() const noexcept;
    const std::string& GetFile() const noexcept;
    int GetLine() const noexcept;
    ///@}

private:
    struct Details;
    std::shared_ptr<const Details> m_details;
};

/// Describes the exception that is being handled, of any type: `AsStringEx` of an Exception,
/// `what` of a standard exception. Requires: called from a catch block.
ZEL_CORE_API std::string DescribeCurrentException();

}  // namespace zel
