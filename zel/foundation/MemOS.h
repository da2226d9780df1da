#pragma once

#include "zel/foundation/Export.h"
#include "zel/foundation/MemOSStreambuf.h"

#include <iostream>
#include <string>
#include <string_view>
#include <type_traits>

namespace zel {

/// Constructs the buffer before the stream that uses it.
class ZEL_ADVANCED_API MemOSStorage {
protected:
    /// The buffer.
    MemOSStreambuf m_streambuf;
};

/// A text stream in memory for building messages and for small conversions, meant as a local
/// variable. Text of up to 512 characters needs no heap allocation. Text is formatted with the
/// classic locale, whatever the global one is.
///
///     MemOS message;
///     message << "Node " << name << " not found";
///     Send(message.GetData(), message.GetLength());
///
/// Everything written can be read with the operations of `std::istream`; seeking is not supported.
/// As with every standard stream, reading at the end sets `eofbit`, and nothing can be written or
/// read until `clear` has been called.
///
/// If memory is exhausted, or a null `const char*` is written, `badbit` is set and the text written
/// so far is kept. Not thread-safe.
///
/// Guide: docs/foundation.md
class ZEL_ADVANCED_API MemOS : private MemOSStorage, public std::iostream {
public:
    /// Makes an empty stream.
    MemOS();
    ~MemOS() override;
    MemOS(const MemOS&) = delete;
    MemOS& operator=(const MemOS&) = delete;

    /// Returns the text written so far, zero-terminated and valid until the next write.
    const char* GetData() { return m_streambuf.GetData(); }

    /// Returns the number of characters written so far, zero bytes included.
    int GetLength() const { return m_streambuf.GetLength(); }

    /// Returns a view of the text written so far, valid until the next write.
    std::string_view GetText() { return {GetData(), static_cast<std::size_t>(GetLength())}; }

    /// Returns a copy of the text written so far.
    std::string ToString() { return std::string(GetText()); }

    /// Writes what `std::ostream` would write for the value. Text, and numbers with the default
    /// format flags, are written directly to the buffer. A program's own `operator<<` for another
    /// type, such as a container, is used as well.
    ///@{
    template <class T>
    requires std::is_arithmetic_v<T> MemOS& operator<<(T value) {
        if constexpr (std::is_same_v<T, char>) {
            InsertText({&value, 1});
        } else if constexpr (IsPlainNumber<T>) {
            InsertNumber(value);
        } else {
            AsStream() << value;
        }
        return *this;
    }
    template <class T>
    requires(!std::is_arithmetic_v<T>) && requires(std::ostream& out, const T& value) {
        out << value;
    }
    MemOS& operator<<(const T& value) {
        using Value = std::decay_t<T>;
        if constexpr (std::is_same_v<Value, char*> || std::is_same_v<Value, const char*>) {
            InsertZeroTerminated(value);
        } else if constexpr (std::is_same_v<Value, std::string> ||
                             std::is_same_v<Value, std::string_view>) {
            InsertText(value);
        } else {
            AsStream() << value;
        }
        return *this;
    }

    // Manipulators without arguments, such as std::hex and std::endl.
    MemOS& operator<<(std::ostream& (*manipulator)(std::ostream&)) {
        manipulator(*this);
        return *this;
    }
    MemOS& operator<<(std::ios& (*manipulator)(std::ios&)) {
        manipulator(*this);
        return *this;
    }
    MemOS& operator<<(std::ios_base& (*manipulator)(std::ios_base&)) {
        manipulator(*this);
        return *this;
    }
    ///@}

private:
    template <class T>
    static constexpr bool IsPlainNumber =
        std::is_same_v<T, short> || std::is_same_v<T, unsigned short> || std::is_same_v<T, int> ||
        std::is_same_v<T, unsigned> || std::is_same_v<T, long> ||
        std::is_same_v<T, unsigned long> || std::is_same_v<T, long long> ||
        std::is_same_v<T, unsigned long long> || std::is_same_v<T, float> ||
        std::is_same_v<T, double>;

    std::ostream& AsStream() noexcept { return *this; }

    // Returns true if the stream's state has no effect on how text and numbers are written.
    bool IsPlain() const {
        return rdstate() == goodbit && flags() == (skipws | dec) && width() == 0 &&
               tie() == nullptr && rdbuf() == &m_streambuf;
    }

    void InsertText(std::string_view text) {
        char* const room = IsPlain() ? m_streambuf.GetRoom(text.size()) : nullptr;
        if (room == nullptr) {
            AsStream() << text;
            return;
        }
        text.copy(room, text.size());
        m_streambuf.Advance(text.size());
    }

    void InsertZeroTerminated(const char* text) {
        if (text == nullptr) {
            setstate(badbit);
            return;
        }
        InsertText(text);
    }

    template <class T>
    void InsertNumber(T value);
};

extern template void MemOS::InsertNumber(short);
extern template void MemOS::InsertNumber(unsigned short);
extern template void MemOS::InsertNumber(int);
extern template void MemOS::InsertNumber(unsigned int);
extern template void MemOS::InsertNumber(long);
extern template void MemOS::InsertNumber(unsigned long);
extern template void MemOS::InsertNumber(long long);
extern template void MemOS::InsertNumber(unsigned long long);
extern template void MemOS::InsertNumber(float);
extern template void MemOS::InsertNumber(double);

}  // namespace zel
