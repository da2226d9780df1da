#pragma once

#include "zel/variant/VariantBase.h"

#include <utility>
#include <vector>

namespace zel {

/// The limits of an element type that SetMinimumValue and SetMaximumValue of VariantBase set. A
/// string keeps its length. Not thread-safe.
template <VariantElement T>
class ZEL_ADVANCED_API Variant_GetLimitsImp {
public:
    /// Sets `value` to the limit.
    ///@{
    static void GetMax(T& value);
    static void GetMin(T& value);
    ///@}
};

/// Resizes an array as SetNumberOfElements of VariantBase does. Requires: `values` isn't null. Not
/// thread-safe.
template <VariantElement T>
ZEL_ADVANCED_API void SetNumberOfElementsImp(std::vector<T>* values, unsigned int count);

/// A variant whose type is known at compile time. It may be a local variable or a member, or be
/// owned by an `RCPtr`, but not both.
///
///     RCPtr<VariantBase> speed(new Variant<float>(2.5F));
///
/// Thread-safe as described at VariantBase.
///
/// Guide: docs/variants.md
template <class T>
class ZEL_ADVANCED_API Variant : public VariantBase {
public:
    ZEL_ASSERT_VARIANT_VALUE(T);

    /// Constructs a variant with zero, an empty string or no elements.
    Variant() : Variant(T()) {}

    /// Constructs a variant with `value`. `isFixed` makes an array keep its size; a scalar with
    /// this flag has no text, stream or buffer form.
    ///@{
    explicit Variant(const T& value, bool isFixed = false)
        : VariantBase(ValueTraits<T>::Code, isFixed), m_value(value) {}
    explicit Variant(T&& value, bool isFixed = false)
        : VariantBase(ValueTraits<T>::Code, isFixed), m_value(std::move(value)) {}
    ///@}

    /// Copies value and fixed flag; lock and reference count are new. Unlocked.
    Variant(const Variant&) = default;

    /// Copies value and fixed flag, so that even a fixed-size array changes its size. Unlocked.
    Variant& operator=(const Variant& other);

    ~Variant() override;

    /// Returns the value, valid until it is next changed. Unlocked.
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

    /// The overloads that VariantBase describes.
    ///@{
    using VariantBase::IsEqual;
    using VariantBase::IsGreaterThan;
    using VariantBase::IsGreaterThanOrEqualTo;
    using VariantBase::IsLessThan;
    using VariantBase::IsLessThanOrEqualTo;
    ///@}

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
                 bool expandSingle, bool requireAll) const;

    T m_value;
};

#define ZEL_DECLARE_VARIANT(T, ...)                     \
    ZEL_EXTERN_TEMPLATE(class Variant_GetLimitsImp<T>); \
    ZEL_EXTERN_TEMPLATE(class Variant<T>);              \
    ZEL_EXTERN_TEMPLATE(class Variant<std::vector<T>>);
ZEL_FOR_EACH_ELEMENT(ZEL_DECLARE_VARIANT)
#undef ZEL_DECLARE_VARIANT

}  // namespace zel
