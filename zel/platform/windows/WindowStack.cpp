#include "zel/platform/WindowStack.h"

#include <windows.h>

namespace zel::platform {

namespace {

HWND ToHandle(WindowStack::Window window) noexcept {
    return reinterpret_cast<HWND>(window);
}

class DesktopWindowStack final : public WindowStack {
public:
    // Windows may be reordered meanwhile, so that one is met again.
    std::vector<Window> ListFromTop() override {
        std::vector<Window> windows;
        constexpr std::size_t limit = 100'000;
        for (HWND window = ::GetTopWindow(nullptr); window != nullptr && windows.size() < limit;
             window = ::GetWindow(window, GW_HWNDNEXT)) {
            windows.push_back(reinterpret_cast<Window>(window));
        }
        return windows;
    }

    unsigned int GetOwner(Window window) override {
        DWORD process = 0;
        ::GetWindowThreadProcessId(ToHandle(window), &process);
        return process;
    }

    std::string GetTitle(Window window, std::size_t limit) override {
        std::string title(limit + 1, '\0');
        const int length =
            ::GetWindowTextA(ToHandle(window), title.data(), static_cast<int>(title.size()));
        title.resize(static_cast<std::size_t>(length));
        return title;
    }

    void Raise(Window window) override {
        ::ShowWindow(ToHandle(window), SW_SHOWMAXIMIZED);
        ::SetForegroundWindow(ToHandle(window));
        ::SetFocus(ToHandle(window));
    }
};

}  // namespace

std::unique_ptr<WindowStack> OpenWindowStack() {
    return std::make_unique<DesktopWindowStack>();
}

}  // namespace zel::platform
