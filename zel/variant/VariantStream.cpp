#include "zel/variant/VariantStream.h"

#include "zel/foundation/StandardStreambuf.h"
#include "zel/variant/VariantAccess.h"
#include "zel/variant/VariantMessages.h"
#include "zel/variant/VariantNetworkOrder.h"

#include <algorithm>
#include <cwchar>
#include <istream>
#include <locale>
#include <new>
#include <ostream>

namespace zel {

namespace {

constexpr const char* READ_SCALAR = "ReadScalarValueFromStreamImp";
constexpr const char* READ_ARRAY = "ReadVectorValueFromStreamImp";

// The messages of the writers name other functions.
constexpr const char* WRITE_SCALAR = "WriteScalarBufferToStreamImp";
template <class T>
constexpr MessagePlace WRITE_ARRAY = {
    NumericElement<T> ? "WriteVectorValueToBufferImp" : "WriteVectorValueToStreamImp",
    BINARY_TAG<T>};

// Prints as "8 bytes".
struct ByteCount {
    friend std::ostream& operator<<(std::ostream& out, const ByteCount& bytes) {
        return out << bytes.count << " bytes";
    }

    unsigned long long count;
};

// Calls `read`. Returns false and logs if the stream ended early or threw a std::exception;
// `shortText` and `exceptionText` name what was to be read in the two messages.
template <class Read, class ShortText, class ExceptionText>
bool ReadOrLog(std::istream& in, const MessagePlace& place, const ShortText& shortText,
               const ExceptionText& exceptionText, Read read) {
    try {
        read();
        if (in.good()) {
            return true;
        }
    } catch (const std::exception& exception) {
        Log(s_variantLog, 3, place, "Caught exception while reading ", exceptionText,
            " from input stream (", exception.what(), ")");
        return false;
    }
    Log(s_variantLog, 3, place, " Unable to read ", shortText, " from input stream");
    return false;
}

// Reads `bytes` bytes; messages say `bytesInMessage`.
bool ReadBytes(std::istream& in, const MessagePlace& place, void* to, unsigned long long bytes,
               unsigned long long bytesInMessage) {
    const ByteCount text{bytesInMessage};
    return ReadOrLog(in, place, text, text,
                     [&] { in.read(static_cast<char*>(to), static_cast<std::streamsize>(bytes)); });
}

// Reads up to and including the next byte 0.
void ReadText(std::istream& in, std::string& text) {
    if (std::getline(in, text, '\0').eof()) {
        in.setstate(std::ios_base::failbit);
    }
}

template <class T>
bool ReadValue(std::istream& in, T& value) {
    constexpr MessagePlace place{READ_SCALAR, BINARY_TAG<T>};
    if constexpr (NumericElement<T>) {
        char bytes[sizeof value];
        if (!ReadBytes(in, place, bytes, sizeof bytes, sizeof bytes)) {
            return false;
        }
        value = LoadFromNetworkOrder<T>(bytes);
        return true;
    } else {
        return ReadOrLog(in, place, "string", "4 bytes", [&] { ReadText(in, value); });
    }
}

bool ReadCount(std::istream& in, const MessagePlace& place, unsigned long long& count) {
    char bytes[sizeof count];
    if (!ReadBytes(in, place, bytes, sizeof bytes, sizeof bytes)) {
        return false;
    }
    count = LoadFromNetworkOrder<unsigned long long>(bytes);
    Log(s_variantLog, 6, place, "Current vector has ", count, " elements");
    return true;
}

// Returns the number of bytes that a standard stream has in memory, 0 for any other.
std::size_t CountBytesInMemory(std::istream& in) {
    std::streambuf* const buffer = in.rdbuf();
    const std::streamsize bytes =
        buffer != nullptr && IsStandardStreambuf(*buffer) ? buffer->in_avail() : 0;
    return static_cast<std::size_t>(std::max<std::streamsize>(bytes, 0));
}

// Reads in pieces: the count is untrusted, so memory grows only with the bytes that arrive
// or are there already.
template <class T>
bool ReadElements(std::istream& in, unsigned long long count, std::vector<T>& values) {
    constexpr MessagePlace place{READ_ARRAY, BINARY_TAG<T>};
    constexpr std::size_t shortPiece = (std::size_t(4) << 20) / sizeof(T);
    if (count > values.max_size()) {
        throw std::bad_alloc();
    }
    const std::size_t present = count > shortPiece ? CountBytesInMemory(in) / sizeof(T) : 0;
    const std::size_t firstPiece = std::max(shortPiece, present);
    while (values.size() < count) {
        const std::size_t have = values.size();
        const std::size_t left = static_cast<std::size_t>(count) - have;
        const std::size_t piece = std::min(left, std::max(have, firstPiece));
        values.resize(have + piece);
        if (!ReadBytes(in, place, values.data() + have, piece * sizeof(T), count * sizeof(T))) {
            return false;
        }
        CopyToNetworkOrder<T>(values.data() + have, values.data() + have, piece);
    }
    return true;
}

bool ReadElements(std::istream& in, unsigned long long count, std::vector<std::string>& values) {
    constexpr MessagePlace place{READ_ARRAY, BINARY_TAG<std::string>};
    for (; count > 0; --count) {
        std::string text;
        if (!ReadOrLog(in, place, "single byte", "single byte", [&] { ReadText(in, text); })) {
            return false;
        }
        values.push_back(std::move(text));
    }
    return true;
}

template <class T, class Value>
bool StoreOrLog(VariantBase& variant, const MessagePlace& place, Value&& value) {
    CriticalSectionLock lock(VariantAccess::GetLock(&variant));
    if (VariantAccess::Store(variant, std::move(value), false)) {
        return true;
    }
    Log(s_variantLog, 3, place, "Unable to set variant of type ", variant.GetTypeID(),
        " with object of type ", GetTypeText<T>());
    return false;
}

void WriteValue(std::ostream& out, const std::string& text) {
    out.write(text.c_str(), static_cast<std::streamsize>(text.size() + 1));
}

template <NumericElement T>
void WriteValue(std::ostream& out, T value) {
    char bytes[sizeof value];
    StoreInNetworkOrder(value, bytes);
    out.write(bytes, sizeof bytes);
}

// Returns whether writing to a standard buffer runs a character conversion that the program
// defines. Only files are converted, and looking up the conversion takes as long as writing a short
// array. The address decides as in IsStandardStreambuf.
bool HasUserEncoding(const std::streambuf& buffer) {
    if (&typeid(buffer) != &typeid(std::filebuf)) {
        return false;
    }
    using Encoding = std::codecvt<char, char, std::mbstate_t>;
    const std::locale locale = buffer.getloc();
    const Encoding& encoding = std::use_facet<Encoding>(locale);
    return typeid(encoding) != typeid(Encoding);
}

// Returns whether a write may run code of the program, which could change the variant: that of a
// user-defined buffer, of a tied stream, which is flushed first, or of an encoding.
bool MayRunUserCode(const std::ostream& out) {
    const std::streambuf* const buffer = out.rdbuf();
    return out.tie() != nullptr ||
           (buffer != nullptr && (!IsStandardStreambuf(*buffer) || HasUserEncoding(*buffer)));
}

// Writes count and numbers in blocks that fit the cache.
template <class T>
void WriteElements(std::ostream& out, const std::vector<T>& values) {
    constexpr std::size_t countBytes = sizeof(unsigned long long);
    constexpr std::size_t blockBytes = 4096;
    char block[countBytes + blockBytes];
    StoreInNetworkOrder(static_cast<unsigned long long>(values.size()), block);
    std::size_t used = countBytes;
    std::size_t done = 0;
    do {
        const std::size_t count = std::min(blockBytes / sizeof(T), values.size() - done);
        CopyToNetworkOrder<T>(values.data() + done, block + used, count);
        out.write(block, static_cast<std::streamsize>(used + count * sizeof(T)));
        used = 0;
        done += count;
    } while (done < values.size());
}

void WriteElements(std::ostream& out, const std::vector<std::string>& values) {
    WriteValue(out, static_cast<unsigned long long>(values.size()));
    for (const std::string& value : values) {
        WriteValue(out, value);
    }
}

template <class T>
bool WriteArray(const VariantBase& variant, const std::vector<T>& values, std::ostream& out) {
    WriteElements(out, values);
    Log(s_variantLog, 6, WRITE_ARRAY<T>, "Successfully wrote variant with ", values.size(),
        " elements and type ", variant.GetTypeID(), " to stream...");
    return true;
}

template <class T>
bool WriteScalar(const VariantBase* variant, std::ostream& out) {
    constexpr MessagePlace place{WRITE_SCALAR, BINARY_TAG<T>};
    if (HasNull(place, NULL_IN_WRITER, variant)) {
        return false;
    }
    T value{};
    if (!variant->GetValue(&value, false)) {
        Log(s_variantLog, 3, place, "Unable to convert variant of type ", variant->GetTypeID(),
            " to object of type ", NumericElement<T> ? typeid(T).name() : "std::string...");
        return false;
    }
    WriteValue(out, value);
    Log(s_variantLog, 6, place, "Successfully wrote variant of type ", variant->GetTypeID(),
        " to stream...");
    return true;
}

template <class T>
bool WriteArrayCopy(const VariantBase* variant, std::ostream& out) {
    if (HasNull(WRITE_ARRAY<T>, NULL_IN_WRITER, variant)) {
        return false;
    }
    std::vector<T> values;
    if (!variant->GetValue(&values, false)) {
        Log(s_variantLog, 3, WRITE_ARRAY<T>, "Unable to get value as vector of ", GetTypeText<T>(),
            ", type is ", variant->GetTypeID());
        return false;
    }
    return WriteArray(*variant, values, out);
}

}  // namespace

}  // namespace zel

