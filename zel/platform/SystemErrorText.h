#pragma once

namespace zel::platform {

/// Returns the system's text for one of its error numbers, independent of the user's language; an
/// empty text for an unknown number. The text lives as long as the process.
const char* SystemErrorText(int number) noexcept;

}  // namespace zel::platform
