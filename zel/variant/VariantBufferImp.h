#pragma once

#include "zel/variant/VariantAccess.h"
#include "zel/variant/VariantBuffer.h"
#include "zel/variant/VariantByteOrderImp.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace zel::VariantBuffer {

inline constexpr unsigned long long COUNT_BYTES = sizeof(unsigned long long);

template <class T>
inline constexpr const char* Tag = NumericElement<T> ? "T" : "std::string";

// The runtime's name of a number's type, and how messages name a string.
template <class T>
const char* NameOf(const char* nameOfText = "std::string") {
    return NumericElement<T> ? typeid(T).name() : nameOfText;
}

// A place in a block of memory and what may be used from there on.
class Cursor {
public:
    Cursor(void* buffer, unsigned long long bytes)
        : m_next(static_cast<char*>(buffer)), m_left(bytes) {}

    char* GetNext() const { return m_next; }
    unsigned long long GetLeft() const { return m_left; }

    void Skip(std::size_t bytes) {
        m_next += bytes;
        m_left -= bytes;
    }

    template <class T>
    void Put(T value) {
        StoreInNetworkOrder(value, m_next);
        Skip(sizeof value);
    }

    template <class T>
    T Take() {
        const T value = LoadFromNetworkOrder<T>(m_next);
        Skip(sizeof value);
        return value;
    }

    // The characters up to the first byte 0, then zeros up to the length and one more.
    void PutText(const std::string& text) {
        const std::size_t length = std::min(text.find('\0'), text.size());
        std::memcpy(m_next, text.data(), length);
        std::memset(m_next + length, 0, text.size() + 1 - length);
        Skip(text.size() + 1);
    }

    // False if no byte 0 is left.
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

    // Tells the caller what was used and where the next value begins.
    void* Finish(unsigned long long& bytes) const {
        bytes = m_left;
        return m_next;
    }

private:
    char* m_next;
    unsigned long long m_left;
};

// How many elements the array has that is to be read into; false, with a line, if it is no such
// array, or one of numbers without any.
template <class T>
bool GetPresentCount(VariantBase* variant, unsigned long long& count) {
    CriticalSectionLock lock(VariantAccess::GetLock(*variant));
    const std::vector<T>* const values = VariantAccess::FindValue<std::vector<T>>(variant);
    if (values == nullptr) {
        Log(s_variantLog, 3,
            "[ReadVectorValueFromBufferImp< T >] Unable to determine size from existing vector");
        return false;
    }
    if (NumericElement<T> && values->empty()) {
        Log(s_variantLog, 3, "[ReadVectorValueFromBufferImp< T >] Existing vector has size 0");
        return false;
    }
    count = values->size();
    return true;
}

template <class T>
bool GetCount(VariantBase* variant, Cursor& cursor, bool withSize, unsigned long long& count) {
    if (!withSize) {
        return GetPresentCount<T>(variant, count);
    }
    if (cursor.GetLeft() < COUNT_BYTES) {
        Log(s_variantLog, 3, "[ReadVectorValueFromBufferImp< ", Tag<T>,
            " >] Not enough bytes to specify the size of the vector");
        return false;
    }
    count = cursor.Take<unsigned long long>();
    return true;
}

template <class T>
bool TakeElements(Cursor& cursor, unsigned long long count, unsigned long long bytes,
                  std::vector<T>& values) {
    if (count > cursor.GetLeft() / sizeof(T)) {
        Log(s_variantLog, 3, "[ReadVectorValueFromBufferImp< T >] ", bytes,
            " bytes are not enough to hold to hold ", count, " elements of type ", typeid(T).name(),
            " and size descriptor");
        return false;
    }
    values.resize(static_cast<std::size_t>(count));
    CopyToNetworkOrder(cursor.GetNext(), values.data(), values.size(), sizeof(T));
    cursor.Skip(values.size() * sizeof(T));
    return true;
}

inline bool TakeElements(Cursor& cursor, unsigned long long count, unsigned long long bytes,
                         std::vector<std::string>& values) {
    for (unsigned long long left = count; left > 0; --left) {
        std::string text;
        if (!cursor.TakeText(text)) {
            Log(s_variantLog, 3, "[ReadVectorValueFromBufferImp< std::string >] ", bytes,
                " bytes are not enough to hold ", count,
                " strings (or null termination is missing)");
            return false;
        }
        values.push_back(std::move(text));
    }
    return true;
}

