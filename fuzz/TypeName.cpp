#include "zel/core/StringUtils.h"
#include "zel/variant/Variant.h"

#include "fuzz/Target.h"

namespace zel::fuzz {

namespace {

// A valid name may request more elements than fit into the fuzzer's memory limit.
bool RequestsTooMuch(const std::string& name) {
    constexpr unsigned int most = 100'000;
    const std::size_t open = std::min(name.find('['), name.size() - 1) + 1;
    const std::size_t close = std::min(name.find(']', open), name.size());
    unsigned int count = 0;
    return StringUtils::FromString(name.substr(open, close - open), count, 0) && count > most;
}

}  // namespace

void Run(Input input) {
    const std::string name(input.GetRest());
    if (name.empty() || RequestsTooMuch(name)) {
        return;
    }
    const auto value = Try<Exception>([&] { return VariantBase::CreateByTypeName(name); });
    if (!value) {
        return;
    }
    const std::string ownName = (*value)->GetTypeName();
    const RCPtr<VariantBase> again = VariantBase::CreateByTypeName(ownName);
    Require(name.compare(0, name.find('['), ownName, 0, ownName.find('[')) == 0,
            "a variant has the requested element type");
    Require(again->GetTypeID() == (*value)->GetTypeID(), "its own name creates the same type");
    Require(again->IsEqual(*value, true, false, true), "its own name creates the same elements");
    const RCPtr<VariantBase> byID = VariantBase::CreateByID((*value)->GetTypeID());
    Require(byID && byID->GetTypeID() == (*value)->GetTypeID(),
            "its identifier creates the same type");
}

}  // namespace zel::fuzz
