#include "zel/persistence/BinaryUtils.h"

#include "zel/foundation/Log.h"

namespace zel {

namespace {

const LogArea s_log("BinaryUtils", 3);

}  // namespace

BinaryUtilsEx::BinaryUtilsEx(const std::string& message, const std::string& file, int line)
    : Exception("BinaryUtilsEx", message, file, line) {}

void BinaryUtils::DataUnpacker::ThrowTooShort(unsigned int size) {
    Throw<BinaryUtilsEx>(s_log, "Malformed data, can not extract ", size, " bytes");
}

}  // namespace zel
