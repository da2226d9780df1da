#pragma once

#include "zel/core/Exception.h"
#include "zel/foundation/Export.h"
#include "zel/foundation/MemOS.h"

namespace zel {

// A failure in a chain of commands.
class ZEL_ADVANCED_API CommandChainEx : public Exception {
public:
    CommandChainEx(const std::string& message, const std::string& file, int line);
};

// Logs and throws a CommandChainEx with the text written to `message` so far, bytes of zero
// included.
[[noreturn]] ZEL_ADVANCED_API void ThrowCommandChainEx(MemOS& message);

}  // namespace zel
