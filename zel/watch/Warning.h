#pragma once

#include "zel/foundation/CriticalSectionLock.h"

#include <set>
#include <string>
#include <utility>

namespace zel {

// Why a watcher may miss changes at the moment. Thread-safe: programs may ask during a Tick.
class Warning {
public:
    // Replaces the text, which is empty if there is none. Returns true if it is one that wasn't set
    // before, and has to be logged.
    bool Set(std::string text) {
        CriticalSectionLock lock(&m_cs);
        const bool isNew = !text.empty() && m_earlier.insert(text).second;
        m_text = std::move(text);
        return isNew;
    }

    std::string Get() const {
        CriticalSectionLock lock(&m_cs);
        return m_text;
    }

private:
    mutable CriticalSection m_cs{std::string()};
    std::string m_text;
    std::set<std::string> m_earlier;
};

}  // namespace zel
