#pragma once

#include "zel/core/Exception.h"
#include "zel/foundation/Export.h"

#include <istream>
#include <ostream>
#include <string>

/// Support for classes whose objects are stored together with the version of their class. Later
/// builds of a class may have fields that an object of an older version lacks; `VersionCheck`
/// refuses access to them.
///
///     void Motor::WriteTo(std::ostream& out) const {
///         ObjectPersistence::WriteVersion(out, 3);
///         ...
///     }
///     void Motor::ReadFrom(std::istream& in) {
///         m_version = ObjectPersistence::BinaryPersistenceReader(&in).ReadVersion();
///         ...
///     }
///     int Motor::GetSpeed() const {
///         VersionCheck("speed", 3, m_version, "Motor");  // speed was added in version 3
///         return m_speed;
///     }
///
/// Guide: docs/stored-objects.md
namespace zel::ObjectPersistence {

/// Thrown when a stored object can't be read or written.
class ZEL_ADVANCED_API SerEx : public Exception {
public:
    /// See `Exception::Exception`.
    SerEx(const std::string& message, const std::string& file, int line);

protected:
    /// For derived classes: `type` is the name of the class.
    SerEx(const std::string& type, const std::string& message, const std::string& file, int line);
};

/// Thrown on access to a field that the version of the object lacks.
class ZEL_ADVANCED_API VersionClashEx : public SerEx {
public:
    /// See `Exception::Exception`.
    VersionClashEx(const std::string& message, const std::string& file, int line);
};

/// Thrown by a persistent object, with the file and line of its own source. Not a `SerEx`.
class ZEL_ADVANCED_API PersistentObjectEx : public Exception {
public:
    /// See `Exception::Exception`.
    PersistentObjectEx(const std::string& message, const std::string& file, int line);
};

/// Writes the version record that `BinaryPersistenceReader::ReadVersion` reads. Throws `SerEx`
/// "Write failed" if the stream has failed or fails. Thread-safe, except for the stream.
ZEL_ADVANCED_API void WriteVersion(std::ostream& out, int version);

/// Logs and throws `SerEx`. A null text counts as empty. Thread-safe.
[[noreturn]] ZEL_ADVANCED_API void ThrowEx(const char* message);

/// Reads the version record of a stored object. Not thread-safe.
class ZEL_ADVANCED_API BinaryPersistenceReader {
public:
    /// Reads from `in`, which the caller owns.
    /// Requires: `in` is not null and outlives the reader.
    explicit BinaryPersistenceReader(std::istream* in) noexcept : m_in(in) {}

    /// Reads the version: a 4-byte integer, least significant byte first on every host. Throws
    /// `SerEx` "Read failed" if the stream has failed or ends within the record; the bytes read so
    /// far are consumed.
    int ReadVersion();

private:
    std::istream* m_in;
};

/// Base class of stored objects. It has no state.
class ZEL_ADVANCED_API PersistentObject {
public:
    PersistentObject() = default;
    virtual ~PersistentObject();
    PersistentObject(const PersistentObject&) = default;
    PersistentObject& operator=(const PersistentObject&) = default;

    /// Throws `VersionClashEx` if `addedVersion`, the version of class `className` that added field
    /// `fieldName`, is higher than `objectVersion`. A null text counts as empty. Thread-safe.
    void VersionCheck(const char* fieldName, int addedVersion, int objectVersion,
                      const char* className) const;

    /// Logs and throws `PersistentObjectEx` with the caller's file and line. A null text counts as
    /// empty. Thread-safe.
    [[noreturn]] static void ThrowPersistentObjectDetailsEx(const char* file, int line,
                                                            const char* message);
};

}  // namespace zel::ObjectPersistence
