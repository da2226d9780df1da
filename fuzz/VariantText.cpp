#include "fuzz/AnyVariant.h"

namespace zel::fuzz {

namespace {

// Adds an element as text and removes it again.
void AddAndRemove(const Value& array, int index, const char* text) {
    const std::string before = BytesOf(array);
    const int count = array->GetNumberOfElements();
    if (!array->AddElementToVectorAsString(index, text, false)) {
        Require(BytesOf(array) == before, "a rejected element changes nothing");
        return;
    }
    Require(array->GetNumberOfElements() == count + 1, "adding increases the count by one");
    Require(
        array->RemoveElementFromVector(index < 0 ? count : index, true) && BytesOf(array) == before,
        "removing restores the array");
}

}  // namespace

// The first bytes select the type, whether the text contains the count of an array, and an index.
void Run(Input input) {
    const Value value = TakeVariant(input);
    const std::string before = BytesOf(value);
    const bool withSize = input.TakeByte() % 2 != 0;
    const int index = static_cast<int>(input.TakeByte()) - 1;
    const std::string text(input.GetRest());
    if (value->ReadValueFromString(text, withSize)) {
        const Value back = value->Clone();
        back->SetMaximumValue();
        const std::string written = value->WriteValueToString(withSize);
        Require(back->ReadValueFromString(written, withSize), "written text can be read");
        Require(back->WriteValueToString(withSize) == written,
                "written text reads back as the same value");
    } else {
        Require(BytesOf(value) == before, "a failed read changes nothing");
    }
    AddAndRemove(value, index, text.c_str());
}

}  // namespace zel::fuzz
