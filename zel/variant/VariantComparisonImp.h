#pragma once

#include "zel/variant/VariantComparison.h"

#include <algorithm>
#include <functional>

namespace zel {

// A relation between two values, and whether the last argument of its comparison asks for all pairs
// or for any: IsEqual is told to require all, the others to require any.
template <class Function, bool RequiresAll>
struct Relation {
    template <class T>
    static bool Holds(const T& left, const T& right) {
        return Function()(left, right);
    }

    static constexpr bool MustHoldForAll(bool requirement) { return requirement == RequiresAll; }
};

using Equal = Relation<std::equal_to<>, true>;
using Less = Relation<std::less<>, false>;
using LessOrEqual = Relation<std::less_equal<>, false>;
using Greater = Relation<std::greater<>, false>;
using GreaterOrEqual = Relation<std::greater_equal<>, false>;

// `requirement` is the comparison's last argument. A single element that is to stand for many does
// so without being copied.
template <class Relate, class T>
bool ComparePairs(const std::vector<T>& left, const std::vector<T>& right, bool expandSingle,
                  bool requirement) {
    const bool isLeftSingle = expandSingle && left.size() == 1;
    const bool isRightSingle = expandSingle && !isLeftSingle && right.size() == 1;
    if (left.size() != right.size() && !isLeftSingle && !isRightSingle) {
        return false;
    }
    const bool mustHoldForAll = Relate::MustHoldForAll(requirement);
    if constexpr (std::is_same_v<Relate, Equal>) {
        if (mustHoldForAll && left.size() == right.size()) {
            return std::equal(left.begin(), left.end(), right.begin());
        }
    }
    const std::size_t count = isLeftSingle ? right.size() : left.size();
    for (std::size_t i = 0; i < count; ++i) {
        if (Relate::Holds(left[isLeftSingle ? 0 : i], right[isRightSingle ? 0 : i]) !=
            mustHoldForAll) {
            return !mustHoldForAll;
        }
    }
    return mustHoldForAll;
}

#define ZEL_DEFINE_COMPARISON(Operation, Relate)                                   \
    template <VariantElement T>                                                    \
    bool Operation(std::vector<T>* left, std::vector<T>* right, bool expandSingle, \
                   bool requirement) {                                             \
        return ComparePairs<Relate>(*left, *right, expandSingle, requirement);     \
    }
ZEL_DEFINE_COMPARISON(IsEqualImp, Equal)
ZEL_DEFINE_COMPARISON(IsLessThanImp, Less)
ZEL_DEFINE_COMPARISON(IsLessThanOrEqualImp, LessOrEqual)
ZEL_DEFINE_COMPARISON(IsGreaterThanImp, Greater)
ZEL_DEFINE_COMPARISON(IsGreaterThanOrEqualImp, GreaterOrEqual)
#undef ZEL_DEFINE_COMPARISON

}  // namespace zel
