#include "zel/variant/VariantGateImp.h"

// The gate for all 22 value types, and all converters of numbers.

namespace zel {

#define ZEL_INSTANTIATE_GATE(T, ...)                                    \
    template bool VariantBase::StoreValue(const T&, bool);              \
    template bool VariantBase::StoreValue(const std::vector<T>&, bool); \
    template bool VariantBase::FetchValue(T*, bool) const;              \
    template bool VariantBase::FetchValue(std::vector<T>*, bool) const;
ZEL_FOR_EACH_ELEMENT(ZEL_INSTANTIATE_GATE)

namespace {

// The list can't be expanded within itself, so the pairs are made by taking their addresses, which
// also keeps those that the compiler would have inlined everywhere.
template <class Source, class Target>
void KeepConverter() {
    using Converter = VariantValueConverter<Source, Target>;
    [[maybe_unused]] const volatile auto set = &Converter::SetValueImp;
    [[maybe_unused]] const volatile auto get = &Converter::GetValueImp;
}

template <class Source>
void KeepConvertersFrom() {
#define ZEL_KEEP(Target, ...)        \
    KeepConverter<Source, Target>(); \
    KeepConverter<std::vector<Source>, std::vector<Target>>();
    ZEL_FOR_EACH_NUMERIC_ELEMENT(ZEL_KEEP)
}

[[gnu::used]] void KeepConverters() {
#define ZEL_KEEP_FROM(Source, ...) KeepConvertersFrom<Source>();
    ZEL_FOR_EACH_NUMERIC_ELEMENT(ZEL_KEEP_FROM)
}

}  // namespace

}  // namespace zel
