#include "zel/core/StringUtils.h"
#include "zel/variant/VariantAccess.h"
#include "zel/variant/VariantMessages.h"
#include "zel/variant/VariantNumberCast.h"

namespace zel {

namespace {

constexpr const char* GET = "GetElement";
constexpr const char* SET = "SetElement";
constexpr const char* APPEND = "AppendElement";

enum class Outcome { DONE, NO_ARRAY, FIXED_SIZE, NO_ELEMENT, REJECTED };

// Converts by the rules that GetValue and SetValue have in common. Returns false, with `to`
// unchanged, if they reject the types.
template <class From, class To>
bool ConvertNumber(const From& from, To& to) {
    if constexpr (std::is_same_v<From, To>) {
        to = from;
        return true;
    } else if constexpr (NumericElement<From> && NumericElement<To> &&
                         TypeID::MayConvert(ElementTraits<From>::Code, ElementTraits<To>::Code)) {
        to = CastNumber<To>(from);
        return true;
    } else {
        return false;
    }
}

template <class E, class T>
Outcome Read(const E& element, T& value) {
    if constexpr (NumericElement<E> && std::is_same_v<T, std::string>) {
        value = StringUtils::NumberAsString(element);
        return Outcome::DONE;
    } else {
        return ConvertNumber(element, value) ? Outcome::DONE : Outcome::REJECTED;
    }
}

template <class T, class E>
Outcome Write(const T& value, E& element) {
    bool isWritten = false;
    if constexpr (NumericElement<E> && std::is_same_v<T, std::string>) {
        isWritten = StringUtils::NumberFromString(value, element, 0);
    } else {
        isWritten = ConvertNumber(value, element);
    }
    return isWritten ? Outcome::DONE : Outcome::REJECTED;
}

// Calls `use` with the vector of an array. Requires: the variant's lock is held.
template <class Variant, class Use>
Outcome UseArray(Variant& variant, Use use) {
    const int code = VariantAccess::GetValueCode(variant);
    if ((code & TypeID::ARRAY_BITS) == 0) {
        return Outcome::NO_ARRAY;
    }
    return VisitElementType(code & ~TypeID::ARRAY_BITS, Outcome::NO_ARRAY,
                            [&]<class E>(ElementTag<E>) {
                                return use(*VariantAccess::FindValue<std::vector<E>>(variant));
                            });
}

std::string GetReason(const VariantBase& variant, Outcome outcome, std::size_t index) {
    switch (outcome) {
        case Outcome::NO_ARRAY:
            return " has no elements";
        case Outcome::FIXED_SIZE:
            return " keeps its number of elements";
        case Outcome::NO_ELEMENT:
            return " has " + std::to_string(VariantAccess::CountElements(variant)) +
                   " elements, none at index " + std::to_string(index);
        default:
            return "";
    }
}

// Fails with a message of what was done to the array; `detail` is used if a type was rejected.
bool FailWith(const VariantBase& variant, const char* operation, Outcome outcome, std::size_t index,
              const std::string& detail, bool throwOnError) {
    return Fail<VariantEx>(
        s_variantLog, throwOnError, "[VariantBase::", operation, "] A variant of type ",
        variant.GetTypeName(),
        outcome == Outcome::REJECTED ? detail : GetReason(variant, outcome, index));
}

template <class T>
bool FailToWrite(const VariantBase& variant, const char* operation, Outcome outcome,
                 std::size_t index, const T& value, bool throwOnError) {
    std::string text;
    if constexpr (NumericElement<T>) {
        text = StringUtils::NumberAsString(value);
    } else {
        text = '\'' + value + '\'';
    }
    return FailWith(variant, operation, outcome, index,
                    " takes no element " + text + " of type " + ElementTraits<T>::Name,
                    throwOnError);
}

}  // namespace

template <class T>
T VariantBase::FetchElement(std::size_t index) const {
    CriticalSectionLock lock(&m_cs);
    T value{};
    const Outcome outcome = UseArray(*this, [&](const auto& values) {
        return index < values.size() ? Read(values[index], value) : Outcome::NO_ELEMENT;
    });
    if (outcome != Outcome::DONE) {
        FailWith(*this, GET, outcome, index,
                 std::string(" has no elements that can be read as ") + ElementTraits<T>::Name,
                 true);
    }
    return value;
}

template <class T>
bool VariantBase::StoreElement(std::size_t index, const T& value, bool throwOnError) {
    CriticalSectionLock lock(&m_cs);
    const Outcome outcome = UseArray(*this, [&](auto& values) {
        return index < values.size() ? Write(value, values[index]) : Outcome::NO_ELEMENT;
    });
    return outcome == Outcome::DONE || FailToWrite(*this, SET, outcome, index, value, throwOnError);
}

template <class T>
bool VariantBase::PushElement(const T& value, bool throwOnError) {
    CriticalSectionLock lock(&m_cs);
    const Outcome outcome = UseArray(*this, [&]<class E>(std::vector<E>& values) {
        E element{};
        const Outcome written = m_isFixed ? Outcome::FIXED_SIZE : Write(value, element);
        if (written == Outcome::DONE) {
            values.push_back(std::move(element));
        }
        return written;
    });
    return outcome == Outcome::DONE || FailToWrite(*this, APPEND, outcome, 0, value, throwOnError);
}

#define ZEL_INSTANTIATE_ELEMENT_ACCESS(T, ...)                                             \
    template ZEL_ADVANCED_API T VariantBase::FetchElement(std::size_t) const;              \
    template ZEL_ADVANCED_API bool VariantBase::StoreElement(std::size_t, const T&, bool); \
    template ZEL_ADVANCED_API bool VariantBase::PushElement(const T&, bool);
ZEL_FOR_EACH_ELEMENT(ZEL_INSTANTIATE_ELEMENT_ACCESS)
#undef ZEL_INSTANTIATE_ELEMENT_ACCESS

}  // namespace zel
