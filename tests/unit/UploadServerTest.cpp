#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "DGAMonitor/Utilities/DGAUtilitiesText.h"
#include "DGAUpload/logic/CTraceUpload.h"
#include "platform/RunLoop.h"

// Uploads to the real loopback server, which checks every piece strictly.

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

class Server {
public:
    explicit Server(std::vector<std::string> options) {
        int ends[2];
        if (pipe(ends) != 0)
            return;
        m_process = fork();
        if (m_process == 0) {
            dup2(ends[1], STDOUT_FILENO);
            close(ends[0]);
            close(ends[1]);
            const std::string program = std::string(std::getenv("ORVANEDGA_BIN")) + "/orvane-upload-server";
            std::vector<char*> arguments{const_cast<char*>(program.c_str())};
            for (auto& option : options)
                arguments.push_back(option.data());
            arguments.push_back(nullptr);
            execv(program.c_str(), arguments.data());
            _exit(127);
        }
        close(ends[1]);
        m_output = fdopen(ends[0], "r");
        line();
        m_url = m_line.substr(m_line.find("http"));
        m_url.erase(m_url.find('\n'));
    }
    ~Server() {
        kill(m_process, SIGTERM);
        int status = 0;
        waitpid(m_process, &status, 0);
        EXPECT_EQ(status, 0);
        std::fclose(m_output);
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    std::string url() const { return m_url + "up?siteid=1"; }

    /// The next line of output.
    std::string line() {
        char text[4096] = "";
        m_line = std::fgets(text, sizeof text, m_output) != nullptr ? text : "http\n";
        return m_line;
    }

private:
    pid_t m_process = -1;
    FILE* m_output = nullptr;
    std::string m_line;
    std::string m_url;
};

std::string fileOf(size_t size) {
    std::mt19937 random(static_cast<unsigned>(size));
    std::string bytes(size, '\0');
    for (char& c : bytes)
        c = static_cast<char>(random());
    std::ofstream("/tmp/report.zip", std::ios::binary) << bytes;
    return bytes;
}

std::string contentsOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

struct Seen {
    std::vector<int32_t> progress;
    int32_t status = 0;
};

bool isFinal(int32_t status) {
    return status == 12 || status == 14 || status == 16 || status >= 18;
}

/// Polls the two numbers on a thread of its own, as the window does, until the end.
Seen upload(CTraceUpload& uploader, const std::string& url, const std::string& path = "/tmp/report.zip") {
    uploader.preparingReport(url, path);
    uploader.queryAndUploadToSever();
    Seen seen;
    std::jthread poll([&](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            const int32_t progress = uploader.m_upload_progress;
            if (seen.progress.empty() || seen.progress.back() != progress)
                seen.progress.push_back(progress);
            if (isFinal(uploader.m_status) && uploader.m_status != 12)
                break;
            std::this_thread::sleep_for(100us);
        }
        platform::performOnMain([] { platform::RunLoop::main().stop(); });
    });
    platform::RunLoop::main().runFor(60s);
    poll.request_stop();
    poll.join();
    seen.status = uploader.m_status;
    return seen;
}

TEST(Upload, EveryByteAndFieldArrives) {
    Server server({"--quiet", "--store", "/tmp/store"});
    const std::string name = "(Weekly) \xE2\x82\xAC \"1\"";
    const std::string longComment = "It froze. " + std::string(200, 'x') + "\n";
    for (const size_t size : {1U, 122879U, 122880U, 122881U, 25'000'000U}) {
        const std::string bytes = fileOf(size);
        CTraceUpload uploader;
        uploader.setConfId("ci");
        uploader.setUploadTimeStamp("11_21_2026_10:00:00");
        uploader.setSmac("key");
        uploader.setConferenceName(name);
        uploader.setUserId("ui");
        uploader.setSiteId("si");
        uploader.setUserName("Zo\xC3\xAB");
        uploader.setMeetingKey("mk");
        uploader.setSmacTimestap("ts");
        uploader.setUserEmail("z@example.org");
        uploader.setUserComment(longComment);
        uploader.setTrackingId("ti");
        uploader.setProblemCatagory("1000");
        uploader.setLanguageID("1");
        uploader.setClientVersion("39.5");
        uploader.setFileName("report");
        uploader.setProblemDiscription("never sent");
        const Seen seen = upload(uploader, server.url());
        EXPECT_EQ(seen.status, 19) << size;
        EXPECT_EQ(uploader.m_upload_progress, 100);
        EXPECT_TRUE(contentsOf("/tmp/store/report.zip") == bytes) << size;

        const size_t count = (size + 122879) / 122880;
        std::ifstream pieces("/tmp/store/report.pieces.jsonl");
        size_t number = 0;
        for (std::string line; std::getline(pieces, line);) {
            ++number;
            const size_t length = number < count ? 122880 : size - (count - 1) * 122880;
            const nlohmann::json expected{{"SMAC", "key"},
                                          {"cn", DGAUtilities::dga_stringToBase64Str(name)},
                                          {"ui", "ui"},
                                          {"si", "si"},
                                          {"sn", "Wm/Dqw=="},
                                          {"mk", "mk"},
                                          {"ts", "ts"},
                                          {"ci", "ci"},
                                          {"pl", std::to_string(length)},
                                          {"pc", std::to_string(count)},
                                          {"pn", std::to_string(number)},
                                          {"ut", "11_21_2026_10:00:00"},
                                          {"fn", "report"},
                                          {"cb", "39.5"},
                                          {"su", server.url()},
                                          {"li", "1"},
                                          {"pt", "2"},
                                          {"ue", "z@example.org"},
                                          {"pd", DGAUtilities::dga_stringToBase64Str(longComment)},
                                          {"ti", "ti"},
                                          {"ct", "1000"},
                                          {"fs", std::to_string(size)}};
            EXPECT_EQ(nlohmann::json::parse(line), expected) << line;
        }
        EXPECT_EQ(number, count);
    }
}

