#include "zel/persistence/BinaryUtils.h"

#include "fuzz/Target.h"

#include <sstream>

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
        const bool isShort = steps.TakeByte() % 2 == 0;
        taken += isShort ? Pass<unsigned short>(unpacker, packer, block.size() - taken)
                         : Pass<unsigned char>(unpacker, packer, block.size() - taken);
    }
    Require(out.str() == block.substr(0, taken), "unpacked numbers pack to the same bytes");
    unpacker.VerifySize(static_cast<unsigned int>(block.size() - taken));
}

}  // namespace zel::fuzz
