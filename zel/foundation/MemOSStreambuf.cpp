#include "zel/foundation/MemOSStreambuf.h"

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

}  // namespace zel
