#include "zel/core/Version.h"

#include <gtest/gtest.h>

#include <string>

namespace zel {
namespace {

TEST(VersionTest, IsTheSameForThePreprocessorAndTheLibrary) {
    EXPECT_EQ(GetLoadedVersion(), ZEL_VERSION);
    EXPECT_EQ(GetLoadedVersionText(), std::to_string(ZEL_VERSION / 10000) + '.' +
                                          std::to_string(ZEL_VERSION / 100 % 100) + '.' +
                                          std::to_string(ZEL_VERSION % 100));
}

}  // namespace
}  // namespace zel
