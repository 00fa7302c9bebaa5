#include "DGAMonitor/View/DGAWindowActivation.h"

#include <xcb/xcb.h>

#include <QGuiApplication>
#include <QWidget>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

#include "DGAMonitor/View/DGADesktopFrame.h"

namespace {

// The toolkit reads it with its next activation, and takes it away.
constexpr char kToken[] = "XDG_ACTIVATION_TOKEN";

struct Freer {
    void operator()(void* memory) const { std::free(memory); }
};

template <typename Reply>
using Owned = std::unique_ptr<Reply, Freer>;

xcb_atom_t atomNamed(xcb_connection_t* connection, std::string_view name) {
    const auto cookie = xcb_intern_atom(connection, 0, static_cast<uint16_t>(name.size()), name.data());
    const Owned<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

// The server's time now: it tells it with the change of a property. On a connection of its own, as the
// toolkit reads the events of its own one. 0 if it does not answer.
xcb_timestamp_t serverTime() {
    int number = 0;
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(
        xcb_connect(nullptr, &number), xcb_disconnect);
    if (xcb_connection_has_error(connection.get()) != 0)
        return XCB_CURRENT_TIME;
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data->root;
    const xcb_window_t probe = xcb_generate_id(connection.get());
    const uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(connection.get(), XCB_COPY_FROM_PARENT, probe, root, -1, -1, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
    xcb_change_property(connection.get(), XCB_PROP_MODE_APPEND, probe, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8,
                        0, nullptr);
    xcb_flush(connection.get());
    const Owned<xcb_generic_event_t> event(xcb_wait_for_event(connection.get()));
    if (!event || (event->response_type & 0x7f) != XCB_PROPERTY_NOTIFY)
        return XCB_CURRENT_TIME;
    return reinterpret_cast<const xcb_property_notify_event_t*>(event.get())->time;
}

// Window managers deny the keyboard to a program that the user has not touched yet. This one asks on the
// user's behalf, with the time of now (freedesktop.org, Extended Window Manager Hints, _NET_ACTIVE_WINDOW).
void activateOnX11(xcb_connection_t* connection, xcb_window_t window) {
    const xcb_timestamp_t now = serverTime();
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, atomNamed(connection, "_NET_WM_USER_TIME"),
                        XCB_ATOM_CARDINAL, 32, 1, &now);
    constexpr uint32_t kFromUser = 2;
    xcb_client_message_event_t request{};
    request.response_type = XCB_CLIENT_MESSAGE;
    request.format = 32;
    request.window = window;
    request.type = atomNamed(connection, "_NET_ACTIVE_WINDOW");
    request.data.data32[0] = kFromUser;
    request.data.data32[1] = now;
    xcb_send_event(connection, 0, root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&request));
    xcb_flush(connection);
}

}  // namespace

void dgaActivateWindow(QWidget& window) {
    window.raise();
    window.activateWindow();
    if (const auto* const x11 = qApp->nativeInterface<QNativeInterface::QX11Application>())
        activateOnX11(x11->connection(), static_cast<xcb_window_t>(window.winId()));
}

bool dgaMayActivateWindows() {
    return !dgaOnWayland() || qEnvironmentVariableIsSet(kToken);
}

void dgaSetActivationToken(const std::string& token) {
    if (token.empty())
        qunsetenv(kToken);
    else if (dgaOnWayland())
        qputenv(kToken, QByteArray::fromStdString(token));
}
