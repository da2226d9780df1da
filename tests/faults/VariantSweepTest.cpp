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

// What a variant is changed to. What is made of it in another form is kept as a variant too.
const struct {
    const char* name;
    const char* shape;  // what the names of the types end in
    bool (*change)(Value& value, const Sample& sample);
} s_changes[] = {
    {"make by name", "",
     [](Value& value, const Sample& sample) {
         value = VariantBase::CreateByTypeName(sample.type);
         return true;
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
         const bool isDone = value->GetValue(&text, false);
         value = isDone ? Value(new Variant<std::string>(text)) : value;
         return isDone;
     }},
    {"write text", "",
     [](Value& value, const Sample&) {
         value = new Variant<std::string>(value->WriteValueToString(true));
         return true;
     }},
    {"write a stream", "",
     [](Value& value, const Sample&) {
         std::ostringstream out;
         const bool isDone = value->WriteValueToStream(out) && out.good();
         value = isDone ? Value(new Variant<std::string>(out.str())) : value;
         return isDone;
     }},
    {"write a buffer", "",
     [](Value& value, const Sample&) {
         std::string block(300, '\0');
         unsigned long long left = block.size();
         const bool isDone = value->WriteValueToBuffer(block.data(), left, true) != nullptr;
         value = isDone ? Value(new Variant<std::string>(block)) : value;
         return isDone;
     }},
    {"add an element", "[]",
     [](Value& value, const Sample& sample) {
         const std::string element = sample.after.substr(0, sample.after.find('`'));
         return value->AddElementToVectorAsString(0, element.c_str(), false);
     }},
    {"remove an element", "[]",
     [](Value& value, const Sample&) { return value->RemoveElementFromVector(0, false); }},
    {"lengthen", "]",
     [](Value& value, const Sample&) {
         value->SetNumberOfElements(50);
         return true;
     }},
};

std::string Joined(const Texts& texts) {
    return Variant<Texts>(texts).WriteValueToString(true);
}

void SweepType(const Sample& sample) {
    std::vector<Scenario> scenarios;
    for (const auto& row : s_changes) {
        if (sample.type.ends_with(row.shape)) {
            scenarios.push_back({sample.type + ": " + row.name, [&] {
                                     return On(
                                         MakeValue(sample.type, sample.before),
                                         [&](Value& value) { return row.change(value, sample); },
                                         BytesOf);
                                 }});
        }
    }
    if (sample.type.ends_with(']')) {
        scenarios.push_back({sample.type + ": get texts", [&] {
                                 const Value value = MakeValue(sample.type, sample.after);
                                 return On(
                                     Texts({"kept", "kept"}),
                                     [=](Texts& texts) { return value->GetValue(&texts, false); },
                                     Joined);
                             }});
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
    Sweep(
        {{"assign", [] {
              return On(
                  Variant<Texts>({"a", "b"}),
                  [](auto& value) {
                      value = Variant<Texts>({LONG, LONG}, true);
                  },
                  [](const auto& value) { return Joined(value.GetValue()) + value.GetTypeName(); });
          }}});
}

}  // namespace
}  // namespace zel
