#pragma once

#include "zel/platform/linux/Descriptor.h"

#include <array>
#include <climits>
#include <cstdint>
#include <string>
#include <string_view>
#include <sys/inotify.h>

namespace zel::platform {

// One instance of the kernel's inotify service, for names in directories.
class Inotify {
public:
    static constexpr int NONE = -1;

    // What has happened to a name in a watched directory, or to that directory itself, with the
    // kernel's own flags; a lost part of the queue has no watch.
    struct Happening {
        int watch;
        std::uint32_t flags;
        std::string_view name;
    };

    // Opens the instance unless it is open. False with the reason in errno.
    bool Open() noexcept;

    // Watches a directory; one that is watched keeps its number. NONE with the reason in errno.
    int Add(const std::string& directory) noexcept;
    void Remove(int watch) noexcept;

    // Sleeps until something has happened, so many milliseconds at the most. False if nothing has.
    bool WaitForEvents(int milliseconds) noexcept;

    // Hands over what has happened since. `take` throws nothing, so that nothing is lost.
    template <class Take>
    void TakeEvents(const Take& take) noexcept {
        // An endless stream of events is taken in shares of about what the queue can hold.
        for (int reads = 0; reads < 128 && Fill(); ++reads) {
            for (std::size_t at = 0; at < m_size;) {
                const auto* const event = reinterpret_cast<const inotify_event*>(&m_block[at]);
                take(Happening{event->wd, event->mask, event->len > 0 ? event->name : ""});
                at += sizeof(inotify_event) + event->len;
            }
            if (m_size + LARGEST_EVENT <= m_block.size()) {
                return;  // the queue was empty, or the next one would have come along
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
