#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace zel::platform {

// The top-level windows of this process's display in stacking order. Every system implements this
// class and OpenWindowStack. Windows may be created and destroyed at any time: queries about a
// destroyed window return 0 or an empty string, and raising it does nothing. Not thread-safe; any
// number of stacks may be open.
class WindowStack {
public:
    using Window = std::uintptr_t;

    WindowStack() = default;
    virtual ~WindowStack() = default;
    WindowStack(const WindowStack&) = delete;
    WindowStack& operator=(const WindowStack&) = delete;

    virtual std::vector<Window> ListFromTop() = 0;

    // Returns the process that created the window; 0 if unknown.
    virtual unsigned int GetOwner(Window window) = 0;

    // Returns the first `limit` bytes of the title.
    virtual std::string GetTitle(Window window, std::size_t limit) = 0;

    // Maximises the window, brings it to the front and gives it the keyboard focus.
    virtual void Raise(Window window) = 0;
};

// Returns null, without blocking, if the process has no display of this machine.
std::unique_ptr<WindowStack> OpenWindowStack();

}  // namespace zel::platform
