#include "zel/variant/VariantBuffer.h"

#include "zel/variant/VariantAccess.h"
#include "zel/variant/VariantBufferCursor.h"
#include "zel/variant/VariantMessages.h"

namespace zel {

namespace {

constexpr unsigned long long COUNT_BYTES = sizeof(unsigned long long);
constexpr const char* READ_SCALAR = "ReadScalarValueFromBufferImp";
constexpr const char* WRITE_SCALAR = "WriteScalarValueToBufferImp";
constexpr const char* READ_ARRAY = "ReadVectorValueFromBufferImp";
constexpr const char* WRITE_ARRAY = "WriteVectorValueToBufferImp";
constexpr const char* NULL_IN_BUFFER_READER = "Invalid pointer passed into function";

unsigned long long CountBytes(const std::string& value) {
    return value.size() + 1;
}

template <NumericElement T>
unsigned long long CountBytes(const T&) {
    return sizeof(T);
}

template <class T>
unsigned long long CountBytes(const std::vector<T>& values) {
    if constexpr (NumericElement<T>) {
        return values.size() * sizeof(T);
    } else {
        unsigned long long size = 0;
        for (const T& value : values) {
            size += CountBytes(value);
        }
        return size;
    }
}

template <class T>
unsigned long long CountBytes(const std::vector<T>& values, bool withSize) {
    return (withSize ? COUNT_BYTES : 0) + CountBytes(values);
}

template <class T>
bool TakeValue(BufferCursor& cursor, T& value) {
    if constexpr (NumericElement<T>) {
        if (cursor.GetLeft() < sizeof value) {
            Log(s_variantLog, 3, MessagePlace{READ_SCALAR, BINARY_TAG<T>}, "Trying to read ",
                sizeof value, " bytes from buffer for type ", typeid(T).name(), " but only ",
                cursor.GetLeft(), " bytes are available");
            return false;
        }
        value = cursor.TakeNumber<T>();
        return true;
    } else {
        if (!cursor.TakeText(value)) {
            Log(s_variantLog, 3, MessagePlace{READ_SCALAR, BINARY_TAG<T>},
                "Trying to read string from buffer but no terminating character found in ",
                cursor.GetLeft(), " bytes");
            return false;
        }
        return true;
    }
}

// Sets `count` to the number of elements that a read without a count takes. Returns false and logs
// if the variant is no such array, or an array of numbers without elements.
template <class T>
bool GetPresentCount(const VariantBase& variant, unsigned long long& count) {
    constexpr MessagePlace place{READ_ARRAY, "T"};
    const std::vector<T>* const values = VariantAccess::FindValue<std::vector<T>>(variant);
    if (values == nullptr) {
        Log(s_variantLog, 3, place, "Unable to determine size from existing vector");
        return false;
    }
    if (NumericElement<T> && values->empty()) {
        Log(s_variantLog, 3, place, "Existing vector has size 0");
        return false;
    }
    count = values->size();
    return true;
}

bool TakeCount(BufferCursor& cursor, const MessagePlace& place, unsigned long long& count) {
    if (cursor.GetLeft() < COUNT_BYTES) {
        Log(s_variantLog, 3, place, "Not enough bytes to specify the size of the vector");
        return false;
    }
    count = cursor.TakeNumber<unsigned long long>();
    return true;
}

// `bytes` is the number in the message.
template <class T>
bool TakeElements(BufferCursor& cursor, unsigned long long count, unsigned long long bytes,
                  std::vector<T>& values) {
    if (count > cursor.GetLeft() / sizeof(T)) {
        Log(s_variantLog, 3, MessagePlace{READ_ARRAY, BINARY_TAG<T>}, bytes,
            " bytes are not enough to hold to hold ", count, " elements of type ", typeid(T).name(),
            " and size descriptor");
        return false;
    }
    values.resize(static_cast<std::size_t>(count));
    cursor.TakeNumbers(values.data(), values.size());
    return true;
}

bool TakeElements(BufferCursor& cursor, unsigned long long count, unsigned long long bytes,
                  std::vector<std::string>& values) {
    for (unsigned long long left = count; left > 0; --left) {
        std::string text;
        if (!cursor.TakeText(text)) {
            Log(s_variantLog, 3, MessagePlace{READ_ARRAY, BINARY_TAG<std::string>}, bytes,
                " bytes are not enough to hold ", count,
                " strings (or null termination is missing)");
            return false;
        }
        values.push_back(std::move(text));
    }
    return true;
}

// Reads numbers straight into the variant's array if nothing can fail any more.
template <class T>
bool TakeInPlace(VariantBase& variant, BufferCursor& cursor, unsigned long long count) {
    if constexpr (NumericElement<T>) {
        std::vector<T>* const values = VariantAccess::FindValue<std::vector<T>>(variant);
        const bool fits = values != nullptr && count <= values->capacity() &&
                          (count == values->size() || !VariantAccess::IsFixed(variant));
        if (fits && count <= cursor.GetLeft() / sizeof(T)) {
            values->resize(static_cast<std::size_t>(count));
            cursor.TakeNumbers(values->data(), values->size());
            return true;
        }
    }
    return false;
}

// The functions below require the variant's lock if the variant isn't null.

template <class T>
void* ReadScalar(VariantBase* variant, void* buffer, unsigned long long& bytes) {
    constexpr MessagePlace place{READ_SCALAR, BINARY_TAG<T>};
    if (HasNull(place, NULL_IN_BUFFER_READER, variant, buffer)) {
        return nullptr;
    }
    BufferCursor cursor(buffer, bytes);
    T value{};
    if (!TakeValue(cursor, value)) {
        return nullptr;
    }
    if (!VariantAccess::Store(*variant, std::move(value), false)) {
        Log(s_variantLog, 3, place, "Unable to set variant of type ", variant->GetTypeID(),
            " with value of type ", GetTypeText<T>());
        return nullptr;
    }
    return cursor.Finish(bytes);
}

template <class T>
void* WriteScalar(const VariantBase* variant, void* buffer, unsigned long long& bytes) {
    constexpr MessagePlace place{WRITE_SCALAR, BINARY_TAG<T>};
    if (HasNull(place, NULL_IN_WRITER, variant, buffer)) {
        return nullptr;
    }
    T converted{};
    const T* const value = VariantAccess::Fetch(*variant, converted);
    if (value == nullptr) {
        Log(s_variantLog, 3, place, "Unable to convert variant of type ", variant->GetTypeID(),
            " to object of type ", GetTypeText<T>());
        return nullptr;
    }
    const unsigned long long size = CountBytes(*value);
    if (bytes < size) {
        Log(s_variantLog, 3, place, "Trying to write ", size, " bytes to buffer that only has ",
            bytes, " bytes available");
        return nullptr;
    }
    BufferCursor cursor(buffer, bytes);
    if constexpr (NumericElement<T>) {
        cursor.PutNumber(*value);
    } else {
        cursor.PutText(*value);
    }
    Log(s_variantLog, 6, place, "Successfully wrote ", size, " bytes for variant of type ",
        variant->GetTypeID(), " to buffer...");
    return cursor.Finish(bytes);
}

template <class T>
void* ReadArray(VariantBase* variant, void* buffer, unsigned long long& bytes, bool withSize) {
    constexpr MessagePlace place{READ_ARRAY, BINARY_TAG<T>};
    if (HasNull(place, NULL_IN_BUFFER_READER, variant, buffer)) {
        return nullptr;
    }
    BufferCursor cursor(buffer, bytes);
    unsigned long long count = 0;
    if (!(withSize ? TakeCount(cursor, place, count) : GetPresentCount<T>(*variant, count))) {
        return nullptr;
    }
    Log(s_variantLog, 6, place, "This vector has ", count, " elements...");
    if (TakeInPlace<T>(*variant, cursor, count)) {
        return cursor.Finish(bytes);
    }
    std::vector<T> values;
    if (!TakeElements(cursor, count, bytes, values)) {
        return nullptr;
    }
    if (!VariantAccess::Store(*variant, std::move(values), false)) {
        Log(s_variantLog, 3, place, "Unable to set value of type ",
            NumericElement<T> ? typeid(T).name() : "std::vector< std::string >",
            " into variant of type ", variant->GetTypeID());
        return nullptr;
    }
    return cursor.Finish(bytes);
}

template <class T>
void PutElements(BufferCursor& cursor, const std::vector<T>& values, bool withSize) {
    if (withSize) {
        cursor.PutNumber<unsigned long long>(values.size());
    }
    if constexpr (NumericElement<T>) {
        cursor.PutNumbers(values.data(), values.size());
    } else {
        for (const T& value : values) {
            cursor.PutText(value);
        }
    }
}

template <class T>
void* WriteArray(const VariantBase* variant, void* buffer, unsigned long long& bytes,
                 bool withSize) {
    constexpr MessagePlace place{WRITE_ARRAY, BINARY_TAG<T>};
    if (HasNull(place, NULL_IN_WRITER, variant, buffer)) {
        return nullptr;
    }
    std::vector<T> converted;
    const std::vector<T>* const values = VariantAccess::Fetch(*variant, converted);
    if (values == nullptr) {
        Log(s_variantLog, 3, place, "Unable to get value as vector of ", GetTypeText<T>(),
            ", type is ", variant->GetTypeID());
        return nullptr;
    }
    const unsigned long long size = CountBytes(*values, withSize);
    if (size > bytes) {
        Log(s_variantLog, 3, place, "Full size of vector is ", size, ", but only ", bytes,
            " bytes are available");
        return nullptr;
    }
    BufferCursor cursor(buffer, bytes);
    PutElements(cursor, *values, withSize);
    Log(s_variantLog, 6, place, "Successfully wrote ", size, " bytes for variant with ",
        values->size(), " elements and type ", variant->GetTypeID(), "...");
    return cursor.Finish(bytes);
}

}  // namespace

void* VariantBase::ReadValueFromBuffer(void* buffer, unsigned long long& bytes, bool withSize) {
    CriticalSectionLock lock(&m_cs);
    return VisitForm<void*>(
        *this, nullptr, [&]<class T>(ElementTag<T>) { return ReadScalar<T>(this, buffer, bytes); },
        [&]<class T>(ElementTag<T>) { return ReadArray<T>(this, buffer, bytes, withSize); });
}

void* VariantBase::WriteValueToBuffer(void* buffer, unsigned long long& bytes,
                                      bool withSize) const {
    CriticalSectionLock lock(&m_cs);
    return VisitForm<void*>(
        *this, nullptr, [&]<class T>(ElementTag<T>) { return WriteScalar<T>(this, buffer, bytes); },
        [&]<class T>(ElementTag<T>) { return WriteArray<T>(this, buffer, bytes, withSize); });
}

unsigned long long VariantBase::GetSizeInBuffer(bool withSize) const {
    CriticalSectionLock lock(&m_cs);
    return VisitForm(
        *this, 0ULL,
        [&]<class T>(ElementTag<T>) {
            const T* const value = VariantAccess::FindValue<T>(*this);
            return value != nullptr ? CountBytes(*value) : 0;
        },
        [&]<class T>(ElementTag<T>) {
            const auto* const values = VariantAccess::FindValue<std::vector<T>>(*this);
            return values != nullptr ? CountBytes(*values, withSize) : 0;
        });
}

}  // namespace zel

