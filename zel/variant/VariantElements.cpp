#include "zel/variant/VariantAccess.h"
#include "zel/variant/VariantElementText.h"
#include "zel/variant/VariantMessages.h"
#include "zel/variant/VariantText.h"

namespace zel {

namespace {

constexpr const char* ADD = "AddElementToVectorAsStringImp";
constexpr MessagePlace REMOVE{"RemoveElementFromVectorImp", "std::vector< T >"};

template <class T>
bool ParseNewElement(const char* text, T& element, bool throwOnError) {
    constexpr MessagePlace place{ADD, TEXT_TAG<T>};
    TextType<T> value{};
    if (!ParseElement<T>(text, value)) {
        return Fail<Exception>(s_variantLog, throwOnError, place, "Unable to turn ", text,
                               " into value of type ", typeid(T).name());
    }
    if constexpr (sizeof(T) == 1) {
        if (static_cast<T>(value) != value) {
            return Fail<Exception>(s_variantLog, throwOnError, place, "Value ", value,
                                   " is out of range for ", std::is_signed_v<T> ? "a " : "",
                                   TEXT_TAG<T>);
        }
    }
    element = static_cast<T>(std::move(value));
    return true;
}

// The functions below require the variant's lock if the variant isn't null.

template <class T>
bool AddElement(VariantBase* variant, int index, const char* text, bool throwOnError) {
    constexpr MessagePlace place{ADD, TEXT_TAG<T>};
    if (variant == nullptr || text == nullptr) {
        return Fail<Exception>(s_variantLog, throwOnError, place,
                               "Invalid pointer passed to function");
    }
    T element{};
    if (!ParseNewElement(text, element, throwOnError)) {
        return false;
    }
    std::vector<T> values;
    if (!variant->GetValue(&values, throwOnError)) {
        return Fail<Exception>(s_variantLog, throwOnError, place,
                               "Unable to retrieve value vector of type ", typeid(T).name(),
                               " from variant of type ", variant->GetType());
    }
    if (index >= static_cast<std::ptrdiff_t>(values.size())) {
        return Fail<Exception>(s_variantLog, throwOnError, place,
                               "Unable to insert element at index ", index);
    }
    values.insert(index < 0 ? values.end() : values.begin() + index, element);
    if (!VariantAccess::Store(*variant, std::move(values), throwOnError)) {
        return Fail<Exception>(s_variantLog, throwOnError, place,
                               "Unable to reset value vector to variant");
    }
    return true;
}

template <class T>
bool RemoveElement(VariantBase* variant, int index, bool throwOnError) {
    if (variant == nullptr) {
        return Fail<Exception>(s_variantLog, throwOnError, REMOVE, NULL_IN_WRITER);
    }
    std::vector<T> values;
    if (!variant->GetValue(&values, throwOnError)) {
        return Fail<Exception>(s_variantLog, throwOnError, REMOVE,
                               "Unable to get vector to remove ", index, "th element");
    }
    if (index >= 0 && index < static_cast<std::ptrdiff_t>(values.size())) {
        values.erase(values.begin() + index);
    }
    if (!VariantAccess::Store(*variant, std::move(values), throwOnError)) {
        return Fail<Exception>(s_variantLog, throwOnError, REMOVE,
                               "Unable to reset vector to variant");
    }
    return true;
}

}  // namespace

bool VariantBase::AddElementToVectorAsString(int index, const char* text, bool throwOnError) {
    CriticalSectionLock lock(&m_cs);
    if (text == nullptr) {
        return Fail<Exception>(s_variantLog, throwOnError,
                               "[VariantBase::AddElementToVectorAsString] Invalid string value "
                               "passed to function");
    }
    const int id = GetTypeID();
    if ((id & TypeID::ARRAY_BITS) == 0) {
        return false;
    }
    return VisitElementType(id & ~TypeID::ARRAY_BITS, false, [&]<class T>(ElementTag<T>) {
        return AddElement<T>(this, index, text, throwOnError);
    });
}

bool VariantBase::RemoveElementFromVector(int index, bool throwOnError) {
    CriticalSectionLock lock(&m_cs);
    const int id = GetTypeID();
    if ((id & TypeID::ARRAY_BITS) != TypeID::VARIABLE_ARRAY) {
        return false;
    }
    return VisitElementType(id & ~TypeID::ARRAY_BITS, false, [&]<class T>(ElementTag<T>) {
        return RemoveElement<T>(this, index, throwOnError);
    });
}

}  // namespace zel

template <zel::VariantElement T>
bool AddElementToVectorAsStringImp(zel::VariantBase* variant, int index, const char* text,
                                   bool throwOnError) {
    zel::CriticalSectionLock lock(zel::VariantAccess::GetLock(variant));
    return zel::AddElement<T>(variant, index, text, throwOnError);
}

template <zel::VariantElement T>
bool RemoveElementFromVectorImp(int index, zel::VariantBase* variant, bool throwOnError) {
    zel::CriticalSectionLock lock(zel::VariantAccess::GetLock(variant));
    return zel::RemoveElement<T>(variant, index, throwOnError);
}

#define ZEL_INSTANTIATE_ELEMENTS(T, ...)                                                       \
    template bool AddElementToVectorAsStringImp<T>(zel::VariantBase*, int, const char*, bool); \
    template bool RemoveElementFromVectorImp<T>(int, zel::VariantBase*, bool);
ZEL_FOR_EACH_ELEMENT(ZEL_INSTANTIATE_ELEMENTS)
#undef ZEL_INSTANTIATE_ELEMENTS
