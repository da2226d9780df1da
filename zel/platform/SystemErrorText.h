#pragma once

namespace zel::platform {

// What the system says to one of its error numbers, in no particular language of the user's; an
// empty text for a number that it doesn't know. The text stays.
const char* SystemErrorText(int number) noexcept;

}  // namespace zel::platform
