#include "DGAMonitor/View/DGADesktopFrame.h"

#include <xcb/xcb.h>

#include <QFont>
#include <QFontMetrics>
#include <QGuiApplication>
#include <QScreen>
#include <QWidget>
#include <QWindow>
#include <cstdlib>
#include <memory>
#include <string_view>

namespace {

constexpr QMargins kUsualFrame{1, 36, 1, 1};
// Of the frame that the toolkit draws on Wayland (QWaylandBradientDecoration of Qt 6.4).
constexpr int kFrameFontSize = 14;
constexpr int kFrameButtons = 80;

struct Freer {
    void operator()(void* memory) const { std::free(memory); }
};

// The window that a property of the given window names; none if there is no such property.
xcb_window_t windowNamedBy(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t property) {
    const auto cookie = xcb_get_property(connection, 0, window, property, XCB_ATOM_WINDOW, 0, 1);
    const std::unique_ptr<xcb_get_property_reply_t, Freer> reply(
        xcb_get_property_reply(connection, cookie, nullptr));
    if (!reply || xcb_get_property_value_length(reply.get()) != sizeof(xcb_window_t))
        return XCB_WINDOW_NONE;
    return *static_cast<const xcb_window_t*>(xcb_get_property_value(reply.get()));
}

// A manager that has ended leaves the root's property behind; its window, which names itself, goes with it.
bool isManaged(xcb_connection_t* connection) {
    static constexpr std::string_view kName = "_NET_SUPPORTING_WM_CHECK";
    const auto cookie = xcb_intern_atom(connection, 1, kName.size(), kName.data());
    const std::unique_ptr<xcb_intern_atom_reply_t, Freer> atom(
        xcb_intern_atom_reply(connection, cookie, nullptr));
    if (!atom || atom->atom == XCB_ATOM_NONE)
        return false;
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    const xcb_window_t manager = windowNamedBy(connection, root, atom->atom);
    return manager != XCB_WINDOW_NONE && windowNamedBy(connection, manager, atom->atom) == manager;
}

}  // namespace

bool dgaOnWayland() {
    return QGuiApplication::platformName() == QLatin1String("wayland");
}

bool dgaDesktopDrawsFrames() {
    if (const auto* const x11 = qApp->nativeInterface<QNativeInterface::QX11Application>())
        return isManaged(x11->connection());
    return dgaOnWayland();
}

// The toolkit's frame writes it in the middle, and its buttons cut it off.
int dgaTitleWidth(const QString& title) {
    if (!dgaOnWayland())
        return 0;
    QFont font;
    font.setPixelSize(kFrameFontSize);
    return QFontMetrics(font).horizontalAdvance(title) + 2 * kFrameButtons;
}

QRect dgaWorkArea(const QScreen& screen) {
    const QRect all = screen.geometry();
    const QRect room = screen.availableGeometry() & all;
    // No panels take that much of both: KWin tells scaled programs of X11 the area in other units.
    const bool trusted = 4 * room.width() >= 3 * all.width() || 4 * room.height() >= 3 * all.height();
    return trusted ? room : all;
}

QMargins dgaFrameOf(const QWidget& window) {
    if (window.windowFlags().testFlag(Qt::FramelessWindowHint))
        return {};
    const QMargins known = window.windowHandle() ? window.windowHandle()->frameMargins() : QMargins();
    return known.isNull() ? kUsualFrame : known;
}
