#pragma once

#include "zel/variant/VariantBase.h"

// The work behind the buffer form of VariantBase, for whoever knows the element type T. `variant`
// and `buffer` may be null, which is reported; `buffer` needs no alignment. An array of numbers
// that is read as one of strings throws StringUtilsEx for a text that is no number, and stays as it
// was. The variant's lock is taken while its value is fetched or stored.

template <zel::VariantElement T>
ZEL_ADVANCED_API void* ReadScalarValueFromBufferImp(zel::VariantBase* variant, void* buffer,
                                                    unsigned long long& bytes);
template <zel::VariantElement T>
ZEL_ADVANCED_API void* WriteScalarValueToBufferImp(zel::VariantBase* variant, void* buffer,
                                                   unsigned long long& bytes);
template <zel::VariantElement T>
ZEL_ADVANCED_API void* ReadVectorValueFromBufferImp(zel::VariantBase* variant, void* buffer,
                                                    unsigned long long& bytes, bool withSize);
template <zel::VariantElement T>
ZEL_ADVANCED_API void* WriteVectorValueToBufferImp(zel::VariantBase* variant, void* buffer,
                                                   unsigned long long& bytes, bool withSize);

#define ZEL_DECLARE_BUFFER(T, ...)                                                    \
    extern template void* ReadScalarValueFromBufferImp<T>(zel::VariantBase*, void*,   \
                                                          unsigned long long&);       \
    extern template void* WriteScalarValueToBufferImp<T>(zel::VariantBase*, void*,    \
                                                         unsigned long long&);        \
    extern template void* ReadVectorValueFromBufferImp<T>(zel::VariantBase*, void*,   \
                                                          unsigned long long&, bool); \
    extern template void* WriteVectorValueToBufferImp<T>(zel::VariantBase*, void*,    \
                                                         unsigned long long&, bool);
ZEL_FOR_EACH_ELEMENT(ZEL_DECLARE_BUFFER)
#undef ZEL_DECLARE_BUFFER
