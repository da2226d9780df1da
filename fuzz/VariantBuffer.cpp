#include "fuzz/AnyVariant.h"

#include <vector>

namespace zel::fuzz {

// The first bytes select the type and whether the buffer contains the count of an array.
void Run(Input input) {
    const Value value = TakeVariant(input);
    const bool withSize = input.TakeByte() % 2 != 0;
    const std::string before = BytesOf(value);
    const Value fromStream = value->Clone();
    std::vector<char> block(input.GetRest().begin(), input.GetRest().end());
    unsigned long long left = block.size();
    void* const end = value->ReadValueFromBuffer(block.data(), left, withSize);
    if (end == nullptr) {
        Require(left == block.size(), "a failed read consumes nothing");
        Require(BytesOf(value) == before, "a failed read changes nothing");
        return;
    }
    const std::size_t taken = block.size() - static_cast<std::size_t>(left);
    Require(end == block.data() + taken, "the returned address matches the remaining bytes");
    std::vector<char> written(taken);
    unsigned long long remaining = taken;
    Require(
        value->WriteValueToBuffer(written.data(), remaining, withSize) != nullptr && remaining == 0,
        "the value is written in the same size");
    Require(std::equal(written.begin(), written.end(), block.begin()),
            "the value is written in the same bytes");
    if (withSize || !value->IsArray()) {
        std::istringstream in(std::string(block.begin(), block.end()));
        Require(fromStream->ReadValueFromStream(in) && BytesOf(fromStream) == BytesOf(value),
                "a stream of these bytes yields the same value");
    }
}

}  // namespace zel::fuzz
