#pragma once

#include "zel/core/Exception.h"

#include <string>

namespace zel::test {

// The exception that comes out of a call, as text and with its info behind it; empty if none does.
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
