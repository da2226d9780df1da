#include "zel/bridge/CFuncBinder.h"

#include "tests/support/RecordingLogSink.h"

#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <thread>
#include <tuple>

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

TEST_F(CFuncBinderTest, PassesEveryKindOfArgumentAndTheResult) {
    enum Colour { RED = 1, GREEN = 2 };
    int calls = 0;
    const auto pass = [&](auto... sent) {
        RegisterFunction(m_keys, [&](decltype(sent)... received) {
            ++calls;
            EXPECT_EQ(std::tuple(received...), std::tuple(sent...));
            return ULLONG_MAX;
        });
        unsigned long long result = 0;
        ZelCppBridge(m_keys, sent..., &result);
        ZelCppBridge(m_keys, sent..., static_cast<unsigned long long*>(nullptr));
        EXPECT_EQ(result, ULLONG_MAX);
    };
    pass(static_cast<signed char>(-128), static_cast<unsigned char>(255), short(-32768),
         static_cast<unsigned short>(65535), INT_MIN, UINT_MAX, -3L, LLONG_MIN, GREEN, 0.5F, 1e300,
         true, 0.25L, "Ada", &calls);
    EXPECT_EQ(calls, 2);
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
    (new Probe('a', &events))->Register(&m_keys[2]);
    (new Probe('b', &events))->Register(&m_keys[2]);
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
    std::string calls;
    RegisterFunction(m_keys, [&](int count) {
        RegisterFunction(&m_keys[1], [&](int value) { calls += std::to_string(value); });
        ZelCppBridge(&m_keys[1], count);
        ZelCppBridge(count > 0 ? m_keys : nullptr, count - 1);
    });
    ZelCppBridge(m_keys, 2);
    EXPECT_EQ(calls, "210");
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
