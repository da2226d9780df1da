#include "zel/core/StringUtils.h"

#include "fuzz/Target.h"

#include <sstream>

namespace zel::fuzz {

namespace {

std::string Encoded(std::string_view bytes) {
    std::string text;
    StringUtils::Encode(bytes, text);
    std::ostringstream out;
    StringUtils::Encode(bytes.data(), static_cast<int>(bytes.size()), out);
    Require(out.str() == text, "encoding to a stream and to a string is the same");
    return text;
}

// Returns the joined values of adjacent segments, or nothing if a segment is malformed.
std::optional<std::string> Joined(std::string_view segments, std::size_t piece) {
    StreamScanner scanner(segments);
    PieceStream in(segments, piece);
    std::string text;
    do {
        std::string value = "kept";
        if (!StringUtils::Decode(in, &value)) {
            Require(value == "kept", "a malformed segment leaves the value unchanged");
            Require(!StringUtils::Decode(scanner, &text), "both readers reject it");
            return std::nullopt;
        }
        const std::string joined = text + value;
        Require(StringUtils::Decode(scanner, &text) && text == joined, "both readers agree");
    } while (in.GetLeft() > 0);
    return text;
}

}  // namespace

// The first byte is the size of the pieces in which the segments are read.
void Run(Input input) {
    const std::size_t piece = input.TakeByte() + 1;
    const std::string_view bytes = input.GetRest();
    Require(Joined(Encoded(bytes), piece) == bytes, "encoded bytes decode to the same bytes");
    const auto text = Joined(bytes, piece);
    Require(!text || Joined(Encoded(*text), piece) == text,
            "decoded text survives another encoding");
}

}  // namespace zel::fuzz
