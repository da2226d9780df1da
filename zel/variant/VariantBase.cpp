#include "zel/variant/VariantBase.h"

#include "zel/core/StringUtils.h"
#include "zel/variant/VariantAccess.h"
#include "zel/variant/VariantMessages.h"

#include <limits>

namespace zel {

const LogArea s_variantLog("Variant", 3);

VariantEx::VariantEx(const std::string& message, const std::string& file, int line)
    : Exception("VariantEx", message, file, line) {}

VariantBase::~VariantBase() = default;

void VariantBase::LogMessage(const char* message) {
    if (message != nullptr) {
        Log(s_variantLog, 3, message);
    }
}

void VariantBase::LogDebugMessage(const char* message) {
    if (message != nullptr) {
        Log(s_variantLog, 5, message);
    }
}

void VariantBase::Throw(const char* message) {
    if (message != nullptr) {
        zel::Throw<VariantEx>(s_variantLog, message);
    }
}

namespace {

template <class T>
RCPtr<VariantBase> Create(int id, bool isFixed) {
    RCPtr<Variant<T>> variant(new Variant<T>);
    VariantAccess::SetFixed(*variant, isFixed);
    using E = typename ValueTraits<T>::Element;
    constexpr const char* before = ValueTraits<T>::IsArray ? "std::vector< " : "";
    constexpr const char* after = ValueTraits<T>::IsArray ? " >" : " ";
    Log(s_variantLog, 5, "[VariantBase::CreateVariantByID] Created variant of type ", before,
        ElementTraits<E>::Spelling, after, "(id=", id, ")");
    return variant;
}

// Returns the code of an element type, 0 for an unknown name.
int FindCode(std::string_view name) {
#define ZEL_COMPARE(T, Name, Code, Spelling) \
    if (name == Name) {                      \
        return Code;                         \
    }
    ZEL_FOR_EACH_ELEMENT(ZEL_COMPARE)
#undef ZEL_COMPARE
    return 0;
}

unsigned int ReadArraySize(const std::string& text) {
    unsigned int size = 0;
    if (!StringUtils::FromString(text, size, 0) ||
        size > static_cast<unsigned int>(std::numeric_limits<int>::max())) {
        Throw<Exception>(s_variantLog, "Unable to convert size of array (", text, ") to string.");
    }
    return size;
}

}  // namespace

std::size_t VariantAccess::CountElements(const VariantBase& variant) {
    const int saturated = variant.GetNumberOfElements();
    const auto count = static_cast<std::size_t>(saturated);
    if (saturated != std::numeric_limits<int>::max()) {
        return count;
    }
    CriticalSectionLock lock(GetLock(&variant));
    const int elementCode = variant.GetTypeID() & ~TypeID::ARRAY_BITS;
    return VisitElementType(elementCode, count, [&]<class T>(ElementTag<T>) {
        const auto* const values = FindValue<std::vector<T>>(variant);
        return values != nullptr ? values->size() : count;
    });
}

RCPtr<VariantBase> VariantBase::CreateByID(int id) {
    const RCPtr<VariantBase> none;
    if ((id & TypeID::ARRAY_BITS) == TypeID::ARRAY_BITS) {
        Log(s_variantLog, 3,
            "[VariantBase::CreateVariantByID] Illegal type specifier passed (both variable-sized "
            "and fixed-size array flags asserted)!");
        return none;
    }
    if ((id & TypeID::ARRAY_BITS) == 0) {
        return VisitElementType(id, none,
                                [&]<class T>(ElementTag<T>) { return Create<T>(id, false); });
    }
    const bool isFixed = (id & TypeID::FIXED_ARRAY) != 0;
    return VisitElementType(id & ~TypeID::ARRAY_BITS, none, [&]<class T>(ElementTag<T>) {
        return Create<std::vector<T>>(ValueTraits<std::vector<T>>::Code, isFixed);
    });
}

RCPtr<VariantBase> VariantBase::CreateByTypeName(const std::string& name) {
    const std::size_t open = name.find('[');
    const int code = FindCode(std::string_view(name).substr(0, open));
    if (code == 0) {
        zel::Throw<Exception>(s_variantLog, "Unknown Type: ", name);
    }
    if (open == std::string::npos) {
        return CreateByID(code);
    }
    const std::size_t close = name.find(']', open);
    if (close == std::string::npos) {
        zel::Throw<Exception>(s_variantLog, "Missing closing bracket in type: ", name);
    }
    const std::string size = name.substr(open + 1, close - open - 1);
    RCPtr<VariantBase> variant = CreateByID(code | TypeID::VARIABLE_ARRAY);
    if (!size.empty()) {
        const unsigned int count = ReadArraySize(size);
        VariantAccess::SetFixed(*variant, true);
        variant->SetNumberOfElements(count);
    }
    return variant;
}

std::string VariantBase::GetTypeName() const {
    constexpr int lowBits = 0xFFFF;
    const int id = GetTypeID() & lowBits;
    const char* const name = VisitElementType<const char*>(
        id & ~TypeID::ARRAY_BITS, nullptr,
        []<class T>(ElementTag<T>) { return ElementTraits<T>::Name; });
    if (name == nullptr) {
        zel::Throw<Exception>(s_variantLog, "Unknown Type: ", id);
    }
    if ((id & TypeID::FIXED_ARRAY) != 0) {
        return std::string(name) + '[' + std::to_string(VariantAccess::CountElements(*this)) + ']';
    }
    return std::string(name) + ((id & TypeID::VARIABLE_ARRAY) != 0 ? "[]" : "");
}

}  // namespace zel
