// Figures of the whole process: the time from start to the ready notification, and memory, processor time and
// wake-ups while it watches an idle client, each beside a peer that only connects to the session bus, says
// that it is ready and sleeps in a GLib main loop.
//
//     whole_process_bench ASSISTANT [IDLE-SECONDS]
//
// Run through scripts/isolated: it needs a session bus, and the assistant writes to /tmp.
#include <gio/gio.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "ProcessFigures.h"
#include "orvane_dga_client.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kStarts = 21;

struct Figures {
    double readyMilliseconds = 0;
    long rssKilobytes = 0;
    double cpuPercent = 0;
    double wakeUpsPerSecond = 0;
};

Figures measure(const std::string& program, unsigned idleSeconds) {
    Figures figures;
    std::vector<double> times;
    for (int i = 0; i < kStarts; ++i) {
        const auto begin = Clock::now();
        OrvaneDga* dga = startAndWait(program);
        times.push_back(std::chrono::duration<double, std::milli>(Clock::now() - begin).count());
        end(dga);
    }
    std::nth_element(times.begin(), times.begin() + kStarts / 2, times.end());
    figures.readyMilliseconds = times[kStarts / 2];

    OrvaneDga* dga = startAndWait(program);
    const std::string parameters =
        "{\"serviceType\": 1, \"confId\": \"1\", \"processID\": " + std::to_string(getpid()) + "}";
    orvane_dga_send_parameters(dga, parameters.c_str(), nullptr);
    const GPid pid = orvane_dga_pid(dga);
    std::this_thread::sleep_for(std::chrono::seconds(10));
    orvane_dga_heartbeat(dga, nullptr);
    std::this_thread::sleep_for(std::chrono::seconds(1));
    const long wakesBefore = wakeUps(pid);
    const double cpuBefore = cpuSeconds(pid);
    std::this_thread::sleep_for(std::chrono::seconds(idleSeconds));
    figures.cpuPercent = 100 * (cpuSeconds(pid) - cpuBefore) / idleSeconds;
    figures.wakeUpsPerSecond = static_cast<double>(wakeUps(pid) - wakesBefore) / idleSeconds;
    figures.rssKilobytes = statusValue(pid, "", "VmRSS");
    end(dga);
    return figures;
}

[[noreturn]] void bePeer() {
    GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    const std::string name = "ORVANE_DGA_APP_READY_" + std::to_string(getpid());
    g_dbus_connection_emit_signal(bus, nullptr, "/com/tellan/orvane/DistributedNotifications",
                                  "com.tellan.orvane.DistributedNotifications", "Posted",
                                  g_variant_new("(ssa{sv})", name.c_str(), "", nullptr), nullptr);
    g_main_loop_run(g_main_loop_new(nullptr, FALSE));
    std::exit(0);
}

}  // namespace

int main(int argc, char** argv) {
    if (std::getenv("WHOLE_PROCESS_BENCH_PEER"))
        bePeer();
    if (argc < 2) {
        std::fprintf(stderr, "usage: whole_process_bench ASSISTANT [IDLE-SECONDS]\n");
        return 2;
    }
    const unsigned idleSeconds = argc > 2 ? static_cast<unsigned>(std::max(1, std::atoi(argv[2]))) : 20;
    const Figures own = measure(argv[1], idleSeconds);
    setenv("WHOLE_PROCESS_BENCH_PEER", "1", 1);
    const Figures peer = measure("/proc/self/exe", idleSeconds);
    const auto row = [](const char* what, double mine, double others) {
        std::printf("%-34s %10.3f %10.3f %8.2f\n", what, mine, others, others > 0 ? mine / others : 0);
    };
    std::printf("%-34s %10s %10s %8s\n", "", "assistant", "peer", "ratio");
    row("start to ready, ms (median)", own.readyMilliseconds, peer.readyMilliseconds);
    row("idle resident memory, MB", static_cast<double>(own.rssKilobytes) / 1024,
        static_cast<double>(peer.rssKilobytes) / 1024);
    row("idle processor time, %", own.cpuPercent, peer.cpuPercent);
    row("idle wake-ups a second", own.wakeUpsPerSecond, peer.wakeUpsPerSecond);
    return 0;
}
