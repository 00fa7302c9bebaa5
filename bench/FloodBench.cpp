// What a client that pours costs: memory, heartbeats that have to wait, processor time afterwards, and
// whether anything sent over the port is lost. Fails where a budget is exceeded.
//
//     flood_bench ASSISTANT [SECONDS [FLOOD]]
//
// Run through scripts/isolated: it needs a session bus, and the assistant writes to /tmp.
#include <fcntl.h>
#include <gio/gio.h>
#include <glob.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <functional>
#include <thread>
#include <vector>

#include "LogFollower.h"
#include "ProcessFigures.h"

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr double kMostMegabytes = 64;
constexpr double kMostHeartbeatMilliseconds = 100;
constexpr double kMostIdlePercent = 2;

struct Flood {
    const char* name;
    std::function<long(OrvaneDga* dga, Clock::time_point end)> pour;  // how many were sent
};

std::string parameters(const std::string& more) {
    return R"({"serviceType":1,"processID":)" + std::to_string(getpid()) + more + "}";
}

std::string allCodes(long number) {
    const std::string n = std::to_string(number);
    std::string text =
        R"({"network":{"networkStatus":)" + std::to_string(number % 2) + R"(},"meetingService":{)";
    for (const char* key : {"cbConnectionErrorCode", "mmpConnectionErrorCode", "pdSessionErrorCode",
                            "chatSessionErrorCode", "pollingSessionErrorCode", "ccSessionErrorCode",
                            "noteSessionErrorCode", "fileTransformSessionErrorCode", "nbrSessionErrorCode",
                            "asSessionErrorCode", "audioSessionErrorCode", "videoSessionErrorCode"})
        text += "\"" + std::string(key) + "\":" + n + ",";
    return text + R"("cbConnectionDelay":)" + n + R"(},"audioQuality":{"audioType":1,"sendQuality":)" + n +
           R"(},"videoQuality":{"sendQuality":)" + n +
           R"(},"shareQuality":{"shareType":2,"videoSendQuality":)" + n + "}}";
}

long pourParameters(OrvaneDga* dga, Clock::time_point end, size_t length) {
    const std::string json = parameters(R"(,"clientVersion":")" + std::string(length, 'v') + "\"");
    long sent = 0;
    for (; Clock::now() < end; ++sent)
        orvane_dga_send_parameters(dga, json.c_str(), nullptr);
    return sent;
}

int connectTo(const OrvaneDga* dga) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = std::string(std::getenv("XDG_RUNTIME_DIR")) + "/com.tellan.orvane.orvanedga." +
                             std::to_string(orvane_dga_pid(dga));
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const int handle = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (connect(handle, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        close(handle);
        return -1;
    }
    return handle;
}

