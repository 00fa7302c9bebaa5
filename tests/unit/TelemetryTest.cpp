#include <gmock/gmock.h>
#include <httplib.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <thread>

#include "DGAMonitor/DGAMonitorToolManager.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/Session/DGATelemetryManager.h"
#include "DGAMonitor/Watch/DGAHeartBeatCheckTool.h"
#include "platform/BundleInfo.h"
#include "platform/DistributedNotificationCenter.h"
#include "platform/RunLoop.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using nlohmann::json;
using testing::ElementsAre;

constexpr char kTrackingID[] = "0123ABCD-0123-4567-89AB-0123456789AB";

DGASessionRecord& record() {
    return DGASessionRecord::sharedRecord();
}

bool eventually(const std::function<bool()>& holds) {
    for (const auto end = Clock::now() + 10s; Clock::now() < end; std::this_thread::sleep_for(5ms)) {
        if (holds())
            return true;
    }
    return holds();
}

// A thread's file may vanish while it is read.
bool fileSays(const std::string& path, const std::string& text) {
    std::ostringstream content;
    content << std::ifstream(path).rdbuf();
    return content.str().find(text) != std::string::npos;
}

bool telemetryThreadLives() {
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        if (fileSays(task.path() / "comm", "telemetry\n"))
            return true;
    }
    return false;
}

/// A service that keeps what it gets and answers with the given statuses, then with 200.
class Collector {
public:
    struct Answer {
        int status;
        const char* retryAfter = nullptr;
    };

    explicit Collector(std::vector<Answer> answers = {}) : answers_(std::move(answers)) {
        server_.Post(".*", [this](const httplib::Request& request, httplib::Response& response) {
            const std::lock_guard<std::mutex> wait(gate);
            const std::lock_guard<std::mutex> hold(mutex_);
            const Answer answer =
                requests_.size() < answers_.size() ? answers_[requests_.size()] : Answer{200};
            requests_.push_back(request);
            response.status = answer.status;
            response.set_header("Location", address("/elsewhere"));
            response.set_header("Proxy-Authenticate", "Basic realm=\"x\"");
            if (answer.retryAfter)
                response.set_header("Retry-After", answer.retryAfter);
        });
        port_ = server_.bind_to_any_port("127.0.0.1");
        thread_ = std::thread([this] { server_.listen_after_bind(); });
        eventually([this] { return server_.is_running(); });
    }
    ~Collector() {
        server_.stop();
        thread_.join();
    }

    std::string address(const std::string& path = "/v1/logs?key=1") const {
        return "http://127.0.0.1:" + std::to_string(port_) + path;
    }
    std::vector<httplib::Request> requests() {
        const std::lock_guard<std::mutex> hold(mutex_);
        return requests_;
    }
    std::vector<std::string> actions() {
        std::vector<std::string> numbers;
        for (const auto& request : requests()) {
            for (const auto& record : recordsIn(request))
                numbers.push_back(record["body"]["stringValue"]);
        }
        return numbers;
    }
    static json recordsIn(const httplib::Request& request) {
        return json::parse(request.body)["resourceLogs"][0]["scopeLogs"][0]["logRecords"];
    }

    std::mutex gate;  ///< held by a test, no request is answered

private:
    std::vector<Answer> answers_;
    httplib::Server server_;
    int port_ = 0;
    std::thread thread_;
    std::mutex mutex_;
    std::vector<httplib::Request> requests_;
};

class TelemetryTest : public testing::Test {
protected:
    ~TelemetryTest() override {
        DGATelemetryManager::closeOrvTelemetry();
        record().telemetryMrg = nullptr;
    }

    static void tell(json parameters) {
        parameters["telemetrySessionID"] = kTrackingID;
        DGAMonitorToolManager::shareManager().dealMessageFromClient(
            {"name", std::nullopt, {{"DgaJsonData", parameters.dump()}}});
    }
    static void start(const std::string& address, const json& headers = json::object()) {
        tell({{"enableTelementry", true},
              {"telemetryMetricsURL", address},
              {"telemetryHttpHeaders", headers}});
    }
    static void send(int action) { record().telemetryMrg->sendTelemetryActionByID(action); }
};

