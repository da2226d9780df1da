#pragma once

#include "zel/core/StringUtils.h"
#include "zel/variant/VariantAccess.h"
#include "zel/variant/VariantConversion.h"

#include <limits>
#include <type_traits>

namespace zel {

// What a caster may do with any number, with a defined result for those that don't fit.
template <class Target, class Source>
Target CastNumber(Source value) {
    if constexpr (std::is_floating_point_v<Source> && std::is_integral_v<Target>) {
        // The limits themselves may not be exact in the source type; those next to them are.
        constexpr Source above =
            static_cast<Source>(std::numeric_limits<Target>::max() / 2 + 1) * 2;
        constexpr Source lowest = static_cast<Source>(std::numeric_limits<Target>::min());
        if (!(value < above)) {
            return value >= above ? std::numeric_limits<Target>::max() : Target(0);
        }
        return value < lowest ? std::numeric_limits<Target>::min() : static_cast<Target>(value);
    } else {
        return static_cast<Target>(value);
    }
}

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
    if (s_variantLog.IsEnabled(5)) {
        constexpr int lowBits = 0xFFFF;
        Log(s_variantLog, 5,
            "[VaraintValueConverter< SourceT, TargetT >::SetValueImp] Successfully set value to "
            "variant of type ",
            variant->GetTypeID() & lowBits);
    }
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
    const auto count = static_cast<std::size_t>(variant->GetNumberOfElements());
    if (VariantAccess::IsFixed(*variant) && count != value.size()) {
        return Fail<VariantEx>(s_variantLog, throwOnError,
                               "[VariantValueConverter< std::vector< SourceT >, std::vector< "
                               "TargetT > >::SetValueImp] Array size is fixed at ",
                               count, ", but tried to set ", value.size(),
                               "-element array to value");
    }
    std::vector<TargetE> converted;
    converted.reserve(value.size());
    for (const SourceE element : value) {
        converted.push_back(CastNumber<TargetE>(element));
    }
    if (!VariantAccess::StoreArray(variant, std::move(converted), throwOnError)) {
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
    value->reserve(value->size() + source.size());
    for (const SourceE element : source) {
        value->push_back(CastNumber<TargetE>(element));
    }
    return true;
}

}  // namespace zel
