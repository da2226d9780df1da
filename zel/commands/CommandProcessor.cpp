#include "zel/commands/CommandProcessor.h"

namespace zel {

CommandProcessor::~CommandProcessor() = default;

}  // namespace zel
