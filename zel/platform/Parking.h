#pragma once

#include <atomic>
#include <cstdint>

namespace zel::platform {

// Puts threads to sleep on a 32-bit word and wakes them: what a lock needs of the system once it
// is contended. A new system must offer these three; none of them allocates, throws or changes
// errno.

// Sleeps while `word` holds `expected`. Returns on UnparkOne for that word, at once when the word
// has another value, and now and then for no reason: the caller looks again. Where
// ProcessWideBarrier has no effect, it also returns after a millisecond at the most.
void Park(std::atomic<std::uint32_t>& word, std::uint32_t expected) noexcept;

// Wakes one thread that sleeps on `word`, if there is one.
void UnparkOne(std::atomic<std::uint32_t>& word) noexcept;

// Acts as a full memory fence on every running thread of the process. It lets the frequent side of
// a hand-shake go without a fence of its own while the rare side calls this between its store and
// its load.
void ProcessWideBarrier() noexcept;

}  // namespace zel::platform
