#pragma once

#include "zel/foundation/Export.h"
#include "zel/variant/ElementTypes.h"

#include <vector>

namespace zel {

// Compare two arrays pair by pair, as the comparisons of VariantBase do. `left` and `right` aren't
// null and aren't changed.
template <VariantElement T>
ZEL_ADVANCED_API bool IsEqualImp(std::vector<T>* left, std::vector<T>* right, bool expandSingle,
                                 bool requireAll);
template <VariantElement T>
ZEL_ADVANCED_API bool IsLessThanImp(std::vector<T>* left, std::vector<T>* right, bool expandSingle,
                                    bool requireAny);
template <VariantElement T>
ZEL_ADVANCED_API bool IsLessThanOrEqualImp(std::vector<T>* left, std::vector<T>* right,
                                           bool expandSingle, bool requireAny);
template <VariantElement T>
ZEL_ADVANCED_API bool IsGreaterThanImp(std::vector<T>* left, std::vector<T>* right,
                                       bool expandSingle, bool requireAny);
template <VariantElement T>
ZEL_ADVANCED_API bool IsGreaterThanOrEqualImp(std::vector<T>* left, std::vector<T>* right,
                                              bool expandSingle, bool requireAny);

#define ZEL_DECLARE_COMPARISONS(T, ...)                                                      \
    extern template bool IsEqualImp(std::vector<T>*, std::vector<T>*, bool, bool);           \
    extern template bool IsLessThanImp(std::vector<T>*, std::vector<T>*, bool, bool);        \
    extern template bool IsLessThanOrEqualImp(std::vector<T>*, std::vector<T>*, bool, bool); \
    extern template bool IsGreaterThanImp(std::vector<T>*, std::vector<T>*, bool, bool);     \
    extern template bool IsGreaterThanOrEqualImp(std::vector<T>*, std::vector<T>*, bool, bool);
ZEL_FOR_EACH_ELEMENT(ZEL_DECLARE_COMPARISONS)
#undef ZEL_DECLARE_COMPARISONS

}  // namespace zel
