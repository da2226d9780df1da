#pragma once

#include "zel/persistence/ObjectPersistence.h"

#include <istream>
#include <ostream>

// A stored motor: the version of the class, then the fields of that version.
//
//     version 1: number (two bytes), phases (one byte)
//     version 2: adds speed, in revolutions per minute (two bytes)
//     version 3: adds cooled, 0 or 1 (one byte)
class Motor : public zel::ObjectPersistence::PersistentObject {
public:
    static constexpr int NEWEST = 3;

    Motor(unsigned short number, unsigned char phases, unsigned short speed, bool isCooled);

    // Reads an object of any known version. Throws SerEx if it is truncated or of another version.
    static Motor ReadFrom(std::istream& in);

    // Writes the fields of that version.
    void WriteTo(std::ostream& out, int version = NEWEST) const;

    int GetVersion() const { return m_version; }
    unsigned short GetNumber() const { return m_number; }
    unsigned char GetPhases() const { return m_phases; }

    // Throw VersionClashEx if the version of the object lacks the field.
    unsigned short GetSpeed() const;
    bool IsCooled() const;

private:
    Motor() = default;

    int m_version = NEWEST;
    unsigned short m_number = 0;
    unsigned char m_phases = 0;
    unsigned short m_speed = 0;
    bool m_isCooled = false;
};
