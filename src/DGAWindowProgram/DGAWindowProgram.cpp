#include "DGAWindowProgram/DGAWindowProgram.h"

#include <QApplication>
#include <QWidget>
#include <cstdlib>
#include <system_error>
#include <thread>
#include <utility>

#include "DGAMonitor/Session/DGAPolicy.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/View/DGAWindowActivation.h"
#include "DGAMonitor/View/DGAWindowBase.h"
#include "DGAMonitor/Windows/DGAApplicationWindows.h"
#include "platform/FrameChannel.h"
#include "platform/LoadableModule.h"
#include "support/ORVNLogger.h"
#include "support/telemetry_sender/TelemetrySender.h"

namespace {

using namespace DGAWindowMessage;

constexpr std::chrono::seconds kLongestFarewell{2};
// How long a display needs to show what was behind a window.
constexpr std::chrono::milliseconds kRepaint{80};

DGAApplicationWindows& windows() {
    return DGAApplicationWindows::sharedWindows();
}

Posted postNow(const Post& message) {
    static const OrvTelemetrySender* const sender = [] {
        const auto module = platform::LoadableModule::open(kOrvTelemetrySenderModule);
        auto* const entry =
            module ? module->function<OrvTelemetrySenderEntry>(kOrvTelemetrySenderEntry) : nullptr;
        return entry ? entry(kOrvTelemetrySenderVersion) : nullptr;
    }();
    if (!sender)
        return {.number = message.number, .fault = "the sender's module cannot be used"};
    std::vector<const char*> headers;
    for (const auto& header : message.headers)
        headers.push_back(header.c_str());
    const OrvTelemetryRequest request{.url = message.url.c_str(),
                                      .headers = headers.data(),
                                      .headerCount = static_cast<int>(headers.size()),
                                      .body = message.body.data(),
                                      .bodyLength = static_cast<long>(message.body.size()),
                                      .connectMilliseconds = static_cast<long>(message.connectMilliseconds),
                                      .totalMilliseconds = static_cast<long>(message.totalMilliseconds),
                                      .verifyProxies = DGAPolicy::current().verifiesCertificates() ? 1 : 0,
                                      .keepGoing = [](void* /*context*/) { return 1; },
                                      .context = nullptr};
    OrvTelemetryAnswer answer{};
    sender->send(&request, &answer);
    return {.number = message.number,
            .mayHaveArrived = answer.mayHaveArrived != 0,
            .status = answer.status,
            .retryAfter = answer.retryAfter,
            .fault = static_cast<const char*>(answer.fault)};
}

}  // namespace

// Has the assistant make the reports of one window.
class DGAWindowProgram::Maker final : public DGAReportMaker {
public:
    Maker(std::weak_ptr<DGAWindowProgram> program, int64_t number)
        : program_(std::move(program)), number_(number) {}
    ~Maker() override {
        if (const auto program = program_.lock())
            program->send(DropMaker{number_});
    }
    Maker(const Maker&) = delete;
    Maker& operator=(const Maker&) = delete;

    void setDelegate(std::weak_ptr<DGAReportGeneratorDelegate> delegate) override {
        delegate_ = std::move(delegate);
    }
    void startGenerateReportIfScreenShot(const DGAReportOptions& options,
                                         std::function<void()> completion) override {
        completions_[++lastRun_] = std::move(completion);
        if (const auto program = program_.lock())
            program->send(MakeReport{number_, lastRun_, options});
    }

    void made(const ReportMade& message) const {
        const auto delegate = delegate_.lock();
        if (!delegate)
            return;
        if (message.lacksPicture)
            delegate->reportHasNoPicture();
        if (message.fault.empty())
            delegate->reportFileGeneratedAt(message.path);
        else
            delegate->reportFailed(message.fault);
    }
    void ended(int64_t run) {
        const auto ended = completions_.extract(run);
        if (ended && ended.mapped())
            ended.mapped()();
    }

private:
    std::weak_ptr<DGAWindowProgram> program_;
    int64_t number_;
    int64_t lastRun_ = 0;
    std::weak_ptr<DGAReportGeneratorDelegate> delegate_;
    std::map<int64_t, std::function<void()>> completions_;
};

