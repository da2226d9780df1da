#include "zel/core/RCObject.h"

namespace zel {

void RCObject::Destroy() noexcept {
    delete this;
}

}  // namespace zel