template <zel::VariantElement T>
bool ReadScalarValueFromStreamImp(zel::VariantBase* variant, std::istream& in) {
    using namespace zel;
    constexpr MessagePlace place{READ_SCALAR, BINARY_TAG<T>};
    T value{};
    return !HasNull(place, NULL_IN_READER, variant) && ReadValue(in, value) &&
           StoreOrLog<T>(*variant, place, std::move(value));
}

template <zel::VariantElement T>
bool WriteScalarValueToStreamImp(zel::VariantBase* variant, std::ostream& out) {
    return zel::WriteScalar<T>(variant, out);
}

template <zel::VariantElement T>
bool ReadVectorValueFromStreamImp(zel::VariantBase* variant, std::istream& in) {
    using namespace zel;
    constexpr MessagePlace place{READ_ARRAY, BINARY_TAG<T>};
    unsigned long long count = 0;
    std::vector<T> values;
    return !HasNull(place, NULL_IN_READER, variant) && ReadCount(in, place, count) &&
           ReadElements(in, count, values) && StoreOrLog<T>(*variant, place, std::move(values));
}

template <zel::VariantElement T>
bool WriteVectorValueToStreamImp(zel::VariantBase* variant, std::ostream& out) {
    return zel::WriteArrayCopy<T>(variant, out);
}

