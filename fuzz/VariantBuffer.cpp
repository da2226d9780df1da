#include "fuzz/AnyVariant.h"

#include <vector>

namespace zel::fuzz {

// The first bytes choose the type and whether the count of an array is there.
void Run(Input input) {
    const Value value = TakeVariant(input);
    const bool withSize = input.TakeByte() % 2 != 0;
    const std::string before = BytesOf(value);
    const Value fromStream = value->Clone();
    std::vector<char> block(input.GetRest().begin(), input.GetRest().end());
    unsigned long long left = block.size();
    void* const end = value->ReadValueFromBuffer(block.data(), left, withSize);
    if (end == nullptr) {
        Require(left == block.size(), "a failed read takes nothing");
        Require(BytesOf(value) == before, "and changes nothing");
        return;
    }
    const std::size_t taken = block.size() - static_cast<std::size_t>(left);
    Require(end == block.data() + taken, "the address goes with the bytes that are left");
    std::vector<char> written(taken);
    unsigned long long room = taken;
    Require(value->WriteValueToBuffer(written.data(), room, withSize) != nullptr && room == 0,
            "what was read has the size that it took");
    Require(std::equal(written.begin(), written.end(), block.begin()), "and the same bytes");
    if (withSize || !value->IsArray()) {
        std::istringstream in(std::string(block.begin(), block.end()));
        Require(fromStream->ReadValueFromStream(in) && BytesOf(fromStream) == BytesOf(value),
                "a stream of these bytes gives the same value");
    }
}

}  // namespace zel::fuzz
