// What windows cost the assistant, in one run beside a peer that opens an empty window with the same toolkit:
//
//     window_bench ASSISTANT [ROUNDS [IDLE-SECONDS]]
//
// - from the request for a report (the notification is posted) to a window on the screen, the first time,
//   which starts the window program, and later; medians over several runs, by turns with the peer
// - how much memory the window program grows over ROUNDS (100) of opening and closing the problem reporting
//   window and the upload window, what both programs take, and when the window program is gone
// - processor time and wake-ups before any window, and after all are closed again
// - the share of a core that the turning wheel takes
//
// Run through scripts/isolated and scripts/with-display: it needs a session bus, a display and xdotool.
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <QApplication>
#include <QSocketNotifier>
#include <QWidget>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "ProcessFigures.h"
#include "orvane_dga_client.h"

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr int kFirstTimes = 7;
constexpr int kLaterTimes = 21;
constexpr int kWheelSeconds = 10;
constexpr std::chrono::seconds kLongestWarmth{60};

[[noreturn]] void fail(const std::string& why) {
    std::fprintf(stderr, "window_bench: %s\n", why.c_str());
    std::exit(1);
}

double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + static_cast<long>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

/// Sees windows come, and closes them as a window manager does. Needs a display without one.
class Screen {
public:
    Screen() : connection_(xcb_connect(nullptr, nullptr)) {
        if (xcb_connection_has_error(connection_) != 0)
            fail("there is no display; see the head of WindowBench.cpp");
        root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
        const uint32_t events = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
        xcb_change_window_attributes(connection_, root_, XCB_CW_EVENT_MASK, &events);
        xcb_flush(connection_);
    }

    /// Waits until another window is on the screen and is painted white; 0 if `unlessGone` is closed instead.
    xcb_window_t nextWindow(xcb_window_t unlessGone = 0) {
        const auto end = Clock::now() + 20s;
        xcb_window_t window = 0;
        while (window == 0) {
            if (unlessGone != 0 && !isShown(unlessGone))
                return 0;
            if (xcb_generic_event_t* const event = xcb_poll_for_event(connection_)) {
                if ((event->response_type & 0x7f) == XCB_MAP_NOTIFY)
                    window = reinterpret_cast<xcb_map_notify_event_t*>(event)->window;
                free(event);
            } else {
                pause(end);
            }
        }
        while (!isPainted(window))
            pause(end);
        return window;
    }

    void waitForKeyboard(xcb_window_t window) {
        const auto end = Clock::now() + 10s;
        while (!hasKeyboard(window))
            pause(end);
    }

    void close(xcb_window_t window) {
        askToClose(window);
        waitUntilGone(window);
    }

    void askToClose(xcb_window_t window) {
        xcb_client_message_event_t message{};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = window;
        message.type = atom("WM_PROTOCOLS");
        message.data.data32[0] = atom("WM_DELETE_WINDOW");
        xcb_send_event(connection_, 0, window, XCB_EVENT_MASK_NO_EVENT,
                       reinterpret_cast<const char*>(&message));
        xcb_flush(connection_);
    }

    void waitUntilGone(xcb_window_t window) {
        const auto end = Clock::now() + 10s;
        while (isShown(window))
            pause(end);
    }

private:
    static void pause(Clock::time_point end) {
        if (Clock::now() > end)
            fail("a window did not come or go");
        std::this_thread::sleep_for(200us);
    }

    xcb_atom_t atom(const std::string& name) {
        auto* const reply = xcb_intern_atom_reply(
            connection_, xcb_intern_atom(connection_, 0, static_cast<uint16_t>(name.size()), name.c_str()),
            nullptr);
        const xcb_atom_t value = reply->atom;
        free(reply);
        return value;
    }

    bool isShown(xcb_window_t window) {
        auto* const reply = xcb_get_window_attributes_reply(
            connection_, xcb_get_window_attributes(connection_, window), nullptr);
        const bool shown = reply && reply->map_state == XCB_MAP_STATE_VIEWABLE;
        free(reply);
        return shown;
    }