// First: nothing has been sent yet.
TEST_F(TelemetryTest, AnswersToThePromptArriveOnceEach) {
    Collector collector;
    Collector other;
    tell({{"enableTelementry", true}});
    EXPECT_FALSE(record().telemetryMrg);
    DGAHeartBeatCheckTool::Parts parts;
    parts.startThread = false;
    DGAHeartBeatCheckTool watch(parts);
    watch.frozeWindowButtonDidClickWithIndex(1);
    start(collector.address(), {{"X-Token", "a\r\nInjected: b"},
                                {"Twice", "1"},
                                {"twice", "2"},
                                {"Number", 5},
                                {"Nothing", nullptr},
                                {"bad name", "x"},
                                {"Bad:Name", "x"},
                                {"Host", "evil"},
                                {"content-length", "1"},
                                {"Transfer-Encoding", "chunked"}});
    start(other.address());
    EXPECT_FALSE(fileSays("/proc/self/maps", "libcurl")) << "loaded before it is needed";
    EXPECT_FALSE(telemetryThreadLives());

    watch.frozeWindowButtonDidClickWithIndex(1);
    ASSERT_TRUE(eventually([&] { return collector.requests().size() == 1; }));
    watch.frozeWindowButtonDidClickWithIndex(0);
    ASSERT_TRUE(eventually([&] { return collector.requests().size() == 2; }));
    EXPECT_TRUE(eventually([] { return !telemetryThreadLives(); }));
    EXPECT_THAT(collector.actions(), ElementsAre("2606", "2605"));
    EXPECT_TRUE(other.requests().empty());

    const httplib::Request request = collector.requests().front();
    EXPECT_EQ(request.target, "/v1/logs?key=1");
    const std::multimap<std::string, std::string> expected{{"Number", "5"}, {"Twice", "2"}};
    for (const auto& [name, value] : expected) {
        EXPECT_EQ(request.get_header_value_count(name.c_str()), 1U) << name;
        EXPECT_EQ(request.get_header_value(name.c_str()), value) << name;
    }
    EXPECT_EQ(request.get_header_value("Host").find("127.0.0.1:"), 0U);
    EXPECT_EQ(request.get_header_value("Content-Length"), std::to_string(request.body.size()));
    for (const char* name : {"Injected", "Transfer-Encoding", "Nothing", "bad name", "Bad", "Expect"})
        EXPECT_FALSE(request.has_header(name)) << name;

    const json body = json::parse(request.body);
    EXPECT_EQ(body["resourceLogs"][0]["resource"]["attributes"],
              json::parse(R"([{"key": "service.name", "value": {"stringValue": "orvanedga"}},
                              {"key": "service.version", "value": {"stringValue": ")" +
                          platform::BundleInfo::shortVersion() + R"("}},
                              {"key": "session.id", "value": {"stringValue": ")" +
                          kTrackingID + R"("}}])"));
    const json record = Collector::recordsIn(request)[0];
    EXPECT_EQ(record["attributes"], json::parse(R"([{"key": "action.id", "value": {"intValue": "2606"}}])"));
    EXPECT_EQ(record["severityNumber"], 9);
    const double age =
        static_cast<double>(std::time(nullptr)) - std::stod(record["timeUnixNano"].get<std::string>()) / 1e9;
    EXPECT_NEAR(age, 0.0, 30.0);
    EXPECT_EQ(record["observedTimeUnixNano"], record["timeUnixNano"]);
}

TEST_F(TelemetryTest, SendsNothingThatTheClientDoesNotAllow) {
    Collector collector;
    const json refused[] = {
        {{"enableTelementry", false}, {"telemetryHttpHeaders", json::object()}},
        {{"enableTelementry", true}, {"telemetryHttpHeaders", "X: y"}},
        {{"enableTelementry", true}, {"telemetryHttpHeaders", json::array({"X"})}},
        {{"enableTelementry", true}},
    };
    for (json parameters : refused) {
        parameters["telemetryMetricsURL"] = collector.address();
        tell(parameters);
        ASSERT_TRUE(record().telemetryMrg);
        send(2605);
        DGATelemetryManager::closeOrvTelemetry();
        record().telemetryMrg = nullptr;
    }
    for (const json& address : {json(""), json(nullptr)}) {
        tell({{"enableTelementry", true}, {"telemetryMetricsURL", address}});
        EXPECT_FALSE(record().telemetryMrg);
    }
    start(collector.address());
    record().telemetryMrg->telemetryMetricsURL = "";
    send(2605);
    DGATelemetryManager::closeOrvTelemetry();
    EXPECT_TRUE(collector.requests().empty());
}

TEST_F(TelemetryTest, SendsAgainOnlyWhatTheServiceAsksFor) {
    struct Case {
        std::vector<Collector::Answer> answers;
        size_t requests;
    };
    const Case cases[] = {
        {{{503}, {200}}, 2},  {{{429, "1"}}, 2}, {{{502}, {504}, {200}}, 2},
        {{{503, "3600"}}, 1}, {{{500}}, 1},      {{{400}}, 1},
        {{{302}}, 1},         {{{204}}, 1},
    };
    for (const auto& c : cases) {
        Collector collector(c.answers);
        start(collector.address());
        send(2601);
        // What may come of it comes before the end of the session.
        EXPECT_TRUE(eventually([&] { return collector.requests().size() == c.requests; }));
        DGATelemetryManager::closeOrvTelemetry();
        record().telemetryMrg = nullptr;
        const auto requests = collector.requests();
        EXPECT_EQ(requests.size(), c.requests) << c.answers[0].status;
        EXPECT_EQ(requests.front().body, requests.back().body);
    }
}

