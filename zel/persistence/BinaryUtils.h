#pragma once

#include "zel/core/Exception.h"
#include "zel/foundation/Export.h"
#include "zel/persistence/PutArea.h"

#include <algorithm>
#include <limits>
#include <ostream>
#include <string>

namespace zel {

// Raised for data that ends too early.
class ZEL_ADVANCED_API BinaryUtilsEx : public Exception {
public:
    BinaryUtilsEx(const std::string& message, const std::string& file, int line);
};

// Small numbers one after the other, without tags, lengths or padding: what they mean lies in the
// order in which both sides call. Numbers of two bytes go with the most significant byte first,
// whatever the host's own order, so that data move between hosts.
//
//     BinaryUtils::DataPacker packer(&out, false);
//     packer.Insert(length);  // an unsigned short
//     packer.Insert(kind);    // an unsigned char
//
//     BinaryUtils::DataUnpacker unpacker(block, size, false);
//     unpacker.Extract(&length);
//     unpacker.Extract(&kind);
//
// Neither side allocates memory, but to throw. A packer or an unpacker is for one thread at a time.
namespace BinaryUtils {

// Writes to a stream, which it doesn't own and which tells by its state of a failure.
class DataPacker {
public:
    // `out` isn't null and outlives the packer. The flag is kept, and nothing depends on it.
    DataPacker(std::ostream* out, bool flag) noexcept : m_flag(flag), m_out(out) {}

    // Writes two bytes.
    void Insert(unsigned short value) {
        const char bytes[] = {static_cast<char>(value >> 8), static_cast<char>(value)};
        PutArea::Write(*m_out, bytes);
    }

    // Writes one byte.
    void Insert(unsigned char value) {
        const char bytes[] = {static_cast<char>(value)};
        PutArea::Write(*m_out, bytes);
    }

private:
    [[maybe_unused]] bool m_flag;
    std::ostream* m_out;
};

// Reads from a block in memory, which it neither owns nor copies: the block outlives the unpacker
// and keeps its content and place. A failure moves nothing and changes no target, so that a
// shorter field may be tried at the same place.
class ZEL_ADVANCED_API DataUnpacker {
public:
    // The flag is kept, and nothing depends on it. Of more bytes than an int counts the first that
    // it does can be read.
    DataUnpacker(const std::string& data, bool flag) noexcept
        : DataUnpacker(data.data(), SizeOf(data), flag) {}

    // A block of a negative size holds nothing.
    DataUnpacker(const char* data, int size, bool flag) noexcept
        : m_data(data), m_size(std::max(size, 0)), m_flag(flag) {}

    // A temporary would be gone before the first field is read.
    DataUnpacker(const std::string&& data, bool flag) = delete;
    DataUnpacker(const char* data, bool flag) = delete;

    // Throws BinaryUtilsEx "Malformed data, can not extract ..." unless so many bytes are left.
    void VerifySize(unsigned int size) const {
        if (static_cast<unsigned int>(m_size - m_position) < size) {
            ThrowTooShort(size);
        }
    }

    // Sets `value` to the next two bytes and moves behind them. Throws as VerifySize does.
    void Extract(unsigned short* value) {
        VerifySize(2);
        const unsigned int high = ByteAt(m_position);
        const unsigned int low = ByteAt(m_position + 1);
        m_position += 2;
        *value = static_cast<unsigned short>(high << 8 | low);
    }

    // The same for one byte.
    void Extract(unsigned char* value) {
        VerifySize(1);
        *value = ByteAt(m_position++);
    }

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
