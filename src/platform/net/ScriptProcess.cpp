#include "platform/net/ScriptProcess.h"

#include <glib.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <deque>
#include <exception>
#include <map>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/BundleInfo.h"
#include "platform/FrameChannel.h"
#include "platform/Report.h"
#include "platform/RunLoop.h"

namespace platform {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr char kProgram[] = "pac_evaluator";
constexpr uint32_t kLongestMessage = uint32_t{64} * 1024;
constexpr std::chrono::minutes kLongestPause{10};
constexpr int kMostDoublings = 10;
// A script may come in a page or with helper functions.
constexpr size_t kRoomForLibrary = size_t{64} * 1024;
// Threads that wait for a resolver; one that hangs holds its thread for long.
constexpr int kMostThreads = 8;

// The program's protocol.
enum MessageId : int32_t { kDefine = 1, kEvaluate, kCall, kReply, kDone = 11, kFailed, kAsk };

struct Request {
    MessageId id;
    std::string data;
    std::function<void(const ScriptProcess::Answer&)> answered;
    std::map<std::string, std::optional<std::string>> known;  // question and argument: what they gave
    milliseconds lookedUp{0};
};

struct Step {
    MessageId id;  // kDefine or kEvaluate
    std::string data;
    std::function<void(const ScriptProcess::Answer&)> answered;  // by the first program only
};

std::atomic<int> questionThreads{0};

bool askOnThread(std::function<void()> question) {
    if (questionThreads.fetch_add(1) < kMostThreads) {
        try {
            std::thread([question = std::move(question)] {
                question();
                questionThreads.fetch_sub(1);
            }).detach();
            return true;
        } catch (const std::system_error&) {
            reportNotice("there is no thread for a script's question");
        }
    }
    questionThreads.fetch_sub(1);
    return false;
}

}  // namespace

struct ScriptProcess::Impl : std::enable_shared_from_this<Impl> {
    Settings settings;
    std::vector<Step> steps;
    std::map<std::string, Question> questions;
    std::unique_ptr<FrameChannel> channel;
    std::deque<Request> requests;
    bool busy = false;  // the first request is with the program
    std::string asked;  // the question that is being answered
    uint64_t askedNumber = 0;
    Clock::time_point askedAt;
    int failures = 0;
    Clock::time_point lastFailure;
    std::optional<Clock::time_point> pausedUntil;

    // Last, so that they end first.
    Timer deadline{RunLoop::main(), kLongestPause, false, [this] { giveUp("took too long and is killed"); }};
    Timer lookUp{RunLoop::main(), kLongestPause, false, [this] { answerQuestion(askedNumber, {}); }};
    Timer idle{RunLoop::main(), kLongestPause, false, [this] { channel.reset(); }};

    explicit Impl(Settings given) : settings(std::move(given)) {
        if (settings.program.empty())
            settings.program = BundleInfo::helperFolder() + "/" + kProgram;
        deadline.pause();
        lookUp.pause();
        idle.pause();
    }

    void add(Request request) {
        requests.push_back(std::move(request));
        if (!channel)
            start();
        else
            sendNext();
    }

    // Needs no answer; but a program that awaits a reply would take it for one.
    void addFunction(const std::string& data) {
        steps.push_back({kDefine, data, nullptr});
        if (channel && busy)
            requests.insert(requests.begin() + 1, {kDefine, data, nullptr, {}, {}});
        else if (channel)
            channel->send(kDefine, data);
    }

    void start() {
        if (pausedUntil && Clock::now() < *pausedUntil) {
            failAll("is not started again yet, after it broke repeatedly");
            return;
        }
        Task program;
        program.program = settings.program;
        program.surroundings = Task::Surroundings::none;
        if (const char* const zone = std::getenv("TZ"))
            program.arguments = {zone};
        channel = FrameChannel::toProgram(
            std::move(program), kLongestMessage,
            [this](const FrameReader::Message& message) { receive(message); }, [this] { giveUp("ended"); });
        if (!channel) {
            giveUp("cannot be started");
            return;
        }
        for (auto step = steps.rbegin(); step != steps.rend(); ++step)
            requests.push_front({step->id, step->data, std::exchange(step->answered, nullptr), {}, {}});
        sendNext();
    }

    void sendNext() {
        if (busy || !channel)
            return;
        while (!requests.empty()) {
            channel->send(requests.front().id, requests.front().data);
            if (requests.front().id != kDefine) {
                busy = true;
                idle.pause();
                deadline.fireAfter(settings.deadline);
                return;
            }
            requests.pop_front();
        }
        deadline.pause();
        idle.fireAfter(settings.idle);
    }

    void receive(const FrameReader::Message& message) {
        const bool answers = message.id == kDone || message.id == kFailed;
        if (!busy || !asked.empty() || (!answers && message.id != kAsk)) {
            giveUp("sent what it was not asked for");
        } else if (answers) {
            const auto hold = shared_from_this();
            const auto answered = std::exchange(requests.front().answered, nullptr);
            const Answer answer{message.id == kFailed, false, std::string(message.data)};
            if (answer.failed)
                reportNotice("a script failed: " + answer.text);
            requests.pop_front();
            busy = false;
            // What it defines is there for the next request.
            if (answered)
                answered(answer);
            sendNext();
        } else {
            askQuestion(std::string(message.data));
        }
    }

