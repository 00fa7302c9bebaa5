#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "DGAMonitor/Windows/DGAWindowInterfaces.h"
#include "DGAMonitor/Windows/DGAWindowMessages.h"
#include "DGAMonitor/Windows/DGAWindowServices.h"
#include "platform/FrameReader.h"
#include "platform/Report.h"
#include "platform/RunLoop.h"

namespace platform {
class FrameChannel;
}

/// The program that holds the windows: does what the assistant says over the channel, and asks the assistant
/// for what windows need. Ends the process when the channel ends or the assistant says so. Main thread.
class DGAWindowProgram final : public DGAWindowServices,
                               public DGAFrozeWindowDelegate,
                               public std::enable_shared_from_this<DGAWindowProgram> {
public:
    /// After so long without a visible window the assistant is asked whether the program may end.
    static constexpr std::chrono::seconds kWarm{30};

    /// Takes over the socket to the assistant.
    static std::shared_ptr<DGAWindowProgram> start(int socket);
    ~DGAWindowProgram() override;

    /// Sends what is left and ends the process.
    [[noreturn]] void end(int status);

    std::shared_ptr<DGAReportMaker> makeReportMaker() override;
    void saveTraceRecord(const DGATraceRecord& record) override;
    void sendTelemetryAction(DGATelemetryAction action) override;
    void uploadChanged(const DGAUploadState& state) override;
    DGAReportDraft draft() override { return draft_; }
    void setDraft(const DGAReportDraft& draft) override;
    void listContents(int64_t listing, const DGAReportOptions& options,
                      std::function<void(const DGAReportContents&)> told) override;
    void retakePicture(int64_t listing) override;
    void dropContents(int64_t listing) override;
    void keptReports(std::function<void(const std::vector<DGAKeptReport>&)> told) override;
    void discardKeptReport(const std::string& number) override;
    void frozeWindowButtonDidClickWithIndex(int index) override;

    /// Any thread.
    void writeLogLine(std::string_view module, platform::LogLevel level, std::string_view text);

private:
    class Maker;

    DGAWindowProgram() = default;
    template <typename Message>
    void send(const Message& message);
    void receive(const platform::FrameReader::Message& frame);
    template <typename Message>
    bool take(const platform::FrameReader::Message& frame, void (DGAWindowProgram::*handle)(const Message&));
    void setRecord(const DGAWindowMessage::Record& record);
    void show(const DGAWindowMessage::Show& message);
    void close(const DGAWindowMessage::Close& message);
    void toFront(const DGAWindowMessage::ToFront& message);
    std::shared_ptr<Maker> makerOf(int64_t number) const;
    void reportMade(const DGAWindowMessage::ReportMade& message);
    void reportEnded(const DGAWindowMessage::ReportEnded& message);
    void hide(const DGAWindowMessage::Hide& message);
    void end(const DGAWindowMessage::End& message);
    void post(const DGAWindowMessage::Post& message);
    void contentsTold(const DGAWindowMessage::Contents& message);
    void keptTold(const DGAWindowMessage::KeptReports& message);
    void keepDraft(const DGAWindowMessage::Draft& message);
    void showPrompt(int level);
    void showReport();
    DGAWindowInterface* window(int32_t kind) const;
    bool isShown(DGAWindowKind kind) const;
    void tellState();

    std::unique_ptr<platform::FrameChannel> channel_;
    int64_t handled_ = 0;
    DGAWindowMessage::State told_;
    int64_t lastMaker_ = 0;
    DGAReportDraft draft_;
    std::map<int64_t, std::function<void(const DGAReportContents&)>> listings_;
    std::function<void(const std::vector<DGAKeptReport>&)> toldKept_;
    int posts_ = 0;  // under way
    std::map<int64_t, std::weak_ptr<Maker>> makers_;
    std::shared_ptr<DGAFrozeWindowInterface> prompt_;
    std::unique_ptr<platform::Timer> idle_;
};
