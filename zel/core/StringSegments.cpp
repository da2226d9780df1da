#include "zel/core/StringUtils.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <ostream>

namespace zel::StringUtils {

namespace {

constexpr char QUOTE = '"';
constexpr char HEX_MARK = '$';

constexpr int CONTINUATION_BITS = 6;

unsigned ByteAt(std::string_view text, std::size_t index) {
    return index < text.size() ? static_cast<unsigned char>(text[index]) : 0;
}

bool IsContinuation(unsigned byte) {
    return (byte & 0xC0) == 0x80;
}

// Returns the size of the multi-byte character at the start of `text`; 0 if it is invalid or a
// control character.
std::size_t MultiByteLength(std::string_view text) {
    const unsigned lead = ByteAt(text, 0);
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4) {
        return 0;
    }
    unsigned code = lead & (0xFFU >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        const unsigned byte = ByteAt(text, i);
        if (!IsContinuation(byte)) {
            return 0;
        }
        code = (code << CONTINUATION_BITS) | (byte & 0x3F);
    }
    const bool isOverlong = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
    const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
    const bool isControl = code < 0xA0;
    return isOverlong || isSurrogate || isControl || code > 0x10FFFF ? 0 : length;
}

// The ASCII characters that need no escape in quotes.
constexpr auto PLAIN = [] {
    std::array<bool, 256> plain{};
    for (std::size_t byte = 0x20; byte < 0x7F; ++byte) {
        plain[byte] = byte != QUOTE && byte != '\\';
    }
    return plain;
}();

// Returns the letter that follows the backslash, or 0 if the byte has no escape.
char EscapeOf(unsigned byte) {
    switch (byte) {
        case QUOTE:
        case '\\':
            return static_cast<char>(byte);
        case '\n':
            return 'n';
        case '\t':
            return 't';
        case '\r':
            return 'r';
        default:
            return 0;
    }
}

int UnescapedOf(int letter) {
    switch (letter) {
        case QUOTE:
        case '\\':
            return letter;
        case 'n':
            return '\n';
        case 't':
            return '\t';
        case 'r':
            return '\r';
        default:
            return StreamScanner::End;
    }
}

// Tests eight bytes of a text at once. Borrows between bytes make it uncertain which byte meets a
// condition, but not whether any does.
class Word {
public:
    static constexpr std::size_t SIZE = sizeof(std::uint64_t);

    explicit Word(const char* bytes) { std::memcpy(&m_bytes, bytes, SIZE); }

    // Tests twice four bytes, which may overlap.
    Word(const char* first, const char* second) {
        std::memcpy(&m_bytes, first, SIZE / 2);
        std::memcpy(reinterpret_cast<char*>(&m_bytes) + SIZE / 2, second, SIZE / 2);
    }

    // Returns true if no byte is a quote or a backslash.
    bool IsUnmarked() const { return (AreMarks() & HIGH_BITS) == 0; }

    // Returns true if all bytes are PLAIN.
    bool IsPlain() const {
        const std::uint64_t areControls = (m_bytes - 0x20 * EACH) & ~m_bytes;
        const std::uint64_t areDeleteOrWide = (m_bytes + EACH) | m_bytes;
        return ((areControls | areDeleteOrWide | AreMarks()) & HIGH_BITS) == 0;
    }

private:
    static constexpr std::uint64_t EACH = 0x0101'0101'0101'0101;
    static constexpr std::uint64_t HIGH_BITS = 0x80 * EACH;

    std::uint64_t AreMarks() const { return AreEqualTo(QUOTE) | AreEqualTo('\\'); }

    std::uint64_t AreEqualTo(char byte) const {
        const std::uint64_t difference = m_bytes ^ static_cast<unsigned char>(byte) * EACH;
        return (difference - EACH) & ~difference;
    }

