#pragma once

#include <atomic>
#include <cstdint>

namespace zel::platform {

/// Blocks threads on a 32-bit word and wakes them: the system's part of a contended lock. Each
/// system implements these. They don't allocate, don't throw and leave the system's error number
/// unchanged.

/// Blocks while `word` holds `expected`. Returns after `UnparkOne` for that word, at once if the
/// word has another value, and sometimes without a reason: the caller checks again. If
/// `ProcessWideBarrier` may have no effect, it also returns after some milliseconds.
void Park(std::atomic<std::uint32_t>& word, std::uint32_t expected) noexcept;

/// Wakes one thread that is blocked on `word`, if there is one.
void UnparkOne(std::atomic<std::uint32_t>& word) noexcept;

/// Acts as a full memory fence on every running thread of the process. The frequent side of a
/// handshake then needs no fence if the rare side calls this between its store and its load.
void ProcessWideBarrier() noexcept;

}  // namespace zel::platform
