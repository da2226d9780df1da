#include "zel/foundation/MemOS.h"

#include <charconv>
#include <cstring>
#include <limits>
#include <locale>
#include <new>

namespace zel {

MemOSStreambuf::MemOSStreambuf() noexcept {
    setp(m_inline, m_inline + INLINE_CAPACITY);
    setg(m_inline, m_inline, m_inline);
}

MemOSStreambuf::~MemOSStreambuf() {
    FreeBlock();
}

MemOSStreambuf::int_type MemOSStreambuf::overflow(int_type ch) {
    if (m_capacity > std::numeric_limits<int>::max() / 2) {
        throw std::bad_alloc();
    }
    const int capacity = 2 * m_capacity;
    char* const block = new char[static_cast<std::size_t>(capacity) + 1];
    const std::ptrdiff_t used = pptr() - m_buffer;
    const std::ptrdiff_t readPosition = gptr() - m_buffer;
    const std::ptrdiff_t readEnd = egptr() - m_buffer;
    std::memcpy(block, m_buffer, static_cast<std::size_t>(used));
    FreeBlock();
    m_buffer = block;
    m_capacity = capacity;
    block[used] = traits_type::to_char_type(ch);
    setp(block + used + 1, block + capacity);
    setg(block, block + readPosition, block + readEnd);
    return traits_type::not_eof(ch);
}

MemOSStreambuf::int_type MemOSStreambuf::underflow() {
    if (gptr() == egptr()) {
        setg(m_buffer, gptr(), pptr());
    }
    return gptr() < egptr() ? traits_type::to_int_type(*gptr()) : traits_type::eof();
}

void MemOSStreambuf::FreeBlock() noexcept {
    if (m_buffer != m_inline) {
        delete[] m_buffer;
    }
}

void MemOSStreambuf::imbue(const std::locale& locale) {
    m_hasClassicLocale = locale == std::locale::classic();
}

// The stream's base classes set it up twice, once each; a third time would cost as much again.
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
    // No number at default flags is longer.
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
