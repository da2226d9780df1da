#include "zel/platform/WindowStack.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>
#include <xcb/xcb.h>
#include <xcb/xcb_ewmh.h>

namespace zel::platform {

namespace {

struct Free {
    void operator()(void* memory) const noexcept { std::free(memory); }
};

// Replies are allocated with malloc and owned by the receiver.
template <class T>
using Reply = std::unique_ptr<T, Free>;

// Process identifiers of another machine's windows mean nothing here, and connecting may block.
bool IsLocalDisplay() {
    char* hostText = nullptr;
    int display = 0;
    if (xcb_parse_display(nullptr, &hostText, &display, nullptr) == 0) {
        return false;
    }
    const Reply<char> owner(hostText);
    const std::string_view host = hostText;
    constexpr std::array<std::string_view, 5> localHosts = {"", "unix", "localhost", "127.0.0.1",
                                                            "::1"};
    return host.starts_with('/') ||
           std::find(localHosts.begin(), localHosts.end(), host) != localHosts.end();
}

xcb_window_t ToXWindow(WindowStack::Window window) {
    return static_cast<xcb_window_t>(window);
}

class Display {
public:
    Display() : m_connection(xcb_connect(nullptr, &m_screenNumber)) {
        if (xcb_connection_has_error(m_connection) == 0) {
            xcb_intern_atom_cookie_t* const atoms = xcb_ewmh_init_atoms(m_connection, &m_hints);
            m_hasHints = xcb_ewmh_init_atoms_replies(&m_hints, atoms, nullptr) != 0;
        }
    }

    ~Display() {
        if (m_hasHints) {
            xcb_ewmh_connection_wipe(&m_hints);
        }
        xcb_disconnect(m_connection);
    }

    Display(const Display&) = delete;
    Display& operator=(const Display&) = delete;

    bool IsOpen() const noexcept { return m_hasHints; }
    xcb_connection_t* GetConnection() const noexcept { return m_connection; }
    xcb_ewmh_connection_t* GetHints() noexcept { return &m_hints; }
    int GetScreenNumber() const noexcept { return m_screenNumber; }
    const xcb_screen_t& GetScreen() const noexcept { return *m_hints.screens[m_screenNumber]; }

private:
    int m_screenNumber = 0;
    xcb_connection_t* const m_connection;
    xcb_ewmh_connection_t m_hints = {};
    bool m_hasHints = false;
};

// A window manager reparents windows into frames, publishes their stacking order and accepts
// requests as messages. Without one the requests go to the X server.
class XcbWindowStack final : public WindowStack {
public:
    bool Open() {
        if (m_display.IsOpen()) {
            m_isManaged = FindManager();
        }
        return m_display.IsOpen();
    }

    std::vector<Window> ListFromTop() override {
        std::vector<Window> windows = m_isManaged ? ListManaged() : ListChildren();
        std::reverse(windows.begin(), windows.end());
        return windows;
    }

    unsigned int GetOwner(Window window) override {
        std::uint32_t owner = 0;
        const auto cookie = xcb_ewmh_get_wm_pid(m_hints, ToXWindow(window));
        return xcb_ewmh_get_wm_pid_reply(m_hints, cookie, &owner, nullptr) != 0 ? owner : 0;
    }

    std::string GetTitle(Window window, std::size_t limit) override {
        std::string title;
        if (!ReadText(ToXWindow(window), m_hints->_NET_WM_NAME, limit, title)) {
            ReadText(ToXWindow(window), XCB_ATOM_WM_NAME, limit, title);
        }
        return title;
    }

