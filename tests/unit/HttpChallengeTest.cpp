#include <gtest/gtest.h>

#include <memory>

#include "support/DownloadSink.h"

// Transfers that are asked for credentials, waited for, or ended.

namespace {

using namespace std::chrono_literals;
using platform::RunLoop;
using Then = ScriptedServer::Then;

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

}  // namespace
