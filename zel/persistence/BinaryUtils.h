#pragma once

#include "zel/core/Exception.h"
#include "zel/foundation/Export.h"
#include "zel/persistence/PutArea.h"

#include <algorithm>
#include <climits>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <ostream>
#include <string>
#include <string_view>

namespace zel {

/// Thrown when a block holds fewer bytes than requested, and for a string that is too long to pack.
class ZEL_ADVANCED_API BinaryUtilsEx : public Exception {
public:
    /// See `Exception::Exception`.
    BinaryUtilsEx(const std::string& message, const std::string& file, int line);
};

/// Packing of numbers and strings without tags or padding: both sides must use the same sequence of
/// types. Numbers are stored with the most significant byte first on every host, so that data can
/// be exchanged between hosts. A string is stored after its length in four bytes.
///
///     BinaryUtils::DataPacker packer(&out, false);
///     packer.Insert(kind);  // unsigned char
///     packer.Insert(time);  // std::uint64_t
///     packer.Insert(name);  // std::string
///
///     BinaryUtils::DataUnpacker unpacker(block, size, false);
///     unpacker.Extract(&kind);
///     unpacker.Extract(&time);
///     unpacker.Extract(&name);
///
/// Guide: docs/stored-objects.md
namespace BinaryUtils {

/// A number of four or eight bytes. `unsigned long` is either, depending on the host: data that is
/// exchanged between hosts uses the types of a fixed size.
template <class T>
concept WideNumber = std::same_as<T, unsigned int> || std::same_as<T, unsigned long> ||
    std::same_as<T, unsigned long long>;

/// Writes numbers and strings to a stream. Failures are reported by the state of the stream only.
/// Allocates no memory. Not thread-safe.
class ZEL_ADVANCED_API DataPacker {
public:
    /// Writes to `out`, which the caller owns. `flag` is stored and has no effect.
    /// Requires: `out` is not null and outlives the packer.
    DataPacker(std::ostream* out, bool flag) noexcept : m_flag(flag), m_area(*out) {}

    /// Writes two bytes.
    void Insert(unsigned short value) {
        const char bytes[] = {static_cast<char>(value >> 8), static_cast<char>(value)};
        m_area.Write(bytes);
    }

    /// Writes one byte.
    void Insert(unsigned char value) {
        const char bytes[] = {static_cast<char>(value)};
        m_area.Write(bytes);
    }

    /// Writes four or eight bytes: a `std::uint32_t` or a `std::uint64_t`.
    template <WideNumber T>
    void Insert(T value) {
        char bytes[sizeof value];
        for (std::size_t i = sizeof value; i-- > 0; value >>= CHAR_BIT) {
            bytes[i] = static_cast<char>(value);
        }
        m_area.Write(bytes);
    }

    /// Writes the number of bytes as a `std::uint32_t`, and the bytes. Throws `BinaryUtilsEx`
    /// "String of ... bytes is too long" and writes nothing if the number doesn't fit.
    void Insert(std::string_view text) {
        Insert(LengthOf(text));
        m_area.Write(text);
    }

private:
    static std::uint32_t LengthOf(std::string_view text);

    [[maybe_unused]] bool m_flag;
    PutArea m_area;
};

/// Reads numbers and strings from a block in memory. A failed read leaves the position and the
/// target unchanged, so that a shorter type can be read at the same position. Allocates no memory,
/// except for a string and to throw. Not thread-safe.
class ZEL_ADVANCED_API DataUnpacker {
public:
    /// Reads from the first byte of `data`, of at most `INT_MAX` bytes. The block is neither copied
    /// nor owned. A negative size counts as 0. `flag` is stored and has no effect.
    /// Requires: the block outlives the unpacker and is not modified meanwhile.
    ///@{
    DataUnpacker(const std::string& data, bool flag) noexcept
        : DataUnpacker(data.data(), SizeOf(data), flag) {}
    DataUnpacker(const char* data, int size, bool flag) noexcept
        : m_data(data), m_size(std::max(size, 0)), m_flag(flag) {}
    ///@}

    // A temporary string would be destroyed before the first read.
    DataUnpacker(const std::string&& data, bool flag) = delete;
    DataUnpacker(const char* data, bool flag) = delete;

    /// Throws `BinaryUtilsEx` "Malformed data, can not extract ..." if fewer than `size` bytes are
    /// left.
    void VerifySize(unsigned int size) const {
        if (static_cast<unsigned int>(m_size - m_position) < size) {
            ThrowTooShort(size);
        }
    }

    /// Sets `*value` to the next number and advances past it. Throws like `VerifySize`.
    ///@{
    void Extract(unsigned short* value) {
        VerifySize(2);
        const unsigned int high = ByteAt(m_position);
        const unsigned int low = ByteAt(m_position + 1);
        m_position += 2;
        *value = static_cast<unsigned short>(high << 8 | low);
    }
    void Extract(unsigned char* value) {
        VerifySize(1);
        *value = ByteAt(m_position++);
    }
    template <WideNumber T>
    void Extract(T* value) {
        VerifySize(sizeof *value);
        T number = 0;
        for (std::size_t i = 0; i < sizeof number; ++i) {
            number = number << CHAR_BIT | T{ByteAt(m_position++)};
        }
        *value = number;
    }
    ///@}

    /// Sets `*text` to the next string and advances past it. Throws like `VerifySize`; the number
    /// of bytes in the message is that of the length or of the string itself.
    void Extract(std::string* text);

private:
    static int SizeOf(const std::string& data) noexcept {
        constexpr auto most = static_cast<std::size_t>(std::numeric_limits<int>::max());
        return static_cast<int>(std::min(data.size(), most));
    }

    unsigned char ByteAt(int position) const {
        return static_cast<unsigned char>(m_data[position]);
    }
    [[noreturn]] static void ThrowTooShort(unsigned int size);

    const char* m_data;
    int m_size;
    int m_position = 0;
    [[maybe_unused]] bool m_flag;
};

}  // namespace BinaryUtils
}  // namespace zel
