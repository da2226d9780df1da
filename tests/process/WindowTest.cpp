#include "zel/process/ProcessUtils.h"

#include "tests/process/Child.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <xcb/xcb_ewmh.h>

namespace zel {
namespace {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

template <class T>
std::unique_ptr<T, Free> Own(T* memory) {
    return std::unique_ptr<T, Free>(memory);
}

// A screen in memory, by itself or with a window manager.
class Screen {
public:
    explicit Screen(bool isManaged) : m_isManaged(isManaged) {
        ::setenv("DISPLAY", (":" + m_server.ReadLine()).c_str(), 1);
        m_connection = xcb_connect(nullptr, nullptr);
        if (xcb_connection_has_error(m_connection) != 0) {
            throw std::runtime_error("Xvfb doesn't serve");
        }
        xcb_ewmh_init_atoms_replies(&m_hints, xcb_ewmh_init_atoms(m_connection, &m_hints), nullptr);
        if (isManaged) {
            m_manager.emplace(std::vector<std::string>{"openbox", "--sm-disable"});
        }
    }

    ~Screen() {
        xcb_ewmh_connection_wipe(&m_hints);
        xcb_disconnect(m_connection);
        ::unsetenv("DISPLAY");
    }

    bool HasManager() {
        xcb_window_t window = XCB_NONE;
        return xcb_ewmh_get_supporting_wm_check_reply(
                   &m_hints, xcb_ewmh_get_supporting_wm_check(&m_hints, m_hints.screens[0]->root),
                   &window, nullptr) != 0;
    }

    bool IsInFront(xcb_window_t window) {
        const auto focus = Own(
            xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
        return focus->focus == window && GetTop() == window && IsMaximised(window);
    }

private:
    xcb_window_t GetTop() {
        if (m_isManaged) {
            xcb_ewmh_get_windows_reply_t windows = {};
            xcb_ewmh_get_client_list_stacking_reply(
                &m_hints, xcb_ewmh_get_client_list_stacking(&m_hints, 0), &windows, nullptr);
            const auto owner = Own(windows._reply);
            return windows.windows[windows.windows_len - 1];
        }
        const auto tree = Own(xcb_query_tree_reply(
            m_connection, xcb_query_tree(m_connection, m_hints.screens[0]->root), nullptr));
        return xcb_query_tree_children(tree.get())[xcb_query_tree_children_length(tree.get()) - 1];
    }

    bool IsMaximised(xcb_window_t window) {
        if (!m_isManaged) {
            const auto size = Own(xcb_get_geometry_reply(
                m_connection, xcb_get_geometry(m_connection, window), nullptr));
            return size->x == 0 && size->y == 0 && size->width == 800 && size->height == 600;
        }
        xcb_ewmh_get_atoms_reply_t states = {};
        if (xcb_ewmh_get_wm_state_reply(&m_hints, xcb_ewmh_get_wm_state(&m_hints, window), &states,
                                        nullptr) == 0) {
            return false;
        }
        const auto owner = Own(states._reply);
        const auto end = states.atoms + states.atoms_len;
        return std::count(states.atoms, end, m_hints._NET_WM_STATE_MAXIMIZED_VERT) == 1 &&
               std::count(states.atoms, end, m_hints._NET_WM_STATE_MAXIMIZED_HORZ) == 1;
    }

    const bool m_isManaged;
    const test::Child m_server{
        {"Xvfb", "-displayfd", "1", "-screen", "0", "800x600x24", "-nolisten", "tcp"}};
    std::optional<test::Child> m_manager;
    xcb_connection_t* m_connection = nullptr;
    xcb_ewmh_connection_t m_hints = {};
};

// The screen can't be waited for in one place, as a manager tells by properties of many windows.
template <class Condition>
bool Becomes(Condition isSo) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!isSo() && std::chrono::steady_clock::now() < end) {
        std::this_thread::yield();
    }
    return isSo();
}

class WindowTest : public ::testing::TestWithParam<bool> {};

TEST_P(WindowTest, RaisesTheUppermostOfThoseWithThatTitleAndGivesItTheKeyboard) {
    const char* const wanted = GetParam() ? "Xvfb and openbox" : "Xvfb";
    if (std::system("command -v Xvfb >/dev/null") != 0 ||
        (GetParam() && std::system("command -v openbox >/dev/null") != 0)) {
        GTEST_SKIP() << "this test needs " << wanted;
    }
    Screen screen(GetParam());
    ASSERT_TRUE(!GetParam() || Becomes([&] { return screen.HasManager(); }));
    const std::string longTitle(300, 'x');
    const std::string longest = longTitle.substr(0, 254);
    const test::UniqueProgram program(ZEL_SHOW_WINDOW);
    const test::Child first({program.path, "Orders", "Open orders", "Open orders", "", longTitle});
    const test::Child second({ZEL_SHOW_WINDOW, "Open orders"});
    xcb_window_t lower = 0, upper = 0, orders = 0, untitled = 0, longOne = 0, foreign = 0;
    std::istringstream(first.ReadLine()) >> orders >> lower >> upper >> untitled >> longOne;
    std::istringstream(second.ReadLine()) >> foreign;

    const struct {
        unsigned int pid;
        std::string title;
        xcb_window_t inFront;
    } rows[] = {
        {first.GetId(), "open ORDERS", upper},
        {second.GetId(), "Open orders", foreign},
        {second.GetId(), "Open", foreign},
        {second.GetId(), "", foreign},
        {first.GetId(), "Orders", orders},
        {first.GetId(), longTitle, orders},
        {0, "Open orders", orders},
        {first.GetId(), longest, longOne},
        {first.GetId(), "", untitled},
    };
    for (const auto& row : rows) {
        ProcessUtils::SwitchToProcess(row.pid, row.title);
        EXPECT_TRUE(Becomes([&] { return screen.IsInFront(row.inFront); })) << row.title;
    }
    ProcessUtils::SwitchToProcess("ZEL" + program.name.substr(3), "orders");
    EXPECT_TRUE(Becomes([&] { return screen.IsInFront(orders); }));
    ProcessUtils::SwitchToProcess("zel_no_such_process", "orders");
}

INSTANTIATE_TEST_SUITE_P(WithoutAndWithAManager, WindowTest, ::testing::Bool());

TEST(NoWindowTest, DoesNothingAtOnceWithoutAScreenOfThisMachine) {
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
