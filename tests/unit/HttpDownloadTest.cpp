#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>

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

}  // namespace
