#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>

#include "DGAUpload/logic/CTraceUpload.h"
#include "DGAUpload/logic/webaccess/CFNetworkHTTPDownload.h"
#include "platform/RunLoop.h"
#include "support/ScriptedServer.h"

namespace {

using namespace std::chrono_literals;
using platform::RunLoop;
using Row = ScriptedServer::Row;
using Then = ScriptedServer::Then;

std::string ok(const std::string& body) {
    return ScriptedServer::reply("200 OK", body);
}

class Sink : public IUrlDownloadSink {
public:
    void OnUrlReturn(intptr_t downloadType, int result, const char* data) override {
        ++reports;
        type = downloadType;
        lastResult = result;
        lastData = data && result >= 0 && !isPath
                       ? std::optional(std::string(data, static_cast<size_t>(result)))
                   : data ? std::optional(std::string(data))
                          : std::nullopt;
        if (onReturn)
            onReturn();
        RunLoop::current().stop();
    }
    bool OnAskProxy(std::string& user, std::string& password) override {
        ++asked;
        const bool agrees = onAsk && onAsk(user, password);
        if (!agrees)
            RunLoop::current().stop();
        return agrees;
    }
    // Serves the loop until the report or a declined challenge.
    void wait() const {
        const int before = reports;
        if (before == 0)
            RunLoop::current().runFor(20s);
    }

    int reports = 0;
    int asked = 0;
    intptr_t type = 0;
    int lastResult = -100;
    std::optional<std::string> lastData;
    bool isPath = false;
    std::function<void()> onReturn;
    std::function<bool(std::string&, std::string&)> onAsk;
};

TEST(HttpDownload, GetsAndPostsOverOneConnection) {
    ScriptedServer server({{ok("one")}, {ok("two")}, {ok("")}});
    const std::string body(330000, 'x');
    Sink get;
    CNetworkDownload engine;
    engine.m_nDownloadType = 10;
    ASSERT_EQ(engine.DownloadURL((" \t" + server.url("/a%20b c") + "\r\n").c_str(), &get, 5000, false, false),
              0);
    get.wait();
    EXPECT_EQ(get.lastResult, 3);
    EXPECT_EQ(get.type, 10);
    EXPECT_EQ(get.lastData, "one");

    for (int round = 0; round < 200; ++round) {
        Sink post;
        auto* const sender = new CNetworkDownload;
        sender->m_bAutoDelete = true;
        const CNetworkDownload::Headers headers = {{"Content-Type", "text/plain"}, {"X-Piece", "7"}};
        ASSERT_EQ(sender->PostData(server.url("/p").c_str(), body.data(), body.size(), &post, false, false,
                                   5000, &headers),
                  0);
        post.wait();
        ASSERT_EQ(post.lastResult, round == 0 ? 3 : 0);
        ASSERT_EQ(post.lastData, round == 0 ? std::optional<std::string>("two") : std::nullopt);
    }
    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), 201U);
    EXPECT_EQ(requests[0].line(), "GET /a%20b%20c HTTP/1.1");
    EXPECT_EQ(requests[1].line(), "POST /p HTTP/1.1");
    EXPECT_EQ(requests[1].field("X-Piece"), "7");
    EXPECT_EQ(requests[1].field("Expect"), "");
    EXPECT_EQ(requests[200].body, body);
    EXPECT_EQ(server.connections(), 1);
}

struct Fault {
    const char* what;
    Row row;
    int result;
    std::optional<std::string> data;
    unsigned long timeout = 10000;
};

