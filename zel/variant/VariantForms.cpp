#include "zel/variant/VariantAccess.h"
#include "zel/variant/VariantBuffer.h"
#include "zel/variant/VariantGateImp.h"
#include "zel/variant/VariantStreamImp.h"
#include "zel/variant/VariantText.h"

// The members of VariantBase behind the three forms: each takes the lock, finds the element type
// and leaves the work to the template for it.

namespace zel {

namespace {

// Calls one of two templates by whether `id` is a scalar's or a variable-sized array's.
template <class Result, class Scalar, class Array>
Result VisitForm(int id, Result otherwise, Scalar scalar, Array array) {
    switch (id & TypeID::ARRAY_BITS) {
        case 0:
            return VisitElementType(id, otherwise, scalar);
        case TypeID::VARIABLE_ARRAY:
            return VisitElementType(id & ~TypeID::ARRAY_BITS, otherwise, array);
        default:
            return otherwise;
    }
}

template <class Tag>
using ElementOf = typename Tag::Element;

void* const NOWHERE = nullptr;

}  // namespace

bool VariantBase::ReadValueFromString(const std::string& text, bool withSize) {
    CriticalSectionLock lock(&m_cs);
    return VisitForm(
        VariantAccess::GetFormID(*this), false,
        [&](auto tag) {
            return ReadScalarValueFromStringImp<ElementOf<decltype(tag)>>(this, text);
        },
        [&](auto tag) {
            return ReadVectorValueFromStringImp<ElementOf<decltype(tag)>>(this, text, withSize);
        });
}

std::string VariantBase::WriteValueToString(bool withSize) const {
    CriticalSectionLock lock(&m_cs);
    return VisitForm(
        VariantAccess::GetFormID(*this), std::string(),
        [&](auto tag) { return WriteScalarValueToStringImp<ElementOf<decltype(tag)>>(this); },
        [&](auto tag) {
            return WriteVectorValueToStringImp<ElementOf<decltype(tag)>>(this, withSize);
        });
}

bool VariantBase::AddElementToVectorAsString(int index, const char* text, bool throwOnError) {
    CriticalSectionLock lock(&m_cs);
    if (text == nullptr) {
        return Fail<Exception>(s_variantLog, throwOnError,
                               "[VariantBase::AddElementToVectorAsString] Invalid string value "
                               "passed to function");
    }
    const int id = GetTypeID();
    if ((id & TypeID::ARRAY_BITS) == 0) {
        return false;
    }
    return VisitElementType(id & ~TypeID::ARRAY_BITS, false, [&](auto tag) {
        return AddElementToVectorAsStringImp<ElementOf<decltype(tag)>>(this, index, text,
                                                                       throwOnError);
    });
}

bool VariantBase::RemoveElementFromVector(int index, bool throwOnError) {
    CriticalSectionLock lock(&m_cs);
    const int id = GetTypeID();
    if ((id & TypeID::ARRAY_BITS) != TypeID::VARIABLE_ARRAY) {
        return false;
    }
    return VisitElementType(id & ~TypeID::ARRAY_BITS, false, [&](auto tag) {
        return RemoveElementFromVectorImp<ElementOf<decltype(tag)>>(index, this, throwOnError);
    });
}

bool VariantBase::ReadValueFromStream(std::istream& in) {
    CriticalSectionLock lock(&m_cs);
    return VisitForm(
        VariantAccess::GetFormID(*this), false,
        [&](auto tag) { return ReadScalarValueFromStreamImp<ElementOf<decltype(tag)>>(this, in); },
        [&](auto tag) { return ReadVectorValueFromStreamImp<ElementOf<decltype(tag)>>(this, in); });
}

bool VariantBase::WriteValueToStream(std::ostream& out) {
    CriticalSectionLock lock(&m_cs);
    return VisitForm(
        VariantAccess::GetFormID(*this), false,
        [&](auto tag) { return WriteScalarValueToStreamImp<ElementOf<decltype(tag)>>(this, out); },
        [&](auto tag) {
            using E = ElementOf<decltype(tag)>;
            // Under the lock that is held anyway, the value needs no copy.
            const auto* const own = VariantAccess::FindValue<std::vector<E>>(this);
            return own != nullptr ? VariantStream::WriteArray(*this, *own, out)
                                  : WriteVectorValueToStreamImp<E>(this, out);
        });
}

void* VariantBase::ReadValueFromBuffer(void* buffer, unsigned long long& bytes, bool withSize) {
    CriticalSectionLock lock(&m_cs);
    return VisitForm(
        VariantAccess::GetFormID(*this), NOWHERE,
        [&](auto tag) {
            return ReadScalarValueFromBufferImp<ElementOf<decltype(tag)>>(this, buffer, bytes);
        },
        [&](auto tag) {
            return ReadVectorValueFromBufferImp<ElementOf<decltype(tag)>>(this, buffer, bytes,
                                                                          withSize);
        });
}

void* VariantBase::WriteValueToBuffer(void* buffer, unsigned long long& bytes, bool withSize) {
    CriticalSectionLock lock(&m_cs);
    return VisitForm(
        VariantAccess::GetFormID(*this), NOWHERE,
        [&](auto tag) {
            return WriteScalarValueToBufferImp<ElementOf<decltype(tag)>>(this, buffer, bytes);
        },
        [&](auto tag) {
            return WriteVectorValueToBufferImp<ElementOf<decltype(tag)>>(this, buffer, bytes,
                                                                         withSize);
        });
}

bool VariantAccess::StoreArray(VariantBase* variant, std::vector<std::string>&& values,
                               bool throwOnError) {
    CriticalSectionLock lock(GetLock(*variant));
    const bool isFixed = IsFixed(*variant);
    auto* const own = FindValue<std::vector<std::string>>(variant);
    if (own != nullptr && !isFixed) {
        *own = std::move(values);
        return true;
    }
    // What doesn't fit by its length is refused before anybody looks at it.
    const auto count = static_cast<std::size_t>(isFixed ? variant->GetNumberOfElements() : 0);
    if (count == 0 || count == values.size()) {
        VisitElementType(variant->GetTypeID() & TypeID::ELEMENT_BITS, false, [&](auto tag) {
            using E = ElementOf<decltype(tag)>;
            if constexpr (NumericElement<E>) {
                if (FindValue<std::vector<E>>(variant) != nullptr) {
                    std::vector<E> discarded;
                    ConvertTexts(values, discarded);
                }
            }
            return true;
        });
    }
    return variant->SetValue(values, throwOnError);
}

}  // namespace zel
