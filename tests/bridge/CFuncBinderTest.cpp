#include "zel/bridge/CFuncBinder.h"

#include "tests/support/RecordingLogSink.h"

#include <gtest/gtest.h>

#include <climits>
#include <thread>

extern "C" void SendFromC(void* key, int count);

namespace zel {
namespace {

class CFuncBinderTest : public testing::Test {
protected:
    CFuncBinderTest() { CBinder::Prepare(); }
    ~CFuncBinderTest() override { CBinder::Release(); }

    char m_keys[3];
};

// Tells when it is called and deleted.
struct Probe : CFuncBinderBase {
    Probe(char probeName, std::string* text) : name(probeName), log(*text) {}
    ~Probe() override { log += {'-', name}; }
    void Invoke(void*, CArguments) override { log += {'+', name}; }

    const char name;
    std::string& log;
};

TEST_F(CFuncBinderTest, PassesEveryKindOfArgument) {
    enum Colour { RED = 1, GREEN = 2 };
    RegisterFunction(m_keys, [](signed char tiny, unsigned char byte, short narrow,
                                unsigned short wide, int low, unsigned int high, long minusThree,
                                unsigned long four, long long minusFive, Colour colour, float half,
                                double tenth, bool isSet, double huge, long double quarter) {
        EXPECT_EQ(testing::PrintToString(std::tuple(+tiny, +byte, narrow, wide, low, high,
                                                    minusThree, four, minusFive, +colour, half,
                                                    tenth * 10, isSet, huge / 1e300, quarter)),
                  "(-128, 255, -32768, 65535, -2147483648, 4294967295, -3, 4, -5, 2, 0.5, 1, true, "
                  "1, 0.25)");
        return ULLONG_MAX;
    });
    unsigned long long most = 0;
    ZelCppBridge(m_keys, -128, 255, -32768, 65535, INT_MIN, UINT_MAX, -3L, 4UL, -5LL, GREEN, 0.5F,
                 0.1, 7, 1e300, 0.25L, &most);
    EXPECT_EQ(most, ULLONG_MAX);

    int calls = 0;
    RegisterFunction(m_keys, [&](const char* text, int* pointer) {
        calls += pointer == &calls ? 1 : 0;
        return text + 1;
    });
    const char* text = "";
    ZelCppBridge(m_keys, "Ada", &calls, &text);
    ZelCppBridge(m_keys, "Ada", &calls, static_cast<const char**>(nullptr));
    EXPECT_STREQ(text, "da");
    EXPECT_EQ(calls, 2);
}

TEST_F(CFuncBinderTest, LivesAsLongAsSomebodyUsesItAndDeletesEachBinderOnce) {
    std::string log;
    CBinder::Release();
    CBinder::Release();
    CBinder::Prepare();
    CBinder::Prepare();
    (new Probe('a', &log))->Register(&m_keys[2]);
    (new Probe('b', &log))->Register(&m_keys[2]);
    EXPECT_EQ(log, "-a");
    (new Probe('c', &log))->Register(&m_keys[0]);
    Probe('d', &log).Register(nullptr);
    CBinder::GetBinder()->Register(&m_keys[1], nullptr);
    EXPECT_FALSE(RegisterFunction(nullptr, [] {}));

    CBinder::Release();
    ZelCppBridge(&m_keys[2]);
    ZelCppBridge(&m_keys[1]);
    CBinder::Release();
    EXPECT_EQ(log, "-a-d+b-c-b");
    CBinder::Prepare();
    ZelCppBridge(&m_keys[2]);
    EXPECT_EQ(log, "-a-d+b-c-b");
}

TEST_F(CFuncBinderTest, ABinderMayCallRegisterAndReleaseFromInside) {
    std::string counts;
    RegisterFunction(m_keys, [&](int count) {
        CBinder::Prepare();
        RegisterFunction(&m_keys[1], [&](int digit) { counts += std::to_string(digit); });
        CBinder::Release();
        ZelCppBridge(&m_keys[1], count);
        ZelCppBridge(count > 0 ? m_keys : nullptr, count - 1);
    });
    ZelCppBridge(m_keys, 3);
    EXPECT_EQ(counts, "3210");
}

TEST_F(CFuncBinderTest, WithoutPrepareItSaysSoAndDoesNothing) {
    CBinder::Release();
    const test::ScopedLogger logger;
    std::string log;
    Probe probe('p', &log);
    ZelCppBridge(m_keys);
    probe.Register(m_keys);
    const std::string line =
        "\n1 CFuncBinder [CBinder::GetBinder] You forgot to call CBinder::Prepare() before calling "
        "this function: the program will probably SEGFAULT now...";
    EXPECT_EQ(logger.sink->TakeText(), line + line);
}

TEST_F(CFuncBinderTest, CallsOfAnyThreadRunOneAfterTheOtherWhateverTheyThrow) {
    constexpr int rounds = 5000;
    int sum = 0;
    RegisterFunction(m_keys, [&](int count) {
        sum += count;
        throw count;
    });
    const auto call = [&] {
        for (int i = 0; i < rounds; ++i) {
            EXPECT_THROW(SendFromC(m_keys, 1), int);
            CBinder::Prepare();
            CBinder::Release();
        }
    };
    std::thread other(call);
    call();
    other.join();
    EXPECT_EQ(sum, 2 * rounds);
}

}  // namespace
}  // namespace zel
