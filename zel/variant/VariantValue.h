#pragma once

#include "zel/variant/VariantBase.h"

#include <vector>

namespace zel {

// The limits of an element type, as SetMinimumValue and SetMaximumValue of VariantBase set them. A
// string keeps its length.
template <VariantElement T>
class Variant_GetLimitsImp {
public:
    static void GetMax(T& value);
    static void GetMin(T& value);
};

// Resizes an array, as SetNumberOfElements of VariantBase does.
template <VariantElement T>
ZEL_ADVANCED_API void SetNumberOfElementsImp(std::vector<T>* values, unsigned int count);

// A variant whose type is known here. It may stand on the stack, or be shared by an RCPtr.
//
//     RCPtr<VariantBase> speed(new Variant<float>(2.5F));
template <class T>
class Variant : public VariantBase {
public:
    ZEL_ASSERT_VARIANT_VALUE(T);

    // Holds `value`: by default a zero, an empty string or no elements. `isFixed` makes an array
    // keep its size.
    Variant() : Variant(T()) {}
    explicit Variant(const T& value, bool isFixed = false)
        : VariantBase(ValueTraits<T>::Code, isFixed), m_value(value) {}

    // A copy has a lock and a count of its own. Unlocked, and so is the assignment, which copies
    // value and fixed flag.
    Variant(const Variant&) = default;
    Variant& operator=(const Variant& other);
    ~Variant() override;

    // The value itself. Unlocked, and good for as long as nobody changes it.
    const T& GetValue() const { return m_value; }
    using VariantBase::GetValue;

    std::string GetType() const override;
    const std::type_info& GetTypeInfo() const override;
    int GetTypeID() const override;
    int GetNumberOfElements() const override;
    void SetNumberOfElements(unsigned int count) override;
    int GetSizeOfElement() const override;
    int GetSize() const override;
    bool GetValueAsDouble(double* value, bool throwOnError) const override;
    RCPtr<VariantBase> Clone() const override;
    void SetMinimumValue() override;
    void SetMaximumValue() override;

    bool IsEqual(RCPtr<VariantBase> other, bool throwOnError, bool expandSingle,
                 bool requireAll) const override;
    bool IsLessThan(RCPtr<VariantBase> other, bool throwOnError, bool expandSingle,
                    bool requireAny) const override;
    bool IsLessThanOrEqualTo(RCPtr<VariantBase> other, bool throwOnError, bool expandSingle,
                             bool requireAny) const override;
    bool IsGreaterThan(RCPtr<VariantBase> other, bool throwOnError, bool expandSingle,
                       bool requireAny) const override;
    bool IsGreaterThanOrEqualTo(RCPtr<VariantBase> other, bool throwOnError, bool expandSingle,
                                bool requireAny) const override;

private:
    friend class VariantAccess;

    template <class Relation>
    bool Compare(const RCPtr<VariantBase>& other, const char* operation, bool throwOnError,
                 Relation relation) const;

    T m_value;
};

#define ZEL_DECLARE_VARIANT(T, ...)                                             \
    extern template class ZEL_ADVANCED_API Variant_GetLimitsImp<T>;             \
    extern template void SetNumberOfElementsImp(std::vector<T>*, unsigned int); \
    extern template class ZEL_ADVANCED_API Variant<T>;                          \
    extern template class ZEL_ADVANCED_API Variant<std::vector<T>>;
ZEL_FOR_EACH_ELEMENT(ZEL_DECLARE_VARIANT)
#undef ZEL_DECLARE_VARIANT

}  // namespace zel
