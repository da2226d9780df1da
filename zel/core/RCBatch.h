#pragma once

#include "zel/core/RCPtr.h"

namespace zel {

/// Copies and releases whole ranges of RCPtr under one acquisition of `RCUtils::s_cs`, which makes
/// each count change several times cheaper than one by one. Null elements are allowed.
///
///     std::vector<RCPtr<Station>> copy;
///     RCBatch::Copy(m_stations, copy);
///
/// The lock is released and acquired again every few dozen elements, so that other threads are not
/// kept waiting. A range is changed by one thread at a time; the objects may be shared. Callables
/// that are passed in run with the lock held: they must not release a last reference or wait.
///
/// Guide: docs/foundation.md
class RCBatch {
public:
    /// Appends a copy of each element of `source` to `target` with `push_back`. If that throws, the
    /// elements copied so far remain in `target`.
    template <class Source, class Target>
    static void Copy(const Source& source, Target& target) {
        CopyIf(source, target, [](const auto&) { return true; });
    }

    /// The same for the elements for which `filter(element)` returns true.
    template <class Source, class Target, class Filter>
    static void CopyIf(const Source& source, Target& target, Filter filter) {
        ForEach(source.begin(), source.end(), [&](const auto& pointer) {
            if (filter(pointer)) {
                target.push_back(Retain(pointer));
            }
        });
    }

    /// Sets all elements of the range to null. An object whose last reference was in the range is
    /// not deleted but passed to `onLast(object)`, in the order of the range; the caller must
    /// delete it after this function has returned.
    template <class Iterator, class OnLast>
    static void ReleaseAll(Iterator first, Iterator last, OnLast onLast) {
        ForEach(first, last, [&](auto& pointer) {
            auto* const object = pointer.Detach();
            if (object != nullptr && static_cast<RCObject*>(object)->Release()) {
                onLast(object);
            }
        });
    }

    /// Sets those elements of the range to null that are not the last reference to their object.
    template <class Iterator>
    static void ReleaseShared(Iterator first, Iterator last) noexcept {
        ForEach(first, last, [](auto& pointer) {
            RCObject* const object = pointer.Get();
            if (object != nullptr && object->m_refCount > 1) {
                --object->m_refCount;
                pointer.Detach();
            }
        });
    }

private:
    static constexpr int ELEMENTS_PER_LOCK = 64;

    template <class Iterator, class Change>
    static void ForEach(Iterator first, Iterator last, Change change) {
        while (first != last) {
            const CriticalSectionLock lock(RCUtils::s_cs);
            for (int left = ELEMENTS_PER_LOCK; left > 0 && first != last; --left, ++first) {
                change(*first);
            }
        }
    }

    template <class T>
    static RCPtr<T> Retain(const RCPtr<T>& pointer) noexcept {
        if (RCObject* const object = pointer.Get()) {
            ++object->m_refCount;
        }
        return RCPtr<T>::Attach(pointer.Get());
    }
};

}  // namespace zel