namespace zel {

bool VariantBase::ReadValueFromStream(std::istream& in) {
    CriticalSectionLock lock(&m_cs);
    return VisitForm(
        *this, false,
        [&]<class T>(ElementTag<T>) { return ReadScalarValueFromStreamImp<T>(this, in); },
        [&]<class T>(ElementTag<T>) { return ReadVectorValueFromStreamImp<T>(this, in); });
}

bool VariantBase::WriteValueToStream(std::ostream& out) const {
    CriticalSectionLock lock(&m_cs);
    return VisitForm(
        *this, false, [&]<class T>(ElementTag<T>) { return WriteScalar<T>(this, out); },
        [&]<class T>(ElementTag<T>) {
            // The lock is held, so the value needs a copy only against this thread itself.
            const auto* const own = VariantAccess::FindValue<std::vector<T>>(*this);
            return own != nullptr && !MayRunUserCode(out) ? WriteArray(*this, *own, out)
                                                          : WriteArrayCopy<T>(this, out);
        });
}

}  // namespace zel

#define ZEL_INSTANTIATE_STREAM(T, ...)                                               \
    template bool ReadScalarValueFromStreamImp<T>(zel::VariantBase*, std::istream&); \
    template bool WriteScalarValueToStreamImp<T>(zel::VariantBase*, std::ostream&);  \
    template bool ReadVectorValueFromStreamImp<T>(zel::VariantBase*, std::istream&); \
    template bool WriteVectorValueToStreamImp<T>(zel::VariantBase*, std::ostream&);
ZEL_FOR_EACH_ELEMENT(ZEL_INSTANTIATE_STREAM)
#undef ZEL_INSTANTIATE_STREAM
