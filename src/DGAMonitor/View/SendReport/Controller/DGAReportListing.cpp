#include "DGAMonitor/View/SendReport/Controller/DGAReportListing.h"

#include <QUrl>
#include <chrono>
#include <utility>

#include "DGAMonitor/Const/DGALocalizationStrings.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/Session/DGAUtilitiesLocalize.h"
#include "DGAMonitor/View/SendReport/View/DGAReportContentsWindow.h"
#include "DGAMonitor/Windows/DGAApplicationWindows.h"
#include "DGAMonitor/Windows/DGAUtilitiesWindows.h"
#include "platform/RunLoop.h"
#include "reportproblem/ReportSources.h"
#include "support/TextTemplate.h"

namespace {

// A picture that takes longer waits for the user's permission, as a rule.
constexpr std::chrono::seconds kPermissionIsAsked{2};

DGAWindowServices& services() {
    return DGAApplicationWindows::sharedWindows().services();
}

DGAReportContentsWindow::Receiver receiver(bool sends) {
    const DGASessionRecord& record = DGASessionRecord::sharedRecord();
    DGAReportContentsWindow::Receiver receiver;
    if (sends)
        receiver.host = QUrl(QString::fromStdString(record.uploadURL.get().value_or(""))).host();
    const auto add = [&](const char* text, const std::string& value) {
        if (!value.empty())
            receiver.details << QString::fromStdString(
                support::fillPlaceholders(DGAUtilities::dga_localize(text), {value}));
    };
    add(kTextDetailName, record.userName.get().value_or(""));
    if (sends)
        add(kTextDetailEmail, record.userEmail.get().value_or(""));
    add(kTextDetailMeeting, record.confName.get().value_or(""));
    return receiver;
}

}  // namespace

void DGAReportListing::open(QWidget& parent, const DGAReportOptions& options, bool sends,
                            std::function<void(const std::string& kind, bool wanted)> toggled) {
    static int64_t last = 0;
    closeWindow();
    if (listing_ == 0)
        listing_ = ++last;
    auto* const window = new DGAReportContentsWindow(receiver(sends), &parent);
    window_ = window;
    QObject::connect(window, &DGAWindowBase::closeRequested, window, [this] { closeWindow(); });
    QObject::connect(window, &DGAReportContentsWindow::retakeWanted, window,
                     [listing = listing_] { services().retakePicture(listing); });
    QObject::connect(
        window, &DGAReportContentsWindow::wantedChanged, window,
        [this, toggled = std::move(toggled)](const std::string& name, const std::string& kind, bool wanted) {
            if (kind == ReportFileKind::kScreenshot || kind == ReportFileKind::kSystemProfile)
                toggled(kind, wanted);
            else if (wanted)
                std::erase(without_, name);
            else
                without_.push_back(name);
        });
    services().listContents(listing_, options,
                            [this, alive = std::weak_ptr(alive_), guarded = QPointer(window),
                             asksPicture = options.screenShot](const DGAReportContents& contents) {
                                if (alive.expired() || !guarded)
                                    return;
                                guarded->setContents(contents, without_);
                                if (!guarded->isShown()) {
                                    guarded->setLevel(DGAUtilities::dga_fetchWindowLevel());
                                    guarded->center();
                                    guarded->showInFront();
                                }
                                if (contents.isComplete || !asksPicture)
                                    return;
                                QTimer::singleShot(kPermissionIsAsked, guarded,
                                                   [guarded] { guarded->setAwaitingPermission(); });
                            });
}

void DGAReportListing::addTo(DGAReportOptions& options) const {
    options.listing = listing_;
    options.without = without_;
}

void DGAReportListing::closeWindow() {
    if (!window_)
        return;
    window_->hide();
    // This may be inside one of its own handlers.
    platform::performOnMain([guarded = std::exchange(window_, nullptr)] { delete guarded; });
}

void DGAReportListing::drop() {
    closeWindow();
    if (listing_ != 0)
        services().dropContents(listing_);
    listing_ = 0;
    without_.clear();
}
