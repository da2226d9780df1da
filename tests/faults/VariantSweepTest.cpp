#include "zel/variant/Variant.h"

#include "tests/faults/Sweep.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

using namespace test;

using Value = RCPtr<VariantBase>;

using Texts = std::vector<std::string>;

std::string Joined(const Texts& texts) {
    return Variant<Texts>(texts).WriteValueToString(true);
}

std::string BytesOf(const Value& value) {
    std::ostringstream out;
    return value && value->WriteValueToStream(out) ? out.str() : "none";
}

Value MakeValue(const std::string& type, const std::string& text) {
    const Value value = VariantBase::CreateByTypeName(type);
    EXPECT_TRUE(value->ReadValueFromString(text, false));
    return value;
}

void AddVariantScenarios(const std::string& type, const std::string& before,
                         const std::string& after, std::vector<Scenario>& scenarios) {
    const std::string bytes = BytesOf(MakeValue(type, after));
    const auto add = [&](const char* name, std::function<bool(Value&)> change) {
        scenarios.push_back(
            {type + ' ' + name, [=] { return On(MakeValue(type, before), change, BytesOf); }});
    };
    add("create", [=](Value& value) {
        value = VariantBase::CreateByTypeName(type);
        return true;
    });
    add("clone", [](Value& value) {
        const Value copy = value->Clone();
        copy->SetMaximumValue();
        EXPECT_FALSE(copy->IsEqual(value, false, false, true));
        value = copy;
        return true;
    });
    add("text", [=](Value& value) { return value->ReadValueFromString(after, false); });
    add("set from text", [=](Value& value) { return value->SetValue(after, false); });
    add("stream", [=](Value& value) {
        std::istringstream in(bytes);
        return value->ReadValueFromStream(in);
    });
    add("buffer", [=](Value& value) {
        std::string block = bytes;
        unsigned long long left = block.size();
        return value->ReadValueFromBuffer(block.data(), left, true) != nullptr;
    });
    const auto addWriter = [&](const char* name, auto write) {
        scenarios.push_back(OfText(
            type + ' ' + name,
            [=, value = MakeValue(type, after)](std::string& text) { return write(value, text); }));
    };
    addWriter("to text", [](const Value& value, std::string& text) {
        text = value->WriteValueToString(true);
        return true;
    });
    addWriter("to a stream", [](const Value& value, std::string& text) {
        std::ostringstream out;
        return value->WriteValueToStream(out) && TakeText(out, text);
    });
    addWriter("to a string",
              [](const Value& value, std::string& text) { return value->GetValue(&text, false); });
    if (type.ends_with(']')) {
        scenarios.push_back({type + " to strings", [=] {
                                 const Value value = MakeValue(type, after);
                                 return On(
                                     Texts({"kept", "kept"}),
                                     [=](Texts& texts) { return value->GetValue(&texts, false); },
                                     Joined);
                             }});
    }
    if (type == "D64[]" || type == "D64[3]") {
        add("set from numbers", [](Value& value) {
            return value->SetValue(std::vector<float>{1, 2, 3}, false);
        });
    }
    if (type.ends_with("[]")) {
        add("add", [=](Value& value) {
            return value->AddElementToVectorAsString(0, after.substr(0, after.find('`')).c_str(),
                                                     false);
        });
        add("remove", [](Value& value) { return value->RemoveElementFromVector(0, false); });
        add("lengthen", [](Value& value) {
            value->SetNumberOfElements(50);
            return true;
        });
    }
}

TEST(VariantSweepTest, EveryTypeInEveryForm) {
    std::vector<Scenario> scenarios;
    const std::string texts = LONG + '`' + LONG + "`short";
#define ZEL_ADD(Type, Name, ...)                                                            \
    AddVariantScenarios(Name, "7", NumericElement<Type> ? "9" : LONG, scenarios);           \
    AddVariantScenarios(Name "[]", "7", NumericElement<Type> ? "1`2`3" : texts, scenarios); \
    AddVariantScenarios(Name "[3]", "7`8`9", NumericElement<Type> ? "1`2`3" : texts, scenarios);
    ZEL_FOR_EACH_ELEMENT(ZEL_ADD)
#undef ZEL_ADD
    scenarios.push_back(
        {"assign", [] {
             return On(
                 Variant<Texts>({"a", "b"}),
                 [](auto& value) {
                     value = Variant<Texts>({LONG, LONG}, true);
                 },
                 [](const auto& value) { return Joined(value.GetValue()) + value.GetTypeName(); });
         }});
    Sweep(scenarios);
}

}  // namespace
}  // namespace zel
