#pragma once

#include "zel/platform/linux/Descriptor.h"

#include <array>
#include <climits>
#include <cstdint>
#include <string>
#include <string_view>
#include <sys/inotify.h>

namespace zel::platform {

// One inotify instance that watches directories. Not thread-safe.
class Inotify {
public:
    static constexpr int NONE = -1;

    // The description of RLIMIT_NOFILE as the limit that was reached.
    static const char* const DESCRIPTOR_LIMIT;

    // An event of a name in a watched directory, or of that directory itself, with the kernel's
    // flags. A queue overflow has no watch.
    struct Event {
        int watch;
        std::uint32_t flags;
        std::string_view name;
    };

    // Opens the instance unless it is open. Returns false with the reason in errno.
    bool Open() noexcept;

    // Watches a directory for the events `flags` and returns the number of the watch, the same if
    // it is watched already. Returns NONE with the reason in errno.
    int Add(const std::string& directory, std::uint32_t flags) noexcept;
    void Remove(int watch) noexcept;

    // Describes the limit that Open or Add has reached, and what raises it.
    static std::string DescribeLimit(int error);

    // Blocks until there are events, at most `milliseconds`. Returns whether there are any.
    bool WaitForEvents(int milliseconds) noexcept;

    // Calls `handle` with each queued event. `handle` must not throw, as events would be lost.
    template <class Handle>
    void HandleEvents(const Handle& handle) noexcept {
        // Handles about as many events as the queue can hold, so that it returns under a constant
        // stream of events.
        for (int reads = 0; reads < 128 && Fill(); ++reads) {
            for (std::size_t at = 0; at < m_size;) {
                const auto* const event = reinterpret_cast<const inotify_event*>(&m_block[at]);
                handle(Event{event->wd, event->mask, event->len > 0 ? event->name : ""});
                at += sizeof(inotify_event) + event->len;
            }
            if (m_size + LARGEST_EVENT <= m_block.size()) {
                return;  // the block had space for another event, so the queue was empty
            }
        }
    }

private:
    static constexpr std::size_t LARGEST_EVENT = sizeof(inotify_event) + NAME_MAX + 1;

    bool Fill() noexcept;

    Descriptor m_instance;
    std::size_t m_size = 0;
    alignas(inotify_event) std::array<char, 32 * 1024> m_block;
};

}  // namespace zel::platform
