#pragma once

#include "zel/foundation/Log.h"
#include "zel/variant/VariantBase.h"

#include <ostream>
#include <typeinfo>

namespace zel {

// The log area of the variant module. Its message texts are interface: programs match them, so they
// stay as they are, misspellings included.
extern const LogArea s_variantLog;

// The prefix of a message: "[operation< tag >] ".
struct MessagePlace {
    friend std::ostream& operator<<(std::ostream& out, const MessagePlace& place) {
        return out << '[' << place.operation << "< " << place.tag << " >] ";
    }

    const char* operation;
    const char* tag;
};

// The tag in the messages of the stream form and the buffer form.
template <class T>
inline constexpr const char* BINARY_TAG = NumericElement<T> ? "T" : "std::string";

// The tag in most messages of the text form.
template <class T>
inline constexpr const char* TEXT_TAG = sizeof(T) == 1 ? ElementTraits<T>::Spelling : "T";

// The name of an element type in most messages of the stream form and the buffer form.
template <class T>
const char* GetTypeText() {
    return NumericElement<T> ? typeid(T).name() : "std::string";
}

// The name of a value type in messages that aren't interface: "S32", "S32[]".
template <class T>
std::string GetReadableName() {
    const std::string name = ElementTraits<typename ValueTraits<T>::Element>::Name;
    return ValueTraits<T>::IsArray ? name + "[]" : name;
}

// What the messages of readers and writers say of a null variant.
inline constexpr const char* NULL_IN_READER = "Invalid variant pointer passed into function";
inline constexpr const char* NULL_IN_WRITER = "Invalid variant pointer passed to function";

// Logs at level 5 that a number was converted to the variant's type.
inline void LogNumberStored(const VariantBase& variant) {
    if (s_variantLog.IsEnabled(5)) {
        constexpr int lowBits = 0xFFFF;
        Log(s_variantLog, 5,
            "[VaraintValueConverter< SourceT, TargetT >::SetValueImp] Successfully set value to "
            "variant of type ",
            variant.GetTypeID() & lowBits);
    }
}

// Logs `message` and returns true if one of the pointers is null.
template <class... Pointers>
bool HasNull(const MessagePlace& place, const char* message, const Pointers*... pointers) {
    const bool hasNull = ((pointers == nullptr) || ...);
    if (hasNull) {
        Log(s_variantLog, 3, place, message);
    }
    return hasNull;
}

}  // namespace zel
