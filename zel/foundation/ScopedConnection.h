#pragma once

#include <functional>
#include <utility>

namespace zel {

/// The subscription of a callable to an EventSource, made by `EventSource::ConnectScoped`. It ends
/// when this object is destroyed, so that a callable may use the object that owns the connection:
///
///     class Display {
///         ...
///         ScopedConnection m_connection = m_changed.ConnectScoped([this](int value) { ... });
///     };
///
/// After `Disconnect` or the destructor has returned, the callable is not running on another thread
/// and is not called again, not even by a firing that is in progress. Declare the member last, so
/// that it is destroyed before the members that the callable uses.
///
/// Requires: the thread that disconnects holds no lock that the callable waits for, because
/// disconnecting blocks until calls on other threads have returned: two callables that disconnect
/// each other on two threads wait for each other for ever. The source may be destroyed
/// first, but not at the same time on another thread. Not thread-safe.
///
/// Guide: docs/foundation.md
class ScopedConnection {
public:
    /// Makes an object without a subscription.
    ScopedConnection() noexcept = default;

    /// Makes an object that calls `disconnect`, which must not throw, to end the subscription.
    explicit ScopedConnection(std::function<void()> disconnect)
        : m_disconnect(std::move(disconnect)) {}

    ~ScopedConnection() { Disconnect(); }

    /// Takes over the subscription of `other`.
    ScopedConnection(ScopedConnection&& other) noexcept
        : m_disconnect(std::exchange(other.m_disconnect, nullptr)) {}

    /// Takes over the subscription of `other` and ends its own.
    ScopedConnection& operator=(ScopedConnection&& other) noexcept {
        ScopedConnection taken(std::move(other));
        m_disconnect.swap(taken.m_disconnect);
        return *this;
    }

    /// Ends the subscription. Further calls have no effect.
    void Disconnect() noexcept {
        if (const std::function<void()> disconnect = std::exchange(m_disconnect, nullptr)) {
            disconnect();
        }
    }

private:
    std::function<void()> m_disconnect;
};

}  // namespace zel
