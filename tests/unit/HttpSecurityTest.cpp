#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <optional>

#include "DGAUpload/logic/CTraceUpload.h"
#include "support/DownloadSink.h"

// Certificates, and the proxy of an address.

namespace {

using namespace std::chrono_literals;
using platform::RunLoop;
using Then = ScriptedServer::Then;

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
