#include "DGAMonitor/Windows/DGAWindowProcess.h"

#include <malloc.h>

#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <utility>

#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/Windows/DGAApplicationWindows.h"
#include "platform/BundleInfo.h"
#include "platform/FrameChannel.h"
#include "platform/RunLoop.h"
#include "support/ORVNLogger.h"

namespace {

using namespace DGAWindowMessage;
using Clock = std::chrono::steady_clock;

constexpr char kProgram[] = "orvanedga-windows";
constexpr std::chrono::seconds kLongestHiding{1};
constexpr std::chrono::milliseconds kPostStep{500};
constexpr int kWaitIndex = 1;
constexpr std::array kKinds = {DGAWindowKind::prompt, DGAWindowKind::report, DGAWindowKind::upload};

DGAWindowServices& services() {
    return DGAApplicationWindows::sharedWindows().services();
}

// Stands for a window of the program.
template <typename Interface, DGAWindowKind kind>
class Proxy : public Interface {
public:
    explicit Proxy(std::weak_ptr<DGAWindowProcess> process) : process_(std::move(process)) {}

    bool isVisible() const override {
        const auto process = process_.lock();
        return process && process->isVisible(kind);
    }
    void bringToFront() override {
        if (const auto process = process_.lock())
            process->toFront(kind, false);
    }
    void center() override {
        if (const auto process = process_.lock(); process && process->isVisible(kind))
            process->toFront(kind, true);
    }
    void close() override {
        if (const auto process = process_.lock())
            process->close(kind);
    }

protected:
    void showAtLevel(int level) {
        if (const auto process = process_.lock())
            process->show(kind, level);
    }

private:
    std::weak_ptr<DGAWindowProcess> process_;
};

class PromptProxy final : public Proxy<DGAFrozeWindowInterface, DGAWindowKind::prompt> {
public:
    using Proxy::Proxy;
    void setLevel(int level) override { level_ = level; }
    void show() override { showAtLevel(level_); }

private:
    int level_ = 0;
};

class ReportProxy final : public Proxy<DGAProblemReportingWindowInterface, DGAWindowKind::report> {
public:
    using Proxy::Proxy;
    void showPRWindow() override { showAtLevel(0); }
};

// The report window opens it, over there.
class UploadProxy final : public Proxy<DGAUploadWindowInterface, DGAWindowKind::upload> {
public:
    using Proxy::Proxy;
    void showUploadWindowIfScreenShot(const DGAReportOptions& /*options*/, const std::string& /*comment*/,
                                      int64_t /*problemCatagory*/) override {}
};

}  // namespace

// Makes the reports that one window asks for, and tells it.
struct DGAWindowProcess::Maker final : DGAReportGeneratorDelegate {
    int64_t number = 0;
    std::weak_ptr<DGAWindowProcess> process;
    std::shared_ptr<DGAReportMaker> maker;
    bool lacksPicture = false;

    void reportHasNoPicture() override { lacksPicture = true; }
    void reportFileGeneratedAt(const std::string& path) override { tell(path, {}); }
    void reportFailed(const std::string& reason) override { tell({}, reason); }

    void tell(const std::string& path, const std::string& fault) {
        const ReportMade message{number, path, fault, std::exchange(lacksPicture, false)};
        if (const auto held = process.lock())
            held->send(message);
    }
};

struct DGAWindowProcess::Hop {
    std::mutex mutex;
    std::condition_variable changed;
    bool hidden = false;
    std::map<int64_t, std::optional<Posted>> posts;  // that are waited for

    void answer(const Posted& posted) {
        const std::lock_guard<std::mutex> hold(mutex);
        if (const auto post = posts.find(posted.number); post != posts.end())
            post->second = posted;
        changed.notify_all();
    }
    // The program is gone: whether they arrived is not known.
    void answerAll() {
        const std::lock_guard<std::mutex> hold(mutex);
        for (auto& [number, posted] : posts)
            posted = posted.value_or(
                Posted{.number = number, .mayHaveArrived = true, .fault = "the window program has ended"});
        changed.notify_all();
    }
    void tell(bool nowHidden) {
        const std::lock_guard<std::mutex> hold(mutex);
        hidden = nowHidden;
        changed.notify_all();
    }
};

