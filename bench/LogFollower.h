#pragma once

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

/// Reads the assistant's log while it is written, before older files are removed, and keeps the times of the
/// lines with a given text. Seconds of the day, local time.
class LogFollower {
public:
    explicit LogFollower(std::string text) : text_(std::move(text)), thread_([this] { follow(); }) {}
    LogFollower(const LogFollower&) = delete;
    LogFollower& operator=(const LogFollower&) = delete;

    /// Reads to the end and stops.
    std::vector<double> finish() {
        ending_ = true;
        thread_.join();
        return times_;
    }
    ~LogFollower() {
        if (thread_.joinable())
            finish();
    }

    static double now() {
        const auto time = std::chrono::system_clock::now();
        const std::time_t plain = std::chrono::system_clock::to_time_t(time);
        std::tm local{};
        localtime_r(&plain, &local);
        const double fraction =
            std::chrono::duration<double>(time - std::chrono::system_clock::from_time_t(plain)).count();
        return local.tm_hour * 3600.0 + local.tm_min * 60.0 + local.tm_sec + fraction;
    }

private:
    static std::string fileAfter(const std::string& name) {
        std::string next;
        std::error_code missing;
        for (const auto& entry : std::filesystem::directory_iterator("/tmp/orvtrace/dga", missing)) {
            const std::string path = entry.path();
            if (path > name && (next.empty() || path < next))
                next = path;
        }
        return next;
    }

    void follow() {
        std::string name;
        std::ifstream file;
        for (;;) {
            const bool last = ending_;
            const std::string next = fileAfter(name);
            if (file.is_open())
                readLines(file);
            if (!next.empty()) {
                name = next;
                file = std::ifstream(name);
                readLines(file);
            } else if (last) {
                return;
            } else {
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
            }
        }
    }

    void readLines(std::ifstream& file) {
        std::streampos whole = file.tellg();
        for (std::string line; std::getline(file, line) && !file.eof(); whole = file.tellg()) {
            if (line.find(text_) != std::string::npos)
                times_.push_back(secondsOf(line.substr(11, 12)));
        }
        file.clear();
        file.seekg(whole);
    }

    static double secondsOf(const std::string& clock) {
        int hour = 0;
        int minute = 0;
        double second = 0;
        std::sscanf(clock.c_str(), "%d:%d:%lf", &hour, &minute, &second);
        return hour * 3600.0 + minute * 60.0 + second;
    }

    std::string text_;
    std::atomic<bool> ending_{false};
    std::vector<double> times_;
    std::thread thread_;
};
