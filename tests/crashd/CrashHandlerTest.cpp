#include "zel/crashd/CrashHandler.h"

#include "tests/crashd/Expectation.h"

#include <gtest/gtest.h>

namespace zel::crashtest {

namespace {

void ExpectDeathsIn(const std::string& place) {
    for (Row row : DEATHS) {
        row.place = place;
        const bool isOfStack = row.death == "overflow" || row.death == "smashed";
        if (place == "plugin" && !isOfStack) {
            row.errors += "[^]*crash_plugin\\S* 0x\\S+ CallFromPlugin";
        }
        // The sanitizers report some first; a thread without a fault stack ends without a report if
        // its own stack is unusable; a Thread survives exceptions.
        if (!(isSanitized && (row.death == "heap" || row.death == "smashed")) &&
            !(place == "unprotected" && isOfStack) &&
            !(place == "thread" && row.death == "throw")) {
            Expect(row);
        }
    }
}

TEST(CrashHandlerTest, ReportsEveryDeathOnceInMain) {
    ExpectDeathsIn("main");
}

TEST(CrashHandlerTest, ReportsEveryDeathOnceOnOtherThreads) {
    for (const std::string& thread : THREADS) {
        ExpectDeathsIn(thread);
    }
}

TEST(CrashHandlerTest, ReportsEveryDeathOnceInALibrary) {
    ExpectDeathsIn("plugin");
}

TEST(CrashHandlerTest, ReportsEveryDeathOnceInADestructor) {
    ExpectDeathsIn("destructor");
}

TEST(CrashHandlerTest, RefusesWhatItCannotUse) {
    char name[] = "a=b";
    char* arguments[] = {name, nullptr};
    EXPECT_FALSE(CrashHandler::Initialize(0, arguments, nullptr));
    EXPECT_FALSE(CrashHandler::Initialize(1, arguments, nullptr));
    EXPECT_EQ(CrashHandlerCustomExceptionFilter(nullptr), 0);
}

}  // namespace

}  // namespace zel::crashtest
