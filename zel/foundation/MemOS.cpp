#include "zel/foundation/MemOS.h"

#include <charconv>
#include <locale>

namespace zel {

// The base classes have already called init; imbue costs as much again and is rarely needed.
MemOS::MemOS() : std::iostream(&m_streambuf) {
    if (getloc() != std::locale::classic()) {
        imbue(std::locale::classic());
    }
}

MemOS::~MemOS() = default;

namespace {

template <class T>
std::to_chars_result WriteNumber(char* first, char* last, T value) {
    if constexpr (std::is_floating_point_v<T>) {
        constexpr int defaultPrecision = 6;
        return std::to_chars(first, last, static_cast<double>(value), std::chars_format::general,
                             defaultPrecision);
    } else {
        return std::to_chars(first, last, value);
    }
}

}  // namespace

template <class T>
void MemOS::InsertNumber(T value) {
    // The longest number that the default flags produce has fewer characters.
    constexpr std::size_t longest = 24;
    constexpr std::streamsize defaultPrecision = 6;
    const bool isPlain =
        IsPlain() && precision() == defaultPrecision && m_streambuf.HasClassicLocale();
    char* const room = isPlain ? m_streambuf.GetRoom(longest) : nullptr;
    if (room == nullptr) {
        AsStream() << value;
        return;
    }
    const char* const numberEnd = WriteNumber(room, room + longest, value).ptr;
    m_streambuf.Advance(static_cast<std::size_t>(numberEnd - room));
}

template ZEL_ADVANCED_API void MemOS::InsertNumber(short);
template ZEL_ADVANCED_API void MemOS::InsertNumber(unsigned short);
template ZEL_ADVANCED_API void MemOS::InsertNumber(int);
template ZEL_ADVANCED_API void MemOS::InsertNumber(unsigned int);
template ZEL_ADVANCED_API void MemOS::InsertNumber(long);
template ZEL_ADVANCED_API void MemOS::InsertNumber(unsigned long);
template ZEL_ADVANCED_API void MemOS::InsertNumber(long long);
template ZEL_ADVANCED_API void MemOS::InsertNumber(unsigned long long);
template ZEL_ADVANCED_API void MemOS::InsertNumber(float);
template ZEL_ADVANCED_API void MemOS::InsertNumber(double);

}  // namespace zel
