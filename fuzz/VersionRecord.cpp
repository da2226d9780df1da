#include "zel/persistence/ObjectPersistence.h"

#include "fuzz/Target.h"

namespace zel::fuzz {

// The first byte is the size of the pieces in which the stream is read.
void Run(Input input) {
    using ObjectPersistence::BinaryPersistenceReader;
    const std::size_t piece = input.TakeByte() + 1;
    PieceStream in(input.GetRest(), piece);
    std::string bytes;
    while (const auto version = Try<ObjectPersistence::SerEx>(
               [&] { return BinaryPersistenceReader(&in).ReadVersion(); })) {
        for (int shift = 0; shift < 32; shift += 8) {
            bytes += static_cast<char>(static_cast<unsigned>(*version) >> shift);
        }
        Require(in.good(), "a successful read leaves the stream good");
    }
    constexpr std::size_t size = 4;
    const std::size_t whole = input.GetRest().size() / size * size;
    Require(bytes == input.GetRest().substr(0, whole), "every complete record is a version");
    Require(in.GetLeft() == 0, "a failure consumes the remaining bytes");
}

}  // namespace zel::fuzz
