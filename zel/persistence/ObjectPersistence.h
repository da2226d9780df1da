#pragma once

#include "zel/core/Exception.h"
#include "zel/foundation/Export.h"

#include <istream>
#include <string>

// What classes have in common whose objects are stored with the version of their class, and read by
// later builds that know more fields than an object's version has.
//
//     void Motor::ReadFrom(std::istream& in) {
//         const int version = ObjectPersistence::BinaryPersistenceReader(&in).ReadVersion();
//         ...
//     }
//     int Motor::GetSpeed() const {
//         VersionCheck("speed", 3, m_version, "Motor");  // speed came in version 3
//         return m_speed;
//     }
//
// Nothing here has state of its own that threads could share.
namespace zel::ObjectPersistence {

// Raised for a failure to read or write a stored object.
class ZEL_ADVANCED_API SerEx : public Exception {
public:
    SerEx(const std::string& message, const std::string& file, int line);

protected:
    // For a derived class, with its name.
    SerEx(const std::string& type, const std::string& message, const std::string& file, int line);
};

// Raised for access to a field that an object's version doesn't have.
class ZEL_ADVANCED_API VersionClashEx : public SerEx {
public:
    VersionClashEx(const std::string& message, const std::string& file, int line);
};

// Raised by a persistent object, with its own file and line.
class ZEL_ADVANCED_API PersistentObjectEx : public Exception {
public:
    PersistentObjectEx(const std::string& message, const std::string& file, int line);
};

// Logs and throws SerEx.
[[noreturn]] ZEL_ADVANCED_API void ThrowEx(const char* message);

// Reads from the stream of a stored object, which isn't its own and outlives it.
class ZEL_ADVANCED_API BinaryPersistenceReader {
public:
    // `in` isn't null.
    explicit BinaryPersistenceReader(std::istream* in) noexcept : m_in(in) {}

    // Takes the version record: an int of four bytes, the least significant first on every host.
    // SerEx "Read failed" if the stream has failed or ends too early; what it had left is taken
    // then.
    int ReadVersion();

private:
    std::istream* m_in;
};

// Base of the classes whose objects are stored.
class ZEL_ADVANCED_API PersistentObject {
public:
    PersistentObject() = default;
    virtual ~PersistentObject();
    PersistentObject(const PersistentObject&) = default;
    PersistentObject& operator=(const PersistentObject&) = default;

    // Throws VersionClashEx if a field that class version `addedVersion` brought isn't there in an
    // object of version `objectVersion` of class `className`.
    void VersionCheck(const char* fieldName, int addedVersion, int objectVersion,
                      const char* className) const;

    // Logs and throws PersistentObjectEx with the caller's file and line; the log line bears that
    // line too.
    [[noreturn]] static void ThrowPersistentObjectDetailsEx(const char* file, int line,
                                                            const char* message);
};

}  // namespace zel::ObjectPersistence
