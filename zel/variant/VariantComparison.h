#pragma once

#include "zel/foundation/Export.h"
#include "zel/variant/ElementTypes.h"

#include <vector>

/// @file
/// The comparisons of two arrays.
///
/// Guide: docs/variants.md

namespace zel {

/// Compares two arrays pair by pair, as described at IsEqual of VariantBase; neither is changed.
/// Requires: `left` and `right` aren't null. Thread-compatible: const calls may run concurrently.
///@{
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
///@}

}  // namespace zel
