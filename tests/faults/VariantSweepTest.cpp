#include "zel/variant/Variant.h"

#include "tests/faults/Sweep.h"

#include <gtest/gtest.h>

#include <sstream>

namespace zel {
namespace {

using namespace test;

using Value = RCPtr<VariantBase>;
using Texts = std::vector<std::string>;

std::string BytesOf(const Value& value) {
    std::ostringstream out;
    EXPECT_TRUE(value->WriteValueToStream(out));
    return out.str();
}

Value MakeValue(const std::string& type, const std::string& text) {
    const Value value = VariantBase::CreateByTypeName(type);
    EXPECT_TRUE(value->ReadValueFromString(text, false));
    return value;
}

// A type, a value that its variant has and another, as text and as bytes.
struct Sample {
    std::string type;
    std::string before;
    std::string after;
    std::string bytes = BytesOf(MakeValue(type, after));
};

// What is made of a value in another form takes its place as a variant.
bool Keep(bool isMade, const std::string& text, Value& value) {
    value = isMade ? Value(new Variant<std::string>(text)) : value;
    return isMade;
}

// What a variant is changed to.
const struct {
    const char* name;
    const char* shape;  // what the names of the types end in
    bool (*change)(Value& value, const Sample& sample);
} s_changes[] = {
    {"make by name", "",
     [](Value& value, const Sample& sample) {
         return bool(value = VariantBase::CreateByTypeName(sample.type));
     }},
    {"clone and compare", "",
     [](Value& value, const Sample&) {
         const Value copy = value->Clone();
         copy->SetMaximumValue();
         const bool isOther = copy->IsNotEqual(value, true, false, true);
         value = copy;
         return isOther;
     }},
    {"set text", "",
     [](Value& value, const Sample& sample) { return value->SetValue(sample.after, false); }},
    {"set texts", "]",
     [](Value& value, const Sample&) { return value->SetValue(Texts(3, "1"), false); }},
    {"set numbers", "D64[3]",
     [](Value& value, const Sample&) {
         return value->SetValue(std::vector<float>{1, 2, 3}, false);
     }},
    {"read text", "",
     [](Value& value, const Sample& sample) {
         return value->ReadValueFromString(sample.after, false);
     }},
    {"read a stream", "",
     [](Value& value, const Sample& sample) {
         std::istringstream in(sample.bytes);
         return value->ReadValueFromStream(in);
     }},
    {"read a buffer", "",
     [](Value& value, const Sample& sample) {
         std::string block = sample.bytes;
         unsigned long long left = block.size();
         return value->ReadValueFromBuffer(block.data(), left, true) != nullptr;
     }},
    {"get text", "",
     [](Value& value, const Sample&) {
         std::string text;
         return Keep(value->GetValue(&text, false), text, value);
     }},
    {"write text", "",
     [](Value& value, const Sample&) {
         return Keep(true, value->WriteValueToString(true), value);
     }},
    {"write a stream", "",
     [](Value& value, const Sample&) {
         std::ostringstream out;
         return Keep(value->WriteValueToStream(out) && out.good(), out.str(), value);
     }},
    {"write a buffer", "",
     [](Value& value, const Sample&) {
         std::string block(300, '\0');
         unsigned long long left = block.size();
         void* const end = value->WriteValueToBuffer(block.data(), left, true);
         return Keep(end != nullptr, block, value);
     }},
    {"add an element", "[]",
     [](Value& value, const Sample& sample) {
         const std::string element = sample.after.substr(0, sample.after.find('`'));
         return value->AddElementToVectorAsString(0, element.c_str(), false);
     }},
    {"remove an element", "[]",
     [](Value& value, const Sample&) { return value->RemoveElementFromVector(0, false); }},
    {"lengthen", "]",
     [](Value& value, const Sample&) { return value->SetNumberOfElements(50), true; }},
};

std::string Joined(const Texts& texts) {
    return Variant<Texts>(texts).WriteValueToString(true);
}

void SweepType(const Sample& sample) {
    const auto make = [=] { return MakeValue(sample.type, sample.before); };
    std::vector<Scenario> scenarios;
    for (const auto& row : s_changes) {
        if (sample.type.ends_with(row.shape)) {
            const auto change = [=, act = row.change](Value& value) { return act(value, sample); };
            scenarios.push_back(On(sample.type + ": " + row.name, make, change, BytesOf));
        }
    }
    if (sample.type.ends_with(']')) {
        const auto get = [value = make()](Texts& texts) { return value->GetValue(&texts, false); };
        scenarios.push_back(On(
            sample.type + ": get texts",
            [] {
                return Texts({"kept", "kept"});
            },
            get, Joined));
    }
    Sweep(scenarios);
}

TEST(VariantSweepTest, EveryTypeInEveryForm) {
    const std::string texts = LONG + '`' + LONG + "`short";
#define ZEL_SWEEP(Type, Name, ...)                                       \
    SweepType({Name, "7", NumericElement<Type> ? "9" : LONG});           \
    SweepType({Name "[]", "7", NumericElement<Type> ? "1`2`3" : texts}); \
    SweepType({Name "[3]", "7`8`9", NumericElement<Type> ? "1`2`3" : texts});
    ZEL_FOR_EACH_ELEMENT(ZEL_SWEEP)
#undef ZEL_SWEEP
}

TEST(VariantSweepTest, Assignment) {
    Sweep({On(
        "assign",
        [] {
            return Variant<Texts>({"a", "b"});
        },
        [](auto& value) {
            value = Variant<Texts>({LONG, LONG}, true);
        },
        [](const auto& value) { return Joined(value.GetValue()) + value.GetTypeName(); })});
}

}  // namespace
}  // namespace zel
