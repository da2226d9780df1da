#include "zel/persistence/BinaryUtils.h"

#include "fuzz/Target.h"

#include <cstdint>
#include <sstream>
#include <string>

namespace zel::fuzz {

namespace {

// Extracts a number and packs it again. Returns the number of bytes consumed.
template <class T>
std::size_t Pass(BinaryUtils::DataUnpacker& unpacker, BinaryUtils::DataPacker& packer,
                 std::size_t left) {
    constexpr T untouched = 77;
    T value = untouched;
    const bool isRead = Try<BinaryUtilsEx>([&] {
                            unpacker.Extract(&value);
                            return true;
                        }).has_value();
    Require(isRead == (left >= sizeof value), "a number is extracted if enough bytes are left");
    Require(isRead || value == untouched, "a failure leaves the target unchanged");
    if (!isRead) {
        return 0;
    }
    packer.Insert(value);
    return sizeof value;
}

// The same for a string, whose length is a number before it.
std::size_t PassString(BinaryUtils::DataUnpacker& unpacker, BinaryUtils::DataPacker& packer,
                       std::size_t left) {
    std::string text = "untouched";
    const auto isRead = Try<BinaryUtilsEx>([&] {
        unpacker.Extract(&text);
        return true;
    });
    if (!isRead) {
        Require(text == "untouched", "a failure leaves the text unchanged");
        unpacker.VerifySize(static_cast<unsigned int>(left));
        return 0;
    }
    packer.Insert(text);
    return sizeof(std::uint32_t) + text.size();
}

std::size_t PassAny(unsigned step, BinaryUtils::DataUnpacker& unpacker,
                    BinaryUtils::DataPacker& packer, std::size_t left) {
    switch (step % 5) {
        case 0:
            return Pass<unsigned short>(unpacker, packer, left);
        case 1:
            return Pass<unsigned char>(unpacker, packer, left);
        case 2:
            return Pass<std::uint32_t>(unpacker, packer, left);
        case 3:
            return Pass<std::uint64_t>(unpacker, packer, left);
        default:
            return PassString(unpacker, packer, left);
    }
}

}  // namespace

// Each byte of the first line is a step; the rest is the block.
void Run(Input input) {
    Input steps(input.TakeLine());
    const std::string_view block = input.GetRest();
    BinaryUtils::DataUnpacker unpacker(block.data(), static_cast<int>(block.size()), false);
    std::ostringstream out;
    BinaryUtils::DataPacker packer(&out, false);
    std::size_t taken = 0;
    // Each failure costs an exception, and further ones test nothing new.
    constexpr std::size_t most = 40;
    for (std::size_t left = std::min(steps.GetRest().size(), most); left > 0; --left) {
        taken += PassAny(steps.TakeByte(), unpacker, packer, block.size() - taken);
    }
    Require(out.str() == block.substr(0, taken), "unpacked numbers pack to the same bytes");
    unpacker.VerifySize(static_cast<unsigned int>(block.size() - taken));
}

}  // namespace zel::fuzz
