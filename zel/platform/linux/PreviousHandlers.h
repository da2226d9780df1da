#pragma once

#include <csignal>
#include <ucontext.h>

namespace zel::platform {

/// The actions of the fault signals before faults were caught.

using SignalHandler = void (*)(int signal, siginfo_t* info, void* context);

/// Installs `handler` for all fault signals and keeps the previous actions.
void InstallHandler(SignalHandler handler) noexcept;

/// Calls the previous handler of the signal, if there is one. Returns true if the program
/// continues: the handler has returned, has neither raised the signal again nor reset its action,
/// and the instruction wouldn't fail again.
bool RecoversByPreviousHandler(int signal, siginfo_t& info, ucontext_t& context) noexcept;

/// Returns whether the signal was sent and the program ignores it. The signal of `abort` isn't
/// ignored, because that ends the process all the same.
bool IsIgnored(int signal, const siginfo_t& info) noexcept;

}  // namespace zel::platform