// By a proxy that wants a password, which a script names or the environment.
TEST_F(TelemetryTest, GoesTheWayThatUploadsGo) {
    for (const bool byScript : {false, true}) {
        Collector proxy(std::vector<Collector::Answer>{{407}});
        const std::string host = proxy.address("").substr(7);
        std::ofstream("/tmp/telemetry.pac")
            << "function FindProxyForURL(url, host) { return 'PROXY 127.0.0.1:1; PROXY " << host << "'; }";
        setenv(byScript ? "auto_proxy" : "http_proxy",
               byScript ? "file:///tmp/telemetry.pac" : ("http://me:secret@" + host).c_str(), 1);
        start("http://metrics.example/v1");
        send(2601);
        {
            // A script is asked on the main thread.
            const std::jthread waits([&] {
                EXPECT_TRUE(eventually([&] {
                    return proxy.requests().size() == (byScript ? 1U : 2U) && !telemetryThreadLives();
                }));
                platform::performOnMain([] { platform::RunLoop::main().stop(); });
            });
            platform::RunLoop::main().run();
        }
        const auto requests = proxy.requests();
        EXPECT_EQ(requests.front().get_header_value("Proxy-Authorization"), "");
        EXPECT_EQ(requests.back().get_header_value("Proxy-Authorization"),
                  byScript ? "" : "Basic bWU6c2VjcmV0");
        EXPECT_EQ(requests.back().get_header_value("Host"), "metrics.example");
        DGATelemetryManager::closeOrvTelemetry();
        record().telemetryMrg = nullptr;
        unsetenv("auto_proxy");
        unsetenv("http_proxy");
    }
}

TEST_F(TelemetryTest, ADeadServiceBlocksNobody) {
    const int service = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    ASSERT_EQ(bind(service, reinterpret_cast<sockaddr*>(&address), length), 0);
    getsockname(service, reinterpret_cast<sockaddr*>(&address), &length);
    const std::string url = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port));
    const auto sendTo = [&](const std::string& where) {
        start(where);
        const auto begin = Clock::now();
        send(2603);
        EXPECT_LT(Clock::now() - begin, 500ms) << where;
    };
    const auto end = [] {
        const auto begin = Clock::now();
        DGATelemetryManager::closeOrvTelemetry();
        record().telemetryMrg = nullptr;
        EXPECT_LT(Clock::now() - begin, 2500ms);
        EXPECT_TRUE(eventually([] { return !telemetryThreadLives(); }));
    };
    for (const std::string& where : {std::string("no address"), std::string("ftp://127.0.0.1/"), url}) {
        sendTo(where);
        end();
    }

    // Of a request without an answer nobody knows whether it arrived: it is not sent again.
    ASSERT_EQ(listen(service, 8), 0);
    const auto takeRequest = [service] {
        std::array<char, 64> some{};
        const int connection = accept(service, nullptr, nullptr);
        EXPECT_GT(recv(connection, some.data(), some.size(), 0), 0);
        return connection;
    };
    sendTo(url);
    close(takeRequest());
    EXPECT_TRUE(eventually([] { return !telemetryThreadLives(); }));
    send(2603);
    const int silent = takeRequest();
    end();
    close(silent);
    ASSERT_EQ(fcntl(service, F_SETFL, O_NONBLOCK), 0);
    EXPECT_EQ(accept(service, nullptr, nullptr), -1) << "sent again";
    close(service);
}

TEST_F(TelemetryTest, HoldsAThousandWaitingActions) {
    constexpr int kActions = 10000;
    Collector collector;
    start(collector.address());
    std::chrono::nanoseconds longest{0};
    {
        const std::lock_guard<std::mutex> hold(collector.gate);
        for (int i = 0; i < kActions; ++i) {
            const auto begin = Clock::now();
            send(i);
            longest = std::max<std::chrono::nanoseconds>(longest, Clock::now() - begin);
        }
    }
    EXPECT_LT(longest, 500ms);
    EXPECT_TRUE(eventually([] { return !telemetryThreadLives(); }));
    const auto actions = collector.actions();
    const std::set<std::string> different(actions.begin(), actions.end());
    EXPECT_EQ(different.size(), actions.size());
    EXPECT_GE(actions.size(), 1000U);
    EXPECT_LE(actions.size(), 1200U) << "1000 waiting, 200 in the request that waits for its answer";
    EXPECT_EQ(actions.back(), std::to_string(kActions - 1));
}

}  // namespace
