#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "DGAMonitor/Session/DGAReportMaker.h"

// What the core asks of the windows, which a module of its own makes. Main thread.
//
// A window tells DGAApplicationWindows whenever it becomes visible or ceases to be.

/// A window of the assistant.
class DGAWindowInterface {
public:
    virtual ~DGAWindowInterface() = default;

    virtual bool isVisible() const = 0;

    /// Makes the window key and brings it before all others, also when another application is active.
    virtual void bringToFront() = 0;

    virtual void center() = 0;
    virtual void close() = 0;
};

/// Told about the user's answer to the "not responding" prompt: 0 quit and send, 1 wait (also the close
/// button). The program itself answers -1 for a client that works again.
class DGAFrozeWindowDelegate {
public:
    virtual ~DGAFrozeWindowDelegate() = default;
    virtual void frozeWindowButtonDidClickWithIndex(int index) = 0;
};

/// The "not responding" prompt. It is closed from within its delegate's call.
class DGAFrozeWindowInterface : public DGAWindowInterface {
public:
    /// 3 floats above normal windows, 0 does not.
    virtual void setLevel(int level) = 0;

    /// Shows the window and brings it to the front.
    virtual void show() = 0;
};

/// The window in which the user describes a problem.
class DGAProblemReportingWindowInterface : public DGAWindowInterface {
public:
    /// Prepares the window for a new report and shows it.
    virtual void showPRWindow() = 0;
};

/// The window that shows how a report is sent.
class DGAUploadWindowInterface : public DGAWindowInterface {
public:
    /// Shows the window and starts to make and send a report. `comment` is the user's description. An upload
    /// that was under way is abandoned.
    virtual void showUploadWindowIfScreenShot(const DGAReportOptions& options, const std::string& comment,
                                              int64_t problemCatagory) = 0;
};

/// Makes the windows, hidden. A factory that cannot make one logs why and returns null.
class DGAWindowFactory {
public:
    virtual ~DGAWindowFactory() = default;
    virtual std::shared_ptr<DGAFrozeWindowInterface> makeFrozeWindow(
        std::weak_ptr<DGAFrozeWindowDelegate> delegate) = 0;
    virtual std::shared_ptr<DGAProblemReportingWindowInterface> makeProblemReportingWindow() = 0;
    virtual std::shared_ptr<DGAUploadWindowInterface> makeUploadWindow() = 0;
};
