#pragma once

#include <QMargins>
#include <QRect>
#include <QString>

class QScreen;
class QWidget;

/// Whether windows go to a Wayland compositor natively, not through its X server.
bool dgaOnWayland();

/// Whether the desktop gives windows a frame with a title and a close button: on Wayland always, as the
/// toolkit draws what the compositor does not; on X11 if a window manager runs (Extended Window Manager
/// Hints, _NET_SUPPORTING_WM_CHECK).
bool dgaDesktopDrawsFrames();

/// The least width, in points, at which the frame shows the whole title; 0 where the desktop shortens titles.
int dgaTitleWidth(const QString& title);

/// The room of a screen that its panels leave to windows, in points.
QRect dgaWorkArea(const QScreen& screen);

/// The desktop's frame around a window; what is usual until the desktop has made it.
QMargins dgaFrameOf(const QWidget& window);