    void Raise(Window window) override {
        if (m_isManaged) {
            RaiseByManager(ToXWindow(window));
        } else {
            RaiseByServer(ToXWindow(window));
        }
        // Requests are processed in order: a reply means that all before it have been processed.
        const Reply<xcb_get_input_focus_reply_t> done(
            xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    }

private:
    xcb_window_t GetRoot() const { return m_display.GetScreen().root; }

    // A manager that has exited leaves its property on the root window, but not on its own.
    bool FindManager() {
        xcb_window_t manager = XCB_NONE;
        xcb_window_t confirmed = XCB_NONE;
        return ReadManager(GetRoot(), manager) && ReadManager(manager, confirmed) &&
               manager == confirmed;
    }

    bool ReadManager(xcb_window_t window, xcb_window_t& manager) {
        const auto cookie = xcb_ewmh_get_supporting_wm_check(m_hints, window);
        return xcb_ewmh_get_supporting_wm_check_reply(m_hints, cookie, &manager, nullptr) != 0;
    }

    std::vector<Window> ListManaged() {
        xcb_ewmh_get_windows_reply_t found = {};
        const auto cookie = xcb_ewmh_get_client_list_stacking(m_hints, m_display.GetScreenNumber());
        if (xcb_ewmh_get_client_list_stacking_reply(m_hints, cookie, &found, nullptr) == 0) {
            return {};
        }
        const Reply<xcb_get_property_reply_t> owner(found._reply);
        return {found.windows, found.windows + found.windows_len};
    }

    std::vector<Window> ListChildren() {
        const Reply<xcb_query_tree_reply_t> tree(
            xcb_query_tree_reply(m_connection, xcb_query_tree(m_connection, GetRoot()), nullptr));
        if (!tree) {
            return {};
        }
        const xcb_window_t* const children = xcb_query_tree_children(tree.get());
        return {children, children + xcb_query_tree_children_length(tree.get())};
    }

    // Returns false if the window doesn't have that property.
    bool ReadText(xcb_window_t window, xcb_atom_t property, std::size_t limit, std::string& text) {
        constexpr std::size_t unit = 4;
        const auto units = static_cast<std::uint32_t>((limit + unit - 1) / unit);
        const Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
            m_connection,
            xcb_get_property(m_connection, 0, window, property, XCB_ATOM_ANY, 0, units), nullptr));
        if (!reply || reply->type == XCB_NONE) {
            return false;
        }
        const auto size = static_cast<std::size_t>(xcb_get_property_value_length(reply.get()));
        text.assign(static_cast<const char*>(xcb_get_property_value(reply.get())),
                    std::min(size, limit));
        return true;
    }

    // Identifies as a pager: managers may refuse to give the focus to an ordinary application.
    void RaiseByManager(xcb_window_t window) {
        const int screen = m_display.GetScreenNumber();
        xcb_ewmh_request_change_wm_state(
            m_hints, screen, window, XCB_EWMH_WM_STATE_ADD, m_hints->_NET_WM_STATE_MAXIMIZED_VERT,
            m_hints->_NET_WM_STATE_MAXIMIZED_HORZ, XCB_EWMH_CLIENT_SOURCE_TYPE_OTHER);
        xcb_ewmh_request_change_active_window(
            m_hints, screen, window, XCB_EWMH_CLIENT_SOURCE_TYPE_OTHER, XCB_CURRENT_TIME, XCB_NONE);
    }

    void RaiseByServer(xcb_window_t window) {
        const xcb_screen_t& screen = m_display.GetScreen();
        constexpr auto fields = XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y |
                                XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT |
                                XCB_CONFIG_WINDOW_BORDER_WIDTH | XCB_CONFIG_WINDOW_STACK_MODE;
        const std::uint32_t values[] = {
            0, 0, screen.width_in_pixels, screen.height_in_pixels, 0, XCB_STACK_MODE_ABOVE};
        xcb_map_window(m_connection, window);
        xcb_configure_window(m_connection, window, fields, values);
        xcb_set_input_focus(m_connection, XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
    }

    Display m_display;
    xcb_connection_t* const m_connection = m_display.GetConnection();
    xcb_ewmh_connection_t* const m_hints = m_display.GetHints();
    bool m_isManaged = false;
};

}  // namespace

std::unique_ptr<WindowStack> OpenWindowStack() {
    auto stack = IsLocalDisplay() ? std::make_unique<XcbWindowStack>() : nullptr;
    return stack && stack->Open() ? std::move(stack) : nullptr;
}

}  // namespace zel::platform
