#include "zel/variant/VariantBufferImp.h"
#include "zel/variant/VariantByteOrderImp.h"
#include "zel/variant/VariantStreamImp.h"
#include "zel/variant/VariantTextImp.h"
#include "zel/variant/VariantValueImp.h"

// Every instance of the family's templates but those of the conversion.

#define ZEL_INSTANTIATE_FORMS(T, ...)                                                              \
    template bool ReadScalarValueFromStringImp<T>(zel::VariantBase*, const std::string&);          \
    template std::string WriteScalarValueToStringImp<T>(const zel::VariantBase*);                  \
    template bool ReadVectorValueFromStringImp<T>(zel::VariantBase*, const std::string&, bool);    \
    template std::string WriteVectorValueToStringImp<T>(const zel::VariantBase*, bool);            \
    template bool AddElementToVectorAsStringImp<T>(zel::VariantBase*, int, const char*, bool);     \
    template bool RemoveElementFromVectorImp<T>(int, zel::VariantBase*, bool);                     \
    template bool ReadScalarValueFromStreamImp<T>(zel::VariantBase*, std::istream&);               \
    template bool WriteScalarValueToStreamImp<T>(zel::VariantBase*, std::ostream&);                \
    template bool ReadVectorValueFromStreamImp<T>(zel::VariantBase*, std::istream&);               \
    template bool WriteVectorValueToStreamImp<T>(zel::VariantBase*, std::ostream&);                \
    template void* ReadScalarValueFromBufferImp<T>(zel::VariantBase*, void*, unsigned long long&); \
    template void* WriteScalarValueToBufferImp<T>(zel::VariantBase*, void*, unsigned long long&);  \
    template void* ReadVectorValueFromBufferImp<T>(zel::VariantBase*, void*, unsigned long long&,  \
                                                   bool);                                          \
    template void* WriteVectorValueToBufferImp<T>(zel::VariantBase*, void*, unsigned long long&,   \
                                                  bool);
ZEL_FOR_EACH_ELEMENT(ZEL_INSTANTIATE_FORMS)

namespace zel {

#define ZEL_INSTANTIATE_VALUES(T, ...)                                                   \
    template class Variant_GetLimitsImp<T>;                                              \
    template void SetNumberOfElementsImp(std::vector<T>*, unsigned int);                 \
    template bool IsEqualImp(std::vector<T>*, std::vector<T>*, bool, bool);              \
    template bool IsLessThanImp(std::vector<T>*, std::vector<T>*, bool, bool);           \
    template bool IsLessThanOrEqualImp(std::vector<T>*, std::vector<T>*, bool, bool);    \
    template bool IsGreaterThanImp(std::vector<T>*, std::vector<T>*, bool, bool);        \
    template bool IsGreaterThanOrEqualImp(std::vector<T>*, std::vector<T>*, bool, bool); \
    template class Variant<T>;                                                           \
    template class Variant<std::vector<T>>;
ZEL_FOR_EACH_ELEMENT(ZEL_INSTANTIATE_VALUES)

#define ZEL_INSTANTIATE_BYTE_ORDER(T, ...) template T Variant_ToNetworkOrder(T, bool);
ZEL_FOR_EACH_NUMERIC_ELEMENT(ZEL_INSTANTIATE_BYTE_ORDER)

}  // namespace zel