    bool hasKeyboard(xcb_window_t window) {
        auto* const reply = xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr);
        const bool has = reply && reply->focus == window;
        free(reply);
        return has;
    }

    bool isPainted(xcb_window_t window) {
        auto* const reply = xcb_get_image_reply(
            connection_, xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, window, 4, 4, 1, 1, ~0U),
            nullptr);
        const bool painted =
            reply && xcb_get_image_data_length(reply) >= 3 && xcb_get_image_data(reply)[0] == 0xff;
        free(reply);
        return painted;
    }

    xcb_connection_t* connection_;
    xcb_window_t root_ = 0;
};

/// What is measured: something that opens a window when it is asked to.
struct Subject {
    std::function<void()> open;
    std::function<void()> end;
    std::function<GPid()> pid;
    std::function<GPid()> windowPid;  ///< of the program that has its windows
};

/// The window program of an assistant; 0 if there is none now.
GPid windowProgramOf(GPid assistant) {
    const std::string command = "pgrep -P " + std::to_string(assistant) + " -x orvanedga-windo";
    FILE* const output = popen(command.c_str(), "r");
    GPid pid = 0;
    if (!output || fscanf(output, "%d", &pid) != 1)
        pid = 0;
    if (output)
        pclose(output);
    return pid;
}

double megabytes(GPid pid) {
    return static_cast<double>(statusValue(pid, "", "VmRSS")) / 1024;
}

double openOnce(Screen& screen, const Subject& subject, xcb_window_t& window) {
    const auto begin = Clock::now();
    subject.open();
    window = screen.nextWindow();
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

/// One of the programs that are compared.
struct Contender {
    std::function<Subject()> start;
    Subject running;
    std::vector<double> first;  ///< milliseconds
    std::vector<double> later;  ///< milliseconds
};

/// By turns, so that what else the machine does meets all alike.
void measureOpenings(Screen& screen, const std::vector<Contender*>& contenders) {
    xcb_window_t window = 0;
    for (int i = 0; i < kFirstTimes; ++i) {
        for (Contender* const contender : contenders) {
            if (contender->running.end)
                contender->running.end();
            contender->running = contender->start();
            contender->first.push_back(openOnce(screen, contender->running, window));
            screen.close(window);
        }
    }
    for (int i = 0; i < kLaterTimes; ++i) {
        for (Contender* const contender : contenders) {
            std::this_thread::sleep_for(50ms);
            contender->later.push_back(openOnce(screen, contender->running, window));
            screen.close(window);
        }
    }
}

struct Growth {
    double windows = 0;  ///< kB, of the program that has the windows
    double own = 0;      ///< kB, of the program that asks for them
};

Growth growthOver(Screen& screen, const Subject& subject, int rounds) {
    const long before = statusValue(subject.windowPid(), "", "VmRSS");
    const long ownBefore = statusValue(subject.pid(), "", "VmRSS");
    for (int i = 0; i < rounds; ++i) {
        xcb_window_t window = 0;
        openOnce(screen, subject, window);
        screen.close(window);
    }
    std::this_thread::sleep_for(500ms);
    return {static_cast<double>(statusValue(subject.windowPid(), "", "VmRSS") - before),
            static_cast<double>(statusValue(subject.pid(), "", "VmRSS") - ownBefore)};
}

// The assistant

/// Takes connections and never answers, so that an upload goes on.
class SilentServer {
public:
    SilentServer() : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        socklen_t size = sizeof address;
        if (listen(socket_, 64) != 0 ||
            getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size) != 0)
            fail("no port to listen on");
        url_ = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/?siteid=1";
    }
    const std::string& url() const { return url_; }

private:
    int socket_;
    std::string url_;
};

