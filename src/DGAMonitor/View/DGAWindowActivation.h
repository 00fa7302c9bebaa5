#pragma once

#include <string>

class QWidget;

/// Raises a shown window and gives it the keyboard, also while another application has it. Where the desktop
/// refuses that (Wayland may), it marks the window as wanting attention.
void dgaActivateWindow(QWidget& window);

/// Whether the desktop lets a program raise a window that is shown already, on its user's behalf: X11 does,
/// and Wayland with a token of the program that the user has just used (xdg-activation,
/// XDG_ACTIVATION_TOKEN).
bool dgaMayActivateWindows();

/// Takes such a token for the next activation; "" takes one away that is left.
void dgaSetActivationToken(const std::string& token);
