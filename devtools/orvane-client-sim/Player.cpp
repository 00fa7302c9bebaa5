#include "Player.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>

#include "Timeline.h"
#include "orvane_dga_client.h"

namespace clientsim {

namespace {

using Clock = std::chrono::steady_clock;

constexpr guint kReadyTimeoutMs = 10000;
constexpr guint kEndPatienceMs = 200;

class Player {
public:
    Player(const Scenario& scenario, const Options& options, const PlayerReporter& reporter)
        : scenario_(scenario),
          options_(options),
          reporter_(reporter),
          events_(timelineOf(scenario, getpid())) {}

    void run() {
        if (startAssistant() && playAll()) {
            reporter_.tell(Told::done);
        }
        if (assistant_ != nullptr) {
            tellEnd();
        }
    }

private:
    bool failWith(const std::string& what) {
        reporter_.tell(Told::failed, what + (error_ != nullptr ? std::string(": ") + error_->message : ""));
        g_clear_error(&error_);
        return false;
    }

    bool playAll() {
        readyAt_ = Clock::now();
        for (const Event& event : events_) {
            if (assistantEndsBefore(event.at) || !playEvent(event)) {
                return false;
            }
        }
        return true;
    }

    bool startAssistant() {
        const auto before = Clock::now();
        assistant_ = orvane_dga_start(options_.assistant.c_str(), &error_);
        if (assistant_ == nullptr) {
            return failWith("the assistant did not start");
        }
        reporter_.tell(Told::started, orvane_dga_pid(assistant_));
        if (orvane_dga_wait_ready(assistant_, kReadyTimeoutMs, &error_) == FALSE) {
            return failWith("no ready notification");
        }
        const auto passed = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - before);
        reporter_.tell(Told::ready, static_cast<long>(passed.count()));
        return true;
    }

    /// Sleeps until the event's time; true when the assistant has ended by then.
    bool assistantEndsBefore(double at) {
        const auto due = readyAt_ + std::chrono::duration_cast<Clock::duration>(
                                        std::chrono::duration<double>(at / options_.speed));
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(due - Clock::now());
        const auto wait = std::max<int64_t>(left.count(), 0);
        return orvane_dga_wait_exit(assistant_, static_cast<guint>(wait), nullptr) != FALSE;
    }

    /// Tells how the assistant ended, if it has.
    void tellEnd() {
        int code = 0;
        switch (orvane_dga_state(assistant_, &code)) {
            case ORVANE_DGA_STATE_RUNNING:
                break;
            case ORVANE_DGA_STATE_EXITED:
                reporter_.tell(Told::exited, code);
                break;
            case ORVANE_DGA_STATE_KILLED:
                reporter_.tell(Told::killed, code);
                break;
            case ORVANE_DGA_STATE_UNKNOWN:
                reporter_.tell(Told::lost);
                break;
        }
    }

    bool playEvent(const Event& event) {
        if (event.first) {
            reporter_.tell(Told::step, describe(event));
        }
        if (event.action == Action::crash) {
            reporter_.tell(Told::crashing);
            kill(getpid(), SIGKILL);
        }
        if (send(event)) {
            if (event.action == Action::quit || event.action == Action::reportAndExit) {
                reporter_.tell(Told::goodbye);
            }
            return true;
        }
        // A port that closes or a bus that goes is mostly the assistant's end, which then says more.
        if (orvane_dga_wait_exit(assistant_, kEndPatienceMs, nullptr) != FALSE) {
            g_clear_error(&error_);
            return false;
        }
        return failWith(fmt::format("step {} ({})", event.step, nameOf(event.action)));
    }

    bool send(const Event& event) {
        OrvaneDga* const assistant = assistant_;
        const char* const json = event.json.c_str();
        switch (event.action) {
            case Action::parameters:
                return orvane_dga_send_parameters(assistant, json, &error_) != FALSE;
            case Action::heartbeat:
            case Action::heartbeats:
                return orvane_dga_heartbeat(assistant, &error_) != FALSE;
            case Action::meetingData:
                return orvane_dga_send_meeting_data(assistant, json, &error_) != FALSE;
            case Action::report:
                return orvane_dga_request_report(assistant, &error_) != FALSE;
            case Action::reportAndExit:
                return orvane_dga_report_and_exit(assistant, event.json.empty() ? nullptr : json, &error_) !=
                       FALSE;
            case Action::quit:
                return orvane_dga_quit(assistant, &error_) != FALSE;
            case Action::freeze:
            case Action::crash:
            case Action::wait:
            case Action::exit:
                break;
        }
        return true;
    }

    std::string describe(const Event& event) const {
        const Step& step = scenario_.steps[static_cast<size_t>(event.step) - 1];
        std::string text = fmt::format("{:9.3f}  {}", event.at, nameOf(event.action));
        if (step.every > 0) {
            text += fmt::format(", every {} s until {} s", step.every, step.until);
        }
        return text;
    }

    const Scenario& scenario_;
    const Options& options_;
    const PlayerReporter& reporter_;
    std::vector<Event> events_;
    /// Never freed: that would collect an assistant that ends just now, unseen by who watches.
    OrvaneDga* assistant_ = nullptr;
    GError* error_ = nullptr;
    Clock::time_point readyAt_;
};

}  // namespace

void play(const Scenario& scenario, const Options& options, const PlayerReporter& reporter) {
    Player(scenario, options, reporter).run();
}

}  // namespace clientsim