Subject startAssistant(const std::string& program, const std::string& url) {
    OrvaneDga* const dga = startAndWait(program);
    const std::string parameters = R"({"serviceType": 1, "confId": "1", "UserID": 2, "activeLanguage": 1,)"
                                   R"("enableSendProblemReport": true, "uploadURL": ")" +
                                   url + R"(", "processID": )" + std::to_string(getpid()) + "}";
    orvane_dga_send_parameters(dga, parameters.c_str(), nullptr);
    std::this_thread::sleep_for(300ms);
    const auto open = [dga] {
        orvane_dga_heartbeat(dga, nullptr);
        orvane_dga_request_report(dga, nullptr);
    };
    return {open, [dga] { end(dga); }, [dga] { return orvane_dga_pid(dga); },
            [dga] { return windowProgramOf(orvane_dga_pid(dga)); }};
}

struct Idle {
    double cpuPercent = 0;
    double wakeUpsPerSecond = 0;
};

Idle idle(GPid pid, unsigned seconds) {
    const double cpu = cpuSeconds(pid);
    const long wakes = wakeUps(pid);
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    return {100 * (cpuSeconds(pid) - cpu) / seconds, static_cast<double>(wakeUps(pid) - wakes) / seconds};
}

void press(Screen& screen, xcb_window_t window, const std::string& keys) {
    screen.waitForKeyboard(window);
    if (std::system(("xdotool " + keys).c_str()) != 0)
        fail("xdotool failed");
}

/// Sends from the problem reporting window, by the keyboard, without a picture of the screen, for which the
/// windows would go; returns the upload window.
xcb_window_t openUploadWindow(Screen& screen, const Subject& assistant) {
    xcb_window_t report = 0;
    openOnce(screen, assistant, report);
    press(screen, report, "key --delay 4 x Tab Down Down Tab space ctrl+Return");
    return screen.nextWindow();
}

/// It asks whether to stop an upload; the button that stops it is the other one.
void closeUploadWindow(Screen& screen, xcb_window_t upload) {
    screen.askToClose(upload);
    const xcb_window_t question = screen.nextWindow(upload);
    if (question == 0)
        return;  // before there was anything to stop
    press(screen, question, "key --delay 4 Tab Return");
    screen.waitUntilGone(upload);
}

double uploadGrowth(Screen& screen, const Subject& assistant, int rounds) {
    const auto round = [&] {
        const xcb_window_t upload = openUploadWindow(screen, assistant);
        std::this_thread::sleep_for(400ms);  // until the report is made and being sent
        closeUploadWindow(screen, upload);
    };
    for (int i = 0; i < 5; ++i)
        round();
    const long before = statusValue(assistant.windowPid(), "", "VmRSS");
    for (int i = 0; i < rounds; ++i)
        round();
    std::this_thread::sleep_for(3s);
    return static_cast<double>(statusValue(assistant.windowPid(), "", "VmRSS") - before);
}

// The peer: opens an empty window for each byte that it reads.

[[noreturn]] void bePeer() {
    int count = 1;
    char name[] = "peer";
    char* arguments[] = {name, nullptr};
    QApplication application(count, arguments);
    QApplication::setQuitOnLastWindowClosed(false);
    QPalette white;
    white.setColor(QPalette::Window, Qt::white);
    QApplication::setPalette(white);
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, [] {
        char byte = 0;
        if (read(STDIN_FILENO, &byte, 1) != 1)
            _exit(0);
        auto* const window = new QWidget;
        window->setAttribute(Qt::WA_DeleteOnClose);
        window->resize(544, 480);
        window->show();
    });
    std::exit(QApplication::exec());
}

