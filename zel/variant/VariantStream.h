#pragma once

#include "zel/variant/VariantBase.h"

// The work behind the stream form of VariantBase, for whoever knows the element type T. `variant`
// may be null, which is reported. An array of numbers that is read as one of strings throws
// StringUtilsEx for a text that is no number, and stays as it was. The variant's lock is taken
// while its value is fetched or stored, not while the stream works.

template <zel::VariantElement T>
ZEL_ADVANCED_API bool ReadScalarValueFromStreamImp(zel::VariantBase* variant, std::istream& in);
template <zel::VariantElement T>
ZEL_ADVANCED_API bool WriteScalarValueToStreamImp(zel::VariantBase* variant, std::ostream& out);
template <zel::VariantElement T>
ZEL_ADVANCED_API bool ReadVectorValueFromStreamImp(zel::VariantBase* variant, std::istream& in);
template <zel::VariantElement T>
ZEL_ADVANCED_API bool WriteVectorValueToStreamImp(zel::VariantBase* variant, std::ostream& out);

#define ZEL_DECLARE_STREAM(T, ...)                                                          \
    extern template bool ReadScalarValueFromStreamImp<T>(zel::VariantBase*, std::istream&); \
    extern template bool WriteScalarValueToStreamImp<T>(zel::VariantBase*, std::ostream&);  \
    extern template bool ReadVectorValueFromStreamImp<T>(zel::VariantBase*, std::istream&); \
    extern template bool WriteVectorValueToStreamImp<T>(zel::VariantBase*, std::ostream&);
ZEL_FOR_EACH_ELEMENT(ZEL_DECLARE_STREAM)
#undef ZEL_DECLARE_STREAM
