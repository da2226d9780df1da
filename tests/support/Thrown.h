#pragma once

#include "zel/core/Exception.h"

#include <string>

namespace zel::test {

// Returns the exception that `call` throws as "type: message (info)", or an empty string if none.
template <class Ex = Exception, class Call>
std::string ThrownBy(Call call) {
    try {
        call();
    } catch (const Ex& exception) {
        const std::string info = exception.GetInfo();
        return exception.AsString() + (info.empty() ? "" : " (" + info + ")");
    }
    return {};
}

}  // namespace zel::test
