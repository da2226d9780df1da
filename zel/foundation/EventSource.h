#pragma once

#include "zel/core/RCBatch.h"
#include "zel/core/WeakPtr.h"
#include "zel/foundation/CallGate.h"
#include "zel/foundation/Export.h"
#include "zel/foundation/ScopedConnection.h"

#include <algorithm>
#include <functional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace zel {

namespace Imp {

template <class Callable, class... Arguments>
concept EventHandler = std::is_invocable_r_v<bool, Callable, Arguments...> || requires {
    requires std::is_void_v<std::invoke_result_t<Callable, Arguments...>>;
};

}  // namespace Imp

/// A subscriber to an EventSource.
template <class T>
class EventSink : public RCObject {
public:
    /// Handles an event. Called on the thread that fires, with no lock held, possibly on several
    /// threads at once. Returns false to end the subscription; a sink that is subscribed several
    /// times ends one subscription with each false.
    ///
    /// An exception propagates out of `EventSource::Fire`.
    virtual bool OnEvent(const T& value) = 0;
};

/// The sinks of an EventSource in firing order. Immutable once the source has published it.
template <class T>
class EventSinkList : public RCObject {
public:
    /// Makes an empty list.
    EventSinkList() = default;

    EventSinkList(const EventSinkList&) = delete;

    /// Releases the sinks. Those held only by this list are destroyed in the order of the list.
    ~EventSinkList() override {
        RCBatch::ReleaseShared(m_sinks.begin(), m_sinks.end());
        for (RCPtr<EventSink<T>>& sink : m_sinks) {
            sink = nullptr;
        }
    }

    EventSinkList& operator=(const EventSinkList&) = delete;

    /// Returns true if the list contains the sink.
    bool Contains(const EventSink<T>* sink) const {
        return std::find(m_sinks.begin(), m_sinks.end(), sink) != m_sinks.end();
    }

    /// The sinks; none is null.
    std::vector<RCPtr<EventSink<T>>> m_sinks;
};

/// Notifies any number of sinks of an event with a value of type T. It may be a plain member of
/// another object.
///
///     EventSource<std::string> changed;
///     changed.Connect([](const std::string& path) { std::puts(path.c_str()); });
///     changed.Fire("/etc/hosts");
///
/// `Fire` calls the sinks that were subscribed when it began, and keeps them alive meanwhile:
/// adding or removing a sink takes effect from the next firing on. After `RemoveSink` has returned,
/// a firing that began before on another thread may still be calling the sink or be about to.
///
/// Thread-safe, also from within sinks. Requires: the source outlives every `Fire` on it.
///
/// Guide: docs/foundation.md
template <class T>
class EventSource : public RCObject {
public:
    /// The type of the subscribers.
    using Sink = EventSink<T>;

    /// Makes a source without sinks.
    EventSource() = default;
    EventSource(const EventSource&) = delete;
    EventSource& operator=(const EventSource&) = delete;

    /// Releases the sinks without calling them.
    ~EventSource() override;

    /// Calls all sinks in order, on the calling thread. An exception thrown by a sink propagates to
    /// the caller; the sinks after it are not called for this event, and all subscriptions remain.
    /// Allocates no memory unless a sink ends its subscription.
    void Fire(const T& value) {
        const RCPtr<SinkList> snapshot = GetList();
        if (!snapshot) {
            return;
        }
        for (const RCPtr<Sink>& sink : snapshot->m_sinks) {
            if (!sink->OnEvent(value)) {
                RemoveSink(sink.Get());
            }
        }
    }

    /// Subscribes `sink` after all others. A sink may be subscribed several times and is then
    /// called as often. Requires: `sink` is not null.
    void AddSink(RCPtr<Sink> sink) {
        CriticalSectionLock changeLock(EventSourceUtils::s_cs);
        const RCPtr<SinkList> old = Publish(nullptr, std::move(sink));
        changeLock.Unlock();
    }

    /// Ends the earliest subscription of the sink. Returns false if there is none.
    bool RemoveSink(Sink* sink) {
        CriticalSectionLock changeLock(EventSourceUtils::s_cs);
        if (!m_list || !m_list->Contains(sink)) {
            return false;
        }
        const RCPtr<SinkList> old = Publish(sink, nullptr);
        changeLock.Unlock();
        return true;
    }

    /// Subscribes a callable that takes `const T&` and returns bool, like `OnEvent`, or nothing,
    /// which keeps the subscription. Returns the sink for `RemoveSink`. Requires: what the callable
    /// refers to outlives the subscription; use one of the next two functions for a callable that
    /// refers to an object which may be destroyed before.
    template <class Callable>
    RCPtr<Sink> Connect(Callable callable) {
        const RCPtr<Sink> sink = MakeSink(std::move(callable));
        AddSink(sink);
        return sink;
    }