TEST(HttpDownload, EndsInAReportWhateverTheServerDoes) {
    const std::string headed = "HTTP/1.1 200 OK\r\n";
    const std::string chunked = headed + "Transfer-Encoding: chunked\r\n\r\n";
    const std::vector<Fault> faults = {
        {"reset before the request", {"", Then::reset, 0, true}, -1, {}},
        {"reset after the request", {"", Then::reset}, -1, {}},
        {"closed after the request", {"", Then::close}, -1, {}},
        {"reset within the header", {headed + "Content-Len", Then::reset}, -1, {}},
        {"reset within the body", {headed + "Content-Length: 9\r\n\r\nabc", Then::reset}, -1, {}},
        {"too short a body", {headed + "Content-Length: 9\r\n\r\nabc", Then::close}, -1, {}},
        {"too long a body", {headed + "Content-Length: 3\r\n\r\nabcdef", Then::close}, 3, "abc"},
        {"Content-Length is no number", {headed + "Content-Length: -5\r\n\r\nabc", Then::close}, -1, {}},
        {"a body that the close ends", {headed + "\r\nabc", Then::close}, 3, "abc"},
        {"good chunks", {chunked + "2\r\nab\r\n1\r\nc\r\n0\r\n\r\n"}, 3, "abc"},
        {"broken chunks", {chunked + "zz\r\nab\r\n", Then::close}, -1, {}},
        {"an unfinished chunk", {chunked + "9\r\nab\r\n", Then::close}, -1, {}},
        {"one header line of 1 MB", {headed + "X: " + std::string(1 << 20, 'x') + "\r\n\r\n"}, -1, {}},
        {"no end of header lines",
         {headed +
          [] {
              std::string lines;
              for (int line = 0; line < 20000; ++line)
                  lines += "X-Line: " + std::string(50, 'x') + "\r\n";
              return lines;
          }()},
         -1,
         {}},
        {"no HTTP at all", {"220 mail.example ESMTP\r\n", Then::close}, -1, {}},
        {"silence", {"", Then::stall}, -1, {}, 200},
        {"silence within the body", {headed + "Content-Length: 9\r\n\r\nabc", Then::stall}, -1, {}, 200},
        {"a body without an end", {headed + "\r\n" + std::string(65536, 'x'), Then::endless}, -1, {}, 300},
        {"a redirect to a file",
         {ScriptedServer::reply("302 Found", "", "Location: file:///etc/passwd\r\n")},
         -1,
         {}},
        {"a redirect to itself", {ScriptedServer::reply("302 Found", "x", "Location: /again\r\n")}, -1, {}},
        {"404", {ScriptedServer::reply("404 Not Found", "sorry")}, 0, {}},
        {"404 without a body", {ScriptedServer::reply("404 Not Found", "")}, 0, {}},
        {"other failures are bodies", {ScriptedServer::reply("500 Oops", "sorry")}, 5, "sorry"},
        {"an empty body", {ok("")}, 0, {}},
    };
    for (const auto& fault : faults) {
        SCOPED_TRACE(fault.what);
        ScriptedServer server({fault.row});
        Sink sink;
        CNetworkDownload engine;
        ASSERT_EQ(engine.DownloadURL(server.url("/x").c_str(), &sink, fault.timeout, false, false), 0);
        sink.wait();
        EXPECT_EQ(sink.lastResult, fault.result);
        EXPECT_EQ(sink.lastData, fault.data);
        RunLoop::current().runFor(1ms);
        EXPECT_EQ(sink.reports, 1);
        EXPECT_LE(server.requests().size(), 21U);
    }
    Sink refused;
    CNetworkDownload engine;
    ASSERT_EQ(engine.DownloadURL("http://127.0.0.1:1/nobody", &refused, 0, false, false), 0);
    refused.wait();
    EXPECT_EQ(refused.lastResult, -1);
}

TEST(HttpDownload, CountsABodyThatIsTooLargeForMemory) {
    const std::string body(70 << 20, 'x');
    ScriptedServer server({{ok(body)}});
    Sink sink;
    CNetworkDownload engine;
    engine.DownloadURL(server.url("/large").c_str(), &sink, 0, false, false);
    sink.wait();
    EXPECT_EQ(sink.lastResult, static_cast<int>(body.size()));
    EXPECT_EQ(sink.lastData, std::nullopt);
    EXPECT_EQ(engine.m_pData, nullptr);
}

TEST(HttpDownload, RefusesWhatCannotBeSent) {
    Sink sink;
    CNetworkDownload engine;
    EXPECT_EQ(engine.DownloadURL(nullptr, &sink, 0, false, false), -1);
    for (const char* url : {"http://a.bc", "ftp://127.0.0.1/file", "no URL at all", "https://///////"})
        EXPECT_EQ(engine.DownloadURL(url, &sink, 0, false, false), -1) << url;
    EXPECT_EQ(engine.PostData(nullptr, "x", 1, &sink, false, false, 0, nullptr), -1);
    EXPECT_EQ(sink.reports, 0);
    EXPECT_EQ(engine.PostData("http://a.bc", "x", 1, &sink, false, false, 0, nullptr), -1);
    EXPECT_EQ(engine.PostData("http://127.0.0.1:1/", nullptr, 0, &sink, false, false, 0, nullptr), -1);
    EXPECT_EQ(sink.reports, 2);
    EXPECT_EQ(sink.lastResult, 0);
}

