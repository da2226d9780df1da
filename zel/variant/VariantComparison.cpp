#include "zel/variant/VariantComparison.h"

#include "zel/variant/VariantAccess.h"
#include "zel/variant/VariantMessages.h"

#include <algorithm>
#include <functional>

namespace zel {

namespace {

// Compares pair by pair. A single element that is expanded isn't copied.
template <class Relation, class T>
bool ComparePairs(const std::vector<T>& left, const std::vector<T>& right, bool expandSingle,
                  bool requireAll) {
    const bool isLeftSingle = expandSingle && left.size() == 1;
    const bool isRightSingle = expandSingle && !isLeftSingle && right.size() == 1;
    if (left.size() != right.size() && !isLeftSingle && !isRightSingle) {
        return false;
    }
    // std::equal may compare the memory as a whole.
    if constexpr (std::is_same_v<Relation, std::equal_to<>>) {
        if (requireAll && left.size() == right.size()) {
            return std::equal(left.begin(), left.end(), right.begin());
        }
    }
    const std::size_t count = isLeftSingle ? right.size() : left.size();
    for (std::size_t i = 0; i < count; ++i) {
        if (Relation()(left[isLeftSingle ? 0 : i], right[isRightSingle ? 0 : i]) != requireAll) {
            return !requireAll;
        }
    }
    return requireAll;
}

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
