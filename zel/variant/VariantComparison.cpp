#include "zel/variant/VariantComparison.h"

#include "zel/variant/VariantAccess.h"
#include "zel/variant/VariantMessages.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <iterator>
#include <span>
#include <type_traits>

namespace zel {

namespace {

// An integer of the width of a number of up to 4 bytes, so that each fills the same part of a SIMD
// register. Longer numbers gain nothing from the base instruction set.
template <class T>
using MaskOf =
    std::conditional_t<sizeof(T) == 1, std::int8_t,
                       std::conditional_t<sizeof(T) == 2, std::int16_t,
                                          std::conditional_t<sizeof(T) == 4, std::int32_t, void>>>;

// Returns whether the relation of all pairs is `expected`. Short numbers are compared in blocks
// without a branch, which the compiler turns into SIMD instructions.
template <class Relation, class T>
bool HaveAll(const T* left, const T* right, std::size_t count, bool expected) {
    const auto differs = [=](std::size_t i) { return Relation()(left[i], right[i]) != expected; };
    std::size_t i = 0;
    if constexpr (!std::is_void_v<MaskOf<T>>) {
        constexpr std::size_t block = 64;
        for (; count - i >= block; i += block) {
            MaskOf<T> differences = 0;
            for (std::size_t k = 0; k < block; ++k) {
                differences |= static_cast<MaskOf<T>>(differs(i + k));
            }
            if (differences != 0) {
                return false;
            }
        }
    }
    while (i < count && !differs(i)) {
        ++i;
    }
    return i == count;
}

// Compares pair by pair. A single element that is expanded isn't copied.
template <class Relation, class T>
bool ComparePairs(std::span<const T> left, std::span<const T> right, bool expandSingle,
                  bool requireAll) {
    if (left.size() == right.size()) {
        // std::equal may compare the memory as a whole, but not that of floating-point numbers.
        constexpr bool isInBlocks = std::is_floating_point_v<T> && !std::is_void_v<MaskOf<T>>;
        if (!isInBlocks && std::is_same_v<Relation, std::equal_to<>> && requireAll) {
            return std::equal(left.begin(), left.end(), right.begin());
        }
        return HaveAll<Relation>(left.data(), right.data(), left.size(), requireAll) == requireAll;
    }
    const bool isLeftSingle = left.size() == 1;
    if (!expandSingle || (!isLeftSingle && right.size() != 1)) {
        return false;
    }
    const bool hasAll =
        isLeftSingle ? std::all_of(right.begin(), right.end(),
                                   [&](const T& r) { return Relation()(left[0], r) == requireAll; })
                     : std::all_of(left.begin(), left.end(), [&](const T& l) {
                           return Relation()(l, right[0]) == requireAll;
                       });
    return hasAll == requireAll;
}

template <class Relation, class T>
bool ComparePairs(const std::vector<T>& left, const std::vector<T>& right, bool expandSingle,
                  bool requireAll) {
    return ComparePairs<Relation, T>(std::span(left), std::span(right), expandSingle, requireAll);
}

// A copy of a short array of numbers on the stack.
template <NumericElement T>
class ShortCopy {
public:
    // Returns false if the variant has another type or more elements than fit.
    bool Take(const VariantBase& variant) {
        CriticalSectionLock lock(VariantAccess::GetLock(&variant));
        const std::vector<T>* const values = VariantAccess::FindValue<std::vector<T>>(variant);
        if (values == nullptr || values->size() > std::size(m_values)) {
            return false;
        }
        m_count = values->size();
        std::copy_n(values->data(), m_count, m_values);
        return true;
    }

