// first_map TITLE PROGRAM [ARGUMENT...]
//
// Starts PROGRAM on $DISPLAY and waits until a top-level window titled TITLE is mapped; prints the
// milliseconds from the start to that MapNotify and PROGRAM's process id, and leaves it running.
// Exits 1, ending PROGRAM, when no such window appears within 30 s. Polling for the window (as
// `xdotool search --sync` does every 0.5 s) would round every launch time to its interval.
#include <xcb/xcb.h>

#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

using Clock = std::chrono::steady_clock;

xcb_atom_t atom(xcb_connection_t* c, const char* name) {
    auto* reply = xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, std::strlen(name), name), nullptr);
    const xcb_atom_t result = reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    std::free(reply);
    return result;
}

std::string property(xcb_connection_t* c, xcb_window_t window, xcb_atom_t name) {
    auto* reply = xcb_get_property_reply(
        c, xcb_get_property(c, 0, window, name, XCB_GET_PROPERTY_TYPE_ANY, 0, 256), nullptr);
    std::string value;
    if (reply)
        value.assign(static_cast<const char*>(xcb_get_property_value(reply)),
                     xcb_get_property_value_length(reply));
    std::free(reply);
    return value;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s TITLE PROGRAM [ARGUMENT...]\n", argv[0]);
        return 2;
    }
    const std::string title = argv[1];
    xcb_connection_t* c = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(c)) {
        std::fprintf(stderr, "first_map: no X display\n");
        return 1;
    }
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
    const xcb_atom_t netName = atom(c, "_NET_WM_NAME");
    // Top-level windows are the root's children while no window manager reparents them.
    const std::uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    std::free(xcb_request_check(
        c, xcb_change_window_attributes_checked(c, root, XCB_CW_EVENT_MASK, &mask)));

    const auto start = Clock::now();
    const pid_t child = fork();
    if (child == 0) {
        // Our standard output carries the result alone; the program's goes to standard error.
        dup2(STDERR_FILENO, STDOUT_FILENO);
        execvp(argv[2], argv + 2);
        std::perror("first_map: exec");
        _exit(127);
    }

    const auto deadline = start + std::chrono::seconds(30);
    pollfd fd{xcb_get_file_descriptor(c), POLLIN, 0};
    while (Clock::now() < deadline && waitpid(child, nullptr, WNOHANG) == 0) {
        poll(&fd, 1, 100);
        while (xcb_generic_event_t* event = xcb_poll_for_event(c)) {
            const bool mapped = (event->response_type & 0x7F) == XCB_MAP_NOTIFY;
            const xcb_window_t window =
                mapped ? reinterpret_cast<xcb_map_notify_event_t*>(event)->window : 0;
            const auto at = Clock::now();
            std::free(event);
            if (!mapped || (property(c, window, netName) != title &&
                            property(c, window, XCB_ATOM_WM_NAME) != title))
                continue;
            std::printf("%.1f %d\n", std::chrono::duration<double, std::milli>(at - start).count(),
                        static_cast<int>(child));
            xcb_disconnect(c);
            return 0;
        }
        if (xcb_connection_has_error(c))
            break;
    }
    std::fprintf(stderr, "first_map: no window titled \"%s\" was mapped\n", title.c_str());
    kill(child, SIGTERM);
    waitpid(child, nullptr, 0);
    return 1;
}