// Its first window counts from the start of the program: the assistant loads the toolkit with its first one.
Subject startPeer() {
    auto pipeEnd = std::make_shared<int>(-1);
    auto pid = std::make_shared<pid_t>(0);
    const auto start = [pipeEnd, pid] {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0)
            fail("no pipe");
        *pid = fork();
        if (*pid == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            dup2(ends[0], STDIN_FILENO);
            setenv("WINDOW_BENCH_PEER", "1", 1);
            execl("/proc/self/exe", "window_bench", nullptr);
            _exit(127);
        }
        close(ends[0]);
        *pipeEnd = ends[1];
    };
    return {[=] {
                if (*pid == 0)
                    start();
                if (write(*pipeEnd, "x", 1) != 1)
                    fail("the peer is gone");
            },
            [=] {
                close(*pipeEnd);
                waitpid(*pid, nullptr, 0);
            },
            [=] { return *pid; }, [=] { return *pid; }};
}

}  // namespace

int main(int argc, char** argv) {
    if (std::getenv("WINDOW_BENCH_PEER"))
        bePeer();
    if (argc < 2)
        fail("usage: window_bench ASSISTANT [ROUNDS [IDLE-SECONDS]]");
    const int rounds = argc > 2 ? std::max(1, std::atoi(argv[2])) : 100;
    const unsigned idleSeconds = argc > 3 ? static_cast<unsigned>(std::max(1, std::atoi(argv[3]))) : 20;
    Screen screen;
    SilentServer server;

    Subject fresh = startAssistant(argv[1], server.url());
    std::this_thread::sleep_for(3s);
    const double rssBefore = megabytes(fresh.pid());
    const Idle before = idle(fresh.pid(), idleSeconds);
    fresh.end();

    Contender own{[&] { return startAssistant(argv[1], server.url()); }, {}, {}, {}};
    Contender peer{startPeer, {}, {}, {}};
    measureOpenings(screen, {&own, &peer});
    const Growth peerGrowth = growthOver(screen, peer.running, rounds);
    peer.running.end();
    const Subject& assistant = own.running;
    const Growth ownGrowth = growthOver(screen, assistant, rounds);
    std::this_thread::sleep_for(2s);
    const Idle after = idle(assistant.pid(), idleSeconds);
    const xcb_window_t upload = openUploadWindow(screen, assistant);
    std::this_thread::sleep_for(3s);
    const Idle wheel = idle(assistant.windowPid(), kWheelSeconds);
    const double rssWith = megabytes(assistant.pid());
    const double windowsRss = megabytes(assistant.windowPid());
    closeUploadWindow(screen, upload);
    const double growth = uploadGrowth(screen, assistant, rounds);
    const auto closed = Clock::now();
    while (assistant.windowPid() != 0 && Clock::now() - closed < kLongestWarmth)
        std::this_thread::sleep_for(100ms);
    const double gone = std::chrono::duration<double>(Clock::now() - closed).count();
    const double rssAfter = megabytes(assistant.pid());
    assistant.end();

    const auto row = [](const char* what, double mine, std::optional<double> peers = {}) {
        std::printf("%-46s %10.3f", what, mine);
        if (peers)
            std::printf(" %10.3f", *peers);
        if (peers && *peers > 0)
            std::printf(" %8.2f", mine / *peers);
        std::printf("\n");
    };
    std::printf("%-46s %10s %10s %8s\n", "", "assistant", "peer", "ratio");
    row("request to the first window, ms (median)", median(own.first), median(peer.first));
    row("request to a later window, ms (median)", median(own.later), median(peer.later));
    row("growth over all rounds, report window, kB", ownGrowth.windows, peerGrowth.windows);
    row("growth over all rounds, upload window, kB", growth);
    row("resident before any window, MB", rssBefore);
    row("resident with the upload window, MB", rssWith);
    row("resident after windows were closed, MB", rssAfter);
    row("the window program with the upload window, MB", windowsRss);
    row("the window program is gone after, s", gone);
    row("growth of the assistant over all rounds, kB", ownGrowth.own);
    row("processor time before any window, %", before.cpuPercent);
    row("processor time after windows were closed, %", after.cpuPercent);
    row("wake-ups a second before any window", before.wakeUpsPerSecond);
    row("wake-ups a second after windows were closed", after.wakeUpsPerSecond);
    row("processor time while the wheel turns, %", wheel.cpuPercent);
    return 0;
}