DGAWindowProcess::DGAWindowProcess() : DGAWindowProcess(Settings()) {}

DGAWindowProcess::DGAWindowProcess(Settings settings)
    : settings_(std::move(settings)), hop_(std::make_shared<Hop>()) {
    if (settings_.program.empty())
        settings_.program = platform::BundleInfo::helperFolder() + "/" + kProgram;
}

DGAWindowProcess::~DGAWindowProcess() {
    for (const DGAWindowKind kind : kKinds)
        setVisible(kind, false);
}

std::shared_ptr<DGAFrozeWindowInterface> DGAWindowProcess::makeFrozeWindow(
    std::weak_ptr<DGAFrozeWindowDelegate> delegate) {
    delegate_ = std::move(delegate);
    return std::make_shared<PromptProxy>(weak_from_this());
}

std::shared_ptr<DGAProblemReportingWindowInterface> DGAWindowProcess::makeProblemReportingWindow() {
    return std::make_shared<ReportProxy>(weak_from_this());
}

std::shared_ptr<DGAUploadWindowInterface> DGAWindowProcess::makeUploadWindow() {
    return std::make_shared<UploadProxy>(weak_from_this());
}

bool DGAWindowProcess::isVisible(DGAWindowKind kind) const {
    return window(kind).visible;
}

void DGAWindowProcess::setVisible(DGAWindowKind kind, bool visible) {
    window(kind).visible = visible;
    DGAApplicationWindows::sharedWindows().setVisible(&window(kind), visible);
}

bool DGAWindowProcess::start() {
    if (channel_)
        return true;
    const auto now = Clock::now();
    while (!starts_.empty() && now - starts_.front() > settings_.startsWindow)
        starts_.pop_front();
    if (starts_.size() >= static_cast<size_t>(settings_.mostStarts)) {
        logWarning("the window program has ended too often: it is not started now");
        return false;
    }
    starts_.push_back(now);
    platform::Task program;
    program.program = settings_.program;
    program.surroundings = platform::Task::Surroundings::all;
    channel_ = platform::FrameChannel::toProgram(
        std::move(program), kLongest, [this](const platform::FrameReader::Message& frame) { receive(frame); },
        [this, start = ++lastStart_] {
            if (start == lastStart_ && channel_)
                ended("the window program has ended");
            else
                retiring_.reset();
        });
    if (!channel_)
        logWarning("the window program cannot be started: {}", settings_.program);
    return channel_ != nullptr;
}

template <typename Message>
void DGAWindowProcess::send(const Message& message) {
    if (channel_)
        channel_->send(Message::kId, write(message));
}

void DGAWindowProcess::show(DGAWindowKind kind, int level) {
    if (!start()) {
        // On the way out of whoever asks, as when the program dies.
        if (kind == DGAWindowKind::prompt)
            platform::performOnMain([weak = weak_from_this()] {
                if (const auto self = weak.lock())
                    self->answered({kWaitIndex});
            });
        return;
    }
    send(Record{recordFields(DGASessionRecord::sharedRecord())});
    if (kind == DGAWindowKind::report)
        send(Draft{services().draft()});
    window(kind).asked = ++lastNumber_;
    setVisible(kind, true);
    send(Show{lastNumber_, static_cast<int32_t>(kind), level,
              DGAApplicationWindows::sharedWindows().activationToken()});
}

void DGAWindowProcess::close(DGAWindowKind kind) {
    send(Close{static_cast<int32_t>(kind)});
    setVisible(kind, false);
    // Whatever it told before it heard of this counts no more.
    window(kind).asked = ++lastNumber_;
}

void DGAWindowProcess::toFront(DGAWindowKind kind, bool center) {
    send(ToFront{static_cast<int32_t>(kind), center,
                 DGAApplicationWindows::sharedWindows().activationToken()});
}

