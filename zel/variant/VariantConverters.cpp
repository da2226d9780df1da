#include "zel/variant/VariantAccess.h"
#include "zel/variant/VariantConversion.h"
#include "zel/variant/VariantMessages.h"
#include "zel/variant/VariantNumberCast.h"

#include <algorithm>
#include <iterator>

namespace zel {

template <class SourceT, class TargetT>
bool VariantValueConverter<SourceT, TargetT>::SetValueImp(VariantBase* variant,
                                                          const SourceT& value, bool throwOnError) {
    if (!variant->SetValue(CastNumber<TargetT>(value), throwOnError)) {
        return Fail<VariantEx>(
            s_variantLog, throwOnError,
            "[VaraintValueConverter< SourceT, TargetT >::SetValueImp] Could not set value of type ",
            typeid(SourceT).name(), " to variant of type ", variant->GetType(), " (",
            variant->GetTypeID(), ")");
    }
    LogNumberStored(*variant);
    return true;
}

template <class SourceT, class TargetT>
bool VariantValueConverter<SourceT, TargetT>::GetValueImp(const VariantBase* variant,
                                                          TargetT* value, bool throwOnError) {
    SourceT source{};
    if (!variant->GetValue(&source, throwOnError)) {
        return Fail<VariantEx>(s_variantLog, throwOnError,
                               "[GetValueImp< scalar >] Unable to get value into object of type ",
                               typeid(SourceT).name(), "!");
    }
    *value = CastNumber<TargetT>(source);
    return true;
}

template <class SourceE, class TargetE>
bool VariantValueConverter<std::vector<SourceE>, std::vector<TargetE>>::SetValueImp(
    VariantBase* variant, const std::vector<SourceE>& value, bool throwOnError) {
    const std::size_t count = VariantAccess::CountElements(*variant);
    if (VariantAccess::IsFixed(*variant) && count != value.size()) {
        return Fail<VariantEx>(s_variantLog, throwOnError,
                               "[VariantValueConverter< std::vector< SourceT >, std::vector< "
                               "TargetT > >::SetValueImp] Array size is fixed at ",
                               count, ", but tried to set ", value.size(),
                               "-element array to value");
    }
    std::vector<TargetE> converted(value.size());
    std::transform(value.begin(), value.end(), converted.begin(), CastNumber<TargetE, SourceE>);
    CriticalSectionLock lock(VariantAccess::GetLock(variant));
    if (!VariantAccess::Store(*variant, std::move(converted), throwOnError)) {
        return Fail<VariantEx>(s_variantLog, throwOnError,
                               "[VariantValueConverter< std::vector< SourceT >, std::vector< "
                               "TargetT > >::SetValueImp] Unable to set array of ",
                               value.size(), " elements to variant value");
    }
    return true;
}

template <class SourceE, class TargetE>
bool VariantValueConverter<std::vector<SourceE>, std::vector<TargetE>>::GetValueImp(
    const VariantBase* variant, std::vector<TargetE>* value, bool throwOnError) {
    std::vector<SourceE> source;
    if (!variant->GetValue(&source, throwOnError)) {
        return Fail<VariantEx>(s_variantLog, throwOnError,
                               "[VariantValueConverter< std::vector< SourceT >, std::vector< "
                               "TargetT > >::GetValueImp] Unable to get vector of values into temp "
                               "vector");
    }
    value->resize(value->size() + source.size());
    std::transform(source.begin(), source.end(), value->end() - std::ssize(source),
                   CastNumber<TargetE, SourceE>);
    return true;
}

namespace {

bool RejectCall(const char* source, const char* target, const char* operation) {
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
    return RejectCall(TEXT, TEXT, "SetValueImp");
}

bool TextToText::GetValueImp(const VariantBase*, std::string*, bool) {
    return RejectCall(TEXT, TEXT, "GetValueImp");
}

bool TextToText::AddElementToVector(int, VariantBase*, std::string*, bool) {
    return RejectCall(TEXT, TEXT, "AddElementToVector");
}

bool TextsToTexts::SetValueImp(VariantBase*, const std::vector<std::string>&, bool) {
    return RejectCall(TEXTS, TEXTS, "SetValueImp");
}

bool TextsToTexts::GetValueImp(const VariantBase*, std::vector<std::string>*, bool) {
    return RejectCall(TEXTS, TEXTS, "GetValueImp");
}

bool TextsToTexts::AddElementToVector(int, VariantBase*, std::vector<std::string>*, bool) {
    return RejectCall(TEXTS, TEXTS, "AddElementToVector");
}

bool TextsToText::SetValueImp(VariantBase*, const std::vector<std::string>&, bool) {
    return RejectCall(TEXTS, TEXT, "SetValueImp");
}

bool TextsToText::GetValueImp(const VariantBase* variant, std::string* value, bool) {
    *value = variant->WriteValueToString(false);
    return true;
}

bool TextsToText::AddElementToVector(int, VariantBase*, std::vector<std::string>*, bool) {
    return RejectCall(TEXTS, TEXT, "AddElementToVector");
}

bool TextToTexts::SetValueImp(VariantBase* variant, const std::string& value, bool) {
    return variant->ReadValueFromString(value, false);
}

bool TextToTexts::GetValueImp(const VariantBase*, std::vector<std::string>*, bool) {
    return RejectCall(TEXT, TEXTS, "GetValueImp");
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

namespace {

// The list can't be expanded within itself, so each pair is instantiated by taking the addresses,
// which also keeps the functions that are inlined everywhere.
template <class Source, class Target>
void InstantiateConverter() {
    using Converter = VariantValueConverter<Source, Target>;
    [[maybe_unused]] const volatile auto set = &Converter::SetValueImp;
    [[maybe_unused]] const volatile auto get = &Converter::GetValueImp;
}

template <class Source>
void InstantiateConvertersFrom() {
#define ZEL_INSTANTIATE(Target, ...)        \
    InstantiateConverter<Source, Target>(); \
    InstantiateConverter<std::vector<Source>, std::vector<Target>>();
    ZEL_FOR_EACH_NUMERIC_ELEMENT(ZEL_INSTANTIATE)
#undef ZEL_INSTANTIATE
}

[[gnu::used]] void InstantiateConverters() {
#define ZEL_INSTANTIATE_FROM(Source, ...) InstantiateConvertersFrom<Source>();
    ZEL_FOR_EACH_NUMERIC_ELEMENT(ZEL_INSTANTIATE_FROM)
#undef ZEL_INSTANTIATE_FROM
}

}  // namespace

}  // namespace zel
