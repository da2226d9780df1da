#pragma once

namespace zel::platform {

/// Abandons the innermost DoGuarded if the calling thread runs it, and returns otherwise. Call it
/// in the handler of a fault.
void AbandonGuardedWork() noexcept;

}  // namespace zel::platform
