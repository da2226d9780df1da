#pragma once

#include <unistd.h>
#include <utility>

namespace zel::platform {

// Owns a file descriptor, or none, and closes it.
class Descriptor {
public:
    Descriptor() noexcept = default;
    explicit Descriptor(int number) noexcept : m_number(number) {}
    Descriptor(Descriptor&& other) noexcept : m_number(std::exchange(other.m_number, -1)) {}
    ~Descriptor() { Close(); }

    Descriptor& operator=(Descriptor&& other) noexcept {
        Close();
        m_number = std::exchange(other.m_number, -1);
        return *this;
    }

    // Negative for none.
    int Get() const noexcept { return m_number; }
    bool IsOpen() const noexcept { return m_number >= 0; }

private:
    void Close() noexcept {
        if (IsOpen()) {
            ::close(m_number);
        }
    }

    int m_number = -1;
};

}  // namespace zel::platform
