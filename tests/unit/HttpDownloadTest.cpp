#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>

#include "support/DownloadSink.h"

namespace {

using namespace std::chrono_literals;
using platform::RunLoop;
using Row = ScriptedServer::Row;
using Then = ScriptedServer::Then;

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

}  // namespace
