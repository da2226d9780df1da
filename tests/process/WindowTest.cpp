#include "zel/process/ProcessUtils.h"

#include "tests/process/UniqueProgram.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <thread>
#include <tuple>
#include <xcb/xcb_ewmh.h>

namespace zel {
namespace {

template <class T>
std::shared_ptr<T> Own(T* memory) {
    return {memory, &std::free};
}

// Polls: a window manager reports its progress by properties of many windows.
bool Becomes(const std::function<bool()>& isTrue) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!isTrue() && std::chrono::steady_clock::now() < end) {
        std::this_thread::yield();
    }
    return isTrue();
}

// An X server in memory, with or without a window manager.
class Screen {
public:
    explicit Screen(bool isManaged) {
        ::setenv("DISPLAY", (":" + m_server.ReadUntil("\n")).c_str(), 1);
        m_connection = xcb_connect(nullptr, nullptr);
        xcb_ewmh_init_atoms_replies(&m_hints, xcb_ewmh_init_atoms(m_connection, &m_hints), nullptr);
        m_root = m_hints.screens[0]->root;
        if (isManaged) {
            m_manager.reset(new test::ChildProcess({"openbox", "--sm-disable"}));
        }
    }

    ~Screen() {
        xcb_ewmh_connection_wipe(&m_hints);
        xcb_disconnect(m_connection);
        ::unsetenv("DISPLAY");
    }

    // Shows a window on top of all others.
    xcb_window_t Show(unsigned int owner, const std::string& title) {
        const xcb_window_t window = xcb_generate_id(m_connection);
        xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, window, m_root, 10, 10, 200, 100, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
        xcb_ewmh_set_wm_pid(&m_hints, window, owner);
        xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NAME,
                            XCB_ATOM_STRING, 8, static_cast<std::uint32_t>(title.size()),
                            title.data());
        // A manager that is starting may ignore the first request.
        EXPECT_TRUE(Becomes([&] {
            xcb_map_window(m_connection, window);
            return GetTop() == window;
        })) << title;
        return window;
    }

    // Returns whether the window is on top, maximised and has the focus.
    bool IsInFront(xcb_window_t window) {
        const auto focus = Own(
            xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
        const auto size = Own(
            xcb_get_geometry_reply(m_connection, xcb_get_geometry(m_connection, window), nullptr));
        return focus->focus == window && GetTop() == window && size->width > 780 &&
               size->height > 560;
    }

private:
    xcb_window_t GetTop() {
        if (!m_manager) {
            const auto tree = Own(
                xcb_query_tree_reply(m_connection, xcb_query_tree(m_connection, m_root), nullptr));
            return xcb_query_tree_children(tree.get())[tree->children_len - 1];
        }
        xcb_ewmh_get_windows_reply_t windows = {};
        const auto cookie = xcb_ewmh_get_client_list_stacking(&m_hints, 0);
        xcb_ewmh_get_client_list_stacking_reply(&m_hints, cookie, &windows, nullptr);
        const auto owner = Own(windows._reply);
        return windows.windows_len == 0 ? XCB_NONE : windows.windows[windows.windows_len - 1];
    }

    const test::ChildProcess m_server{
        {"Xvfb", "-displayfd", "1", "-screen", "0", "800x600x24", "-nolisten", "tcp"}};
    std::unique_ptr<test::ChildProcess> m_manager;
    xcb_connection_t* m_connection = nullptr;
    xcb_ewmh_connection_t m_hints = {};
    xcb_window_t m_root = XCB_NONE;
};

class WindowTest : public ::testing::TestWithParam<bool> {};

TEST_P(WindowTest, RaisesAndFocusesTheTopmostWindowWithThatTitle) {
    if (std::system("command -v Xvfb openbox >/dev/null") != 0) {
        GTEST_SKIP() << "this test needs Xvfb and openbox";
    }
    Screen screen(GetParam());
    test::UniqueProgram program;
    const auto first = static_cast<unsigned int>(program.Start());
    const auto second = static_cast<unsigned int>(::getpid());
    const std::string longTitle(300, 'x');
    const xcb_window_t orders = screen.Show(first, "Orders");
    screen.Show(first, "Open orders");
    const xcb_window_t upper = screen.Show(first, "Open orders");
    const xcb_window_t untitled = screen.Show(first, "");
    const xcb_window_t longOne = screen.Show(first, longTitle);
    const xcb_window_t other = screen.Show(second, "Open orders");
    const std::tuple<unsigned int, std::string, xcb_window_t> rows[] = {
        {first, "open ORDERS", upper}, {second, "Open orders", other},
        {second, "Open", other},       {second, "", other},
        {first, "Orders", orders},     {first, longTitle, orders},
        {0, "Open orders", orders},    {first, longTitle.substr(0, 254), longOne},
        {first, "", untitled},
    };
    for (const auto& [pid, title, inFront] : rows) {
        ProcessUtils::SwitchToProcess(pid, title);
        EXPECT_TRUE(Becomes([&, window = inFront] { return screen.IsInFront(window); })) << title;
    }
    ProcessUtils::SwitchToProcess("ZEL" + program.name.substr(3), "orders");
    EXPECT_TRUE(Becomes([&] { return screen.IsInFront(orders); }));
}

INSTANTIATE_TEST_SUITE_P(WithoutAndWithManager, WindowTest, ::testing::Bool());

TEST(NoWindowTest, ReturnsAtOnceWithoutADisplayOfThisMachine) {
    const auto start = std::chrono::steady_clock::now();
    for (const char* display : {"", "nonsense", ":7777", "192.0.2.1:0"}) {
        ::setenv("DISPLAY", display, 1);
        ProcessUtils::SwitchToProcess(1, "");
    }
    ::unsetenv("DISPLAY");
    ProcessUtils::SwitchToProcess(1, "");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

}  // namespace
}  // namespace zel
