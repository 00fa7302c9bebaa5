#pragma once

class QWidget;

/// Raises a shown window and gives it the keyboard, also while another application has it. Where the desktop
/// refuses that (Wayland may), it marks the window as wanting attention.
void dgaActivateWindow(QWidget& window);
