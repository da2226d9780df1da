#pragma once

#include "zel/foundation/RCPtr.h"

#include <functional>
#include <type_traits>
#include <utility>

namespace zel {

/// The result of a call that returns nothing.
struct ZelVoidT {};

/// A call as an object, made from a member function or from any callable:
///
///     auto callback = BindMemFunc(reporter, &Reporter::OnCrash);
///     auto other = BindCallback<ZelVoidT, const zel_crash_msg_s*>([](auto* record) { ... });
///
/// Guide: docs/crash.md
template <class R, class A>
class MemFuncBindBase : public RCObject {
public:
    /// Makes the call on the calling thread. Exceptions of the bound function propagate.
    virtual R Call(A argument) = 0;
};

/// The implementation for one type of callable. Use `BindCallback` or `BindMemFunc`.
template <class R, class A, class Callable>
class MemFuncBindImp : public MemFuncBindBase<R, A> {
public:
    /// Takes over `callable`.
    explicit MemFuncBindImp(Callable callable) : m_callable(std::move(callable)) {}

    R Call(A argument) override {
        if constexpr (std::is_void_v<std::invoke_result_t<Callable&, A>>) {
            m_callable(std::forward<A>(argument));
            return R();
        } else {
            return m_callable(std::forward<A>(argument));
        }
    }

private:
    Callable m_callable;
};

/// Returns a call of `callable`, which may return nothing if R is default-constructible.
template <class R, class A, class Callable>
RCPtr<MemFuncBindBase<R, A>> BindCallback(Callable callable) {
    return RCPtr<MemFuncBindBase<R, A>>(new MemFuncBindImp<R, A, Callable>(std::move(callable)));
}

/// Returns a call of a member function, which may be one of a base class. The result shares
/// ownership of `object`.
/// Requires: `object` isn't null.
///@{
template <class T, class Base, class R, class A>
RCPtr<MemFuncBindBase<R, A>> BindMemFunc(RCPtr<T> object, R (Base::*function)(A)) {
    return BindCallback<R, A>(std::bind_front(function, std::move(object)));
}

template <class T, class Base, class R, class A>
RCPtr<MemFuncBindBase<R, A>> BindMemFunc(RCPtr<T> object, R (Base::*function)(A) const) {
    return BindCallback<R, A>(std::bind_front(function, std::move(object)));
}
///@}

}  // namespace zel
