#include "zel/variant/Variant.h"

#include "bench/variant/VariantBench.h"

#include <map>
#include <memory>
#include <mutex>

namespace zel::bench {

namespace {

template <class T>
class Ours {
public:
    template <class In>
    void Set(const In& in) {
        m_variant->SetValue(in, true);
    }

    template <class Out>
    void Get(Out* out) {
        m_variant->GetValue(out, true);
    }

private:
    RCPtr<VariantBase> m_variant{new Variant<T>};
};

// A polymorphic value with a lock, as a program would write it by hand.
class Value {
public:
    virtual ~Value() = default;
    virtual void SetInt(int) {}
    virtual int GetInt() const { return 0; }
};

template <class T>
class LockedValue : public Value {
public:
    explicit LockedValue(T value) : m_value(std::move(value)) {}

    void SetInt(int value) override {
        if constexpr (std::is_same_v<T, int>) {
            const std::lock_guard lock(m_mutex);
            m_value = value;
        }
    }

    int GetInt() const override {
        if constexpr (std::is_same_v<T, int>) {
            const std::lock_guard lock(m_mutex);
            return m_value;
        }
        return 0;
    }

private:
    mutable std::recursive_mutex m_mutex;
    T m_value;
};

class VirtualInt {
public:
    VirtualInt() { benchmark::DoNotOptimize(m_value); }

    void Set(int value) { m_value->SetInt(value); }
    void Get(int* value) { *value = m_value->GetInt(); }

private:
    std::shared_ptr<Value> m_value = std::make_shared<LockedValue<int>>(0);
};

void CompareInts(benchmark::State& state) {
    const RCPtr<VariantBase> left(new Variant<int>(Variants::Int::Sample()));
    const RCPtr<VariantBase> right(new Variant<int>(Variants::Int::Sample()));
    CompareEqual(state, [&] { return left->IsEqual(right, true, false, true); });
}

constexpr const char* TYPE_NAME = "U16[8]";

void CreateByTypeName(benchmark::State& state) {
    const std::string name = TYPE_NAME;
    for (auto _ : state) {
        const RCPtr<VariantBase> made = VariantBase::CreateByTypeName(name);
        benchmark::DoNotOptimize(made.Get());
    }
}

struct Values {
    using Made = std::shared_ptr<Value>;

    template <class T>
    static Made Make(std::size_t count) {
        return std::make_shared<LockedValue<T>>(T(count));
    }
};

struct VariantsByMap {
    using Made = RCPtr<VariantBase>;

    template <class T>
    static Made Make(std::size_t count) {
        return new Variant<T>(T(count), true);
    }
};

// Returns a factory function for each array type of the size in TYPE_NAME, by type name.
template <class Kind>
std::map<std::string, typename Kind::Made (*)()> MakeMakers() {
    std::map<std::string, typename Kind::Made (*)()> makers;
#define ZEL_ADD_MAKER(T, Name, ...) \
    makers[Name "[8]"] = [] { return Kind::template Make<std::vector<T>>(8); };
    ZEL_FOR_EACH_ELEMENT(ZEL_ADD_MAKER)
#undef ZEL_ADD_MAKER
    return makers;
}

template <class Kind>
void CreateByMap(benchmark::State& state) {
    const auto makers = MakeMakers<Kind>();
    const std::string name = TYPE_NAME;
    for (auto _ : state) {
        const typename Kind::Made made = makers.find(name)->second();
        benchmark::DoNotOptimize(made.operator->());
    }
}

using namespace Variants;

const Comparison s_int(Int::NAME, {{Side::OURS, SetAndGet<Int, Ours<int>>},
                                   {"under recursive_mutex", SetAndGet<Int, VirtualInt>, 0.75}});

const Comparison s_string(String::NAME, {{Side::OURS, SetAndGet<String, Ours<std::string>>}});

const Comparison s_convert(IntAsDouble::NAME, {{Side::OURS, SetAndGet<IntAsDouble, Ours<double>>}});

const Comparison s_text(INT_AS_TEXT, {{Side::OURS, SetAndGet<IntAsText<std::string>, Ours<int>>}});

const Comparison s_compare(COMPARE, {{Side::OURS, CompareInts}});

const Comparison s_create("create \"U16[8]\" by its name and drop",
                          {{Side::OURS, CreateByTypeName},
                           {"map of makers", CreateByMap<VariantsByMap>, 1.5},
                           {"of shared_ptr", CreateByMap<Values>}});

}  // namespace

}  // namespace zel::bench
