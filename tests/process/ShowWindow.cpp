// Shows a window for each title it is given, the last on top, prints their numbers in a line, and
// stays.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <unistd.h>
#include <xcb/xcb_ewmh.h>

namespace {

bool TakeShown(xcb_connection_t* connection) {
    while (xcb_generic_event_t* const event = xcb_poll_for_event(connection)) {
        const bool isShown = (event->response_type & 0x7F) == XCB_MAP_NOTIFY;
        std::free(event);
        if (isShown) {
            return true;
        }
    }
    return xcb_connection_has_error(connection) != 0;
}

// A manager that is just starting may let a request lie until the next one comes.
void Show(xcb_connection_t* connection, xcb_window_t window) {
    constexpr int patience = 100;
    do {
        xcb_map_window(connection, window);
        xcb_flush(connection);
        pollfd waiting{xcb_get_file_descriptor(connection), POLLIN, 0};
        ::poll(&waiting, 1, patience);
    } while (!TakeShown(connection));
}

xcb_window_t ShowWindow(xcb_ewmh_connection_t& hints, const char* title) {
    xcb_connection_t* const connection = hints.connection;
    const xcb_window_t window = xcb_generate_id(connection);
    const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, hints.screens[0]->root, 10, 10, 200,
                      100, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_EVENT_MASK, &events);
    xcb_ewmh_set_wm_pid(&hints, window, static_cast<std::uint32_t>(::getpid()));
    const auto length = static_cast<std::uint32_t>(std::strlen(title));
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NAME,
                        XCB_ATOM_STRING, 8, length, title);
    Show(connection, window);
    return window;
}

}  // namespace

int main(int argc, char** argv) {
    xcb_ewmh_connection_t hints = {};
    xcb_connection_t* const connection = xcb_connect(nullptr, nullptr);
    xcb_ewmh_init_atoms_replies(&hints, xcb_ewmh_init_atoms(connection, &hints), nullptr);
    for (int i = 1; i < argc; ++i) {
        std::printf("%u ", ShowWindow(hints, argv[i]));
    }
    std::puts("");
    std::fflush(stdout);
    ::pause();
}
