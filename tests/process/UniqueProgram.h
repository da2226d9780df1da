#pragma once

#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

#include <filesystem>
#include <list>
#include <random>
#include <string>

namespace zel::test {

// Processes of a program under a unique name, as tests run concurrently.
struct UniqueProgram {
    // Starts a process, which runs until the program is destroyed, and returns its ID.
    int Start() {
        const auto sleeper = own.parent_path() / ("process_sleeper" + own.extension().string());
        std::filesystem::copy_file(sleeper, path, std::filesystem::copy_options::skip_existing);
        processes.emplace_back(std::vector<std::string>{path});
        processes.back().ReadUntil("\n");
        return processes.back().GetId();
    }

    const std::filesystem::path own = OwnProgram();
    const std::string name =
        "zel_" + std::to_string(std::random_device()()) + own.extension().string();
    const TemporaryFolder folder{};
    const std::string path = folder / name;
    std::list<ChildProcess> processes{};
};

}  // namespace zel::test