    std::uint64_t m_bytes = 0;
};

// Returns true if the last bytes of a text, of at most a word, are PLAIN. May return false if the
// text has less than four bytes.
bool HasPlainEnd(std::string_view text) {
    constexpr std::size_t half = Word::SIZE / 2;
    const char* const end = text.data() + text.size();
    if (text.size() >= Word::SIZE) {
        return Word(end - Word::SIZE).IsPlain();
    }
    return text.size() >= half && Word(text.data(), end - half).IsPlain();
}

// Returns the number of bytes at the start of `text` that need no escape in quotes.
std::size_t PlainLength(std::string_view text) {
    std::size_t length = 0;
    while (text.size() - length >= Word::SIZE && Word(&text[length]).IsPlain()) {
        length += Word::SIZE;
    }
    if (text.size() - length < Word::SIZE && HasPlainEnd(text)) {
        return text.size();
    }
    while (length < text.size()) {
        const unsigned byte = ByteAt(text, length);
        if (PLAIN[byte]) {
            ++length;
            continue;
        }
        const std::size_t multiByte = byte < 0x80 ? 0 : MultiByteLength(text.substr(length));
        if (multiByte == 0) {
            break;
        }
        length += multiByte;
    }
    return length;
}

bool IsReadable(std::string_view text) {
    return EscapeOf(ByteAt(text, 0)) != 0 || PlainLength(text.substr(0, 4)) != 0;
}

// Writes the readable text at the start of `text` as one segment and returns the rest.
std::string_view EncodeQuoted(std::string_view text, std::string& out) {
    out += QUOTE;
    for (;;) {
        const std::size_t plain = PlainLength(text);
        out.append(text.substr(0, plain));
        text.remove_prefix(plain);
        const char escape = text.empty() ? '\0' : EscapeOf(ByteAt(text, 0));
        if (escape == 0) {
            break;
        }
        out += '\\';
        out += escape;
        text.remove_prefix(1);
    }
    out += QUOTE;
    return text;
}

std::string_view EncodeHex(std::string_view text, std::string& out) {
    constexpr const char* digits = "0123456789abcdef";
    out += HEX_MARK;
    while (!text.empty() && !IsReadable(text)) {
        const unsigned byte = ByteAt(text, 0);
        out += digits[byte >> 4];
        out += digits[byte & 0xF];
        text.remove_prefix(1);
    }
    out += HEX_MARK;
    return text;
}

// Returns the number of bytes before the first quote or backslash.
std::size_t LengthBeforeMark(std::string_view text) {
    std::size_t length = 0;
    while (text.size() - length >= Word::SIZE && Word(&text[length]).IsUnmarked()) {
        length += Word::SIZE;
    }
    while (length < text.size() && text[length] != QUOTE && text[length] != '\\') {
        ++length;
    }
    return length;
}

bool DecodeQuoted(StreamScanner& in, std::string& value) {
    for (;;) {
        const std::string_view run = in.GetRun();
        const std::size_t plain = LengthBeforeMark(run);
        value.append(run.substr(0, plain));
        in.Skip(plain);
        if (plain == run.size() && !run.empty()) {
            continue;
        }
        const int mark = in.Get();
        if (mark == QUOTE) {
            return true;
        }
        const int byte = mark == '\\' ? UnescapedOf(in.Get()) : StreamScanner::End;
        if (byte == StreamScanner::End) {
            return false;
        }
        value += static_cast<char>(byte);
    }
}

int DigitOf(int character) {
    if (character >= '0' && character <= '9') {
        return character - '0';
    }
    return character >= 'a' && character <= 'f' ? character - 'a' + 10 : -1;
}

bool DecodeHex(StreamScanner& in, std::string& value) {
    for (;;) {
        const int first = in.Get();
        if (first == HEX_MARK) {
            return true;
        }
        const int high = DigitOf(first);
        const int low = high < 0 ? -1 : DigitOf(in.Get());
        if (low < 0) {
            return false;
        }
        value += static_cast<char>(high << 4 | low);
    }
}

}  // namespace

void Encode(std::string_view text, std::string& out) {
    if (PlainLength(text) == text.size()) {
        const std::size_t begin = out.size();
        out.append(text.size() + 2, QUOTE);
        text.copy(&out[begin + 1], text.size());
        return;
    }
    while (!text.empty()) {
        text = IsReadable(text) ? EncodeQuoted(text, out) : EncodeHex(text, out);
    }
}

void Encode(const char* data, int length, std::ostream& out) {
    std::string segments;
    Encode(std::string_view(data, static_cast<std::size_t>(std::max(length, 0))), segments);
    out.write(segments.data(), static_cast<std::streamsize>(segments.size()));
}

bool Decode(StreamScanner& in, std::string* value) {
    switch (in.Get()) {
        case QUOTE:
            return DecodeQuoted(in, *value);
        case HEX_MARK:
            return DecodeHex(in, *value);
        default:
            return false;
    }
}

bool Decode(std::istream& in, std::string* value) {
    StreamScanner scanner(in);
    std::string piece;
    const bool isWhole = Decode(scanner, &piece);
    if (isWhole) {
        *value = std::move(piece);
    }
    return isWhole;
}

}  // namespace zel::StringUtils
