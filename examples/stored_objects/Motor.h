#pragma once

#include "zel/persistence/ObjectPersistence.h"

#include <istream>
#include <ostream>

// A motor as it is stored: the version of its class, then the fields that this version has.
//
//     version 1: number (two bytes), phases (one byte)
//     version 2: and speed, in revolutions a minute (two bytes)
//     version 3: and cooled, 0 or 1 (one byte)
class Motor : public zel::ObjectPersistence::PersistentObject {
public:
    static constexpr int NEWEST = 3;

    Motor(unsigned short number, unsigned char phases, unsigned short speed, bool isCooled);

    // Reads an object of any version, SerEx for a cut one or one of a version to come.
    static Motor ReadFrom(std::istream& in);

    // Writes the object as the program of that version would have.
    void WriteTo(std::ostream& out, int version = NEWEST) const;

    int GetVersion() const { return m_version; }
    unsigned short GetNumber() const { return m_number; }
    unsigned char GetPhases() const { return m_phases; }

    // VersionClashEx if the object was stored without them.
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
