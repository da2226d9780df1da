#pragma once

#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

namespace zel::test {

// A shell under a unique name, as tests run concurrently.
class UniqueProgram {
public:
    explicit UniqueProgram(std::string programName = "zel_" + std::to_string(::getpid()))
        : name(std::move(programName)), path(m_folder / name) {
        std::filesystem::copy_file("/bin/sh", path);
    }

    // Prints a line feed and runs until it is killed.
    std::vector<std::string> GetCommand() const { return {path, "-c", "echo; kill -STOP $$"}; }

private:
    const TemporaryFolder m_folder;

public:
    const std::string name;
    const std::string path;
};

}  // namespace zel::test
