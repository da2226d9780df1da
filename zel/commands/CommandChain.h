#pragma once

#include "zel/core/Exception.h"
#include "zel/foundation/Export.h"
#include "zel/foundation/MemOS.h"

namespace zel {

/// Reports a failure in a chain of commands.
///
/// Guide: docs/commands.md
class ZEL_ADVANCED_API CommandChainEx : public Exception {
public:
    CommandChainEx(const std::string& message, const std::string& file, int line);
};

/// Logs the text of `message`, zero bytes included, at level 2 and throws it as a `CommandChainEx`.
[[noreturn]] ZEL_ADVANCED_API void ThrowCommandChainEx(MemOS& message);

}  // namespace zel
