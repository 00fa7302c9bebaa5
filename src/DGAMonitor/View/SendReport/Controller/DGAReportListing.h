#pragma once

#include <QPointer>
#include <QTimer>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "DGAMonitor/Session/DGAReportMaker.h"

class DGAReportContentsWindow;
class QWidget;

/// What the user has seen of a report before sending it, and does not want to send. Main thread.
class DGAReportListing {
public:
    DGAReportListing() = default;
    ~DGAReportListing() { drop(); }
    DGAReportListing(const DGAReportListing&) = delete;
    DGAReportListing& operator=(const DGAReportListing&) = delete;

    /// Shows what would be sent. `toggled` is told when the user leaves the picture or the system information
    /// out, or takes it in again.
    void open(QWidget& parent, const DGAReportOptions& options, bool sends,
              std::function<void(const std::string& kind, bool wanted)> toggled);

    /// Has a report made of what was listed.
    void addTo(DGAReportOptions& options) const;

    /// Closes the list; nobody will pack it, unless it was handed on.
    void drop();
    /// Somebody else makes the report.
    void handOn() { listing_ = 0; }

private:
    void closeWindow();

    int64_t listing_ = 0;
    std::vector<std::string> without_;
    QPointer<DGAReportContentsWindow> window_;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};
