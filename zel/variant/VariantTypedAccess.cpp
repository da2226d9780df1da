#include "zel/variant/VariantAccess.h"
#include "zel/variant/VariantMessages.h"

// Access to a variant by a type that the program names.

namespace zel {

namespace {

// Returns whether GetValue converts a variant with this type ID to T.
template <class T>
bool MayFetch(int id) {
    constexpr int code = ValueTraits<T>::Code;
    const bool isArray = (id & TypeID::ARRAY_BITS) != 0;
    if (std::is_same_v<T, std::string>) {
        return true;
    }
    if (isArray != ValueTraits<T>::IsArray) {
        return false;
    }
    return (code & TypeID::STRING) != 0 ||
           ((id & TypeID::STRING) == 0 && TypeID::MayConvert(id, code));
}

}  // namespace

template <class T>
T VariantBase::FetchOrThrow() const {
    if (!MayFetch<T>(GetTypeID())) {
        zel::Throw<VariantEx>(s_variantLog, "[VariantBase::GetValueAs] A variant of type ",
                              GetTypeName(), " can't be read as ", GetReadableName<T>());
    }
    T value{};
    FetchValue(&value, true);
    return value;
}

#define ZEL_INSTANTIATE_TYPED_ACCESS(T, ...)                       \
    template ZEL_ADVANCED_API T VariantBase::FetchOrThrow() const; \
    template ZEL_ADVANCED_API std::vector<T> VariantBase::FetchOrThrow() const;
ZEL_FOR_EACH_ELEMENT(ZEL_INSTANTIATE_TYPED_ACCESS)
#undef ZEL_INSTANTIATE_TYPED_ACCESS

}  // namespace zel
