#pragma once

namespace zel::platform {

/// Returns the system's text for one of its error numbers, independent of the user's language; an
/// empty text for an unknown number. The text lives as long as the process.
const char* SystemErrorText(int number) noexcept;

/// Returns the text for the error number of the calling thread's last failed call.
const char* LastSystemErrorText() noexcept;

}  // namespace zel::platform
