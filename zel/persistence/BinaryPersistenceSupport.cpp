#include "zel/foundation/Log.h"
#include "zel/persistence/ObjectPersistence.h"

namespace zel::ObjectPersistence {

namespace {

const LogArea s_log("BinaryPersistenceSupport", -1);
const StaticInit<DynamicObjectStatics> s_dynamicObjectStatics;

}  // namespace

void ThrowEx(const char* message) {
    Throw<SerEx>(s_log, message);
}

int BinaryPersistenceReader::ReadVersion() {
    unsigned char bytes[4];
    if (!m_in->read(reinterpret_cast<char*>(bytes), sizeof bytes)) {
        ThrowEx("Read failed");
    }
    unsigned int version = 0;
    for (int i = 3; i >= 0; --i) {
        version = version << 8 | bytes[i];
    }
    return static_cast<int>(version);
}

}  // namespace zel::ObjectPersistence
