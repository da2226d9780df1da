#include "zel/core/WeakPtr.h"

#include "bench/support/Comparison.h"

#include <memory>
#include <mutex>

namespace zel::bench {

namespace {

struct Ours {
    struct Object : RCObject {
        int value = 1;
    };
    using Weak = WeakPtr<Object>;

    static RCPtr<Object> Make() { return new Object; }
    static RCPtr<Object> Upgrade(const Weak& weak) { return weak.GetRCPtr(); }
};

struct Standard {
    struct Object {
        virtual ~Object() = default;
        int value = 1;
    };
    using Weak = std::weak_ptr<Object>;

    static std::shared_ptr<Object> Make() { return std::shared_ptr<Object>(new Object); }
    static std::shared_ptr<Object> Upgrade(const Weak& weak) { return weak.lock(); }
};

struct StandardOneBlock : Standard {
    static std::shared_ptr<Object> Make() { return std::make_shared<Object>(); }
};

template <class Kind>
void MakeAndDrop(benchmark::State& state) {
    for (auto _ : state) {
        const auto pointer = Kind::Make();
        benchmark::DoNotOptimize(pointer.operator->());
    }
}

template <class Kind>
void CopyAndDrop(benchmark::State& state) {
    const auto pointer = Kind::Make();
    for (auto _ : state) {
        const auto copy = pointer;
        benchmark::DoNotOptimize(copy.operator->());
    }
}

template <class Kind>
void Upgrade(benchmark::State& state) {
    const auto pointer = Kind::Make();
    const typename Kind::Weak weak(pointer);
    for (auto _ : state) {
        const auto strong = Kind::Upgrade(weak);
        benchmark::DoNotOptimize(strong.operator->());
    }
}

void CountUnderOneMutex(benchmark::State& state) {
    static std::recursive_mutex s_mutex;
    int count = 1;
    const auto change = [&](int by) {
        const std::lock_guard lock(s_mutex);
        benchmark::DoNotOptimize(count += by);
    };
    for (auto _ : state) {
        change(1);
        change(-1);
    }
}

const Comparison s_copy("copy and drop a pointer",
                        {{Side::OURS, CopyAndDrop<Ours>},
                         {"std::shared_ptr", CopyAndDrop<Standard>, 1.0}});

const Comparison s_make("make and drop an object",
                        {{Side::OURS, MakeAndDrop<Ours>},
                         {"std::shared_ptr", MakeAndDrop<Standard>, 1.0},
                         {"std::make_shared", MakeAndDrop<StandardOneBlock>}});

const Comparison s_upgrade("weak pointer to strong and drop",
                           {{Side::OURS, Upgrade<Ours>},
                            {"std::weak_ptr", Upgrade<Standard>, 1.15}});

const Comparison s_contended("copy and drop, 2 threads with an object each",
                             {{Side::OURS, CopyAndDrop<Ours>, Side::NO_AIM, 2},
                              {"one recursive_mutex", CountUnderOneMutex, 1.3, 2},
                              {"std::shared_ptr", CopyAndDrop<Standard>, Side::NO_AIM, 2}});

}  // namespace

}  // namespace zel::bench
