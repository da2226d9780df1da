#pragma once

namespace zel::platform {

/// Starts the threads that DoGuarded runs work on.
void StartGuardedWork() noexcept;

/// Abandons the work that the calling thread does for DoGuarded, and the thread with it; returns if
/// it does none. Call it in the handler of a fault.
void AbandonGuardedWork() noexcept;

}  // namespace zel::platform