std::shared_ptr<DGAWindowProgram> DGAWindowProgram::start(int socket) {
    std::shared_ptr<DGAWindowProgram> program(new DGAWindowProgram());
    auto* const self = program.get();
    self->channel_ = std::make_unique<platform::FrameChannel>(
        socket, kLongest, [self](const platform::FrameReader::Message& frame) { self->receive(frame); },
        [self] { self->end(EXIT_SUCCESS); });
    self->idle_ = std::make_unique<platform::Timer>(platform::RunLoop::main(), kWarm, true, [self] {
        if (!windows().anyVisible() && self->posts_ == 0)
            self->send(Idle());
    });
    ORVNLogger::sharedLogger().setSink(
        [self](std::string_view module, platform::LogLevel level, std::string_view text) {
            self->writeLogLine(module, level, text);
        });
    windows().onChange = [self] { self->tellState(); };
    return program;
}

DGAWindowProgram::~DGAWindowProgram() = default;

void DGAWindowProgram::end(int status) {
    channel_->flush(kLongestFarewell);
    std::_Exit(status);
}

template <typename Message>
void DGAWindowProgram::send(const Message& message) {
    channel_->send(Message::kId, write(message));
}

template <typename Message>
bool DGAWindowProgram::take(const platform::FrameReader::Message& frame,
                            void (DGAWindowProgram::*handle)(const Message&)) {
    if (frame.id != Message::kId)
        return false;
    const auto message = read<Message>(frame.data);
    if (!message)
        end(EXIT_FAILURE);
    (this->*handle)(*message);
    return true;
}

void DGAWindowProgram::receive(const platform::FrameReader::Message& frame) {
    const bool known =
        take(frame, &DGAWindowProgram::setRecord) || take(frame, &DGAWindowProgram::show) ||
        take(frame, &DGAWindowProgram::close) || take(frame, &DGAWindowProgram::toFront) ||
        take(frame, &DGAWindowProgram::reportMade) || take(frame, &DGAWindowProgram::reportEnded) ||
        take(frame, &DGAWindowProgram::hide) || take<End>(frame, &DGAWindowProgram::end) ||
        take(frame, &DGAWindowProgram::post) || take(frame, &DGAWindowProgram::keepDraft) ||
        take(frame, &DGAWindowProgram::contentsTold) || take(frame, &DGAWindowProgram::keptTold);
    if (!known)
        logWarning("the assistant sends the windows a message of an unknown kind, {}", frame.id);
}

void DGAWindowProgram::setRecord(const Record& record) {
    setRecordFields(DGASessionRecord::sharedRecord(), record.fields);
}

void DGAWindowProgram::contentsTold(const Contents& message) {
    const auto found = listings_.find(message.listing);
    if (found != listings_.end())
        found->second(message.contents);
}

void DGAWindowProgram::keptTold(const KeptReports& message) {
    if (toldKept_)
        toldKept_(message.reports);
}

void DGAWindowProgram::keepDraft(const Draft& message) {
    draft_ = message.draft;
}

void DGAWindowProgram::show(const Show& message) {
    dgaSetActivationToken(message.token);
    if (message.window == static_cast<int32_t>(DGAWindowKind::prompt))
        showPrompt(message.level);
    else if (message.window == static_cast<int32_t>(DGAWindowKind::report))
        showReport();
    handled_ = message.number;
    tellState();
}

void DGAWindowProgram::showPrompt(int level) {
    if (prompt_)
        prompt_->close();
    prompt_ = windows().makeFrozeWindow(weak_from_this());
    if (!prompt_)
        return;
    prompt_->setLevel(level);
    prompt_->center();
    prompt_->show();
}

void DGAWindowProgram::showReport() {
    auto& report = windows().rpWindowCtrl;
    if (!report)
        report = windows().makeProblemReportingWindow();
    if (report)
        report->showPRWindow();
}

DGAWindowInterface* DGAWindowProgram::window(int32_t kind) const {
    switch (static_cast<DGAWindowKind>(kind)) {
        case DGAWindowKind::prompt:
            return prompt_.get();
        case DGAWindowKind::report:
            return windows().rpWindowCtrl.get();
        case DGAWindowKind::upload:
            return windows().uploadWindowCtrl.get();
    }
    return nullptr;
}

void DGAWindowProgram::close(const Close& message) {
    if (auto* const closed = window(message.window))
        closed->close();
    if (message.window == static_cast<int32_t>(DGAWindowKind::prompt))
        prompt_.reset();
}

