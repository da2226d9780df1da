#include "fuzz/AnyVariant.h"

#include <new>

namespace zel::fuzz {

// The first bytes select the type, the size of the pieces in which the stream is read, and whether
// an array's count is limited to two bytes: most larger counts fail, and slowly.
void Run(Input input) {
    const Value value = TakeVariant(input);
    const std::string before = BytesOf(value);
    const std::size_t piece = input.TakeByte() + 1;
    const bool isCountSmall = value->IsArray() && input.TakeByte() != 0;
    const std::string bytes = std::string(isCountSmall ? 6 : 0, '\0').append(input.GetRest());
    PieceStream in(bytes, piece);
    const auto isRead = Try<std::bad_alloc>([&] { return value->ReadValueFromStream(in); });
    if (isRead.value_or(false)) {
        const std::size_t taken = bytes.size() - in.GetLeft();
        Require(in.good(), "a read that succeeds leaves the stream good");
        Require(BytesOf(value) == bytes.substr(0, taken), "a read consumes only its own bytes");
    } else {
        Require(BytesOf(value) == before, "a failed read changes nothing");
    }
}

}  // namespace zel::fuzz
