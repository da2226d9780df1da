// Stores a motor in the format of one of three versions, and shows a stored motor of any version.

#include "Motor.h"

#include <exception>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>

namespace {

constexpr std::string_view USAGE =
    R"(usage: stored_objects write VERSION FILE
       stored_objects show FILE

write stores a motor in FILE in the format of VERSION (1, 2 or 3); show prints the motor in FILE.
)";

constexpr int WRONG_INPUT = 1;
constexpr int WRONG_USAGE = 2;

int PrintUsage() {
    std::cerr << USAGE;
    return WRONG_USAGE;
}

int Write(const std::string& version, const std::string& path) {
    if (version != "1" && version != "2" && version != "3") {
        return PrintUsage();
    }
    const Motor motor(1204, 3, 1450, true);
    std::ofstream out(path, std::ios_base::binary);
    motor.WriteTo(out, version.front() - '0');
    if (!out.flush()) {
        std::cerr << "stored_objects: can't write " << path << '\n';
        return WRONG_INPUT;
    }
    return 0;
}

// A field that the version lacks must not prevent showing the others.
template <class Get>
void ShowField(const char* name, Get get) {
    std::cout << name << ": ";
    try {
        std::cout << get() << '\n';
    } catch (const zel::ObjectPersistence::VersionClashEx& ex) {
        std::cout << "unknown (" << ex.what() << ")\n";
    }
}

int Show(const std::string& path) {
    std::ifstream in(path, std::ios_base::binary);
    const Motor motor = Motor::ReadFrom(in);
    std::cout << "version " << motor.GetVersion() << '\n';
    std::cout << "number: " << motor.GetNumber() << '\n';
    std::cout << "phases: " << int{motor.GetPhases()} << '\n';
    ShowField("speed", [&] { return motor.GetSpeed(); });
    ShowField("cooled", [&] { return motor.IsCooled() ? "yes" : "no"; });
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    constexpr int argumentsToWrite = 4;
    constexpr int argumentsToShow = 3;
    const std::string command = argc > 1 ? argv[1] : "";
    try {
        if (command == "write" && argc == argumentsToWrite) {
            return Write(argv[2], argv[3]);
        }
        if (command == "show" && argc == argumentsToShow) {
            return Show(argv[2]);
        }
    } catch (const std::exception& ex) {
        std::cerr << "stored_objects: " << ex.what() << '\n';
        return WRONG_INPUT;
    }
    return PrintUsage();
}
