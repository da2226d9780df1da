// Windows of the desktop, which needs no screen under Wine.

#include "zel/process/ProcessUtils.h"

#include "tests/process/UniqueProgram.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <thread>
#include <tuple>
#include <windows.h>

namespace zel {
namespace {

// Shows windows from a thread that handles their messages.
class Windows {
public:
    explicit Windows(const std::vector<std::string>& titles) {
        std::promise<void> shown;
        m_thread = std::thread([&] {
            for (const std::string& title : titles) {
                m_windows.push_back(::CreateWindowA("STATIC", title.c_str(),
                                                    WS_OVERLAPPEDWINDOW | WS_VISIBLE, 10, 10, 200,
                                                    100, nullptr, nullptr, nullptr, nullptr));
            }
            m_id = ::GetCurrentThreadId();
            shown.set_value();
            MSG message = {};
            while (::GetMessageA(&message, nullptr, 0, 0) > 0) {
                ::DispatchMessageA(&message);
            }
        });
        shown.get_future().wait();
    }

    ~Windows() {
        ::PostThreadMessageA(m_id, WM_QUIT, 0, 0);
        m_thread.join();
    }

    Windows(const Windows&) = delete;
    Windows& operator=(const Windows&) = delete;

    HWND Get(std::size_t index) const { return m_windows[index]; }

private:
    std::vector<HWND> m_windows;
    DWORD m_id = 0;
    std::thread m_thread;
};

bool BecomesFront(HWND window) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    const auto isFront = [=] { return ::GetForegroundWindow() == window && ::IsZoomed(window); };
    while (!isFront() && std::chrono::steady_clock::now() < end) {
        std::this_thread::yield();
    }
    return isFront();
}

TEST(DesktopTest, RaisesAndFocusesTheTopmostWindowWithThatTitle) {
    test::UniqueProgram program;
    const auto other = static_cast<unsigned int>(program.Start());
    const auto own = static_cast<unsigned int>(::GetCurrentProcessId());
    const std::string longTitle(300, 'x');
    const Windows windows({"Orders", "Open orders", "Open orders", "", longTitle});
    if (windows.Get(0) == nullptr) {
        GTEST_SKIP() << "this test needs a desktop";
    }
    const HWND orders = windows.Get(0);
    const HWND upper = windows.Get(2);
    const HWND untitled = windows.Get(3);
    const HWND longOne = windows.Get(4);
    const std::tuple<unsigned int, std::string, HWND> rows[] = {
        {own, "open ORDERS", upper},
        {own, "Orders", orders},
        {other, "Open orders", orders},
        {own, "Open", orders},
        {0, "Orders", orders},
        {own, longTitle, orders},
        {own, "", untitled},
        {own, longTitle.substr(0, 254), longOne},
    };
    for (const auto& [pid, title, inFront] : rows) {
        ProcessUtils::SwitchToProcess(pid, title);
        EXPECT_TRUE(BecomesFront(inFront)) << title;
    }
}

}  // namespace
}  // namespace zel
