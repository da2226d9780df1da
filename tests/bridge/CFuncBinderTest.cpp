#include "zel/bridge/CFuncBinder.h"

#include "tests/bridge/CFunctions.h"
#include "tests/support/RecordingLogSink.h"

#include <gtest/gtest.h>

#include <climits>
#include <stdexcept>
#include <thread>
#include <vector>

namespace zel {
namespace {

// The registry for a scope.
class BridgeUser {
public:
    BridgeUser() { CBinder::Prepare(); }
    ~BridgeUser() { CBinder::Release(); }
    BridgeUser(const BridgeUser&) = delete;
    BridgeUser& operator=(const BridgeUser&) = delete;
};

// Tells when it is called and deleted.
class Probe : public CFuncBinderBase {
public:
    Probe(std::string name, std::string* log) : m_name(std::move(name)), m_log(log) {}

    ~Probe() override { *m_log += "-" + m_name; }

    void Invoke(void*, CArguments) override { *m_log += "+" + m_name; }

private:
    std::string m_name;
    std::string* m_log;
};

TEST(CFuncBinderTest, PassesEveryKindOfArgumentFromC) {
    const BridgeUser user;
    RegisterFunction(&keyOfWidths,
                     [](signed char tiny, unsigned char byte, short narrow, unsigned short wide,
                        int low, unsigned int high, long minusThree, unsigned long four,
                        long long minusFive, unsigned long long most, Colour colour) {
                         EXPECT_EQ(tiny, -128);
                         EXPECT_EQ(byte, 255);
                         EXPECT_EQ(narrow, -32768);
                         EXPECT_EQ(wide, 65535);
                         EXPECT_EQ(low, INT_MIN);
                         EXPECT_EQ(high, UINT_MAX);
                         EXPECT_EQ(minusThree, -3);
                         EXPECT_EQ(four, 4U);
                         EXPECT_EQ(minusFive, -5);
                         EXPECT_EQ(colour, COLOUR_GREEN);
                         return most;
                     });
    EXPECT_EQ(SendWidths(), ULLONG_MAX);

    RegisterFunction(&keyOfFractions,
                     [](float single, double twice, bool isSet, double huge, long double quarter) {
                         EXPECT_EQ(single, 0.1F);
                         EXPECT_EQ(twice, 0.1);
                         EXPECT_TRUE(isSet);
                         EXPECT_EQ(huge, 1e300);
                         return static_cast<double>(quarter);
                     });
    EXPECT_EQ(SendFractions(), 0.25);

    int object = 0;
    int calls = 0;
    RegisterFunction(&keyOfPointers,
                     [&](const char* text, int* counted, const void* none) -> const char* {
                         EXPECT_EQ(none, nullptr);
                         EXPECT_EQ(counted, &object);
                         ++calls;
                         return text + 1;
                     });
    EXPECT_STREQ(SendPointers("Ada", &object), "da");
    EXPECT_EQ(calls, 2);
}

TEST(CFuncBinderTest, LivesAsLongAsSomebodyUsesItAndDeletesEachBinderOnce) {
    std::string log;
    char keys[3];
    CBinder::Release();
    CBinder::Prepare();
    CBinder::Prepare();
    (new Probe("a", &log))->Register(&keys[2]);
    (new Probe("b", &log))->Register(&keys[2]);
    EXPECT_EQ(log, "-a");
    (new Probe("c", &log))->Register(&keys[0]);
    Probe stays("d", &log);
    stays.Register(nullptr);
    CBinder::GetBinder()->Register(&keys[1], nullptr);

    CBinder::Release();
    SendTo(&keys[2]);
    SendTo(&keys[1]);
    EXPECT_EQ(log, "-a+b");
    CBinder::Release();
    EXPECT_EQ(log, "-a+b-c-b");
    const BridgeUser user;
    SendTo(&keys[2]);
    EXPECT_EQ(log, "-a+b-c-b");
}

TEST(CFuncBinderTest, ABinderMayCallRegisterAndReleaseFromInside) {
    const BridgeUser user;
    std::vector<int> counts;
    RegisterFunction(&keyOfCount, [&](int count) {
        counts.push_back(count);
        if (count > 0) {
            SendCount(count - 1);
            return;
        }
        CBinder::Prepare();
        RegisterFunction(&counts, [] {});
        CBinder::Release();
    });
    SendCount(3);
    EXPECT_EQ(counts, (std::vector<int>{3, 2, 1, 0}));
}

TEST(CFuncBinderTest, AnExceptionPassesAndLeavesTheLock) {
    const BridgeUser user;
    RegisterFunction(&keyOfCount, [](int) { throw std::runtime_error("not today"); });
    EXPECT_THROW(SendCount(1), std::runtime_error);
    std::thread([] { EXPECT_THROW(SendCount(2), std::runtime_error); }).join();
}

TEST(CFuncBinderTest, WithoutPrepareItSaysSoAndDoesNothing) {
    const test::ScopedLogger logger;
    std::string log;
    Probe probe("p", &log);
    SendTo(&log);
    probe.Register(&log);
    EXPECT_EQ(log, "");
    const std::string line =
        "\n1 CFuncBinder [CBinder::GetBinder] You forgot to call CBinder::Prepare() before calling "
        "this function: the program will probably SEGFAULT now...";
    EXPECT_EQ(logger.sink->TakeText(), line + line);
    const BridgeUser user;
    EXPECT_FALSE(RegisterFunction(nullptr, [] {}));
}

TEST(CFuncBinderTest, CallsOfAnyThreadRunOneAfterTheOther) {
    constexpr int rounds = 20'000;
    const BridgeUser user;
    int sum = 0;
    RegisterFunction(&keyOfCount, [&](int count) { sum += count; });
    const auto call = [] {
        for (int i = 0; i < rounds; ++i) {
            SendCount(1);
            const BridgeUser another;
        }
    };
    std::thread other(call);
    call();
    other.join();
    EXPECT_EQ(sum, 2 * rounds);
}

}  // namespace
}  // namespace zel