TEST(HttpDownload, EscapesWhatAUrlMayNotHold) {
    struct Case {
        bool escape;
        const char* path;
        const char* sent;
    };
    const Case cases[] = {
        {true, "/a%20b c?q=%41&r=100%25", "/a%20b%20c?q=A&r=100%25"},
        {true, "/caf\xC3\xA9/%C3%A9%2f%0d%0a", "/caf%C3%A9/%C3%A9/%0D%0A"},
        {true, "/caf\x8E<>\"", "/caf%C3%A9%3C%3E%22"},
        {true, "/50%", "/50%25"},
        {false, "/a%2Fb?q=%41", "/a%2Fb?q=%41"},
        {false, "/a%20b c", "/a%20b%20c"},
        {false, "/50%?q=%2f#x", "/50%25?q=%2f%23x"},
    };
    ScriptedServer server({{ok("")}});
    for (const auto& item : cases) {
        Sink sink;
        CNetworkDownload engine;
        engine.SetNeedEscape(item.escape);
        ASSERT_EQ(engine.DownloadURL(server.url(item.path).c_str(), &sink, 5000, false, false), 0)
            << item.path;
        sink.wait();
        EXPECT_EQ(server.requests().back().line(), std::string("GET ") + item.sent + " HTTP/1.1");
        Sink posted;
        CNetworkDownload post;
        post.SetNeedEscape(item.escape);
        ASSERT_EQ(post.PostData(server.url(item.path).c_str(), "x", 1, &posted, false, false, 0, nullptr), 0);
        posted.wait();
        EXPECT_EQ(server.requests().back().line(), std::string("POST ") + item.sent + " HTTP/1.1");
        EXPECT_TRUE(server.requests().back().field("User-Agent").starts_with("orvanedga/"));
    }
}

// A body goes nowhere but where it was meant to go, and only whole.
TEST(HttpDownload, TakesABodyAlongOnlyWhereItWasMeantToGo) {
    struct Case {
        const char* status;
        const char* host;
        bool sent;
    };
    const Case cases[] = {
        {"301 Moved", "", false},
        {"302 Found", "", false},
        {"303 See Other", "", false},
        {"307 Temporary", "", true},
        {"308 Permanent", "", true},
        {"308 Permanent", "127.0.0.1", true},
        {"307 Temporary", "localhost", false},
        {"308 Permanent", "localhost", false},
    };
    for (const auto& item : cases) {
        SCOPED_TRACE(std::string(item.status) + " " + item.host);
        ScriptedServer other({{ok("other")}});
        const std::string target =
            *item.host ? "http://" + std::string(item.host) + ":" + std::to_string(other.port()) : "";
        ScriptedServer server(
            {{ScriptedServer::reply(item.status, "x", "Location: " + target + "/moved\r\n")}, {ok("here")}});
        Sink sink;
        CNetworkDownload engine;
        const CNetworkDownload::Headers headers = {{"X-Piece", "7"}};
        ASSERT_EQ(engine.PostData(server.url("/p").c_str(), "body", 4, &sink, false, false, 5000, &headers),
                  0);
        sink.wait();
        EXPECT_EQ(sink.lastResult > 0, item.sent);
        auto& last = *item.host ? other : server;
        if (item.sent) {
            const auto request = last.requests().back();
            EXPECT_EQ(request.line() + request.body, "POST /moved HTTP/1.1body");
            EXPECT_EQ(request.head.find("X-Piece"), request.head.rfind("X-Piece")) << "once";
        }
        EXPECT_EQ(server.requests().size() + other.requests().size(), item.sent ? 2U : 1U);
    }
}

TEST(HttpDownload, EndsARequestThatIsChallengedForEver) {
    for (const char* status : {"401 Unauthorized", "403 Forbidden", "407 Proxy Authentication Required"}) {
        SCOPED_TRACE(status);
        ScriptedServer server({{ScriptedServer::reply(status, "no")}});
        Sink sink;
        sink.onAsk = [](std::string&, std::string&) { return true; };
        CNetworkDownload engine;
        // The time-out ends no request that goes on, and waiting ends with it.
        const bool waits = std::string(status).starts_with("407");
        engine.DownloadURL(server.url("/x").c_str(), &sink, 30000, waits, false);
        sink.wait();
        EXPECT_EQ(sink.reports, 1);
        EXPECT_EQ(sink.lastResult, -1);
        EXPECT_EQ(server.requests().size(), 5U);
    }
}

