// How many meeting-data messages a second the assistant takes over its port, whether any is lost or out of
// order, and how long its main loop makes a heartbeat wait meanwhile.
//
//     port_bench ASSISTANT [MESSAGES]
//
// Run through scripts/isolated: it needs a session bus, and the assistant writes to /tmp.
#include <glib.h>
#include <glob.h>
#include <signal.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "orvane_dga_client.h"

namespace {

using Clock = std::chrono::system_clock;

constexpr unsigned kTimeout = 60000;
constexpr int kDefaultMessages = 100000;
// Every so many messages say something new: the client sends its whole state, most of it unchanged.
constexpr int kChangeEvery = 10;

std::string message(int number) {
    return R"({"event":{"eventType":0},"network":{"networkStatus":1},"meetingService":{"cbConnectionErrorCode":0,)"
           R"("cbConnectionDelay":)" +
           std::to_string(number / kChangeEvery + 1) +
           R"(,"mmpConnectionErrorCode":0,"pdSessionErrorCode":0,"chatSessionErrorCode":0,"pollingSessionErrorCode":0,)"
           R"("ccSessionErrorCode":0,"noteSessionErrorCode":0,"fileTransformSessionErrorCode":0,"nbrSessionErrorCode":0,)"
           R"("asSessionErrorCode":0,"audioSessionErrorCode":0,"videoSessionErrorCode":0},"audioQuality":{"audioType":1,)"
           R"("receiveQuality":5,"sendQuality":5,"deviceStatus":1,"telephoneQuality":0},"videoQuality":{"receiveQuality":5,)"
           R"("sendQuality":5,"deviceStatus":1},"shareQuality":{"shareType":3,"audioReceiveQuality":0,"h264Quality":5}})";
}

std::string firstMatch(const std::string& pattern) {
    glob_t found{};
    const std::string path = glob(pattern.c_str(), 0, nullptr, &found) == 0 ? found.gl_pathv[0] : "";
    globfree(&found);
    return path;
}

// The delays in the trace, which must be 1, 2, 3 ... to the last.
int delaysInOrder(const std::string& trace) {
    std::ifstream file(trace);
    int next = 1;
    for (std::string line; std::getline(file, line);) {
        int value = 0;
        if (std::sscanf(line.c_str(), "32,1,6,,37.0,,%d,", &value) != 1)
            continue;
        if (value != next)
            return -1;
        ++next;
    }
    return next - 1;
}

double secondsOfDay(const std::string& clock) {
    int hour = 0;
    int minute = 0;
    double second = 0;
    std::sscanf(clock.c_str(), "%d:%d:%lf", &hour, &minute, &second);
    return hour * 3600.0 + minute * 60.0 + second;
}

std::vector<double> heartbeatsInLog() {
    std::vector<double> times;
    glob_t logs{};
    if (glob("/tmp/orvtrace/dga/*.ovt", 0, nullptr, &logs) != 0)
        return times;
    for (size_t i = 0; i < logs.gl_pathc; ++i) {
        std::ifstream file(logs.gl_pathv[i]);
        for (std::string line; std::getline(file, line);) {
            if (line.find("DGADealNotifTargetTool::dealHeartBeatFromClient") != std::string::npos)
                times.push_back(secondsOfDay(line.substr(11, 12)));
        }
    }
    globfree(&logs);
    std::sort(times.begin(), times.end());
    return times;
}

double secondsOfDayNow() {
    const auto now = Clock::now();
    const std::time_t plain = Clock::to_time_t(now);
    std::tm local{};
    localtime_r(&plain, &local);
    const double fraction = std::chrono::duration<double>(now - Clock::from_time_t(plain)).count();
    return local.tm_hour * 3600.0 + local.tm_min * 60.0 + local.tm_sec + fraction;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: port_bench ASSISTANT [MESSAGES]\n");
        return 2;
    }
    const int messages = argc > 2 ? std::max(kChangeEvery, std::atoi(argv[2])) : kDefaultMessages;
    const int changes = (messages - 1) / kChangeEvery + 1;
    GError* error = nullptr;
    OrvaneDga* dga = orvane_dga_start(argv[1], &error);
    if (!dga || !orvane_dga_wait_ready(dga, kTimeout, &error)) {
        std::fprintf(stderr, "port_bench: %s\n", error->message);
        return 1;
    }
    orvane_dga_set_port_timeout(dga, kTimeout);
    orvane_dga_send_parameters(dga, R"({"serviceType":1,"processID":1})", nullptr);

    std::atomic<bool> pouring{true};
    std::vector<double> sent;
    std::thread heart([&] {
        while (pouring) {
            sent.push_back(secondsOfDayNow());
            orvane_dga_heartbeat(dga, nullptr);
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    });
    const auto begin = Clock::now();
    for (int i = 0; i < messages; ++i) {
        if (!orvane_dga_send_meeting_data(dga, message(i).c_str(), &error)) {
            std::fprintf(stderr, "port_bench: %s\n", error->message);
            pouring = false;
            heart.join();
            return 1;
        }
    }
    const std::string trace =
        firstMatch("/tmp/orvdga/orvanedga_meeting_*_" + std::to_string(orvane_dga_pid(dga)) + "/*.csv");
    int inTrace = 0;
    while (inTrace >= 0 && inTrace < changes && Clock::now() - begin < std::chrono::seconds(120)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        inTrace = delaysInOrder(trace);
    }
    const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    pouring = false;
    heart.join();
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    const auto handled = heartbeatsInLog();
    double longest = 0;
    double sum = 0;
    for (size_t i = 0; i < std::min(sent.size(), handled.size()); ++i) {
        longest = std::max(longest, handled[i] - sent[i]);
        sum += handled[i] - sent[i];
    }
    std::printf("%d messages in %.2f s: %.0f a second, recorded in the trace\n", messages, seconds,
                messages / seconds);
    std::printf("%d of %d changes in the trace, %s\n", inTrace, changes,
                inTrace == changes ? "in order" : "NOT in order");
    std::printf(
        "%zu of %zu heartbeats handled meanwhile, %.1f ms after sending in the mean, %.1f ms at the "
        "longest\n",
        handled.size(), sent.size(), 1000 * sum / static_cast<double>(std::max<size_t>(1, sent.size())),
        1000 * longest);
    kill(orvane_dga_pid(dga), SIGTERM);
    orvane_dga_wait_exit(dga, kTimeout, nullptr);
    orvane_dga_free(dga);
    return inTrace == changes && handled.size() == sent.size() ? 0 : 1;
}
