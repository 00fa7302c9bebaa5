#pragma once

#include <functional>
#include <memory>
#include <string>

namespace platform {
class DesktopNotifier;
}

/// Reminds the user at a session's start of a report of an earlier one that was not sent: by one notification
/// of the desktop, once for each report, the newest first. Main thread.
class DGAKeptReportNotice {
public:
    using Send = std::function<void(const std::string& number)>;

    /// `send` opens the window that offers it.
    explicit DGAKeptReportNotice(Send send);
    ~DGAKeptReportNotice();
    DGAKeptReportNotice(const DGAKeptReportNotice&) = delete;
    DGAKeptReportNotice& operator=(const DGAKeptReportNotice&) = delete;

    /// Once the client has told its language, and only where reports may be sent. Later calls do nothing.
    void offer();

private:
    void show(const std::string& number, const std::string& time);

    std::shared_ptr<Send> send_;
    bool offered_ = false;
    std::unique_ptr<platform::DesktopNotifier> notifier_;
};