// Numbers go straight into the variant's own array where nothing can fail any more.
template <class T>
bool TakeInPlace(VariantBase* variant, Cursor& cursor, unsigned long long count) {
    if constexpr (NumericElement<T>) {
        CriticalSectionLock lock(VariantAccess::GetLock(*variant));
        std::vector<T>* const values = VariantAccess::FindValue<std::vector<T>>(variant);
        const bool fits = values != nullptr && count <= values->capacity() &&
                          (count == values->size() || !VariantAccess::IsFixed(*variant));
        if (fits && count <= cursor.GetLeft() / sizeof(T)) {
            values->resize(static_cast<std::size_t>(count));
            CopyToNetworkOrder(cursor.GetNext(), values->data(), values->size(), sizeof(T));
            cursor.Skip(values->size() * sizeof(T));
            return true;
        }
    }
    return false;
}

template <class T>
unsigned long long GetSizeInBuffer(const T& value) {
    if constexpr (NumericElement<T>) {
        return sizeof value;
    } else {
        return value.size() + 1;
    }
}

template <class T>
unsigned long long GetSizeInBuffer(const std::vector<T>& values) {
    if constexpr (NumericElement<T>) {
        return values.size() * sizeof(T);
    } else {
        unsigned long long size = 0;
        for (const T& value : values) {
            size += GetSizeInBuffer(value);
        }
        return size;
    }
}

template <class T>
void PutElements(Cursor& cursor, const std::vector<T>& values) {
    if constexpr (NumericElement<T>) {
        CopyToNetworkOrder(values.data(), cursor.GetNext(), values.size(), sizeof(T));
        cursor.Skip(values.size() * sizeof(T));
    } else {
        for (const T& value : values) {
            cursor.PutText(value);
        }
    }
}

}  // namespace zel::VariantBuffer

template <zel::VariantElement T>
void* ReadScalarValueFromBufferImp(zel::VariantBase* variant, void* buffer,
                                   unsigned long long& bytes) {
    using namespace zel;
    constexpr const char* tag = VariantBuffer::Tag<T>;
    if (variant == nullptr || buffer == nullptr) {
        Log(s_variantLog, 3, "[ReadScalarValueFromBufferImp< ", tag,
            " >] Invalid pointer passed into function");
        return nullptr;
    }
    VariantBuffer::Cursor cursor(buffer, bytes);
    T value{};
    if constexpr (NumericElement<T>) {
        if (bytes < sizeof value) {
            Log(s_variantLog, 3, "[ReadScalarValueFromBufferImp< T >] Trying to read ",
                sizeof value, " bytes from buffer for type ", typeid(T).name(), " but only ", bytes,
                " bytes are available");
            return nullptr;
        }
        value = cursor.Take<T>();
    } else if (!cursor.TakeText(value)) {
        Log(s_variantLog, 3,
            "[ReadScalarValueFromBufferImp< std::string >] Trying to read string from buffer but "
            "no terminating character found in ",
            bytes, " bytes");
        return nullptr;
    }
    if (!variant->SetValue(value, false)) {
        Log(s_variantLog, 3, "[ReadScalarValueFromBufferImp< ", tag,
            " >] Unable to set variant of type ", variant->GetTypeID(), " with value of type ",
            VariantBuffer::NameOf<T>());
        return nullptr;
    }
    return cursor.Finish(bytes);
}

