#pragma once

#include "zel/variant/VariantAccess.h"
#include "zel/variant/VariantByteOrderImp.h"
#include "zel/variant/VariantStream.h"

#include <algorithm>
#include <istream>
#include <new>
#include <ostream>

namespace zel::VariantStream {

inline constexpr unsigned long long COUNT_BYTES = sizeof(unsigned long long);

// Which message a place writes: those of strings name them, those of numbers have the letter.
template <class T>
inline constexpr const char* Tag = NumericElement<T> ? "T" : "std::string";

// Runs a reading of the stream. False if the stream came up short, or threw; then a line says so,
// with what was to be read.
template <class Read, class What, class Unit>
bool ReadOrLog(std::istream& in, Read read, const char* place, const char* tag, const What& shortOf,
               const Unit& threwAt) {
    try {
        read();
        if (in.good()) {
            return true;
        }
    } catch (const std::exception& exception) {
        Log(s_variantLog, 3, "[", place, "< ", tag, " >] Caught exception while reading ", threwAt,
            " from input stream (", exception.what(), ")");
        return false;
    }
    Log(s_variantLog, 3, "[", place, "< ", tag, " >]  Unable to read ", shortOf,
        " from input stream");
    return false;
}

// How a message tells a number of bytes.
struct ByteCount {
    friend std::ostream& operator<<(std::ostream& out, const ByteCount& bytes) {
        return out << bytes.count << " bytes";
    }

    unsigned long long count;
};

template <class T>
bool ReadBytes(std::istream& in, void* to, unsigned long long bytes, unsigned long long told,
               const char* place) {
    return ReadOrLog(
        in, [&] { in.read(static_cast<char*>(to), static_cast<std::streamsize>(bytes)); }, place,
        Tag<T>, ByteCount{told}, ByteCount{told});
}

// Takes the bytes ahead of the next byte 0, and that one.
inline void ReadText(std::istream& in, std::string& text) {
    if (std::getline(in, text, '\0').eof()) {
        in.setstate(std::ios_base::failbit);
    }
}

template <class T>
bool ReadCount(std::istream& in, unsigned long long& count) {
    constexpr const char* place = "ReadVectorValueFromStreamImp";
    if (!ReadBytes<T>(in, &count, COUNT_BYTES, COUNT_BYTES, place)) {
        return false;
    }
    count = Variant_ToNetworkOrder(count, false);
    Log(s_variantLog, 6, "[", place, "< ", Tag<T>, " >] Current vector has ", count, " elements");
    return true;
}

// The count is somebody's word: memory grows with the bytes that come, not with what it says.
template <class T>
bool ReadNumbers(std::istream& in, unsigned long long count, std::vector<T>& values) {
    constexpr std::size_t firstPiece = (std::size_t(4) << 20) / sizeof(T);
    if (count > values.max_size()) {
        throw std::bad_alloc();
    }
    while (values.size() < count) {
        const std::size_t have = values.size();
        const std::size_t left = static_cast<std::size_t>(count) - have;
        const std::size_t piece = std::min(left, std::max(have, firstPiece));
        values.resize(have + piece);
        if (!ReadBytes<T>(in, values.data() + have, piece * sizeof(T), count * sizeof(T),
                          "ReadVectorValueFromStreamImp")) {
            return false;
        }
    }
    CopyToNetworkOrder(values.data(), values.data(), values.size(), sizeof(T));
    return true;
}

inline bool ReadTexts(std::istream& in, unsigned long long count,
                      std::vector<std::string>& values) {
    for (; count > 0; --count) {
        std::string text;
        if (!ReadOrLog(
                in, [&] { ReadText(in, text); }, "ReadVectorValueFromStreamImp", "std::string",
                "single byte", "single byte")) {
            return false;
        }
        values.push_back(std::move(text));
    }
    return true;
}

inline void WriteText(std::ostream& out, const std::string& text) {
    out.write(text.c_str(), static_cast<std::streamsize>(text.size() + 1));
}

// Hands count and numbers over in blocks that stay in the cache.
template <class T>
void WriteNumbers(std::ostream& out, const std::vector<T>& values) {
    constexpr std::size_t blockBytes = 4096;
    char block[COUNT_BYTES + blockBytes];
    StoreInNetworkOrder(static_cast<unsigned long long>(values.size()), block);
    std::size_t used = COUNT_BYTES;
    std::size_t done = 0;
    do {
        const std::size_t count = std::min(blockBytes / sizeof(T), values.size() - done);
        CopyToNetworkOrder(values.data() + done, block + used, count, sizeof(T));
        out.write(block, static_cast<std::streamsize>(used + count * sizeof(T)));
        used = 0;
        done += count;
    } while (done < values.size());
}

inline void WriteTexts(std::ostream& out, const std::vector<std::string>& texts) {
    char count[COUNT_BYTES];
    StoreInNetworkOrder(static_cast<unsigned long long>(texts.size()), count);
    out.write(count, sizeof count);
    for (const std::string& text : texts) {
        WriteText(out, text);
    }
}

// The place that the messages of an array's writer name.
template <class T>
inline constexpr const char* ArrayWriter =
    NumericElement<T> ? "[WriteVectorValueToBufferImp< T >] "
                      : "[WriteVectorValueToStreamImp< std::string >] ";

template <class T>
bool WriteArray(const VariantBase& variant, const std::vector<T>& values, std::ostream& out) {
    if constexpr (NumericElement<T>) {
        WriteNumbers(out, values);
    } else {
        WriteTexts(out, values);
    }
    Log(s_variantLog, 6, ArrayWriter<T>, "Successfully wrote variant with ", values.size(),
        " elements and type ", variant.GetTypeID(), " to stream...");
    return true;
}

}  // namespace zel::VariantStream

