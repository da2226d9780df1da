#include "fuzz/AnyVariant.h"

namespace zel::fuzz {

namespace {

// What comes into an array as text goes out of it again.
void AddAndRemove(const Value& array, int index, const char* text) {
    const std::string before = BytesOf(array);
    const int count = array->GetNumberOfElements();
    if (!array->AddElementToVectorAsString(index, text, false)) {
        Require(BytesOf(array) == before, "a refused element changes nothing");
        return;
    }
    Require(array->GetNumberOfElements() == count + 1, "an element is one more");
    Require(
        array->RemoveElementFromVector(index < 0 ? count : index, true) && BytesOf(array) == before,
        "an element that came goes again");
}

}  // namespace

// The first bytes choose the type, whether the count of an array is there, and a place in it.
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
        Require(back->ReadValueFromString(written, withSize), "what is written can be read");
        Require(back->WriteValueToString(withSize) == written, "and is the same value");
    } else {
        Require(BytesOf(value) == before, "a failed read changes nothing");
    }
    AddAndRemove(value, index, text.c_str());
}

}  // namespace zel::fuzz
