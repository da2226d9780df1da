#pragma once

#include "zel/variant/VariantBase.h"

// The work behind the text form of VariantBase, for whoever knows the element type T. A failure is
// logged and gives false or an empty text, of the last two by `throwOnError` with an Exception. An
// array of numbers that is handled as one of strings throws StringUtilsEx for a text that is no
// number, and stays as it was. The variant's lock is taken for each reading and storing of the
// value, not for the whole call.

template <zel::VariantElement T>
ZEL_ADVANCED_API bool ReadScalarValueFromStringImp(zel::VariantBase* variant,
                                                   const std::string& text);
template <zel::VariantElement T>
ZEL_ADVANCED_API std::string WriteScalarValueToStringImp(const zel::VariantBase* variant);
template <zel::VariantElement T>
ZEL_ADVANCED_API bool ReadVectorValueFromStringImp(zel::VariantBase* variant,
                                                   const std::string& text, bool withSize);
template <zel::VariantElement T>
ZEL_ADVANCED_API std::string WriteVectorValueToStringImp(const zel::VariantBase* variant,
                                                         bool withSize);
template <zel::VariantElement T>
ZEL_ADVANCED_API bool AddElementToVectorAsStringImp(zel::VariantBase* variant, int index,
                                                    const char* text, bool throwOnError);
template <zel::VariantElement T>
ZEL_ADVANCED_API bool RemoveElementFromVectorImp(int index, zel::VariantBase* variant,
                                                 bool throwOnError);

#define ZEL_DECLARE_TEXT(T, ...)                                                                 \
    extern template bool ReadScalarValueFromStringImp<T>(zel::VariantBase*, const std::string&); \
    extern template std::string WriteScalarValueToStringImp<T>(const zel::VariantBase*);         \
    extern template bool ReadVectorValueFromStringImp<T>(zel::VariantBase*, const std::string&,  \
                                                         bool);                                  \
    extern template std::string WriteVectorValueToStringImp<T>(const zel::VariantBase*, bool);   \
    extern template bool AddElementToVectorAsStringImp<T>(zel::VariantBase*, int, const char*,   \
                                                          bool);                                 \
    extern template bool RemoveElementFromVectorImp<T>(int, zel::VariantBase*, bool);
ZEL_FOR_EACH_ELEMENT(ZEL_DECLARE_TEXT)
#undef ZEL_DECLARE_TEXT
