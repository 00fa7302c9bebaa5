#pragma once

#include <string>

/// Whether windows can be shown, found out before the toolkit starts: it ends the process where it cannot.
struct DGADisplay {
    /// The toolkit's platform: "xcb" or "wayland", or what QT_QPA_PLATFORM asks for; "" where no display
    /// answers.
    std::string platform;

    /// Why `platform` is empty.
    std::string failure;

    /// Asks the display servers that the environment names, X11 (also through XWayland) first.
    static DGADisplay probe();
};