void DGAWindowProgram::toFront(const ToFront& message) {
    auto* const raised = window(message.window);
    if (!raised || !raised->isVisible())
        return;
    dgaSetActivationToken(message.token);
    raised->bringToFront();
    if (message.center)
        raised->center();
}

std::shared_ptr<DGAWindowProgram::Maker> DGAWindowProgram::makerOf(int64_t number) const {
    const auto found = makers_.find(number);
    return found == makers_.end() ? nullptr : found->second.lock();
}

void DGAWindowProgram::reportMade(const ReportMade& message) {
    if (const auto maker = makerOf(message.maker))
        maker->made(message);
}

void DGAWindowProgram::reportEnded(const ReportEnded& message) {
    if (const auto maker = makerOf(message.maker))
        maker->ended(message.run);
}

void DGAWindowProgram::hide(const Hide& message) {
    DGAWindowBase::setAllHiddenForPicture(message.hidden);
    // The display has heard of it when it answers, and paints what is behind soon after.
    QCoreApplication::processEvents();
    platform::performOnMainAfter(message.hidden ? kRepaint : std::chrono::milliseconds(0),
                                 [this, hidden = message.hidden] { send(Hidden{hidden}); });
}

void DGAWindowProgram::end(const End& /*message*/) {
    end(EXIT_SUCCESS);
}

void DGAWindowProgram::post(const Post& message) {
    ++posts_;
    const auto done = [this](const Posted& posted) {
        platform::performOnMain([this, posted] {
            --posts_;
            send(posted);
        });
    };
    try {
        std::thread([message, done] { done(postNow(message)); }).detach();
    } catch (const std::system_error& error) {
        done({.number = message.number, .fault = error.what()});
    }
}

bool DGAWindowProgram::isShown(DGAWindowKind kind) const {
    const auto* const shown = window(static_cast<int32_t>(kind));
    return shown && shown->isVisible();
}

void DGAWindowProgram::tellState() {
    idle_->fireAfter(kWarm);
    State state;
    state.handled = handled_;
    state.prompt = isShown(DGAWindowKind::prompt);
    state.report = isShown(DGAWindowKind::report);
    state.upload = isShown(DGAWindowKind::upload);
    send(state);
}

std::shared_ptr<DGAReportMaker> DGAWindowProgram::makeReportMaker() {
    auto maker = std::make_shared<Maker>(weak_from_this(), ++lastMaker_);
    std::erase_if(makers_, [](const auto& entry) { return entry.second.expired(); });
    makers_[lastMaker_] = maker;
    return maker;
}

void DGAWindowProgram::saveTraceRecord(const DGATraceRecord& record) {
    send(TraceRecord{record});
}

void DGAWindowProgram::sendTelemetryAction(DGATelemetryAction action) {
    send(TelemetryAction{action});
}

void DGAWindowProgram::uploadChanged(const DGAUploadState& state) {
    send(Upload{state});
}

void DGAWindowProgram::setDraft(const DGAReportDraft& draft) {
    if (draft == draft_)
        return;
    draft_ = draft;
    send(DraftChanged{draft});
}

void DGAWindowProgram::listContents(int64_t listing, const DGAReportOptions& options,
                                    std::function<void(const DGAReportContents&)> told) {
    listings_[listing] = std::move(told);
    send(ListContents{listing, options});
}

void DGAWindowProgram::retakePicture(int64_t listing) {
    send(RetakePicture{listing});
}

void DGAWindowProgram::dropContents(int64_t listing) {
    listings_.erase(listing);
    send(DropContents{listing});
}

void DGAWindowProgram::keptReports(std::function<void(const std::vector<DGAKeptReport>&)> told) {
    toldKept_ = std::move(told);
    send(AskForKept());
}

void DGAWindowProgram::discardKeptReport(const std::string& number) {
    send(DiscardKept{number});
}

void DGAWindowProgram::frozeWindowButtonDidClickWithIndex(int index) {
    send(Answer{index});
}

// The channel is the main thread's; lines of one thread stay in their order.
void DGAWindowProgram::writeLogLine(std::string_view module, platform::LogLevel level,
                                    std::string_view text) {
    LogLine line{std::string(module), static_cast<int32_t>(level), std::string(text)};
    if (&platform::RunLoop::current() == &platform::RunLoop::main())
        send(line);
    else
        platform::performOnMain([this, line = std::move(line)] { send(line); });
}