template <zel::VariantElement T>
bool ReadScalarValueFromStreamImp(zel::VariantBase* variant, std::istream& in) {
    using namespace zel;
    constexpr const char* place = "ReadScalarValueFromStreamImp";
    if (variant == nullptr) {
        Log(s_variantLog, 3, "[", place, "< ", VariantStream::Tag<T>,
            " >] Invalid variant pointer passed into function");
        return false;
    }
    T value{};
    bool isRead = false;
    if constexpr (NumericElement<T>) {
        char bytes[sizeof value];
        isRead = VariantStream::ReadBytes<T>(in, bytes, sizeof bytes, sizeof bytes, place);
        value = isRead ? LoadFromNetworkOrder<T>(bytes) : value;
    } else {
        isRead = VariantStream::ReadOrLog(
            in, [&] { VariantStream::ReadText(in, value); }, place, "std::string", "string",
            "4 bytes");
    }
    if (isRead && !variant->SetValue(value, false)) {
        Log(s_variantLog, 3, "[", place, "< ", VariantStream::Tag<T>,
            " >] Unable to set variant of type ", variant->GetTypeID(), " with object of type ",
            NumericElement<T> ? typeid(T).name() : "std::string");
        return false;
    }
    return isRead;
}

template <zel::VariantElement T>
bool WriteScalarValueToStreamImp(zel::VariantBase* variant, std::ostream& out) {
    using namespace zel;
    constexpr const char* tag = VariantStream::Tag<T>;
    if (variant == nullptr) {
        Log(s_variantLog, 3, "[WriteScalarBufferToStreamImp< ", tag,
            " >] Invalid variant pointer passed to function");
        return false;
    }
    T value{};
    if (!variant->GetValue(&value, false)) {
        Log(s_variantLog, 3, "[WriteScalarBufferToStreamImp< ", tag,
            " >] Unable to convert variant of type ", variant->GetTypeID(), " to object of type ",
            NumericElement<T> ? typeid(T).name() : "std::string...");
        return false;
    }
    if constexpr (NumericElement<T>) {
        char bytes[sizeof value];
        StoreInNetworkOrder(value, bytes);
        out.write(bytes, sizeof bytes);
    } else {
        VariantStream::WriteText(out, value);
    }
    Log(s_variantLog, 6, "[WriteScalarBufferToStreamImp< ", tag,
        " >] Successfully wrote variant of type ", variant->GetTypeID(), " to stream...");
    return true;
}

template <zel::VariantElement T>
bool ReadVectorValueFromStreamImp(zel::VariantBase* variant, std::istream& in) {
    using namespace zel;
    if (variant == nullptr) {
        Log(s_variantLog, 3, "[ReadVectorValueFromStreamImp< ", VariantStream::Tag<T>,
            " >] Invalid variant pointer passed into function");
        return false;
    }
    unsigned long long count = 0;
    std::vector<T> values;
    if (!VariantStream::ReadCount<T>(in, count)) {
        return false;
    }
    bool isRead = false;
    if constexpr (NumericElement<T>) {
        isRead = VariantStream::ReadNumbers(in, count, values);
    } else {
        isRead = VariantStream::ReadTexts(in, count, values);
    }
    if (isRead && !VariantAccess::StoreArray(variant, std::move(values), false)) {
        Log(s_variantLog, 3, "[ReadVectorValueFromStreamImp< ", VariantStream::Tag<T>,
            " >] Unable to set variant of type ", variant->GetTypeID(), " with object of type ",
            NumericElement<T> ? typeid(T).name() : "std::string");
        return false;
    }
    return isRead;
}

template <zel::VariantElement T>
bool WriteVectorValueToStreamImp(zel::VariantBase* variant, std::ostream& out) {
    using namespace zel;
    constexpr bool isNumber = NumericElement<T>;
    if (variant == nullptr) {
        Log(s_variantLog, 3, VariantStream::ArrayWriter<T>,
            "Invalid variant pointer passed to function");
        return false;
    }
    std::vector<T> values;
    if (!variant->GetValue(&values, false)) {
        Log(s_variantLog, 3, VariantStream::ArrayWriter<T>, "Unable to get value as vector of ",
            isNumber ? typeid(T).name() : "std::string", ", type is ", variant->GetTypeID());
        return false;
    }
    return VariantStream::WriteArray(*variant, values, out);
}
