#pragma once

#include <string>

namespace zel::test {

// What the system under test says of files; SystemTexts.cpp of its folder defines it.
extern const std::string MISSING_FILE;
extern const std::string MISSING_DIRECTORY;
extern const std::string DIRECTORY;
extern const std::string UNSUITABLE_FILE;
extern const std::string NULL_DEVICE;

}  // namespace zel::test
