#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace zel::platform {

// The top-level windows of the screen that the process belongs to, from the top of their stack
// down. A new system must offer this class and OpenWindowStack. Windows may come and go at any
// time: what is told of one that has gone is 0 or empty, and raising it does nothing. Not for
// several threads at once; any number of stacks may be open.
class WindowStack {
public:
    using Window = std::uintptr_t;

    WindowStack() = default;
    virtual ~WindowStack() = default;
    WindowStack(const WindowStack&) = delete;
    WindowStack& operator=(const WindowStack&) = delete;

    virtual std::vector<Window> ListFromTop() = 0;

    // The process that made the window; 0 if that isn't known.
    virtual unsigned int GetOwner(Window window) = 0;

    // Its first `limit` bytes.
    virtual std::string GetTitle(Window window, std::size_t limit) = 0;

    // Shows the window maximised, brings it to the front and gives it the keyboard.
    virtual void Raise(Window window) = 0;
};

// Null, and without any waiting, where the process has no screen.
std::unique_ptr<WindowStack> OpenWindowStack();

}  // namespace zel::platform
