#include "DGAWindowProgram/DGAToolkit.h"

#include <QApplication>
#include <QPixmapCache>
#include <array>
#include <clocale>
#include <cstdlib>

#include "DGAMonitor/View/DGAStyle.h"
#include "support/ORVNLogger.h"

namespace {

constexpr int kPixmapCacheKilobytes = 512;

void (*whenNoDisplay)(const std::string& why) = nullptr;

void logMessage(QtMsgType type, const QMessageLogContext& /*context*/, const QString& text) {
    if (type == QtDebugMsg)
        return;
    if (type == QtFatalMsg && whenNoDisplay)
        whenNoDisplay(text.section(QLatin1Char('\n'), 0, 0).toStdString());
    if (type == QtCriticalMsg || type == QtFatalMsg)
        logWarning("toolkit: {}", text.toStdString());
    else
        logNotice("toolkit: {}", text.toStdString());
}

}  // namespace

void DGAToolkit::start(void (*noDisplay)(const std::string& why)) {
    if (QApplication::instance())
        return;
    whenNoDisplay = noDisplay;
    qInstallMessageHandler(logMessage);
    // The rest of the program is served by sources of the main loop.
    unsetenv("QT_NO_GLIB");
    // X11 first, also through XWayland: there a window can be placed, raised and kept above others.
    setenv("QT_QPA_PLATFORM", "xcb;wayland", 0);

    static std::array<char, 10> name{"orvanedga"};
    static std::array<char*, 2> arguments{name.data(), nullptr};
    static int count = 1;
    QApplication::setStyle(QStringLiteral("Fusion"));
    // Never destroyed, as windows may be up until the end.
    [[maybe_unused]] static auto* const application = new QApplication(count, arguments.data());
    whenNoDisplay = nullptr;
    // Numbers and dates are written as everywhere in the assistant.
    for (const int category : {LC_NUMERIC, LC_TIME, LC_COLLATE, LC_MONETARY, LC_MESSAGES})
        setlocale(category, "C");
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setDesktopFileName(QStringLiteral("orvanedga"));
    // The style keeps a picture of each button of each message, 10 MB of them unless it is told otherwise.
    QPixmapCache::setCacheLimit(kPixmapCacheKilobytes);
    DGAStyle::apply();
}
