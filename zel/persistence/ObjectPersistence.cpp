#include "zel/persistence/ObjectPersistence.h"

#include "zel/foundation/Log.h"

#include <string_view>

namespace zel::ObjectPersistence {

namespace {

const LogArea s_log("ObjectPersistence", 3);
const StaticInit<DynamicObjectStatics> s_dynamicObjectStatics;

std::string_view TextOf(const char* text) {
    return text == nullptr ? "" : text;
}

}  // namespace

SerEx::SerEx(const std::string& message, const std::string& file, int line)
    : SerEx("SerEx", message, file, line) {}

SerEx::SerEx(const std::string& type, const std::string& message, const std::string& file, int line)
    : Exception(type, message, file, line) {}

VersionClashEx::VersionClashEx(const std::string& message, const std::string& file, int line)
    : SerEx("VersionClashEx", message, file, line) {}

PersistentObjectEx::PersistentObjectEx(const std::string& message, const std::string& file,
                                       int line)
    : Exception("PersistentObjectEx", message, file, line) {}

PersistentObject::~PersistentObject() = default;

void PersistentObject::VersionCheck(const char* fieldName, int addedVersion, int objectVersion,
                                    const char* className) const {
    if (addedVersion > objectVersion) {
        Throw<VersionClashEx>(s_log, "Access to field ", TextOf(fieldName),
                              " is illegal for a version ", objectVersion, " ", TextOf(className),
                              " because this field was added in class version ", addedVersion);
    }
}

void PersistentObject::ThrowPersistentObjectDetailsEx(const char* file, int line,
                                                      const char* message) {
    Raise(s_log, PersistentObjectEx(std::string(TextOf(message)), std::string(TextOf(file)), line));
}

}  // namespace zel::ObjectPersistence