TEST(HttpDownload, RefusesABodyThatIsLongerThanItsLimit) {
    ScriptedServer server({{ok(std::string(100000, 'x'))}});
    for (const uint64_t limit : {99999U, 100000U}) {
        Sink sink;
        CNetworkDownload engine;
        engine.m_nLargestBody = limit;
        engine.DownloadURL(server.url("/x").c_str(), &sink, 5000, false, false);
        sink.wait();
        EXPECT_EQ(sink.lastResult, limit == 100000 ? 100000 : -1);
    }
}

TEST(HttpDownload, RepeatsAChallengedRequestWithWhatTheSinkGives) {
    for (const char* status : {"401 Unauthorized", "403 Forbidden", "407 Proxy Authentication Required"}) {
        SCOPED_TRACE(status);
        ScriptedServer server(
            {{ScriptedServer::reply(status, "no")}, {ScriptedServer::reply(status, "")}, {ok("yes")}});
        Sink sink;
        sink.onAsk = [](std::string& user, std::string& password) {
            user = "me";
            password = "secret";
            return true;
        };
        CNetworkDownload engine;
        const CNetworkDownload::Headers headers = {{"X-Piece", "7"}};
        ASSERT_EQ(engine.PostData(server.url("/p").c_str(), "body", 4, &sink, false, false, 5000, &headers),
                  0);
        sink.wait();
        EXPECT_EQ(sink.lastData, "yes");
        EXPECT_EQ(sink.asked, 2);
        ASSERT_EQ(server.requests().size(), 3U);
        for (const auto& request : server.requests()) {
            EXPECT_EQ(request.line(), "POST /p HTTP/1.1");
            EXPECT_EQ(request.field("X-Piece"), "7");
            EXPECT_EQ(request.body, "body");
            // There is no proxy to give them to.
            EXPECT_EQ(request.field("Proxy-Authorization") + request.field("Authorization"), "");
        }
    }
}

TEST(HttpDownload, UsesStoredCredentialsOnceThenAsks) {
    ScriptedServer server({{ScriptedServer::reply("302 Found", "", "Location: /moved\r\n")},
                           {ScriptedServer::reply("407 Proxy", "no")}});
    Sink sink;
    CNetworkDownload engine;
    engine.m_httpProxyUser = "stored";
    ASSERT_EQ(engine.DownloadURL(server.url("/x").c_str(), &sink, 5000, false, false), 0);
    sink.wait();
    EXPECT_EQ(sink.asked, 1);
    EXPECT_EQ(server.requests().size(), 3U);
    EXPECT_EQ(server.requests()[2].line(), "GET /moved HTTP/1.1");
    EXPECT_TRUE(engine.m_bHttpAuthTried);
    RunLoop::current().runFor(20ms);
    EXPECT_EQ(sink.reports, 0);
}

TEST(HttpDownload, PausesBeforeFurtherRepetitionsAndCanBeCancelledThere) {
    ScriptedServer server({{ScriptedServer::reply("407 Proxy", "no")}});
    Sink sink;
    sink.onAsk = [](std::string&, std::string&) { return true; };
    CNetworkDownload engine;
    engine.DownloadURL(server.url("/x").c_str(), &sink, 2000, false, false);
    RunLoop::current().runFor(1000ms);
    // At once, after 0.5 s, and then after 1 s more.
    EXPECT_GE(sink.asked, 2);
    EXPECT_LE(sink.asked, 3);
    engine.CancelCurrentDownload();
    const auto sent = server.requests().size();
    RunLoop::current().runFor(1200ms);
    EXPECT_EQ(server.requests().size(), sent);
    EXPECT_EQ(sink.reports, 0);
}

