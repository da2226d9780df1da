#include "zel/commands/Command.h"

namespace zel {

Command::~Command() = default;

void Command::Run() {}

}  // namespace zel
