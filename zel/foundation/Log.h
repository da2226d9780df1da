#pragma once

#include "zel/core/Logger.h"
#include "zel/foundation/MemOS.h"

#include <string>

namespace zel {

/// The log area of a source file. Each source file that logs or throws defines one as its first
/// object, named after the file. It also keeps the shared state alive that other static objects of
/// the file use during static initialisation and destruction.
///
///     namespace {
///     const LogArea s_log("DataTree", 3);
///     }
///     ...
///     Log(s_log, 3, "Unable to read ", path, " at byte ", offset);
///     Throw<DataTreeEx>(s_log, "Node ", name, " not found");
///     return Fail<VariantEx>(s_log, throwOnError, "Unable to convert ", text);
///
/// The parts of a message are streamed one after the other, and only if the message is written: a
/// call whose level is disabled costs a load and a branch.
///
/// The texts of the library's messages are part of its interface, misspellings included: programs
/// search for them and compare them. Don't correct them.
///
/// Thread-safe.
///
/// Guide: docs/foundation.md
class LogArea {
public:
    /// Registers the area `name`. With `level` -1 it follows the logger's global level.
    LogArea(const char* name, int level) : m_area(name, level, nullptr) {}

    /// Returns the area's name.
    const std::string& GetName() const noexcept { return m_area.GetName(); }

    /// Returns true if a message of this level would be written now.
    bool IsEnabled(int level) const noexcept { return m_area.IsEnabled(level); }

    /// Returns the registration that messages are written with.
    const LoggingRegisterHelper& GetRegistration() const noexcept { return m_area; }

private:
    RefCountInit m_refCountInit;
    EventSourceInit m_eventSourceInit;
    std::ios_base::Init m_streamInit;
    StaticInit<LoggingState> m_loggingState;
    LoggingRegisterHelper m_area;
};

/// A log area and the source line of the call that logs.
struct LogPlace {
    /// Converts from an area. The default argument is the line of the caller.
    LogPlace(const LogArea& logArea, int sourceLine = __builtin_LINE()) noexcept
        : area(logArea), line(sourceLine) {}

    const LogArea& area;  ///< The area.
    int line;             ///< The source line.
};

namespace Imp {

template <class T>
concept Printable = requires(MemOS& out, const T& value) {
    out << value;
};

template <class... Parts>
void AppendParts(MemOS& message, const Parts&... parts) {
    static_assert((Printable<Parts> && ...),
                  "Log, Throw and Fail need arguments that can be written to a std::ostream by <<");
    (message << ... << parts);
}

}  // namespace Imp

/// Writes the message if the level is enabled in the area.
template <class... Parts>
void Log(LogPlace place, int level, const Parts&... parts) {
    if (!place.area.IsEnabled(level)) [[likely]] {
        return;
    }
    MemOS message;
    Imp::AppendParts(message, parts...);
    place.area.GetRegistration().Write(level, place.line, message.GetText());
}

/// Logs an exception at level 2 and throws it.
template <class Ex>
[[noreturn]] void Raise(LogPlace place, const Ex& exception) {
    LogAndThrow(place.area.GetRegistration(), exception);
}

/// Makes an exception of class Ex from the message, the area's name as its file, and the line; logs
/// it at level 2 and throws it. Ex is Exception or a class constructible from these three.
template <class Ex, class... Parts>
[[noreturn]] void Throw(LogPlace place, const Parts&... parts) {
    MemOS message;
    Imp::AppendParts(message, parts...);
    if constexpr (std::is_same_v<Ex, Exception>) {
        Raise(place, Exception("Exception", message.ToString(), place.area.GetName(), place.line));
    } else {
        Raise(place, Ex(message.ToString(), place.area.GetName(), place.line));
    }
}

/// Throws like `Throw`; Ex takes `info`, the text for its `GetInfo`, as a fourth argument.
template <class Ex, class... Parts>
[[noreturn]] void ThrowWithInfo(LogPlace place, const std::string& info, const Parts&... parts) {
    MemOS message;
    (message << ... << parts);
    Raise(place, Ex(message.ToString(), place.area.GetName(), place.line, info));
}

/// Throws like `Throw` if `throwOnError` is true; otherwise logs the message at level 3 and returns
/// false.
template <class Ex, class... Parts>
bool Fail(LogPlace place, bool throwOnError, const Parts&... parts) {
    if (throwOnError) {
        Throw<Ex>(place, parts...);
    }
    Log(place, 3, parts...);
    return false;
}

}  // namespace zel
