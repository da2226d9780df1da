#pragma once

#include "zel/foundation/RCPtr.h"

#include <functional>
#include <type_traits>
#include <utility>

namespace zel {

// The result of a call that gives nothing.
struct ZelVoidT {};

// A call that is passed on as an object, made of a member function or of anything callable:
//
//     auto callback = BindMemFunc(reporter, &Reporter::OnCrash);
//     auto other = BindCallback<ZelVoidT, const zel_crash_msg_s*>([](auto* record) { ... });
template <class R, class A>
class MemFuncBindBase : public RCObject {
public:
    // Makes the call, on the calling thread; what it throws passes on.
    virtual R Call(A argument) = 0;
};

template <class R, class A, class Callable>
class MemFuncBindImp : public MemFuncBindBase<R, A> {
public:
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

// `callable` may give nothing where R is made from nothing.
template <class R, class A, class Callable>
RCPtr<MemFuncBindBase<R, A>> BindCallback(Callable callable) {
    return RCPtr<MemFuncBindBase<R, A>>(new MemFuncBindImp<R, A, Callable>(std::move(callable)));
}

// Holds the object, which isn't null; the function may be one of a base class.
template <class T, class Base, class R, class A>
RCPtr<MemFuncBindBase<R, A>> BindMemFunc(RCPtr<T> object, R (Base::*function)(A)) {
    return BindCallback<R, A>(std::bind_front(function, std::move(object)));
}

// The same for a function that doesn't change its object.
template <class T, class Base, class R, class A>
RCPtr<MemFuncBindBase<R, A>> BindMemFunc(RCPtr<T> object, R (Base::*function)(A) const) {
    return BindCallback<R, A>(std::bind_front(function, std::move(object)));
}

}  // namespace zel
