#pragma once

#include <glib.h>
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "orvane_dga_client.h"

// Figures of another process, and an assistant to take them from.

inline long statusValue(GPid pid, const std::string& thread, const std::string& key) {
    std::ifstream status("/proc/" + std::to_string(pid) + thread + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(key + ":"))
            return std::atol(line.c_str() + key.size() + 1);
    }
    return 0;
}

inline long wakeUps(GPid pid) {
    long sum = 0;
    const std::string folder = "/proc/" + std::to_string(pid) + "/task";
    GDir* tasks = g_dir_open(folder.c_str(), 0, nullptr);
    while (const char* task = tasks ? g_dir_read_name(tasks) : nullptr)
        sum += statusValue(pid, std::string("/task/") + task, "voluntary_ctxt_switches");
    if (tasks)
        g_dir_close(tasks);
    return sum;
}

inline double cpuSeconds(GPid pid) {
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string text((std::istreambuf_iterator<char>(stat)), std::istreambuf_iterator<char>());
    unsigned long user = 0;
    unsigned long system = 0;
    std::sscanf(text.c_str() + text.rfind(')') + 1, " %*c %*d %*d %*d %*d %*d %*u %*u %*u %*u %*u %lu %lu",
                &user, &system);
    return static_cast<double>(user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

inline OrvaneDga* startAndWait(const std::string& program) {
    GError* error = nullptr;
    OrvaneDga* dga = orvane_dga_start(program.c_str(), &error);
    if (!dga || !orvane_dga_wait_ready(dga, 10000, &error)) {
        std::fprintf(stderr, "bench: %s\n", error->message);
        std::exit(1);
    }
    return dga;
}

inline void end(OrvaneDga* dga) {
    kill(orvane_dga_pid(dga), SIGTERM);
    orvane_dga_wait_exit(dga, 10000, nullptr);
    orvane_dga_free(dga);
}
