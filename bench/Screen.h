#pragma once

#include <xcb/xcb.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

/// Ends the program with a line on why nothing can be measured.
[[noreturn]] inline void fail(const std::string& why) {
    std::fprintf(stderr, "window_bench: %s\n", why.c_str());
    std::exit(1);
}

/// Sees windows come, and closes them as a window manager does. Needs a display without one.
class Screen {
public:
    using Clock = std::chrono::steady_clock;

    Screen() : connection_(xcb_connect(nullptr, nullptr)) {
        if (xcb_connection_has_error(connection_) != 0)
            fail("there is no display; see the head of WindowBench.cpp");
        root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
        const uint32_t events = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
        xcb_change_window_attributes(connection_, root_, XCB_CW_EVENT_MASK, &events);
        xcb_flush(connection_);
    }

    /// Waits until another window is on the screen and is painted white; 0 if `unlessGone` is closed instead.
    /// `mappedAt` tells when it came on the screen.
    xcb_window_t nextWindow(xcb_window_t unlessGone = 0) {
        const auto end = Clock::now() + std::chrono::seconds(20);
        xcb_window_t window = 0;
        while (window == 0) {
            if (unlessGone != 0 && !isShown(unlessGone))
                return 0;
            if (xcb_generic_event_t* const event = xcb_poll_for_event(connection_)) {
                if ((event->response_type & 0x7f) == XCB_MAP_NOTIFY)
                    window = reinterpret_cast<xcb_map_notify_event_t*>(event)->window;
                free(event);
            } else {
                pause(end);
            }
        }
        mappedAt_ = Clock::now();
        while (!isPainted(window))
            pause(end);
        return window;
    }

    Clock::time_point mappedAt() const { return mappedAt_; }

    void waitForKeyboard(xcb_window_t window) {
        const auto end = Clock::now() + std::chrono::seconds(10);
        while (!hasKeyboard(window))
            pause(end);
    }

    void close(xcb_window_t window) {
        askToClose(window);
        waitUntilGone(window);
    }

    void askToClose(xcb_window_t window) {
        xcb_client_message_event_t message{};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = window;
        message.type = atom("WM_PROTOCOLS");
        message.data.data32[0] = atom("WM_DELETE_WINDOW");
        xcb_send_event(connection_, 0, window, XCB_EVENT_MASK_NO_EVENT,
                       reinterpret_cast<const char*>(&message));
        xcb_flush(connection_);
    }

    void waitUntilGone(xcb_window_t window) {
        const auto end = Clock::now() + std::chrono::seconds(10);
        while (isShown(window))
            pause(end);
    }

private:
    static void pause(Clock::time_point end) {
        if (Clock::now() > end)
            fail("a window did not come or go");
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }

    xcb_atom_t atom(const std::string& name) {
        auto* const reply = xcb_intern_atom_reply(
            connection_, xcb_intern_atom(connection_, 0, static_cast<uint16_t>(name.size()), name.c_str()),
            nullptr);
        const xcb_atom_t value = reply->atom;
        free(reply);
        return value;
    }

    bool isShown(xcb_window_t window) {
        auto* const reply = xcb_get_window_attributes_reply(
            connection_, xcb_get_window_attributes(connection_, window), nullptr);
        const bool shown = reply && reply->map_state == XCB_MAP_STATE_VIEWABLE;
        free(reply);
        return shown;
    }

    bool hasKeyboard(xcb_window_t window) {
        auto* const reply = xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr);
        const bool has = reply && reply->focus == window;
        free(reply);
        return has;
    }

    bool isPainted(xcb_window_t window) {
        auto* const reply = xcb_get_image_reply(
            connection_, xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, window, 4, 4, 1, 1, ~0U),
            nullptr);
        const bool painted =
            reply && xcb_get_image_data_length(reply) >= 3 && xcb_get_image_data(reply)[0] == 0xff;
        free(reply);
        return painted;
    }

    xcb_connection_t* connection_;
    xcb_window_t root_ = 0;
    Clock::time_point mappedAt_;
};
