#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "DGAMonitor/Windows/DGAWindowInterfaces.h"
#include "DGAMonitor/Windows/DGAWindowMessages.h"
#include "platform/FrameReader.h"
#include "support/telemetry_sender/TelemetrySender.h"

namespace platform {
class FrameChannel;
}

/// The windows as they are: in a program of their own, which is started with the first one that is asked for
/// and ends some time after the last was closed. The windows that this factory makes stand for those there.
///
/// A window that was asked for counts as visible until it was closed or could not be shown. When the program
/// dies, every window is gone, a prompt is answered with Wait, and the next request starts it again, at most
/// three times a minute. Main thread; the assistant's services serve what windows ask for.
class DGAWindowProcess final : public DGAWindowFactory,
                               public std::enable_shared_from_this<DGAWindowProcess> {
public:
    struct Settings {
        std::string program;  ///< the bundled one if empty
        std::chrono::milliseconds startsWindow{60000};
        int mostStarts = 3;  ///< within that time
    };

    DGAWindowProcess();
    explicit DGAWindowProcess(Settings settings);
    ~DGAWindowProcess() override;

    std::shared_ptr<DGAFrozeWindowInterface> makeFrozeWindow(
        std::weak_ptr<DGAFrozeWindowDelegate> delegate) override;
    std::shared_ptr<DGAProblemReportingWindowInterface> makeProblemReportingWindow() override;
    std::shared_ptr<DGAUploadWindowInterface> makeUploadWindow() override;

    bool isRunning() const { return channel_ != nullptr; }
    bool isVisible(DGAWindowKind window) const;

    /// Takes all windows off the screen, or puts those back that were there, and waits for it; at most for a
    /// second. Not on the main thread.
    void setHidden(bool hidden);

    /// Has the program send a telemetry request, and waits for the answer: the assistant itself links nothing
    /// that talks to servers. Where it does not run, nothing is sent. Not on the main thread.
    void post(const OrvTelemetryRequest& request, OrvTelemetryAnswer& answer);

    // For the windows that stand for the real ones.
    void show(DGAWindowKind window, int level);
    void close(DGAWindowKind window);
    void toFront(DGAWindowKind window, bool center);

private:
    struct Window {
        int64_t asked = 0;  ///< the number of the last Show
        bool visible = false;
    };
    struct Maker;
    struct Hop;

    bool start();
    template <typename Message>
    void send(const Message& message);
    void receive(const platform::FrameReader::Message& frame);
    template <typename Message>
    bool take(const platform::FrameReader::Message& frame, void (DGAWindowProcess::*handle)(const Message&));
    void stateChanged(const DGAWindowMessage::State& state);
    void answered(const DGAWindowMessage::Answer& answer);
    void makeReport(const DGAWindowMessage::MakeReport& request);
    void dropMaker(const DGAWindowMessage::DropMaker& message);
    void saveTraceRecord(const DGAWindowMessage::TraceRecord& message);
    void sendTelemetryAction(const DGAWindowMessage::TelemetryAction& message);
    void writeLogLine(const DGAWindowMessage::LogLine& message);
    void uploadTold(const DGAWindowMessage::Upload& upload);
    void hiddenTold(const DGAWindowMessage::Hidden& message);
    void draftChanged(const DGAWindowMessage::DraftChanged& message);
    void listContents(const DGAWindowMessage::ListContents& message);
    void retakePicture(const DGAWindowMessage::RetakePicture& message);
    void dropContents(const DGAWindowMessage::DropContents& message);
    void askForKept(const DGAWindowMessage::AskForKept& message);
    void discardKept(const DGAWindowMessage::DiscardKept& message);
    void dropAll();
    void posted(const DGAWindowMessage::Posted& message);
    void idleTold(const DGAWindowMessage::Idle& message);
    void ended(const char* why);
    void setVisible(DGAWindowKind kind, bool visible);
    Window& window(DGAWindowKind kind) { return windows_.at(static_cast<size_t>(kind) - 1); }
    const Window& window(DGAWindowKind kind) const { return windows_.at(static_cast<size_t>(kind) - 1); }

    Settings settings_;
    std::unique_ptr<platform::FrameChannel> channel_;
    std::unique_ptr<platform::FrameChannel> retiring_;  ///< to the program that was told to end
    int64_t lastStart_ = 0;
    std::deque<std::chrono::steady_clock::time_point> starts_;
    std::array<Window, 3> windows_;
    int64_t lastNumber_ = 0;
    std::weak_ptr<DGAFrozeWindowDelegate> delegate_;
    std::map<int64_t, std::shared_ptr<Maker>> makers_;
    std::set<int64_t> listings_;
    std::map<std::string, DGAUploadState> uploads_;  ///< being sent, by path
    std::shared_ptr<Hop> hop_;
    int64_t lastPost_ = 0;
};
