#include "zel/commands/CommandChain.h"

#include "zel/foundation/Log.h"

namespace zel {

namespace {

const LogArea s_log("CommandChain", -1);

}  // namespace

CommandChainEx::CommandChainEx(const std::string& message, const std::string& file, int line)
    : Exception("CommandChainEx", message, file, line) {}

void ThrowCommandChainEx(MemOS& message) {
    Throw<CommandChainEx>(s_log, message.GetText());
}

}  // namespace zel
