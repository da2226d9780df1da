#include "tests/support/SystemTexts.h"

namespace zel::test {

const std::string MISSING_FILE = "No such file or directory";
const std::string MISSING_DIRECTORY = MISSING_FILE;
const std::string DIRECTORY = "Is a directory";
const std::string UNSUITABLE_FILE = "Invalid argument";
const std::string NULL_DEVICE = "/dev/null";

}  // namespace zel::test
