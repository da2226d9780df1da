#pragma once

#include "zel/core/Logger.h"
#include "zel/foundation/MemOS.h"

#include <string>

namespace zel {

// A source file's log area. Every source file that logs or throws has one, named for what it does,
// and it is the first object of the file: it also keeps the shared state alive that the file's
// other static objects rely on, from load to unload.
//
//     namespace {
//     const LogArea s_log("DataTree", 3);
//     }
//     ...
//     Log(s_log, 3, "Unable to read ", path, " at byte ", offset);
//     Throw<DataTreeEx>(s_log, "Node ", name, " not found");
//     return Fail<VariantEx>(s_log, throwOnError, "Unable to convert ", text);
//
// The parts of a message are streamed one after the other, and only when somebody will read it: a
// call whose level is off costs a load and a branch.
class LogArea {
public:
    // `level` -1: the area has no level of its own and follows the logger's global one.
    LogArea(const char* name, int level) : m_area(name, level, nullptr) {}

    // The area's name, whether a message of this level would be written now, and the area as it is
    // registered.
    const std::string& GetName() const noexcept { return m_area.GetName(); }
    bool IsEnabled(int level) const noexcept { return m_area.IsEnabled(level); }
    const LoggingRegisterHelper& GetRegistration() const noexcept { return m_area; }

private:
    RefCountInit m_refCountInit;
    EventSourceInit m_eventSourceInit;
    std::ios_base::Init m_streamInit;
    StaticInit<LoggingState> m_loggingState;
    LoggingRegisterHelper m_area;
};

// An area together with the source line of the call that names it.
struct LogPlace {
    // Made of an area by every call here; the line is the caller's.
    LogPlace(const LogArea& logArea, int sourceLine = __builtin_LINE()) noexcept
        : area(logArea), line(sourceLine) {}

    // What it was made of.
    const LogArea& area;
    int line;
};

// Writes the message if the level is on in the area.
template <class... Parts>
void Log(LogPlace place, int level, const Parts&... parts) {
    if (!place.area.IsEnabled(level)) [[likely]] {
        return;
    }
    MemOS message;
    (message << ... << parts);
    place.area.GetRegistration().Write(level, place.line, message.GetText());
}

// Logs an exception at level 2 and throws it.
template <class Ex>
[[noreturn]] void Raise(LogPlace place, const Ex& exception) {
    LogAndThrow(place.area.GetRegistration(), exception);
}

// Builds an exception of class Ex, or a plain Exception, from the parts of its message, the area's
// name and the line, logs it at level 2 and throws it.
template <class Ex, class... Parts>
[[noreturn]] void Throw(LogPlace place, const Parts&... parts) {
    MemOS message;
    (message << ... << parts);
    if constexpr (std::is_same_v<Ex, Exception>) {
        Raise(place, Exception("Exception", message.ToString(), place.area.GetName(), place.line));
    } else {
        Raise(place, Ex(message.ToString(), place.area.GetName(), place.line));
    }
}

// Throws as above, or logs the message at level 3 and gives false.
template <class Ex, class... Parts>
bool Fail(LogPlace place, bool throwOnError, const Parts&... parts) {
    if (throwOnError) {
        Throw<Ex>(place, parts...);
    }
    Log(place, 3, parts...);
    return false;
}

}  // namespace zel