template <zel::VariantElement T>
void* ReadScalarValueFromBufferImp(zel::VariantBase* variant, void* buffer,
                                   unsigned long long& bytes) {
    zel::CriticalSectionLock lock(zel::VariantAccess::GetLock(variant));
    return zel::ReadScalar<T>(variant, buffer, bytes);
}

template <zel::VariantElement T>
void* WriteScalarValueToBufferImp(zel::VariantBase* variant, void* buffer,
                                  unsigned long long& bytes) {
    zel::CriticalSectionLock lock(zel::VariantAccess::GetLock(variant));
    return zel::WriteScalar<T>(variant, buffer, bytes);
}

template <zel::VariantElement T>
void* ReadVectorValueFromBufferImp(zel::VariantBase* variant, void* buffer,
                                   unsigned long long& bytes, bool withSize) {
    zel::CriticalSectionLock lock(zel::VariantAccess::GetLock(variant));
    return zel::ReadArray<T>(variant, buffer, bytes, withSize);
}

template <zel::VariantElement T>
void* WriteVectorValueToBufferImp(zel::VariantBase* variant, void* buffer,
                                  unsigned long long& bytes, bool withSize) {
    zel::CriticalSectionLock lock(zel::VariantAccess::GetLock(variant));
    return zel::WriteArray<T>(variant, buffer, bytes, withSize);
}

#define ZEL_INSTANTIATE_BUFFER(T, ...)                                                             \
    template void* ReadScalarValueFromBufferImp<T>(zel::VariantBase*, void*, unsigned long long&); \
    template void* WriteScalarValueToBufferImp<T>(zel::VariantBase*, void*, unsigned long long&);  \
    template void* ReadVectorValueFromBufferImp<T>(zel::VariantBase*, void*, unsigned long long&,  \
                                                   bool);                                          \
    template void* WriteVectorValueToBufferImp<T>(zel::VariantBase*, void*, unsigned long long&,   \
                                                  bool);
ZEL_FOR_EACH_ELEMENT(ZEL_INSTANTIATE_BUFFER)
#undef ZEL_INSTANTIATE_BUFFER