TEST(HttpDownload, BlocksUntilTheTransferHasEnded) {
    const std::string no = ScriptedServer::reply("407 Proxy", "no");
    ScriptedServer server({{ok("one")}, {no}, {no}, {ok("two")}, {ok("three")}, {no}, {"", Then::stall}});
    for (const char* expected : {"one", "two"}) {
        Sink sink;
        sink.onAsk = [](std::string&, std::string&) { return true; };
        auto* const engine = new CNetworkDownload;
        engine->m_bAutoDelete = true;
        EXPECT_EQ(engine->DownloadURL(server.url("/x").c_str(), &sink, 5000, true, false), 0);
        EXPECT_EQ(sink.lastData, expected);
    }
    // A second engine blocks inside the report of the first.
    Sink inner;
    Sink outer;
    outer.onReturn = [&] {
        CNetworkDownload second;
        EXPECT_EQ(second.DownloadURL(server.url("/declined").c_str(), &inner, 5000, true, false), 0);
        EXPECT_EQ(inner.asked, 1);
    };
    CNetworkDownload engine;
    EXPECT_EQ(engine.DownloadURL(server.url("/x").c_str(), &outer, 5000, true, false), 0);
    EXPECT_EQ(outer.lastData, "three");
    // Declined at its third challenge, after a pause of which the wait knows.
    ScriptedServer never({{no}});
    Sink declined;
    declined.onAsk = [&](std::string&, std::string&) { return declined.asked < 3; };
    EXPECT_EQ(engine.DownloadURL(never.url("/x").c_str(), &declined, 5000, true, false), 0);
    EXPECT_EQ(declined.asked, 3);
    Sink late;
    EXPECT_EQ(engine.DownloadURL(server.url("/silent").c_str(), &late, 100, true, false), 0);
    EXPECT_EQ(late.lastResult, -1);
}

TEST(HttpDownload, MayBeDeletedCancelledOrStartedAgainInItsReport) {
    ScriptedServer server({{ok("one")}});
    for (const int act : {0, 1, 2, 3}) {
        SCOPED_TRACE(act);
        auto engine = std::make_unique<CNetworkDownload>();
        Sink sink;
        sink.onReturn = [&] {
            if (act == 0) {
                engine.reset();
            } else if (act == 1) {
                engine->CancelCurrentDownload();
            } else if (sink.reports == 1) {
                EXPECT_EQ(engine->DownloadURL(server.url("/2").c_str(), &sink, 5000, act == 3, false), 0);
            }
        };
        engine->DownloadURL(server.url("/1").c_str(), &sink, 5000, act == 1, false);
        RunLoop::current().runFor(100ms);
        RunLoop::current().runFor(100ms);
        RunLoop::current().runFor(100ms);
        EXPECT_EQ(sink.reports, act < 2 ? 1 : 2);
        EXPECT_EQ(sink.lastData, "one");
    }
    Sink challenged;
    auto engine = std::make_unique<CNetworkDownload>();
    challenged.onAsk = [&](std::string&, std::string&) {
        engine.reset();
        return true;
    };
    ScriptedServer proxy({{ScriptedServer::reply("407 Proxy", "no")}});
    engine->DownloadURL(proxy.url("/1").c_str(), &challenged, 5000, true, false);
    EXPECT_EQ(challenged.asked, 1);
}

std::string contentOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(HttpDownload, StoresFilesInThePrivateFolder) {
    namespace fs = std::filesystem;
    const std::string large(100000, 'x');
    ScriptedServer server({{ok(large)}});
    const auto fetch = [&](const char* name) {
        auto sink = std::make_unique<Sink>();
        sink->isPath = true;
        CNetworkDownload engine;
        engine.SetFileName(name);
        engine.DownloadURL(server.url("/x").c_str(), sink.get(), 5000, false, true);
        sink->wait();
        return sink;
    };
    fs::remove_all("/tmp/orvane");
    EXPECT_EQ(fetch("log.bin")->lastData, "/tmp/orvane/log.bin");
    EXPECT_EQ(contentOf("/tmp/orvane/log.bin"), large);
    EXPECT_EQ(fs::status("/tmp/orvane").permissions(), fs::perms::owner_all);
    EXPECT_EQ(fs::status("/tmp/orvane/log.bin").permissions(), fs::perms::all);
    EXPECT_EQ(fetch("log.bin")->lastData, "/tmp/orvane/tmpFolder0/log.bin");
    EXPECT_EQ(contentOf("/tmp/orvane/tmpFolder0/log.bin"), large);
    const auto unnamed = fetch(nullptr);
    EXPECT_EQ(unnamed->lastResult, static_cast<int>(large.size()));
    EXPECT_TRUE(unnamed->lastData.value_or("").starts_with("/tmp/orvane/tmp"));

    // What is no name, and a link for a file or for the folder, cost nobody a file.
    EXPECT_EQ(fetch("../escaped")->lastResult, 0);
    EXPECT_FALSE(fs::exists("/tmp/escaped"));
    std::ofstream("/tmp/precious") << "mine";
    fs::create_symlink("/tmp/precious", "/tmp/orvane/planted");
    EXPECT_EQ(fetch("planted")->lastData, "/tmp/orvane/tmpFolder1/planted");
    fs::rename("/tmp/orvane", "/tmp/elsewhere");
    fs::create_symlink("/tmp/elsewhere", "/tmp/orvane");
    const auto refused = fetch("other");
    EXPECT_EQ(refused->lastResult, 0);
    EXPECT_EQ(refused->lastData, std::nullopt);
    EXPECT_FALSE(fs::exists("/tmp/elsewhere/other"));
    EXPECT_EQ(contentOf("/tmp/precious"), "mine");
    fs::remove("/tmp/orvane");
}