template <typename Message>
bool DGAWindowProcess::take(const platform::FrameReader::Message& frame,
                            void (DGAWindowProcess::*handle)(const Message&)) {
    if (frame.id != Message::kId)
        return false;
    if (const auto message = read<Message>(frame.data))
        (this->*handle)(*message);
    else
        ended("the window program sends what is no message");
    return true;
}

void DGAWindowProcess::receive(const platform::FrameReader::Message& frame) {
    const auto hold = shared_from_this();
    const bool known =
        take(frame, &DGAWindowProcess::stateChanged) || take(frame, &DGAWindowProcess::answered) ||
        take(frame, &DGAWindowProcess::makeReport) || take(frame, &DGAWindowProcess::dropMaker) ||
        take(frame, &DGAWindowProcess::saveTraceRecord) ||
        take(frame, &DGAWindowProcess::sendTelemetryAction) || take(frame, &DGAWindowProcess::writeLogLine) ||
        take(frame, &DGAWindowProcess::uploadTold) || take(frame, &DGAWindowProcess::hiddenTold) ||
        take(frame, &DGAWindowProcess::idleTold) || take(frame, &DGAWindowProcess::posted) ||
        take(frame, &DGAWindowProcess::draftChanged) || take(frame, &DGAWindowProcess::listContents) ||
        take(frame, &DGAWindowProcess::retakePicture) || take(frame, &DGAWindowProcess::dropContents) ||
        take(frame, &DGAWindowProcess::askForKept) || take(frame, &DGAWindowProcess::discardKept);
    if (!known)
        logWarning("the window program sends a message of an unknown kind, {}", frame.id);
}

void DGAWindowProcess::stateChanged(const State& state) {
    const auto told = [&](DGAWindowKind kind, bool visible) {
        if (state.handled >= window(kind).asked)
            setVisible(kind, visible);
    };
    told(DGAWindowKind::prompt, state.prompt);
    told(DGAWindowKind::report, state.report);
    told(DGAWindowKind::upload, state.upload);
}

void DGAWindowProcess::answered(const Answer& answer) {
    if (const auto delegate = delegate_.lock())
        delegate->frozeWindowButtonDidClickWithIndex(answer.index == 0 ? 0 : kWaitIndex);
}

void DGAWindowProcess::makeReport(const MakeReport& request) {
    auto& maker = makers_[request.maker];
    if (!maker) {
        maker = std::make_shared<Maker>();
        maker->number = request.maker;
        maker->process = weak_from_this();
        maker->maker = services().makeReportMaker();
        maker->maker->setDelegate(maker);
    }
    maker->maker->startGenerateReportIfScreenShot(
        request.options, [weak = weak_from_this(), number = request.maker, run = request.run] {
            platform::performOnMain([weak, number, run] {
                malloc_trim(0);  // the watch goes on for hours, perhaps without another report
                if (const auto self = weak.lock())
                    self->send(ReportEnded{number, run});
            });
        });
}

void DGAWindowProcess::dropMaker(const DropMaker& message) {
    makers_.erase(message.maker);
}

void DGAWindowProcess::saveTraceRecord(const TraceRecord& message) {
    services().saveTraceRecord(message.record);
}

void DGAWindowProcess::sendTelemetryAction(const TelemetryAction& message) {
    services().sendTelemetryAction(message.action);
}

void DGAWindowProcess::writeLogLine(const LogLine& message) {
    ORVNLogger::sharedLogger().writeLine(message.module, static_cast<platform::LogLevel>(message.level),
                                         message.text);
}

void DGAWindowProcess::uploadTold(const Upload& message) {
    const DGAUploadState& upload = message.upload;
    if (upload.state == "sending")
        uploads_[upload.path] = upload;
    else
        uploads_.erase(upload.path);
    services().uploadChanged(upload);
}

void DGAWindowProcess::draftChanged(const DraftChanged& message) {
    services().setDraft(message.draft);
}

void DGAWindowProcess::listContents(const ListContents& message) {
    listings_.insert(message.listing);
    services().listContents(
        message.listing, message.options,
        [weak = weak_from_this(), listing = message.listing](const DGAReportContents& contents) {
            const auto self = weak.lock();
            if (self && self->listings_.contains(listing))
                self->send(Contents{listing, contents});
        });
}

