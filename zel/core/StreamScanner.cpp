#include "zel/core/StreamScanner.h"

#include <algorithm>
#include <limits>
#include <streambuf>

namespace zel {

// Defined here too, as a DLL exports only what it defines outside a class.
constexpr int StreamScanner::End;

namespace {

// Accesses the get area of any stream buffer. The members are protected, but a pointer to one of
// them that is formed in a derived class can be applied to every object.
class GetArea : public std::streambuf {
public:
    static char* Next(const std::streambuf& buffer) { return (buffer.*&GetArea::gptr)(); }
    static char* End(const std::streambuf& buffer) { return (buffer.*&GetArea::egptr)(); }

    static void Skip(std::streambuf& buffer, std::ptrdiff_t count) {
        // gbump takes an int, and a get area may be larger than one can count.
        while (count > 0) {
            const auto step = std::min<std::ptrdiff_t>(count, std::numeric_limits<int>::max());
            (buffer.*&GetArea::gbump)(static_cast<int>(step));
            count -= step;
        }
    }
};

// Sums of one byte over blocks of a fixed size, which compilers vectorise.
std::size_t CountLineFeeds(std::string_view text) {
    constexpr std::size_t block = 128;
    std::size_t feeds = 0;
    for (; text.size() >= block; text.remove_prefix(block)) {
        unsigned char sum = 0;
        for (std::size_t i = 0; i < block; ++i) {
            sum = static_cast<unsigned char>(sum + (text[i] == '\n' ? 1 : 0));
        }
        feeds += sum;
    }
    return feeds + static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

}  // namespace

StreamScanner::StreamScanner(std::istream& in) : m_in(&in) {
    m_ended = !std::istream::sentry(in, true);
}

StreamScanner::StreamScanner(std::string_view text) noexcept
    : m_ended(true),
      m_begin(text.data()),
      m_next(m_begin),
      m_end(m_begin + text.size()),
      m_counted(m_begin) {}

StreamScanner::~StreamScanner() {
    try {
        Commit();
    } catch (...) {
        // Only a buffer without a get area can throw here, for a byte that it has returned before.
    }
}

StreamScanner::Position StreamScanner::PositionOf(const char* byte) const noexcept {
    const std::string_view before(m_begin, static_cast<std::size_t>(byte - m_begin));
    const std::size_t feeds = CountLineFeeds(before);
    if (feeds == 0) {
        return {m_beginPosition.line, m_beginPosition.column + before.size()};
    }
    return {m_beginPosition.line + feeds, before.size() - before.rfind('\n')};
}

bool StreamScanner::Refill() {
    if (m_ended) {
        return false;
    }
    m_beginPosition = GetPosition();
    m_line = m_beginPosition.line;
    Commit();
    m_begin = m_next = m_end = nullptr;
    m_ended = !Underflow();
    m_counted = m_begin;
    if (m_ended) {
        m_in->setstate(std::ios_base::eofbit);
    }
    return !m_ended;
}

bool StreamScanner::Underflow() {
    std::streambuf& buffer = *m_in->rdbuf();
    int byte = End;
    try {
        byte = buffer.sgetc();
    } catch (...) {
        m_ended = true;
        if (SetBad()) {
            throw;
        }
    }
    if (byte == std::streambuf::traits_type::eof()) {
        return false;
    }
    m_begin = GetArea::Next(buffer);
    m_end = GetArea::End(buffer);
    m_isUnbuffered = m_begin == m_end;
    if (m_isUnbuffered) {
        m_byte = static_cast<char>(byte);
        m_begin = &m_byte;
        m_end = m_begin + 1;
    }
    m_next = m_begin;
    return true;
}

void StreamScanner::Commit() {
    if (m_in == nullptr || m_next == m_begin) {
        return;
    }
    if (m_isUnbuffered) {
        m_in->rdbuf()->sbumpc();
    } else {
        GetArea::Skip(*m_in->rdbuf(), m_next - m_begin);
    }
    m_begin = m_next;
}

bool StreamScanner::SetBad() {
    try {
        m_in->setstate(std::ios_base::badbit);
    } catch (const std::ios_base::failure&) {
        return true;
    }
    return false;
}

void StreamScanner::TakeEnd() {
    m_hasTakenEnd = true;
    if (m_in != nullptr) {
        m_in->setstate(std::ios_base::failbit);
    }
}

}  // namespace zel
