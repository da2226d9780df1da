#pragma once

#include <string>

namespace zel::platform {

/// Returns the error number of the calling thread's last failed call of the system.
int LastSystemError() noexcept;

/// Returns the system's text for one of its error numbers, without full stop and line end; an empty
/// text for an unknown number. Windows has it in the user's language.
std::string SystemErrorText(int number);

}  // namespace zel::platform
