#include "zel/platform/StackTrace.h"

#include <algorithm>
#include <cstring>

// Part of GCC's C++ runtime; the only form of its demangler that doesn't allocate.
extern "C" int __gcclibcxx_demangle_callback(const char* name,
                                             void (*take)(const char* text, std::size_t length,
                                                          void* argument),
                                             void* argument);

namespace zel::platform {

namespace {

// The demangler's stack use grows with the length of the name.
constexpr std::size_t LONGEST_NAME = 1023;

struct Text {
    char* position;
    std::size_t room;
};

void Append(const char* part, std::size_t length, void* argument) {
    Text& text = *static_cast<Text*>(argument);
    const std::size_t kept = std::min(length, text.room);
    text.position = std::copy_n(part, kept, text.position);
    text.room -= kept;
}

}  // namespace

bool UndecorateName(const char* name, bool, char* buffer, std::size_t size) {
    Text text = {buffer, size - 1};
    // A name without this prefix would be read as that of a type.
    const bool isKnown = std::strncmp(name, "_Z", 2) == 0 && std::strlen(name) <= LONGEST_NAME &&
                         __gcclibcxx_demangle_callback(name, Append, &text) == 0;
    (isKnown ? text.position : buffer)[0] = '\0';
    return isKnown;
}

}  // namespace zel::platform