void DGAWindowProcess::retakePicture(const RetakePicture& message) {
    services().retakePicture(message.listing);
}

void DGAWindowProcess::dropContents(const DropContents& message) {
    listings_.erase(message.listing);
    services().dropContents(message.listing);
}

void DGAWindowProcess::askForKept(const AskForKept& /*message*/) {
    services().keptReports([weak = weak_from_this()](const std::vector<DGAKeptReport>& reports) {
        if (const auto self = weak.lock())
            self->send(KeptReports{reports});
    });
}

void DGAWindowProcess::discardKept(const DiscardKept& message) {
    services().discardKeptReport(message.number);
}

// What the program has asked for and nobody will fetch.
void DGAWindowProcess::dropAll() {
    makers_.clear();
    for (const int64_t listing : std::exchange(listings_, {}))
        services().dropContents(listing);
}

void DGAWindowProcess::setHidden(bool hidden) {
    platform::performOnMain([weak = weak_from_this(), hop = hop_, hidden] {
        const auto self = weak.lock();
        if (self && self->channel_)
            self->send(Hide{hidden});
        else
            hop->tell(hidden);
    });
    std::unique_lock<std::mutex> hold(hop_->mutex);
    hop_->changed.wait_for(hold, kLongestHiding, [&] { return hop_->hidden == hidden; });
}

void DGAWindowProcess::post(const OrvTelemetryRequest& request, OrvTelemetryAnswer& answer) {
    Post message{.number = 0,
                 .url = request.url,
                 .headers = {request.headers, request.headers + request.headerCount},
                 .body = std::string(request.body, static_cast<size_t>(request.bodyLength)),
                 .connectMilliseconds = request.connectMilliseconds,
                 .totalMilliseconds = request.totalMilliseconds};
    std::unique_lock<std::mutex> hold(hop_->mutex);
    const int64_t number = message.number = ++lastPost_;
    hop_->posts[number] = std::nullopt;
    platform::performOnMain([weak = weak_from_this(), hop = hop_, message = std::move(message)] {
        const auto self = weak.lock();
        if (self && self->channel_)
            self->send(message);
        else
            hop->answer({.number = message.number, .fault = "the window program does not run"});
    });
    const auto& posted = hop_->posts[number];
    while (!posted && request.keepGoing(request.context) != 0)
        hop_->changed.wait_for(hold, kPostStep);
    answer.mayHaveArrived = !posted || posted->mayHaveArrived ? 1 : 0;
    answer.status = posted ? static_cast<long>(posted->status) : 0;
    answer.retryAfter = posted ? static_cast<long>(posted->retryAfter) : 0;
    const std::string fault = posted ? posted->fault : "given up";
    fault.copy(static_cast<char*>(answer.fault), sizeof answer.fault - 1);
    hop_->posts.erase(number);
}

void DGAWindowProcess::posted(const Posted& message) {
    hop_->answer(message);
}

void DGAWindowProcess::hiddenTold(const Hidden& message) {
    hop_->tell(message.hidden);
}

// It ends when it is told, not before: a window may be on its way to it.
void DGAWindowProcess::idleTold(const Idle& /*message*/) {
    for (const DGAWindowKind kind : kKinds) {
        if (isVisible(kind))
            return;
    }
    send(End());
    retiring_ = std::move(channel_);
    dropAll();
}

void DGAWindowProcess::ended(const char* why) {
    channel_.reset();
    dropAll();
    hop_->tell(false);
    hop_->answerAll();
    bool anyLost = false;
    const bool promptLost = isVisible(DGAWindowKind::prompt);
    for (const DGAWindowKind kind : kKinds) {
        anyLost = anyLost || isVisible(kind);
        setVisible(kind, false);
    }
    if (anyLost || !uploads_.empty())
        logWarning("{}: its windows are gone", why);
    for (auto& [path, upload] : std::exchange(uploads_, {})) {
        upload.state = "failed";
        upload.reason = why;
        services().uploadChanged(upload);
    }
    if (promptLost)
        answered({kWaitIndex});
}