template <zel::VariantElement T>
void* WriteScalarValueToBufferImp(zel::VariantBase* variant, void* buffer,
                                  unsigned long long& bytes) {
    using namespace zel;
    constexpr const char* tag = VariantBuffer::Tag<T>;
    if (variant == nullptr || buffer == nullptr) {
        Log(s_variantLog, 3, "[WriteScalarValueToBufferImp< ", tag,
            " >] Invalid variant pointer passed to function");
        return nullptr;
    }
    T value{};
    if (!variant->GetValue(&value, false)) {
        Log(s_variantLog, 3, "[WriteScalarValueToBufferImp< ", tag,
            " >] Unable to convert variant of type ", variant->GetTypeID(), " to object of type ",
            VariantBuffer::NameOf<T>());
        return nullptr;
    }
    const unsigned long long size = VariantBuffer::GetSizeInBuffer(value);
    if (bytes < size) {
        Log(s_variantLog, 3, "[WriteScalarValueToBufferImp< ", tag, " >] Trying to write ", size,
            " bytes to buffer that only has ", bytes, " bytes available");
        return nullptr;
    }
    VariantBuffer::Cursor cursor(buffer, bytes);
    if constexpr (NumericElement<T>) {
        cursor.Put(value);
    } else {
        cursor.PutText(value);
    }
    Log(s_variantLog, 6, "[WriteScalarValueToBufferImp< ", tag, " >] Successfully wrote ", size,
        " bytes for variant of type ", variant->GetTypeID(), " to buffer...");
    return cursor.Finish(bytes);
}

template <zel::VariantElement T>
void* ReadVectorValueFromBufferImp(zel::VariantBase* variant, void* buffer,
                                   unsigned long long& bytes, bool withSize) {
    using namespace zel;
    constexpr const char* tag = VariantBuffer::Tag<T>;
    if (variant == nullptr || buffer == nullptr) {
        Log(s_variantLog, 3, "[ReadVectorValueFromBufferImp< ", tag,
            " >] Invalid pointer passed into function");
        return nullptr;
    }
    VariantBuffer::Cursor cursor(buffer, bytes);
    unsigned long long count = 0;
    if (!VariantBuffer::GetCount<T>(variant, cursor, withSize, count)) {
        return nullptr;
    }
    Log(s_variantLog, 6, "[ReadVectorValueFromBufferImp< ", tag, " >] This vector has ", count,
        " elements...");
    if (VariantBuffer::TakeInPlace<T>(variant, cursor, count)) {
        return cursor.Finish(bytes);
    }
    std::vector<T> values;
    if (!VariantBuffer::TakeElements(cursor, count, bytes, values)) {
        return nullptr;
    }
    if (!VariantAccess::StoreArray(variant, std::move(values), false)) {
        Log(s_variantLog, 3, "[ReadVectorValueFromBufferImp< ", tag,
            " >] Unable to set value of type ",
            VariantBuffer::NameOf<T>("std::vector< std::string >"), " into variant of type ",
            variant->GetTypeID());
        return nullptr;
    }
    return cursor.Finish(bytes);
}

template <zel::VariantElement T>
void* WriteVectorValueToBufferImp(zel::VariantBase* variant, void* buffer,
                                  unsigned long long& bytes, bool withSize) {
    using namespace zel;
    constexpr const char* tag = VariantBuffer::Tag<T>;
    if (variant == nullptr || buffer == nullptr) {
        Log(s_variantLog, 3, "[WriteVectorValueToBufferImp< ", tag,
            " >] Invalid variant pointer passed to function");
        return nullptr;
    }
    CriticalSectionLock lock(VariantAccess::GetLock(*variant));
    std::vector<T> converted;
    const std::vector<T>* values = VariantAccess::FindValue<std::vector<T>>(variant);
    if (values == nullptr) {
        if (!variant->GetValue(&converted, false)) {
            Log(s_variantLog, 3, "[WriteVectorValueToBufferImp< ", tag,
                " >] Unable to get value as vector of ", VariantBuffer::NameOf<T>(), ", type is ",
                variant->GetTypeID());
            return nullptr;
        }
        values = &converted;
    }
    const unsigned long long size =
        (withSize ? VariantBuffer::COUNT_BYTES : 0) + VariantBuffer::GetSizeInBuffer(*values);
    if (size > bytes) {
        Log(s_variantLog, 3, "[WriteVectorValueToBufferImp< ", tag, " >] Full size of vector is ",
            size, ", but only ", bytes, " bytes are available");
        return nullptr;
    }
    VariantBuffer::Cursor cursor(buffer, bytes);
    if (withSize) {
        cursor.Put(static_cast<unsigned long long>(values->size()));
    }
    VariantBuffer::PutElements(cursor, *values);
    Log(s_variantLog, 6, "[WriteVectorValueToBufferImp< ", tag, " >] Successfully wrote ", size,
        " bytes for variant with ", values->size(), " elements and type ", variant->GetTypeID(),
        "...");
    return cursor.Finish(bytes);
}
