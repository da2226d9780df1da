#pragma once

#include "zel/core/RCBatch.h"
#include "zel/core/WeakPtr.h"
#include "zel/foundation/Export.h"

#include <algorithm>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace zel {

// A subscriber to an EventSource.
template <class T>
class EventSink : public RCObject {
public:
    // Called on the firing thread, with no lock held, perhaps on several threads at once. True
    // keeps the subscription; false ends it, once for each time the sink is subscribed.
    virtual bool OnEvent(const T& value) = 0;
};

// One list of subscribers, in firing order. It never changes once a source has published it.
template <class T>
class EventSinkList : public RCObject {
public:
    EventSinkList() = default;

    // A copy holds every sink once more, and has room for another.
    EventSinkList(const EventSinkList& other) : RCObject() {
        m_sinks.reserve(other.m_sinks.size() + 1);
        RCBatch::Copy(other.m_sinks, m_sinks);
    }

    // Gives up the sinks, and destroys those that nobody else holds, front to back.
    ~EventSinkList() override {
        RCBatch::ReleaseShared(m_sinks.begin(), m_sinks.end());
        for (RCPtr<EventSink<T>>& sink : m_sinks) {
            sink = nullptr;
        }
    }

    EventSinkList& operator=(const EventSinkList&) = delete;

    // Whether the sink is in the list.
    bool Contains(const EventSink<T>* sink) const {
        return std::find(m_sinks.begin(), m_sinks.end(), sink) != m_sinks.end();
    }

    // None of them null.
    std::vector<RCPtr<EventSink<T>>> m_sinks;
};

// Tells any number of sinks that something happened, with a value. It may be a plain member of a
// larger object.
//
//     EventSource<std::string> changed;
//     changed.Connect([](const std::string& path) { std::puts(path.c_str()); });
//     changed.Fire("/etc/hosts");
//
// Any thread may fire, add and remove at any time, handlers included; only the source must outlive
// every Fire on it. A firing goes over the sinks of the moment it began and keeps them alive: a
// change of sinks shows from the next firing on. So once RemoveSink has returned, no new firing
// reaches the sink, but one that began earlier on another thread may still be in it or about to
// call it. A subscriber that must know that none is running has to make sure of that itself: by
// firing and removing on one thread, or by a state of its own that OnEvent looks at under a lock.
template <class T>
class EventSource : public RCObject {
public:
    // What can subscribe.
    using Sink = EventSink<T>;

    EventSource() = default;
    EventSource(const EventSource&) = delete;
    EventSource& operator=(const EventSource&) = delete;

    // Drops the list; the sinks aren't told.
    ~EventSource() override;

    // Calls every sink in order, on this thread. A sink's exception leaves through it; the sinks
    // behind that one miss this firing. Allocates nothing unless a sink ends its subscription.
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

    // Subscribes a sink, not null, behind all others. One that is there already is called twice.
    void AddSink(RCPtr<Sink> sink) {
        CriticalSectionLock changeLock(EventSourceUtils::s_cs);
        const RCPtr<SinkList> old = Publish([&](auto& sinks) { sinks.push_back(std::move(sink)); });
        changeLock.Unlock();
    }

    // Ends one subscription of the sink, the earliest; false if there is none.
    bool RemoveSink(Sink* sink) {
        CriticalSectionLock changeLock(EventSourceUtils::s_cs);
        if (!m_list || !m_list->Contains(sink)) {
            return false;
        }
        const RCPtr<SinkList> old =
            Publish([&](auto& sinks) { sinks.erase(std::find(sinks.begin(), sinks.end(), sink)); });
        changeLock.Unlock();
        return true;
    }

    // Subscribes a callable of `const T&` that gives bool, as OnEvent does, or nothing, and then
    // stays. The sink is returned for RemoveSink.
    template <class Callable>
    RCPtr<Sink> Connect(Callable callable) {
        RCPtr<Sink> sink(new CallableSink<Callable>(std::move(callable)));
        AddSink(sink);
        return sink;
    }

private:
    using SinkList = EventSinkList<T>;

    template <class Callable>
    class CallableSink : public Sink {
    public:
        explicit CallableSink(Callable callable) : m_callable(std::move(callable)) {}

        bool OnEvent(const T& value) override {
            if constexpr (std::is_void_v<std::invoke_result_t<Callable&, const T&>>) {
                m_callable(value);
                return true;
            } else {
                return m_callable(value);
            }
        }

    private:
        Callable m_callable;
    };

    // Reads the pointer and counts the list in one step.
    RCPtr<SinkList> GetList() const {
        CriticalSectionLock lock(RCUtils::s_cs);
        return m_list;
    }

    // Publishes a changed copy of the list of the moment, under the lock for changes. The old list,
    // and with it perhaps a sink, is the caller's to drop once that lock is left.
    template <class Edit>
    RCPtr<SinkList> Publish(Edit edit) {
        RCPtr<SinkList> list =
            RCPtr<SinkList>::FromUnshared(m_list ? new SinkList(*m_list) : new SinkList);
        edit(list->m_sinks);
        CriticalSectionLock lock(RCUtils::s_cs);
        m_list.Swap(list);
        return list;
    }

    RCPtr<SinkList> m_list;
};

// Not inline, so that the library exports it of what it makes.
template <class T>
EventSource<T>::~EventSource() = default;

class TimerThread;

extern template class ZEL_ADVANCED_API EventSinkList<TimerThread*>;
extern template class ZEL_ADVANCED_API EventSource<TimerThread*>;
extern template class ZEL_ADVANCED_API EventSinkList<std::string>;
extern template class ZEL_ADVANCED_API EventSource<std::string>;

}  // namespace zel
