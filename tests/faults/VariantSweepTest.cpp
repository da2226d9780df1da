#include "zel/variant/Variant.h"

#include "tests/faults/Sweep.h"
#include "tests/support/VariantForms.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

using namespace test;

using Value = RCPtr<VariantBase>;
using Texts = std::vector<std::string>;

// A type, the text of a value before and after a change, and the bytes of the latter.
struct Subject {
    std::string type;
    std::string before;
    std::string after;
    std::string bytes = StreamForm(MakeVariant(type + ' ' + after));
};

// Replaces the value by a variant of the text that was made of it, so that both outcomes differ.
bool Keep(bool isMade, const std::string& text, Value& value) {
    value = isMade ? Value(new Variant<std::string>(text)) : value;
    return isMade;
}

// The changes.
const struct {
    const char* name;
    const char* shape;  // the end of the names of the types that it is for
    bool (*change)(Value& value, const Subject& subject);
} s_changes[] = {
    {"make by name", "",
     [](Value& value, const Subject& subject) {
         return bool(value = VariantBase::CreateByTypeName(subject.type));
     }},
    {"clone and compare", "",
     [](Value& value, const Subject&) {
         const Value copy = value->Clone();
         copy->SetMaximumValue();
         const bool isOther = copy->IsNotEqual(value, true, false, true);
         value = copy;
         return isOther;
     }},
    {"set text", "",
     [](Value& value, const Subject& subject) { return value->SetValue(subject.after, false); }},
    {"set texts", "]",
     [](Value& value, const Subject&) { return value->SetValue(Texts(3, "1"), false); }},
    {"set numbers", "D64[3]",
     [](Value& value, const Subject&) {
         return value->SetValue(std::vector<float>{1, 2, 3}, false);
     }},
    {"read a stream", "",
     [](Value& value, const Subject& subject) {
         std::istringstream in(subject.bytes);
         return value->ReadValueFromStream(in);
     }},
    {"read a buffer", "",
     [](Value& value, const Subject& subject) {
         std::string block = subject.bytes;
         unsigned long long left = block.size();
         return value->ReadValueFromBuffer(block.data(), left, true) != nullptr;
     }},
    {"get text", "",
     [](Value& value, const Subject&) {
         std::string text;
         return Keep(value->GetValue(&text, false), text, value);
     }},
    {"write a stream", "",
     [](Value& value, const Subject&) {
         std::ostringstream out;
         return Keep(value->WriteValueToStream(out) && out.good(), out.str(), value);
     }},
    {"add an element", "[]",
     [](Value& value, const Subject& subject) {
         const std::string element = subject.after.substr(0, subject.after.find('`'));
         return value->AddElementToVectorAsString(0, element.c_str(), false);
     }},
    {"append an element", "[]",
     [](Value& value, const Subject& subject) {
         return value->AppendElement(subject.after.substr(0, subject.after.find('`')));
     }},
    {"set an element", "]",
     [](Value& value, const Subject& subject) {
         return value->SetElement(0, subject.after.substr(0, subject.after.find('`')));
     }},
    {"remove an element", "[]",
     [](Value& value, const Subject&) { return value->RemoveElementFromVector(0, false); }},
};

void SweepType(const Subject& subject) {
    const auto make = [=] { return MakeVariant(subject.type + ' ' + subject.before); };
    std::vector<Scenario> scenarios;
    for (const auto& row : s_changes) {
        if (subject.type.ends_with(row.shape)) {
            const auto change = [=, act = row.change](Value& value) { return act(value, subject); };
            scenarios.push_back(On(subject.type + ": " + row.name, make, change, StreamForm));
        }
    }
    if (subject.type.ends_with(']')) {
        const auto kept = [] { return Texts(2, "kept"); };
        const auto get = [value = make()](Texts& texts) { return value->GetValue(&texts, false); };
        scenarios.push_back(
            On(subject.type + ": get texts", kept, get, testing::PrintToString<Texts>));
    }
    Sweep(scenarios);
}

TEST(VariantSweepTest, EveryChangeOfEveryTypeIsWholeOrNone) {
    const std::string texts = LONG + '`' + LONG + "`short";
#define ZEL_SWEEP(Type, Name, ...)                                       \
    SweepType({Name, "7", NumericElement<Type> ? "9" : LONG});           \
    SweepType({Name "[]", "7", NumericElement<Type> ? "1`2`3" : texts}); \
    SweepType({Name "[3]", "7`8`9", NumericElement<Type> ? "1`2`3" : texts});
    ZEL_FOR_EACH_ELEMENT(ZEL_SWEEP)
#undef ZEL_SWEEP
}

TEST(VariantSweepTest, Assignment) {
    const auto make = [] { return Variant<Texts>(Texts(2, "a")); };
    const auto assign = [](auto& value) { value = Variant<Texts>(Texts(2, LONG), true); };
    const auto state = [](const auto& v) { return v.WriteValueToString(true) + v.GetTypeName(); };
    Sweep({On("assign", make, assign, state)});
}

}  // namespace
}  // namespace zel