/// TLS with a self-signed certificate in front of a server.
class TlsFront {
public:
    explicit TlsFront(int target) {
        EXPECT_EQ(std::system("openssl req -x509 -newkey rsa:2048 -nodes -days 1 -subj /CN=nobody.example "
                              "-keyout /tmp/key.pem -out /tmp/cert.pem 2>/dev/null && "
                              "cat /tmp/key.pem /tmp/cert.pem >/tmp/both.pem"),
                  0);
        {
            const ScriptedServer free({{""}});
            port = free.port();
        }
        process_ = fork();
        if (process_ == 0) {
            const std::string listen = "OPENSSL-LISTEN:" + std::to_string(port) +
                                       ",bind=127.0.0.1,reuseaddr,fork,verify=0,cert=/tmp/both.pem";
            const std::string connect = "TCP:127.0.0.1:" + std::to_string(target);
            execlp("socat", "socat", listen.c_str(), connect.c_str(), nullptr);
            _exit(127);
        }
        for (int tries = 0; tries < 100 && !answers(); ++tries)
            std::this_thread::sleep_for(50ms);
    }
    ~TlsFront() {
        kill(process_, SIGTERM);
        waitpid(process_, nullptr, 0);
    }
    TlsFront(const TlsFront&) = delete;
    TlsFront& operator=(const TlsFront&) = delete;
    std::string url(const std::string& path) const {
        return "https://127.0.0.1:" + std::to_string(port) + path;
    }

    int port = 0;

private:
    bool answers() const {
        return std::system(("socat -u OPEN:/dev/null TCP:127.0.0.1:" + std::to_string(port) + " 2>/dev/null")
                               .c_str()) == 0;
    }
    pid_t process_ = -1;
};

struct Fetched {
    int status = 0;
    std::string url;
    std::string body;
    platform::HttpReadStream::Event last{};
};

Fetched fetch(const std::string& url, const std::optional<platform::ProxySettings>& proxy, bool lax = true,
              const std::string& user = "") {
    using Event = platform::HttpReadStream::Event;
    platform::HttpReadStream stream({"GET", url, {}, nullptr, user, "pw"});
    Fetched got;
    stream.setLaxCertificates(lax, lax);
    stream.setAutomaticRedirection(true);
    if (proxy)
        stream.setProxy(*proxy);
    stream.setClient([&](Event event) {
        got.last = event;
        char byte = 0;
        if (event == Event::hasBytesAvailable) {
            while (stream.read(&byte, 1) == 1)
                got.body += byte;
        } else if (event != Event::openCompleted) {
            if (const auto response = stream.response())
                got = {response->status, response->url, got.body, event};
            RunLoop::current().stop();
        }
    });
    EXPECT_TRUE(stream.open());
    RunLoop::current().runFor(20s);
    return got;
}

TEST(HttpReadStream, AcceptsAnyCertificateOnlyWhenTold) {
    ScriptedServer server({{ok("secret")}});
    const TlsFront tls(server.port());
    Sink sink;
    CNetworkDownload engine;
    engine.DownloadURL(("  " + tls.url("/x") + " ").c_str(), &sink, 10000, false, false);
    sink.wait();
    EXPECT_EQ(engine.m_nHttps, 1);
    EXPECT_EQ(sink.lastData, "secret");
    EXPECT_EQ(fetch(tls.url("/x"), {}, false).last, platform::HttpReadStream::Event::errorOccurred);

    ScriptedServer plain(
        {{ScriptedServer::reply("301 Moved", "", "Location: " + tls.url("/moved") + "\r\n")}});
    const auto moved = fetch(plain.url("/x"), {});
    EXPECT_EQ(moved.body, "secret");
    EXPECT_EQ(moved.url, tls.url("/moved"));
}

