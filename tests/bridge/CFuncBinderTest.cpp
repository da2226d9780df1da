#include "zel/bridge/CFuncBinder.h"

#include "tests/support/RecordingLogSink.h"

#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <thread>
#include <vector>

extern "C" void SendFromC(void* key, int count);

namespace zel {
namespace {

struct CFuncBinderTest : testing::Test {
    CFuncBinderTest() { CBinder::Prepare(); }
    ~CFuncBinderTest() override { CBinder::Release(); }

    char m_keys[3];
};

// Records its calls ('+') and its deletion ('-').
struct Probe : CFuncBinderBase {
    Probe(char probeName, std::string* record) : name(probeName), events(*record) {}
    ~Probe() override { events += {'-', name}; }
    void Invoke(void*, CArguments) override { events += {'+', name}; }

    const char name;
    std::string& events;
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

    RegisterFunction(m_keys, [](const char* text) { return text + 1; });
    const char* text = "";
    ZelCppBridge(m_keys, "Ada", &text);
    ZelCppBridge(m_keys, "Bob", static_cast<const char**>(nullptr));
    EXPECT_STREQ(text, "da");
}

TEST_F(CFuncBinderTest, ExistsWhileItHasUsersAndDeletesEachBinderOnce) {
    const test::ScopedLogger logger;
    std::string events;
    CBinder::Release();
    CBinder::Release();
    ZelCppBridge(m_keys);
    Probe('d', &events).Register(m_keys);
    const std::string line =
        "\n1 CFuncBinder [CBinder::GetBinder] You forgot to call CBinder::Prepare() before calling "
        "this function: the program will probably SEGFAULT now...";
    EXPECT_EQ(logger.sink->TakeText(), line + line);

    CBinder::Prepare();
    CBinder::Prepare();
    for (const char name : {'a', 'b'}) {
        (new Probe(name, &events))->Register(&m_keys[2]);
    }
    (new Probe('c', &events))->Register(&m_keys[0]);
    Probe('e', &events).Register(nullptr);
    CBinder::GetBinder()->Register(&m_keys[1], nullptr);
    EXPECT_FALSE(RegisterFunction(nullptr, [] {}));
    CBinder::Release();
    ZelCppBridge(&m_keys[2]);
    ZelCppBridge(&m_keys[1]);
    CBinder::Release();
    CBinder::Prepare();
    ZelCppBridge(&m_keys[2]);
    EXPECT_EQ(events, "-d-a-e+b-c-b");
}

TEST_F(CFuncBinderTest, ACallableMayUseTheBridge) {
    std::vector<int> counts;
    RegisterFunction(m_keys, [&](int count) {
        CBinder::Prepare();
        RegisterFunction(&m_keys[1], [&](int value) { counts.push_back(value); });
        CBinder::Release();
        ZelCppBridge(&m_keys[1], count);
        ZelCppBridge(count > 0 ? m_keys : nullptr, count - 1);
    });
    ZelCppBridge(m_keys, 2);
    EXPECT_EQ(counts, (std::vector{2, 1, 0}));
}

TEST_F(CFuncBinderTest, ACallableThatUnregistersItselfLivesUntilItReturns) {
    for (const bool isReleased : {false, true}) {
        auto capture = std::make_shared<int>();
        const std::weak_ptr<int> alive = capture;
        RegisterFunction(m_keys, [this, isReleased, capture = std::move(capture)] {
            const std::weak_ptr<int> aliveDuringCall = capture;
            isReleased ? CBinder::Release() : void(RegisterFunction(m_keys, [] {}));
            EXPECT_FALSE(aliveDuringCall.expired()) << "released: " << isReleased;
        });
        ZelCppBridge(m_keys);
        EXPECT_TRUE(alive.expired()) << "released: " << isReleased;
    }
    CBinder::Prepare();
}

TEST_F(CFuncBinderTest, CallsFromSeveralThreadsAreSerializedEvenIfTheyThrow) {
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
