#pragma once

#include "zel/foundation/Export.h"

#include <iostream>
#include <string>
#include <string_view>
#include <type_traits>

namespace zel {

// The storage of a MemOS: 512 characters within the object, and a heap block that doubles once they
// are full. Always one byte longer than its capacity, for a terminating zero.
class ZEL_ADVANCED_API MemOSStreambuf : public std::streambuf {
public:
    MemOSStreambuf() noexcept;
    ~MemOSStreambuf() override;
    MemOSStreambuf(const MemOSStreambuf&) = delete;
    MemOSStreambuf& operator=(const MemOSStreambuf&) = delete;

    // The text so far, zero-terminated; good until the next write.
    const char* GetData() noexcept {
        *pptr() = '\0';
        return m_buffer;
    }

    // The number of characters so far.
    int GetLength() const noexcept { return static_cast<int>(pptr() - m_buffer); }

    // Where `count` characters can be written as they are, null if there is no room for them
    // without growing; Advance then counts how many were.
    char* GetRoom(std::size_t count) noexcept {
        return count <= static_cast<std::size_t>(epptr() - pptr()) ? pptr() : nullptr;
    }

    // Counts characters that were written where GetRoom said, no more than it was asked for.
    void Advance(std::size_t count) noexcept { pbump(static_cast<int>(count)); }

    // Whether the stream over this storage has the classic locale still.
    bool HasClassicLocale() const noexcept { return m_hasClassicLocale; }

protected:
    // Notes whether the locale is still the classic one.
    void imbue(const std::locale& locale) override;

    // Gives the reading side what was written so far.
    int_type underflow() override;

    // Doubles the storage and stores `ch`. Throws std::bad_alloc before anything has changed, also
    // when an int couldn't count the new capacity.
    int_type overflow(int_type ch) override;

private:
    static constexpr int INLINE_CAPACITY = 512;

    void FreeBlock() noexcept;

    char* m_buffer = m_inline;
    char m_inline[INLINE_CAPACITY + 1];
    int m_capacity = INLINE_CAPACITY;
    bool m_hasClassicLocale = true;
};

// Brings the storage into being before the stream that is set up on it.
class ZEL_ADVANCED_API MemOSStorage {
protected:
    // The storage.
    MemOSStreambuf m_streambuf;
};

// A text stream in memory for messages and small conversions, as a local variable of the function
// at hand. Text of up to 512 characters costs no heap allocation. Whatever is written can be read
// in turn; there is no seeking. Text is made by the classic locale, whatever the global one is.
//
//     MemOS message;
//     message << "Node " << name << " not found";
//     Send(message.GetData(), message.GetLength());
//
// For one thread at a time. Out of memory sets badbit and keeps the text so far, and so does a null
// `const char*`.
class ZEL_ADVANCED_API MemOS : private MemOSStorage, public std::iostream {
public:
    MemOS();
    ~MemOS() override;
    MemOS(const MemOS&) = delete;
    MemOS& operator=(const MemOS&) = delete;

    // The text so far, zero-terminated; good until the next write. Writing goes on behind it.
    const char* GetData() { return m_streambuf.GetData(); }

    // The number of characters so far, zero bytes included.
    int GetLength() const { return m_streambuf.GetLength(); }

    // The same text as a view and as a string.
    std::string_view GetText() { return {GetData(), static_cast<std::size_t>(GetLength())}; }
    std::string ToString() { return std::string(GetText()); }

    // Everything that a std::ostream takes, with the same result. Text and numbers at default
    // format flags go straight to the storage. An operator that a program has for a type that isn't
    // its own, a container for instance, is not hidden by these.
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

private:
    template <class T>
    static constexpr bool IsPlainNumber =
        std::is_same_v<T, short> || std::is_same_v<T, unsigned short> || std::is_same_v<T, int> ||
        std::is_same_v<T, unsigned> || std::is_same_v<T, long> ||
        std::is_same_v<T, unsigned long> || std::is_same_v<T, long long> ||
        std::is_same_v<T, unsigned long long> || std::is_same_v<T, float> ||
        std::is_same_v<T, double>;

    std::ostream& AsStream() noexcept { return *this; }

    // True if a stream in this state would write text and numbers just as they are.
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