    void askQuestion(std::string text) {
        auto& request = requests.front();
        const auto known = request.known.find(text);
        const auto cut = std::min(text.find('\0'), text.size());
        const auto question = questions.find(text.substr(0, cut));
        if (known != request.known.end()) {
            sendReply(known->second);
            return;
        }
        const milliseconds left = settings.deadline * 2 / 3 - request.lookedUp;
        if (request.known.size() >= kMostQuestions || left <= milliseconds(0) ||
            question == questions.end()) {
            sendReply({});
            return;
        }
        const std::string argument = text.substr(std::min(cut + 1, text.size()));
        asked = std::move(text);
        askedAt = Clock::now();
        lookUp.fireAfter(std::min(left, settings.lookUpTime));
        const bool begun =
            askOnThread([weak = weak_from_this(), number = ++askedNumber, call = question->second, argument] {
                auto answer = call(argument);
                performOnMain([weak, number, answer = std::move(answer)] {
                    if (const auto self = weak.lock())
                        self->answerQuestion(number, answer);
                });
            });
        if (!begun)
            answerQuestion(askedNumber, {});
    }

    // One that comes too late counts for nothing.
    void answerQuestion(uint64_t number, const std::optional<std::string>& answer) {
        if (number != askedNumber || asked.empty())
            return;
        lookUp.pause();
        requests.front().lookedUp += std::chrono::duration_cast<milliseconds>(Clock::now() - askedAt);
        requests.front().known[std::exchange(asked, {})] = answer;
        if (requests.front().known.size() == kMostQuestions)
            reportNotice("a script looks up too much; the rest is not answered");
        sendReply(answer);
    }

    void sendReply(const std::optional<std::string>& answer) {
        channel->send(kReply, answer ? "+" + *answer : std::string());
    }

    void giveUp(const std::string& reason) {
        const auto now = Clock::now();
        if (failures > 0 && now - lastFailure > kLongestPause)
            failures = 0;
        lastFailure = now;
        ++failures;
        if (failures > 1) {
            const auto pause = settings.pause * (1 << std::min(failures - 2, kMostDoublings));
            pausedUntil = now + std::min<milliseconds>(pause, kLongestPause);
        }
        failAll(reason);
    }

    void failAll(const std::string& reason) {
        reportWarning("the script process " + reason);
        end(reason);
    }

    void end(const std::string& reason) {
        const auto hold = shared_from_this();
        channel.reset();
        busy = false;
        asked.clear();
        deadline.pause();
        lookUp.pause();
        idle.pause();
        for (const auto& request : std::exchange(requests, {})) {
            if (request.answered)
                request.answered({true, true, "the script process " + reason});
        }
    }
};

ScriptProcess::ScriptProcess() : ScriptProcess(Settings()) {}

ScriptProcess::ScriptProcess(Settings settings) : impl_(std::make_shared<Impl>(std::move(settings))) {}

ScriptProcess::~ScriptProcess() {
    // Who still waits for an answer gets one.
    try {
        impl_->end("is no longer needed");
    } catch (const std::exception&) {
        // Without memory for that there is none for them either.
        return;
    }
}

void ScriptProcess::define(const std::string& object, const std::string& name, Question question) {
    impl_->questions[object + "." + name] = std::move(question);
    impl_->addFunction(object + '\0' + name);
}

void ScriptProcess::evaluate(std::string source, std::function<void(const Answer&)> evaluated) {
    if (source.size() > kLongestScript + kRoomForLibrary) {
        reportWarning("a script of more than 1 MiB is not evaluated");
        if (evaluated)
            evaluated({true, true, "the script is too long"});
        return;
    }
    impl_->steps.push_back({kEvaluate, std::move(source), std::move(evaluated)});
    auto& step = impl_->steps.back();
    if (impl_->channel)
        impl_->add({step.id, step.data, std::exchange(step.answered, nullptr), {}, {}});
    else
        impl_->start();
}

ScriptProcess::Answer ScriptProcess::call(const std::string& function,
                                          const std::vector<std::string>& arguments) {
    struct Outcome {
        bool known = false;
        Answer answer;
    };
    const auto outcome = std::make_shared<Outcome>();
    std::string data = function;
    for (const auto& argument : arguments)
        data += '\0' + argument.substr(0, argument.find('\0'));
    impl_->add({kCall,
                std::move(data),
                [outcome](const Answer& answer) {
                    *outcome = {true, answer};
                },
                {},
                {}});
    // The process may be destroyed meanwhile: nothing of it is used from here on.
    while (!outcome->known)
        g_main_context_iteration(RunLoop::main().context(), TRUE);
    return outcome->answer;
}

}  // namespace platform
