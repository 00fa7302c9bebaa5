// What windows cost the assistant, in one run beside a peer that opens an empty window with the same toolkit,
// and beside one whose window shows a word, for which the toolkit has to list the system's fonts:
//
//     window_bench ASSISTANT [ROUNDS [IDLE-SECONDS]]
//
// - from the request for a report (the notification is posted) to a window on the screen, the first time,
//   which starts the window program, and later: until it is mapped, and until it is painted as well;
//   medians over several runs, by turns with the peers
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

#include <QApplication>
#include <QLabel>
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
#include "Screen.h"
#include "orvane_dga_client.h"

namespace {

using namespace std::chrono_literals;
using Clock = Screen::Clock;

constexpr int kFirstTimes = 7;
constexpr int kLaterTimes = 21;
constexpr int kWheelSeconds = 10;
constexpr std::chrono::seconds kLongestWarmth{60};

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

struct Opening {
    double mapped = 0;   ///< milliseconds from the request
    double painted = 0;  ///< milliseconds from the request
};

Opening openOnce(Screen& screen, const Subject& subject, xcb_window_t& window) {
    const auto begin = Clock::now();
    subject.open();
    window = screen.nextWindow();
    const std::chrono::duration<double, std::milli> mapped = screen.mappedAt() - begin;
    const std::chrono::duration<double, std::milli> painted = Clock::now() - begin;
    return {mapped.count(), painted.count()};
}

double median(const std::vector<Opening>& openings, double Opening::*figure) {
    std::vector<double> values;
    for (const Opening& opening : openings)
        values.push_back(opening.*figure);
    std::nth_element(values.begin(), values.begin() + static_cast<long>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

/// One of the programs that are compared.
struct Contender {
    std::function<Subject()> start;
    Subject running;
    std::vector<Opening> first;
    std::vector<Opening> later;
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

// A peer: opens an empty window, or one with a word, for each byte that it reads.

constexpr char kPeerVariable[] = "WINDOW_BENCH_PEER";
constexpr char kEmpty[] = "empty";
constexpr char kWithText[] = "text";

[[noreturn]] void bePeer(bool showsText) {
    int count = 1;
    char name[] = "peer";
    char* arguments[] = {name, nullptr};
    QApplication application(count, arguments);
    QApplication::setQuitOnLastWindowClosed(false);
    QPalette white;
    white.setColor(QPalette::Window, Qt::white);
    QApplication::setPalette(white);
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, [showsText] {
        char byte = 0;
        if (read(STDIN_FILENO, &byte, 1) != 1)
            _exit(0);
        auto* const window = new QWidget;
        window->setAttribute(Qt::WA_DeleteOnClose);
        window->resize(544, 480);
        if (showsText)
            (new QLabel(QStringLiteral("Peer"), window))->move(32, 32);
        window->show();
    });
    std::exit(QApplication::exec());
}

// Its first window counts from the start of the program: the assistant loads the toolkit with its first one.
Subject startPeer(const char* kind) {
    auto pipeEnd = std::make_shared<int>(-1);
    auto pid = std::make_shared<pid_t>(0);
    const auto start = [pipeEnd, pid, kind] {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0)
            fail("no pipe");
        *pid = fork();
        if (*pid == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            dup2(ends[0], STDIN_FILENO);
            setenv(kPeerVariable, kind, 1);
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
    if (const char* const kind = std::getenv(kPeerVariable))
        bePeer(std::string(kind) == kWithText);
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
    Contender peer{[] { return startPeer(kEmpty); }, {}, {}, {}};
    Contender textPeer{[] { return startPeer(kWithText); }, {}, {}, {}};
    measureOpenings(screen, {&own, &peer, &textPeer});
    const Growth peerGrowth = growthOver(screen, peer.running, rounds);
    peer.running.end();
    textPeer.running.end();
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
    const auto openingRows = [&](const char* which, std::vector<Opening> Contender::*openings) {
        std::printf("request to %s window, ms (medians)\n", which);
        for (const auto& [until, figure] :
             {std::pair{"mapped", &Opening::mapped}, std::pair{"painted", &Opening::painted}}) {
            const double mine = median(own.*openings, figure);
            row((std::string("  ") + until).c_str(), mine, median(peer.*openings, figure));
            row((std::string("  ") + until + ", beside a window with a word").c_str(), mine,
                median(textPeer.*openings, figure));
        }
    };
    openingRows("the first", &Contender::first);
    openingRows("a later", &Contender::later);
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