    std::span<const T> Get() const { return {m_values, m_count}; }

private:
    T m_values[4096 / sizeof(T)];
    std::size_t m_count = 0;
};

}  // namespace

template <VariantElement T>
bool IsEqualImp(std::vector<T>* left, std::vector<T>* right, bool expandSingle, bool requireAll) {
    return ComparePairs<std::equal_to<>>(*left, *right, expandSingle, requireAll);
}

#define ZEL_DEFINE_ORDER(Operation, Relation)                                      \
    template <VariantElement T>                                                    \
    bool Operation(std::vector<T>* left, std::vector<T>* right, bool expandSingle, \
                   bool requireAny) {                                              \
        return ComparePairs<Relation<>>(*left, *right, expandSingle, !requireAny); \
    }
ZEL_DEFINE_ORDER(IsLessThanImp, std::less)
ZEL_DEFINE_ORDER(IsLessThanOrEqualImp, std::less_equal)
ZEL_DEFINE_ORDER(IsGreaterThanImp, std::greater)
ZEL_DEFINE_ORDER(IsGreaterThanOrEqualImp, std::greater_equal)
#undef ZEL_DEFINE_ORDER

bool VariantBase::IsNotEqual(RCPtr<VariantBase> other, bool throwOnError, bool expandSingle,
                             bool requireAll) const {
    return !IsEqual(std::move(other), throwOnError, expandSingle, requireAll);
}

#define ZEL_DEFINE_WITH_OPERAND(Operation)                                                  \
    bool VariantBase::Operation(const Operand& other, bool throwOnError, bool expandSingle, \
                                bool requirement) const {                                   \
        return Operation(other.Get(), throwOnError, expandSingle, requirement);             \
    }
ZEL_DEFINE_WITH_OPERAND(IsEqual)
ZEL_DEFINE_WITH_OPERAND(IsNotEqual)
ZEL_DEFINE_WITH_OPERAND(IsLessThan)
ZEL_DEFINE_WITH_OPERAND(IsLessThanOrEqualTo)
ZEL_DEFINE_WITH_OPERAND(IsGreaterThan)
ZEL_DEFINE_WITH_OPERAND(IsGreaterThanOrEqualTo)
#undef ZEL_DEFINE_WITH_OPERAND

// Reads `other` before it takes this variant's lock: the two are never held together.
template <class T>
template <class Relation>
bool Variant<T>::Compare(const RCPtr<VariantBase>& other, const char* operation, bool throwOnError,
                         [[maybe_unused]] bool expandSingle,
                         [[maybe_unused]] bool requireAll) const {
    if (!other) {
        if (throwOnError) {
            zel::Throw<VariantEx>(s_variantLog, "[Variant< T >::", operation,
                                  "] Invalid comparison variant argument!");
        }
        return false;
    }
    if constexpr (ValueTraits<T>::IsArray && NumericElement<typename ValueTraits<T>::Element>) {
        ShortCopy<typename ValueTraits<T>::Element> copy;
        if (copy.Take(*other)) {
            CriticalSectionLock lock(&m_cs);
            return ComparePairs<Relation>(std::span(m_value), copy.Get(), expandSingle, requireAll);
        }
    }
    T value{};
    if (!other->GetValue(&value, throwOnError)) {
        return false;
    }
    CriticalSectionLock lock(&m_cs);
    if constexpr (ValueTraits<T>::IsArray) {
        return ComparePairs<Relation>(m_value, value, expandSingle, requireAll);
    } else {
        return Relation()(m_value, value);
    }
}

template <class T>
bool Variant<T>::IsEqual(RCPtr<VariantBase> other, bool throwOnError, bool expandSingle,
                         bool requireAll) const {
    return Compare<std::equal_to<>>(other, "IsEqual", throwOnError, expandSingle, requireAll);
}

#define ZEL_DEFINE_ORDER(Operation, Relation)                                                   \
    template <class T>                                                                          \
    bool Variant<T>::Operation(RCPtr<VariantBase> other, bool throwOnError, bool expandSingle,  \
                               bool requireAny) const {                                         \
        return Compare<Relation<>>(other, #Operation, throwOnError, expandSingle, !requireAny); \
    }
ZEL_DEFINE_ORDER(IsLessThan, std::less)
ZEL_DEFINE_ORDER(IsLessThanOrEqualTo, std::less_equal)
ZEL_DEFINE_ORDER(IsGreaterThan, std::greater)
ZEL_DEFINE_ORDER(IsGreaterThanOrEqualTo, std::greater_equal)
#undef ZEL_DEFINE_ORDER

#define ZEL_INSTANTIATE_MEMBER(T, Operation) \
    template bool Variant<T>::Operation(RCPtr<VariantBase>, bool, bool, bool) const;
#define ZEL_INSTANTIATE_MEMBERS(...)                         \
    ZEL_INSTANTIATE_MEMBER(__VA_ARGS__, IsEqual)             \
    ZEL_INSTANTIATE_MEMBER(__VA_ARGS__, IsLessThan)          \
    ZEL_INSTANTIATE_MEMBER(__VA_ARGS__, IsLessThanOrEqualTo) \
    ZEL_INSTANTIATE_MEMBER(__VA_ARGS__, IsGreaterThan)       \
    ZEL_INSTANTIATE_MEMBER(__VA_ARGS__, IsGreaterThanOrEqualTo)
#define ZEL_INSTANTIATE_COMPARISONS(T, ...)                                              \
    template bool IsEqualImp(std::vector<T>*, std::vector<T>*, bool, bool);              \
    template bool IsLessThanImp(std::vector<T>*, std::vector<T>*, bool, bool);           \
    template bool IsLessThanOrEqualImp(std::vector<T>*, std::vector<T>*, bool, bool);    \
    template bool IsGreaterThanImp(std::vector<T>*, std::vector<T>*, bool, bool);        \
    template bool IsGreaterThanOrEqualImp(std::vector<T>*, std::vector<T>*, bool, bool); \
    ZEL_INSTANTIATE_MEMBERS(T)                                                           \
    ZEL_INSTANTIATE_MEMBERS(std::vector<T>)
ZEL_FOR_EACH_ELEMENT(ZEL_INSTANTIATE_COMPARISONS)
#undef ZEL_INSTANTIATE_COMPARISONS
#undef ZEL_INSTANTIATE_MEMBERS
#undef ZEL_INSTANTIATE_MEMBER

}  // namespace zel
