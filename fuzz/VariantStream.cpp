#include "fuzz/AnyVariant.h"

#include <new>

namespace zel::fuzz {

// The first bytes choose the type and the size of the pieces in which the stream brings its bytes.
void Run(Input input) {
    const Value value = TakeVariant(input);
    const std::string before = BytesOf(value);
    const std::size_t piece = input.TakeByte() + 1;
    PieceStream in(input.GetRest(), piece);
    const auto isRead = Try<std::bad_alloc>([&] { return value->ReadValueFromStream(in); });
    if (isRead.value_or(false)) {
        const std::size_t taken = input.GetRest().size() - in.GetLeft();
        Require(in.good(), "a read that succeeds leaves the stream good");
        Require(BytesOf(value) == input.GetRest().substr(0, taken), "just its own bytes are taken");
    } else {
        Require(BytesOf(value) == before, "a failed read changes nothing");
    }
}

}  // namespace zel::fuzz