TEST(CTraceUpload, FollowsTheAdministratorsRules) {
    ScriptedServer server({{ok("secret")}});
    const TlsFront tls(server.port());
    ScriptedServer plain({{ScriptedServer::reply(
        "301 Moved", "", "Location: http://localhost:" + std::to_string(server.port()) + "/\r\n")}});
    std::ofstream("/tmp/report.zip") << "report";
    const auto onlyThisAddress = [](const std::string& host) { return host == "127.0.0.1"; };
    const struct {
        std::string url;
        CNetworkDownload::Rules rules;
        int32_t status;
    } rows[] = {
        {tls.url("/x?"), {{}, true}, CTraceUpload::kStatusUntrusted},
        {tls.url("/x?"), {onlyThisAddress, false}, CTraceUpload::kStatusQueryFailed},  // its answer is no XML
        {"http://localhost:" + std::to_string(server.port()) + "/x?",
         {onlyThisAddress, false},
         CTraceUpload::kStatusForbidden},
        {"http://127.0.0.1@localhost/x?", {onlyThisAddress, false}, CTraceUpload::kStatusForbidden},
        {plain.url("/x?"), {onlyThisAddress, false}, CTraceUpload::kStatusForbidden},
    };
    for (const auto& row : rows) {
        CTraceUpload upload;
        upload.setRules(row.rules);
        ASSERT_TRUE(upload.preparingReport(row.url, "/tmp/report.zip"));
        upload.queryAndUploadToSever();
        for (int i = 0; i < 1000 && upload.m_status == CTraceUpload::kStatusConstructed; ++i)
            RunLoop::current().runFor(10ms);
        EXPECT_EQ(upload.m_status, row.status) << row.url;
    }
    EXPECT_EQ(server.requests().size(), 1U) << "of the one that may ask";
}

TEST(HttpReadStream, TakesTheProxyOfTheUrlsScheme) {
    ScriptedServer origin({{ok("direct")}});
    const TlsFront tls(origin.port());
    ScriptedServer httpProxy({{ok("through http proxy")}});
    ScriptedServer httpsProxy({{ScriptedServer::reply("407 Proxy Authentication Required", "who?",
                                                      "Proxy-Authenticate: Basic realm=\"x\"\r\n")},
                               {"HTTP/1.1 200 Established\r\n\r\n", Then::tunnel, tls.port}});
    setenv("http_proxy", "http://127.0.0.1:1/", 1);
    setenv("all_proxy", "http://127.0.0.1:1/", 1);
    setenv("no_proxy", "*", 1);
    platform::ProxySettings settings;
    settings.http = {true, "127.0.0.1", httpProxy.port()};
    settings.https = {true, "127.0.0.1", httpsProxy.port()};

    EXPECT_EQ(fetch("http://meeting.example/x", settings, true, "me").body, "through http proxy");
    EXPECT_EQ(httpProxy.requests()[0].line(), "GET http://meeting.example/x HTTP/1.1");
    EXPECT_EQ(httpProxy.requests()[0].field("Proxy-Authorization"), "Basic bWU6cHc=");

    // Refused without credentials, then let through with them; the server behind never sees them.
    const auto refused = fetch("https://meeting.example/x", settings);
    EXPECT_EQ(refused.status, 407);
    EXPECT_EQ(refused.last, platform::HttpReadStream::Event::endEncountered);
    EXPECT_EQ(fetch("https://meeting.example/x", settings, true, "me").body, "direct");
    EXPECT_EQ(httpsProxy.requests()[1].field("Proxy-Authorization"), "Basic bWU6cHc=");
    EXPECT_EQ(origin.requests().back().field("Proxy-Authorization"), "");

    // Switched off, or none: direct, whatever the environment says. The https entry alone serves every
    // scheme.
    settings.http.enabled = false;
    EXPECT_EQ(fetch(origin.url("/x"), settings).body, "direct");
    EXPECT_EQ(fetch(origin.url("/x"), {}).body, "direct");
    platform::ProxySettings fromScript;
    fromScript.https = {false, "127.0.0.1", httpProxy.port()};
    EXPECT_EQ(fetch("http://meeting.example/y", fromScript).body, "through http proxy");
}

}  // namespace
