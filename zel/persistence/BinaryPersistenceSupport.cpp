#include "zel/foundation/Log.h"
#include "zel/persistence/ObjectPersistence.h"

#include <climits>

namespace zel::ObjectPersistence {

namespace {

const LogArea s_log("BinaryPersistenceSupport", -1);
constexpr int RECORD_SIZE = 4;

const StaticInit<DynamicObjectStatics> s_dynamicObjectStatics;

}  // namespace

void ThrowEx(const char* message) {
    Throw<SerEx>(s_log, message);
}

void WriteVersion(std::ostream& out, int version) {
    char bytes[RECORD_SIZE];
    auto rest = static_cast<unsigned int>(version);
    for (char& byte : bytes) {
        byte = static_cast<char>(rest);
        rest >>= CHAR_BIT;
    }
    if (!out.write(bytes, sizeof bytes)) {
        ThrowEx("Write failed");
    }
}

int BinaryPersistenceReader::ReadVersion() {
    unsigned char bytes[RECORD_SIZE];
    if (!m_in->read(reinterpret_cast<char*>(bytes), sizeof bytes)) {
        ThrowEx("Read failed");
    }
    unsigned int version = 0;
    for (int i = RECORD_SIZE; i-- > 0;) {
        version = version << CHAR_BIT | bytes[i];
    }
    return static_cast<int>(version);
}

}  // namespace zel::ObjectPersistence