    /// Subscribes a member function of `owner`, or a callable that takes `Owner&` and `const T&`,
    /// without keeping `owner` alive: during a call it is held by an RCPtr, and after it was
    /// destroyed the subscription ends with the next event. `owner` is a WeakPtr, an RCPtr or a
    /// plain pointer to an object that is held by an RCPtr when the source fires.
    ///
    ///     changed.Connect(WeakPtr<Display>(this), &Display::OnChanged);
    template <class Pointer, class Function>
    requires requires(const Pointer& pointer) { WeakPtr(pointer); }
    RCPtr<Sink> Connect(const Pointer& owner, Function function) {
        return Connect([weak = WeakPtr(owner), function = std::move(function)](const T& value) {
            const auto strong = weak.GetRCPtr();
            return strong && Call(function, *strong, value);
        });
    }

    /// Subscribes a callable like `Connect` until the result is destroyed; see ScopedConnection.
    template <class Callable>
    [[nodiscard]] ScopedConnection ConnectScoped(Callable callable) {
        const RCPtr<CallGate> gate(new CallGate);
        const RCPtr<Sink> sink =
            MakeSink([gate, callable = std::move(callable)](const T& value) mutable {
                const CallGate::Call call(*gate);
                return call.IsAllowed() && Call(callable, value);
            });
        ScopedConnection connection([this, self = WeakPtr<RCObject>(this), gate, sink] {
            gate->Close();
            if (!self.IsExpired()) {
                RemoveClosed(sink.Get());
            }
        });
        AddSink(sink);
        return connection;
    }

private:
    using SinkList = EventSinkList<T>;

    template <class Callable>
    class CallableSink : public Sink {
    public:
        explicit CallableSink(Callable callable) : m_callable(std::move(callable)) {}

        bool OnEvent(const T& value) override { return Call(m_callable, value); }

    private:
        Callable m_callable;
    };

    template <class Callable>
    static RCPtr<Sink> MakeSink(Callable callable) {
        return new CallableSink<Callable>(std::move(callable));
    }

    // Calls a callable and returns its result, or true if it returns nothing.
    template <class Callable, class... Arguments>
    static bool Call(Callable& callable, Arguments&... arguments) {
        static_assert(Imp::EventHandler<Callable&, Arguments&...>,
                      "Connect needs a callable that takes const T&, after the owner if there is "
                      "one, and returns bool or nothing");
        if constexpr (std::is_void_v<std::invoke_result_t<Callable&, Arguments&...>>) {
            std::invoke(callable, arguments...);
            return true;
        } else {
            return std::invoke(callable, arguments...);
        }
    }

    void RemoveClosed(Sink* sink) noexcept {
        try {
            RemoveSink(sink);
        } catch (...) {
            // Without memory for the new list the sink stays; it ends its subscription when called.
        }
    }

    // Reads the pointer and adds a reference to the list atomically.
    RCPtr<SinkList> GetList() const {
        CriticalSectionLock lock(RCUtils::s_cs);
        return m_list;
    }

    // Publishes a list of the current sinks without the first `removed` and with `added` at the
    // end, if they aren't null; the caller holds the lock for changes. Returns the old list or
    // null, which the caller must release after leaving that lock, as this may destroy sinks.
    RCPtr<SinkList> Publish(const Sink* removed, RCPtr<Sink> added) {
        RCPtr<SinkList> list = RCPtr<SinkList>::FromUnshared(new SinkList);
        list->m_sinks.reserve((m_list ? m_list->m_sinks.size() : 0) + 1);
        CriticalSectionLock lock(RCUtils::s_cs);
        if (m_list) {
            TransferSinks(list->m_sinks, removed);
        }
        if (added) {
            list->m_sinks.push_back(std::move(added));
        }
        m_list.Swap(list);
        return list;
    }

    // Moves the sinks out of a list that no firing holds, which leaves their counts alone, or else
    // copies them and releases the list. The caller holds the lock for counts.
    void TransferSinks(std::vector<RCPtr<Sink>>& target, const Sink* removed) noexcept {
        std::vector<RCPtr<Sink>>& source = m_list->m_sinks;
        RCBatch::ReleaseShared(&m_list, &m_list + 1);
        for (RCPtr<Sink>& sink : source) {
            if (sink == removed) {
                removed = nullptr;
            } else if (m_list) {
                target.push_back(std::move(sink));
            } else {
                target.push_back(sink);
            }
        }
        if (m_list) {
            std::erase(source, nullptr);
        }
    }

    RCPtr<SinkList> m_list;
};

// Not inline, so that the library exports the destructors of its own instances.
template <class T>
EventSource<T>::~EventSource() {
    // The destructor of a sink may remove other sinks.
    const RCPtr<SinkList> released = std::move(m_list);
}

class TimerThread;

ZEL_EXTERN_TEMPLATE(class ZEL_ADVANCED_API EventSinkList<TimerThread*>);
ZEL_EXTERN_TEMPLATE(class ZEL_ADVANCED_API EventSource<TimerThread*>);
ZEL_EXTERN_TEMPLATE(class ZEL_ADVANCED_API EventSinkList<std::string>);
ZEL_EXTERN_TEMPLATE(class ZEL_ADVANCED_API EventSource<std::string>);

}  // namespace zel
