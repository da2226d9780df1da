#include "zel/persistence/BinaryUtils.h"

#include "zel/foundation/Log.h"

namespace zel {

namespace {

const LogArea s_log("BinaryUtils", 3);

}  // namespace

BinaryUtilsEx::BinaryUtilsEx(const std::string& message, const std::string& file, int line)
    : Exception("BinaryUtilsEx", message, file, line) {}

std::uint32_t BinaryUtils::DataPacker::LengthOf(std::string_view text) {
    if (text.size() > std::numeric_limits<std::uint32_t>::max()) {
        Throw<BinaryUtilsEx>(s_log, "String of ", text.size(), " bytes is too long");
    }
    return static_cast<std::uint32_t>(text.size());
}

void BinaryUtils::DataUnpacker::Extract(std::string* text) {
    const int begin = m_position;
    std::uint32_t length = 0;
    Extract(&length);
    try {
        VerifySize(length);
        text->assign(m_data + m_position, length);
    } catch (...) {
        m_position = begin;
        throw;
    }
    m_position += static_cast<int>(length);
}

void BinaryUtils::DataUnpacker::ThrowTooShort(unsigned int size) {
    Throw<BinaryUtilsEx>(s_log, "Malformed data, can not extract ", size, " bytes");
}

}  // namespace zel
