#include "zel/variant/VariantConversionImp.h"

namespace zel {

namespace {

bool RefuseCall(const char* source, const char* target, const char* operation) {
    Log(s_variantLog, 3, "[VariantValueConverter< ", source, ", ", target, " >::", operation,
        "] Invalid call!");
    return false;
}

constexpr const char* TEXT = "std::string";
constexpr const char* TEXTS = "std::vector< std::string >";

}  // namespace

using TextToText = VariantValueConverter<std::string, std::string>;
using TextsToTexts = VariantValueConverter<std::vector<std::string>, std::vector<std::string>>;
using TextsToText = VariantValueConverter<std::vector<std::string>, std::string>;
using TextToTexts = VariantValueConverter<std::string, std::vector<std::string>>;

bool TextToText::SetValueImp(VariantBase*, const std::string&, bool) {
    return RefuseCall(TEXT, TEXT, "SetValueImp");
}

bool TextToText::GetValueImp(const VariantBase*, std::string*, bool) {
    return RefuseCall(TEXT, TEXT, "GetValueImp");
}

bool TextToText::AddElementToVector(int, VariantBase*, std::string*, bool) {
    return RefuseCall(TEXT, TEXT, "AddElementToVector");
}

bool TextsToTexts::SetValueImp(VariantBase*, const std::vector<std::string>&, bool) {
    return RefuseCall(TEXTS, TEXTS, "SetValueImp");
}

bool TextsToTexts::GetValueImp(const VariantBase*, std::vector<std::string>*, bool) {
    return RefuseCall(TEXTS, TEXTS, "GetValueImp");
}

bool TextsToTexts::AddElementToVector(int, VariantBase*, std::vector<std::string>*, bool) {
    return RefuseCall(TEXTS, TEXTS, "AddElementToVector");
}

bool TextsToText::SetValueImp(VariantBase*, const std::vector<std::string>&, bool) {
    return RefuseCall(TEXTS, TEXT, "SetValueImp");
}

bool TextsToText::GetValueImp(const VariantBase* variant, std::string* value, bool) {
    *value = variant->WriteValueToString(false);
    return true;
}

bool TextsToText::AddElementToVector(int, VariantBase*, std::vector<std::string>*, bool) {
    return RefuseCall(TEXTS, TEXT, "AddElementToVector");
}

bool TextToTexts::SetValueImp(VariantBase* variant, const std::string& value, bool) {
    return variant->ReadValueFromString(value, false);
}

bool TextToTexts::GetValueImp(const VariantBase*, std::vector<std::string>*, bool) {
    return RefuseCall(TEXT, TEXTS, "GetValueImp");
}

bool TextToTexts::AddElementToVector(int index, VariantBase* variant, std::string* element,
                                     bool throwOnError) {
    std::vector<std::string> values;
    if (!variant->GetValue(&values, throwOnError)) {
        return Fail<VariantEx>(s_variantLog, throwOnError,
                               "[VariantValueConverter< SourceT, std::vector< TargetT > "
                               ">::AddElementToVector] Unable to extract values from variant prior "
                               "to insertion");
    }
    if (index >= static_cast<std::ptrdiff_t>(values.size())) {
        return Fail<VariantEx>(s_variantLog, throwOnError,
                               "[VariantValueConverter< std::string, std::vector< std::string > "
                               ">::AddElementToVector] Unable to insert element at index ",
                               index);
    }
    values.insert(index < 0 ? values.end() : values.begin() + index, *element);
    if (!variant->SetValue(values, throwOnError)) {
        return Fail<VariantEx>(s_variantLog, throwOnError,
                               "[VariantValueConverter< SourceT, std::vector< TargetT > "
                               ">::AddElementToVector] Unable to reset vector values after "
                               "insertion");
    }
    return true;
}

}  // namespace zel
