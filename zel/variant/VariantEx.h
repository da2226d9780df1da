#pragma once

#include "zel/core/Exception.h"
#include "zel/foundation/Export.h"

#include <string>

namespace zel {

/// Thrown by the operations of variants.
///
/// Guide: docs/variants.md
class ZEL_ADVANCED_API VariantEx : public Exception {
public:
    VariantEx(const std::string& message, const std::string& file, int line);
};

}  // namespace zel
