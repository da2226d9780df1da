#include "tests/crashd/System.h"
#include "tests/crashd/Victim.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

int main(int argc, char** argv) {
    if (argc > 1 && std::strcmp(argv[1], zel::crashtest::VICTIM) == 0) {
        return zel::crashtest::RunVictim(argc, argv);
    }
    testing::InitGoogleTest(&argc, argv);
    zel::crashtest::PrepareTests();
    zel::test::SetVariable("TZ", "UTC");
    const auto before = std::filesystem::current_path();
    const zel::test::TemporaryFolder folder;
    std::filesystem::current_path(folder / "");
    const int result = RUN_ALL_TESTS();
    // A directory in use can't be removed on every system.
    std::filesystem::current_path(before);
    return result;
}
