#include "Motor.h"

#include "zel/persistence/BinaryUtils.h"

#include <string>

using zel::BinaryUtils::DataPacker;
using zel::BinaryUtils::DataUnpacker;
namespace ObjectPersistence = zel::ObjectPersistence;

namespace {

constexpr int SPEED_ADDED = 2;
constexpr int COOLING_ADDED = 3;

std::string ReadFields(std::istream& in, int version) {
    std::string fields(3, '\0');
    fields.resize(fields.size() + (version >= SPEED_ADDED ? 2 : 0) +
                  (version >= COOLING_ADDED ? 1 : 0));
    if (!in.read(fields.data(), static_cast<std::streamsize>(fields.size()))) {
        ObjectPersistence::ThrowEx("Read failed");
    }
    return fields;
}

}  // namespace

Motor::Motor(unsigned short number, unsigned char phases, unsigned short speed, bool isCooled)
    : m_number(number), m_phases(phases), m_speed(speed), m_isCooled(isCooled) {}

Motor Motor::ReadFrom(std::istream& in) {
    Motor motor;
    motor.m_version = ObjectPersistence::BinaryPersistenceReader(&in).ReadVersion();
    if (motor.m_version < 1 || motor.m_version > NEWEST) {
        ObjectPersistence::ThrowEx("Unknown object version");
    }
    const std::string fields = ReadFields(in, motor.m_version);
    DataUnpacker unpacker(fields, false);
    unpacker.Extract(&motor.m_number);
    unpacker.Extract(&motor.m_phases);
    if (motor.m_version >= SPEED_ADDED) {
        unpacker.Extract(&motor.m_speed);
    }
    if (motor.m_version >= COOLING_ADDED) {
        unsigned char isCooled = 0;
        unpacker.Extract(&isCooled);
        motor.m_isCooled = isCooled != 0;
    }
    return motor;
}

void Motor::WriteTo(std::ostream& out, int version) const {
    ObjectPersistence::WriteVersion(out, version);
    DataPacker packer(&out, false);
    packer.Insert(m_number);
    packer.Insert(m_phases);
    if (version >= SPEED_ADDED) {
        packer.Insert(m_speed);
    }
    if (version >= COOLING_ADDED) {
        packer.Insert(static_cast<unsigned char>(m_isCooled ? 1 : 0));
    }
}

unsigned short Motor::GetSpeed() const {
    VersionCheck("speed", SPEED_ADDED, m_version, "Motor");
    return m_speed;
}

bool Motor::IsCooled() const {
    VersionCheck("cooled", COOLING_ADDED, m_version, "Motor");
    return m_isCooled;
}
