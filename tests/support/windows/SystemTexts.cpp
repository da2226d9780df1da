#include "tests/support/SystemTexts.h"

#include <system_error>
#include <windows.h>

namespace zel::test {

namespace {

// The texts are in the user's language.
std::string TextOf(DWORD error) {
    return std::system_category().message(static_cast<int>(error));
}

}  // namespace

const std::string MISSING_FILE = TextOf(ERROR_FILE_NOT_FOUND);
const std::string MISSING_DIRECTORY = TextOf(ERROR_PATH_NOT_FOUND);
const std::string DIRECTORY = TextOf(ERROR_ACCESS_DENIED);
const std::string UNSUITABLE_FILE = TextOf(ERROR_INVALID_PARAMETER);
const std::string NULL_DEVICE = "NUL";

}  // namespace zel::test