TEST(Upload, EndsWithTheStatusThatSaysWhy) {
    struct Case {
        std::vector<std::string> options;
        int32_t status;
        std::vector<int32_t> progress;
    };
    const Case cases[] = {
        {{"--delay", "5"}, 19, {0, 33, 66, 100}},
        {{"--fail", "redirect"}, 19, {}},
        {{"--fail", "redirect", "--fail-at", "1"}, 19, {}},
        {{"--fail", "busy"}, 18, {0}},
        {{"--fail", "exceed"}, 18, {0}},
        {{"--fail", "html"}, 18, {0}},
        {{"--fail", "404"}, 16, {0}},
        {{"--fail", "500"}, 18, {0}},
        {{"--fail", "cut"}, 16, {0}},
        {{"--fail", "wrongxml"}, 16, {0}},
        {{"--fail", "bomb"}, 16, {0}},
        {{"--delay", "5", "--fail", "fail", "--fail-at", "2"}, 18, {0, 33}},
        {{"--delay", "5", "--fail", "exceed", "--fail-at", "3"}, 20, {0, 33, 66}},
        {{"--delay", "5", "--fail", "cut", "--fail-at", "3"}, 18, {0, 33, 66}},
        {{"--fail", "bomb", "--fail-at", "1"}, 18, {0}},
        {{"--fail", "wrongxml", "--fail-at", "1"}, 18, {0}},
        {{"--fail", "404", "--fail-at", "1"}, 18, {0}},
    };
    fileOf(3 * 122880);
    for (const auto& c : cases) {
        auto options = c.options;
        options.emplace_back("--quiet");
        Server server(options);
        CTraceUpload uploader;
        EXPECT_EQ(uploader.m_status, 10);
        const Seen seen = upload(uploader, server.url());
        EXPECT_EQ(seen.status, c.status) << testing::PrintToString(c.options);
        if (!c.progress.empty()) {
            EXPECT_EQ(seen.progress, c.progress) << testing::PrintToString(c.options);
        }
    }
}

TEST(Upload, EndsWithoutAFileOrAServer) {
    Server server({});
    fileOf(0);
    CTraceUpload empty;
    EXPECT_EQ(upload(empty, server.url()).status, 14);
    EXPECT_EQ(server.line(), "GET /up?siteid=1&AT=QW (0 bytes): query, taken\n");

    // Its owner asks the server all the same; there is nothing to send then.
    for (const char* path : {"", "/tmp/none", "/tmp"}) {
        CTraceUpload none;
        EXPECT_EQ(none.preparingReport(server.url(), path), *path == '\0');
        EXPECT_EQ(none.m_status, 12);
        EXPECT_EQ(upload(none, server.url(), path).status, 14);
    }

    fileOf(1);
    for (const char* url : {"", "not a url", "http://127.0.0.1:1/x?y=1"}) {
        CTraceUpload uploader;
        EXPECT_EQ(upload(uploader, url).status, 16) << url;
    }
}

TEST(Upload, AFileThatBecomesShorterIsNotSent) {
    Server server({"--quiet", "--delay", "30"});
    fileOf(10 * 122880);
    CTraceUpload uploader;
    const std::jthread shortens([&] {
        while (uploader.m_upload_progress < 20)
            std::this_thread::sleep_for(1ms);
        std::filesystem::resize_file("/tmp/report.zip", 8 * 122880 + 5);
    });
    const Seen seen = upload(uploader, server.url());
    EXPECT_EQ(seen.status, 18);
    EXPECT_EQ(uploader.m_upload_progress, 80);
}

TEST(Upload, MayBeDestroyedInTheMiddle) {
    Server server({"--delay", "30"});
    fileOf(10 * 122880);
    // While the answer is awaited, on the thread that sends; the server goes on without a fault.
    for (const auto time : {0ms, 10ms, 45ms, 80ms}) {
        auto uploader = std::make_unique<CTraceUpload>();
        uploader->preparingReport(server.url(), "/tmp/report.zip");
        uploader->queryAndUploadToSever();
        if (time > 0ms)
            platform::RunLoop::main().runFor(time);
        uploader.reset();
        platform::RunLoop::main().runFor(50ms);
    }
    // On another thread, while reports arrive here.
    for (int i = 0; i < 10; ++i) {
        auto uploader = std::make_unique<CTraceUpload>();
        uploader->preparingReport(server.url(), "/tmp/report.zip");
        uploader->queryAndUploadToSever();
        const std::jthread owner([&uploader, i] {
            std::this_thread::sleep_for(std::chrono::milliseconds(28 + 3 * i));
            uploader.reset();
        });
        platform::RunLoop::main().runFor(120ms);
    }
    // A challenge that never ends, too.
    Server challenging({"--quiet", "--fail", "407"});
    const std::string curl =
        "curl -si '" + challenging.url() + "&AT=QW' | grep -q '^Proxy-Authenticate: Basic'";
    EXPECT_EQ(std::system(curl.c_str()), 0);
    auto uploader = std::make_unique<CTraceUpload>();
    uploader->preparingReport(challenging.url(), "/tmp/report.zip");
    uploader->queryAndUploadToSever();
    platform::RunLoop::main().runFor(200ms);
    EXPECT_EQ(uploader->m_status, 10) << "asked for credentials again and again";
    uploader.reset();
    platform::RunLoop::main().runFor(50ms);
}

}  // namespace