// On a connection of its own: it is made to wait, and the heartbeats must not be.
long pourMeetingData(OrvaneDga* dga, Clock::time_point end) {
    const int handle = connectTo(dga);
    fcntl(handle, F_SETFL, 0);
    long sent = 0;
    for (bool open = handle >= 0; open && Clock::now() < end; sent += open ? 1 : 0) {
        const std::string text = allCodes(sent + 1);
        const auto length = static_cast<uint32_t>(text.size());
        std::string frame(8, '\0');
        std::memcpy(frame.data() + 4, &length, 4);
        frame += text;
        open = send(handle, frame.data(), frame.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(frame.size());
    }
    close(handle);
    return sent;
}

// Messages of 900 kB without their last byte; whoever is cut off comes back.
long pourHalfFrames(OrvaneDga* dga, Clock::time_point end) {
    const uint32_t length = 900000;
    std::string frame(8 + length - 1, 'h');
    std::memset(frame.data(), 0, 4);
    std::memcpy(frame.data() + 4, &length, 4);
    struct Peer {
        int handle = -1;
        size_t at = 0;
    };
    std::vector<Peer> peers(500);
    long sent = 0;
    while (Clock::now() < end) {
        for (Peer& peer : peers) {
            if (peer.handle < 0)
                peer = {connectTo(dga), 0};
            if (peer.handle < 0 || peer.at == frame.size())
                continue;
            const ssize_t count = send(peer.handle, frame.data() + peer.at, frame.size() - peer.at,
                                       MSG_NOSIGNAL | MSG_DONTWAIT);
            if (count > 0) {
                peer.at += static_cast<size_t>(count);
                sent += peer.at == frame.size() ? 1 : 0;
            } else if (errno != EAGAIN) {
                close(peer.handle);
                peer.handle = -1;
            }
        }
        std::this_thread::sleep_for(20ms);
    }
    for (const Peer& peer : peers) {
        if (peer.handle >= 0)
            close(peer.handle);
    }
    return sent;
}

// The delays of that flood in the trace, which must be 1, 2, 3 ... to the last one sent.
bool isAllInTrace(GPid pid, long sent) {
    glob_t found{};
    const std::string pattern = "/tmp/orvdga/orvanedga_meeting_*_" + std::to_string(pid) + "/*.csv";
    const std::string path = glob(pattern.c_str(), 0, nullptr, &found) == 0 ? found.gl_pathv[0] : "";
    globfree(&found);
    std::ifstream file(path);
    long next = 1;
    for (std::string line; std::getline(file, line);) {
        long value = 0;
        if (std::sscanf(line.c_str(), "32,1,6,,37.0,,%ld,", &value) == 1 && value != next++)
            return false;
    }
    return next == sent + 1;
}

GDBusConnection* connectToBus() {
    char* const address = g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    GDBusConnection* const bus = g_dbus_connection_new_for_address_sync(
        address,
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, nullptr);
    g_free(address);
    return bus;
}

double megabytes(GPid pid) {
    return static_cast<double>(statusValue(pid, "", "VmRSS")) / 1024;
}

bool measure(const std::string& program, const Flood& flood, std::chrono::seconds time) {
    OrvaneDga* const dga = startAndWait(program);
    const GPid pid = orvane_dga_pid(dga);
    orvane_dga_send_parameters(dga, parameters("").c_str(), nullptr);
    const std::string thread = "[" + std::to_string(pid) + ":" + std::to_string(pid) + "]";
    LogFollower follower(thread + " orvdga 2 DGADealNotifTargetTool::dealHeartBeatFromClient");
    std::atomic<bool> beating{true};
    std::vector<double> sent;
    double most = 0;
    // Not behind the flood in the client's own queue.
    GDBusConnection* const bus = connectToBus();
    const std::string heartbeat = "ORVANE_DGA_KEEP_ALIVE_" + std::to_string(pid);
    std::thread heart([&] {
        while (beating) {
            sent.push_back(LogFollower::now());
            g_dbus_connection_emit_signal(bus, nullptr, "/com/tellan/orvane/DistributedNotifications",
                                          "com.tellan.orvane.DistributedNotifications", "Posted",
                                          g_variant_new("(ssa{sv})", heartbeat.c_str(), "", nullptr),
                                          nullptr);
            most = std::max(most, megabytes(pid));
            std::this_thread::sleep_for(20ms);
        }
    });
    std::this_thread::sleep_for(500ms);
    const double cpuBefore = cpuSeconds(pid);
    const long count = flood.pour(dga, Clock::now() + time);
    const double busy = 100 * (cpuSeconds(pid) - cpuBefore) / static_cast<double>(time.count());
    std::this_thread::sleep_for(500ms);
    beating = false;
    heart.join();
    g_object_unref(bus);
    std::this_thread::sleep_for(8s);
    const double cpu = cpuSeconds(pid);
    std::this_thread::sleep_for(2s);
    const double idle = 100 * (cpuSeconds(pid) - cpu) / 2;
    const double after = megabytes(pid);
    const auto handled = follower.finish();
    std::vector<double> waits;
    for (size_t i = 0; i < std::min(sent.size(), handled.size()); ++i)
        waits.push_back(1000 * (handled[i] - sent[i]));
    std::sort(waits.begin(), waits.end());
    const double p99 = waits.empty() ? 0 : waits[waits.size() * 99 / 100];
    const double longest = waits.empty() ? 0 : waits.back();
    const bool isLost = flood.pour.target<long (*)(OrvaneDga*, Clock::time_point)>() &&
                        *flood.pour.target<long (*)(OrvaneDga*, Clock::time_point)>() == &pourMeetingData &&
                        !isAllInTrace(pid, count);
    const bool good = most < kMostMegabytes && after < kMostMegabytes && p99 < kMostHeartbeatMilliseconds &&
                      idle < kMostIdlePercent && handled.size() == sent.size() && !isLost;
    std::printf("%-32s %8.0f %8.1f %8.1f %8.1f %8.1f %5zu/%-5zu %6.1f %6.1f %s%s\n", flood.name,
                static_cast<double>(count) / static_cast<double>(time.count()), most, after, p99, longest,
                handled.size(), sent.size(), busy, idle, isLost ? "LOST " : "", good ? "" : "TOO MUCH");
    std::fflush(stdout);
    end(dga);
    return good;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: flood_bench ASSISTANT [SECONDS [FLOOD]]\n");
        return 2;
    }
    const std::chrono::seconds time(argc > 2 ? std::max(1, std::atoi(argv[2])) : 20);
    const Flood floods[] = {
        {"nothing, to compare with",
         [](OrvaneDga*, Clock::time_point end) {
             std::this_thread::sleep_until(end);
             return 0L;
         }},
        {"meeting data, all changes", &pourMeetingData},
        {"parameters of 60 kB",
         [](OrvaneDga* dga, Clock::time_point end) { return pourParameters(dga, end, 60000); }},
        {"small parameters",
         [](OrvaneDga* dga, Clock::time_point end) { return pourParameters(dga, end, 10); }},
        {"500 half messages of 900 kB", &pourHalfFrames},
        {"one message of 20 MB",
         [](OrvaneDga* dga, Clock::time_point end) {
             pourParameters(dga, Clock::now() + 1ms, 20000000);
             std::this_thread::sleep_until(end);
             return 1L;
         }},
    };
    std::printf("%-32s %8s %8s %8s %8s %8s %11s %6s %6s\n", "flood", "sent/s", "most MB", "MB after",
                "p99 ms", "max ms", "heartbeats", "CPU %", "idle %");
    bool good = true;
    const std::string only = argc > 3 ? argv[3] : "";
    for (const Flood& flood : floods) {
        if (only.empty() || only == flood.name)
            good = measure(argv[1], flood, time) && good;
    }
    return good ? 0 : 1;
}
