#pragma once

#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

#include <list>
#include <unistd.h>

namespace zel::test {

// Processes of a shell under a unique name, as tests run concurrently.
struct UniqueProgram {
    // Starts a process, which runs until the program is destroyed, and returns its ID.
    pid_t Start() {
        std::filesystem::copy_file("/bin/sh", path, std::filesystem::copy_options::skip_existing);
        processes.emplace_back(std::vector<std::string>{path, "-c", "echo; kill -STOP $$"});
        processes.back().ReadUntil("\n");
        return processes.back().GetId();
    }

    const std::string name = "zel_" + std::to_string(::getpid());
    const TemporaryFolder folder{};
    const std::string path = folder / name;
    std::list<ChildProcess> processes{};
};

}  // namespace zel::test
