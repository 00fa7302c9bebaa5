#include "DGAWindowModule/DGAToolkit.h"

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QIcon>
#include <array>
#include <clocale>

#include "DGAMonitor/View/DGAFrozeWindow.h"
#include "DGAMonitor/View/DGAStyle.h"
#include "DGAMonitor/Windows/DGAApplicationWindows.h"
#include "DGAWindowModule/DGADisplay.h"
#include "platform/RunLoop.h"
#include "support/ORVNLogger.h"

namespace {

// The toolkit sets the whole locale from the environment; the core writes numbers and dates its own way.
class LocaleKeeper {
public:
    LocaleKeeper() {
        for (size_t i = 0; i < kCategories.size(); ++i) {
            const char* const name = setlocale(kCategories.at(i), nullptr);
            names_.at(i) = name ? name : "C";
        }
    }
    ~LocaleKeeper() {
        for (size_t i = 0; i < kCategories.size(); ++i)
            setlocale(kCategories.at(i), names_.at(i).c_str());
    }
    LocaleKeeper(const LocaleKeeper&) = delete;
    LocaleKeeper& operator=(const LocaleKeeper&) = delete;

private:
    static constexpr std::array kCategories{LC_NUMERIC, LC_TIME, LC_COLLATE, LC_MONETARY, LC_MESSAGES};
    std::array<std::string, kCategories.size()> names_;
};

// The toolkit would end the process next, with the case that the windows stood for: the watch, an upload, the
// report of a client that has died with the same display. So it is left where it is, and the loop goes on.
[[noreturn]] void goOnWithoutDisplay() {
    logWarning("the display is gone: no window is shown any more");
    // Nobody can answer the prompt, and the watch waits for the answer.
    for (QWidget* const window : QApplication::topLevelWidgets()) {
        if (qobject_cast<DGAFrozeWindow*>(window) && window->isVisible())
            window->close();
    }
    auto& windows = DGAApplicationWindows::sharedWindows();
    windows.giveUp("the display is gone");
    windows.rpWindowCtrl.reset();
    windows.uploadWindowCtrl.reset();
    platform::RunLoop::main().runForGood();
}

void logMessage(QtMsgType type, const QMessageLogContext& /*context*/, const QString& text) {
    if (type == QtDebugMsg)
        return;
    if (type == QtCriticalMsg || type == QtFatalMsg)
        logWarning("toolkit: {}", text.toStdString());
    else
        logNotice("toolkit: {}", text.toStdString());
    if (text.startsWith(QLatin1String("The X11 connection broke")))
        goOnWithoutDisplay();
}

// Never destroyed, as windows may be up until the process ends.
void makeApplication(const std::string& platform) {
    static std::string platformName;
    static std::array<char, 16> name{"orvanedga"};
    static std::array<char, 16> option{"-platform"};
    static std::array<char*, 4> arguments{};
    static int count = 3;
    platformName = platform;
    arguments = {name.data(), option.data(), platformName.data(), nullptr};

    const LocaleKeeper keeper;
    qInstallMessageHandler(logMessage);
    QApplication::setStyle(QStringLiteral("Fusion"));
    new QApplication(count, arguments.data());
}

}  // namespace

std::string DGAToolkit::start() {
    if (!QApplication::instance()) {
        const DGADisplay display = DGADisplay::probe();
        if (display.platform.empty())
            return display.failure;
        makeApplication(display.platform);
        QApplication::setQuitOnLastWindowClosed(false);
        QApplication::setDesktopFileName(QStringLiteral("orvanedga"));
        DGAStyle::apply();
    }
    // Another dispatcher would need an exec() of its own; a window would stay dead.
    const auto* const dispatcher = QAbstractEventDispatcher::instance();
    if (!dispatcher || !dispatcher->inherits("QEventDispatcherGlib"))
        return "the toolkit does not join the main loop (is QT_NO_GLIB set?)";
    return {};
}
