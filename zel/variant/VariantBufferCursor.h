#pragma once

#include "zel/variant/VariantNetworkOrder.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>

namespace zel {

// A position in a buffer and the number of bytes left from there.
class BufferCursor {
public:
    BufferCursor(void* buffer, unsigned long long bytes)
        : m_next(static_cast<char*>(buffer)), m_left(bytes) {}

    unsigned long long GetLeft() const { return m_left; }

    // Requires: enough bytes are left, as do the next four.
    template <NumericElement T>
    void PutNumber(T value) {
        StoreInNetworkOrder(value, m_next);
        Skip(sizeof(T));
    }

    template <NumericElement T>
    T TakeNumber() {
        const T value = LoadFromNetworkOrder<T>(m_next);
        Skip(sizeof(T));
        return value;
    }

    template <NumericElement T>
    void PutNumbers(const T* values, std::size_t count) {
        CopyToNetworkOrder<T>(values, m_next, count);
        Skip(count * sizeof(T));
    }

    template <NumericElement T>
    void TakeNumbers(T* values, std::size_t count) {
        CopyToNetworkOrder<T>(m_next, values, count);
        Skip(count * sizeof(T));
    }

    // Writes the characters up to the first byte 0, then zeros up to the length and one more.
    void PutText(const std::string& text) {
        const std::size_t length = std::min(text.find('\0'), text.size());
        std::memcpy(m_next, text.data(), length);
        std::memset(m_next + length, 0, text.size() + 1 - length);
        Skip(text.size() + 1);
    }

    // Returns false if there is no byte 0.
    bool TakeText(std::string& text) {
        constexpr unsigned long long most = std::numeric_limits<std::size_t>::max();
        const auto size = static_cast<std::size_t>(std::min(m_left, most));
        const void* const end = size == 0 ? nullptr : std::memchr(m_next, 0, size);
        if (end == nullptr) {
            return false;
        }
        text.assign(m_next, static_cast<std::size_t>(static_cast<const char*>(end) - m_next));
        Skip(text.size() + 1);
        return true;
    }

    // Reports the bytes left and returns the position.
    void* Finish(unsigned long long& bytes) const {
        bytes = m_left;
        return m_next;
    }

private:
    void Skip(std::size_t bytes) {
        m_next += bytes;
        m_left -= bytes;
    }

    char* m_next;
    unsigned long long m_left;
};

}  // namespace zel
