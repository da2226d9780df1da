#include "bench/variant/VariantBench.h"

#include <Poco/Dynamic/Var.h>

namespace zel::bench {

namespace {

using Poco::Dynamic::Var;

class Holder {
public:
    template <class In>
    void Set(const In& in) {
        m_var = in;
    }

    void Get(std::string* out) { *out = m_var.extract<std::string>(); }
    void Get(double* out) { m_var.convert(*out); }

private:
    Var m_var;
};

void CompareInts(benchmark::State& state) {
    const Var left(Variants::Int::Sample());
    const Var right(Variants::Int::Sample());
    CompareEqual(state, [&] { return left == right; });
}

using namespace Variants;

constexpr const char* NAME = "Poco Dynamic::Var";

const Comparison s_string(String::NAME, {{NAME, SetAndGet<String, Holder>, 0.8}});
const Comparison s_convert(IntAsDouble::NAME, {{NAME, SetAndGet<IntAsDouble, Holder>, 1.0}});
const Comparison s_compare(COMPARE, {{NAME, CompareInts, 0.6}});

}  // namespace

}  // namespace zel::bench
