#include <gmock/gmock.h>
#include <sched.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <sstream>
#include <thread>

#include "DGAUpload/logic/webaccess/PacParser.h"
#include "DGAUpload/logic/webaccess/PacText.h"
#include "DGAUpload/logic/webaccess/ProxyMemory.h"
#include "platform/RunLoop.h"
#include "platform/net/NetworkChanges.h"
#include "support/ORVNLogger.h"

namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using Clock = std::chrono::steady_clock;

constexpr char kURL[] = "https://upload.example/path";

std::string shown(const std::vector<PacProxy>& proxies) {
    std::string text;
    for (const auto& proxy : proxies)
        text += (text.empty() ? "" : " ") + proxy.host + "|" + std::to_string(proxy.port);
    return text;
}

void useScript(const std::string& script) {
    CPacParser::CleanUP();
    std::ofstream("/tmp/proxy script.pac") << script;
    setenv("auto_proxy", "file:///tmp/proxy script.pac", 1);
}

void useAnswer(const std::string& expression) {
    useScript("function FindProxyForURL(url, host) { return " + expression + "; }");
}

class PacTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        ownNetwork_ = unshare(CLONE_NEWNET) == 0 && std::system("ip link set lo up") == 0;
        setenv("GSETTINGS_BACKEND", "memory", 1);
        ORVNLogger::sharedLogger().initParams({"test", "pac_", 5});
    }
    void SetUp() override { seen_ = logText().size(); }
    void TearDown() override { CPacParser::CleanUP(); }

    static std::string logText() {
        std::ostringstream text;
        if (const auto path = ORVNLogger::sharedLogger().logFileName())
            text << std::ifstream(*path).rdbuf();
        return text.str();
    }
    std::string newLines() const { return logText().substr(seen_); }

    static inline bool ownNetwork_ = false;
    size_t seen_ = 0;
};

TEST_F(PacTest, AnswersOfBothRoutes) {
    struct Case {
        const char* answer;
        const char* proxies;  // of the evaluator, and of the page where it hands over
        const char* parsed;   // of the page's answer
        const char* text;     // the evaluator's, rendered
    };
    const Case cases[] = {
        {"PROXY a:8080; DIRECT", "a|8080", "a|8080", "PROXY a:8080; DIRECT"},
        {"PROXY [::1]:3128", "::1|3128", "::1|3128", "PROXY ::1:3128"},
        {"PROXY a", "", "", "PROXY"},
        {"DIRECT", "", "", "DIRECT"},
        {"direct", "", "", "DIRECT"},
        {"SOCKS s:1080;PROXY b:1", "s|1080 b|1", "s|1080 b|1", "SOCKS s:1080; PROXY b:1"},
        {"HTTPS h:443", "h|443", "h|443", "HTTPS h:443"},
        {"rubbish", "", "", ""},
        {"rubbish a:1:2; PROXY [::1", "", "", "PROXY"},
        {"PROXY a:99999999999", "", "a|2147483647", "PROXY"},
        {"", "", "", ""},
    };
    for (const auto& item : cases) {
        SCOPED_TRACE(item.answer);
        useAnswer("'" + std::string(item.answer) + "'");
        ASSERT_TRUE(CPacParser::IsPacEnabled());
        auto* const parser = CPacParser::sharedInstance();
        EXPECT_EQ(shown(parser->FindProxy(kURL)), item.proxies);
        EXPECT_EQ(shown(parser->ScriptFindProxy(kURL)), item.parsed);
        EXPECT_EQ(parser->CocoaFindProxyString(kURL), item.text);
        EXPECT_EQ(parser->ScriptFindProxyString(kURL), item.answer);
    }
    EXPECT_THAT(newLines(), HasSubstr("CPacParser::CocoaFindProxy, proxy not direct, but not supported"));
    EXPECT_THAT(newLines(), HasSubstr("CPacParser::CocoaFindProxy,proxyAddress is a,porxyPort is 8080!"));
    EXPECT_THAT(newLines(), HasSubstr("CPacParser::ParseProxy,error format!"));
    EXPECT_EQ(shown(CPacParser::sharedInstance()->ParseProxy(nullptr)), "");
}

TEST_F(PacTest, FaultyScriptsGiveNoProxy) {
    const std::pair<std::string, bool> cases[] = {
        {"function Other() {}", false},
        {"", false},
        {"// FindProxyForURL", true},
        {"function FindProxyForURL( {", true},
        {"function FindProxyForURL() { throw new Error('no'); }", true},
        {"function FindProxyForURL() { return FindProxyForURL() + 1; }", true},
        {"function FindProxyForURL() { return 'PROXY a:1'; }" + std::string(2 * 1024 * 1024, ' '), false},
    };
    for (const auto& [script, valid] : cases) {
        SCOPED_TRACE(script.substr(0, 60));
        useScript(script);
        EXPECT_EQ(CPacParser::IsPacEnabled(), valid);
        EXPECT_EQ(shown(CPacParser::sharedInstance()->FindProxy(kURL)), "");
    }
    EXPECT_THAT(newLines(), HasSubstr("CPacParser::CocoaFindProxy - Error: there is no function"));
    EXPECT_THAT(newLines(), HasSubstr("cant get remote/local pac content"));
    setenv("auto_proxy", "", 1);
    CPacParser::CleanUP();
    EXPECT_FALSE(CPacParser::IsPacEnabled());
    EXPECT_EQ(CPacParser::sharedInstance()->ScriptFindProxyString(kURL), "");
    EXPECT_EQ(shown(CPacParser::sharedInstance()->FindProxy(nullptr)), "");
}

TEST_F(PacTest, HelperFunctionsOfBothRoutes) {
    struct Case {
        const char* expression;
        const char* evaluator;
        const char* page;
    };
    const Case cases[] = {
        {"isPlainHostName('a') && !isPlainHostName('a.b')", "true", "true"},
        {"dnsDomainIs('www.a.b', '.a.b') && !dnsDomainIs('a', 'long.a')", "true", "true"},
        {"localHostOrDomainIs('www', 'www.a.b') && !localHostOrDomainIs('ww', 'www.a.b')", "true", "true"},
        {"dnsDomainLevels('a.b.c')", "2", "2"},
        {"shExpMatch('http://a.b/c', '*a.b/?') && !shExpMatch('axb', 'a.b') && shExpMatch('a+(', 'a+(')",
         "true", "true"},
        {"isInNet('10.1.2.3', '10.1.0.0', '255.255.0.0') && !isInNet('10.2.2.3', '10.1.0.0', '255.255.0.0')",
         "true", "true"},
        {"isInNet('10.1.2.300', '10.1.0.0', '255.255.0.0') || isInNet('no.invalid', '0.0.0.0', '0.0.0.0')",
         "false", "false"},
        {"dnsResolve('127.0.0.1') + (dnsResolve('no.invalid') === null)", "127.0.0.1true", "127.0.0.1true"},
        {"/^[0-9.]+$/.test(myIpAddress())", "true", "true"},
        {"weekdayRange('SUN', 'SAT') + '' + weekdayRange('SAT', 'FRI')", "truetrue", "falsefalse"},
        {"weekdayRange('SUN', 'FRI') || weekdayRange('SAT')", "true", "notSaturday"},
        {"dateRange('JAN', 'DEC') + '' + dateRange(1, 31) + dateRange(2000, 2999)", "truetruetrue",
         "truetruetrue"},
        {"dateRange(1, 'JAN', 1999, 31, 'DEC', 1999)", "false", "false"},
        {"dateRange(['JUL','AUG','SEP','OCT','NOV','DEC'][new Date().getMonth() - 6] || 'JUL')", "secondHalf",
         "false"},
        {"timeRange(0, 0, 0, 23, 59, 59, 'GMT') + '' + timeRange(0, 0, 0, 0)", "truefalse", "truefalse"},
        {"(function () { try { timeRange(1, 2, 3); } catch (e) { return e; } })()",
         "timeRange: bad number of arguments", "timeRange: bad number of arguments"},
    };
    const std::time_t now = std::time(nullptr);
    const std::tm date = *std::localtime(&now);
    const auto text = [&](const std::string& expected) {
        if (expected == "notSaturday")
            return date.tm_wday == 6 ? "false" : "true";
        return expected == "secondHalf" ? (date.tm_mon >= 6 ? "true" : "false") : expected.c_str();
    };
    std::string script = "function FindProxyForURL(url, host) { return 'PROXY ' + String([";
    for (const auto& item : cases)
        script += std::string(item.expression) + ",";
    useScript("/* caf\xC3\xA9 */" + script + "][host.slice(1).split('.')[0]]).replace(/:/g, '_') + ':1'; }");
    auto* const parser = CPacParser::sharedInstance();
    for (size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE(cases[i].expression);
        const auto expected = [&](const char* of) {
            std::string result = "PROXY " + std::string(text(of)) + ":1";
            const size_t colon = result.find("timeRange:");
            return colon == std::string::npos ? result : result.replace(colon + 9, 1, "_");
        };
        const std::string url = "http://x" + std::to_string(i) + ".example/";
        EXPECT_EQ(parser->CocoaFindProxyString(url.c_str()), expected(cases[i].evaluator));
        EXPECT_EQ(parser->ScriptFindProxyString(url.c_str()), expected(cases[i].page));
    }
}

TEST_F(PacTest, AddressesThatAreHardToRead) {
    useAnswer("'PROXY ' + host + ':1'");
    auto* const parser = CPacParser::sharedInstance();
    const std::pair<const char*, const char*> cases[] = {
        {"upload.example/a", "upload.example|1"},
        {"HTTP://user@UPLOAD.example:81/a", "upload.example|1"},
        {"https://upload.example/a b", "upload.example|1"},
        {"https://upload example", ""},
        {"https://up load/x", ""},
    };
    for (const auto& [url, expected] : cases)
        EXPECT_EQ(shown(parser->CocoaFindProxy(url)), expected) << url;
    EXPECT_THAT(newLines(), HasSubstr("CPacParser::CocoaFindProxy,can not find slash mark in url string!"));
    EXPECT_EQ(shown(parser->ScriptFindProxy("https://host:81/x")), "") << "the port stays with the host";
    EXPECT_EQ(parser->ScriptFindProxyString("https:///x"), "");
    EXPECT_THAT(newLines(), HasSubstr("CPacParser::ScriptFindProxyString, host is nil!"));
}

TEST_F(PacTest, CallsFromElsewhereAndTheEndMeanwhile) {
    useAnswer("dnsResolve('127.0.0.1') && 'PROXY a:1'");
    auto* parser = CPacParser::sharedInstance();
    EXPECT_TRUE(parser->IsReady());
    std::string elsewhere;
    std::thread other([&] {
        elsewhere = shown(parser->FindProxy(kURL)) + " " + shown(parser->ScriptFindProxy(kURL));
        platform::RunLoop::main().stop();
    });
    platform::RunLoop::main().run();
    other.join();
    EXPECT_EQ(elsewhere, "a|1 a|1");

    platform::performOnMain([] { CPacParser::CleanUP(); });
    EXPECT_EQ(shown(parser->FindProxy(kURL)), "a|1") << "the call ends before its parser does";
    useAnswer("'PROXY b:2'");
    EXPECT_EQ(shown(CPacParser::sharedInstance()->FindProxy(kURL)), "b|2") << "loaded anew";
}

TEST_F(PacTest, TextHelpers) {
    EXPECT_EQ(replaceall("a$Fb$F", "$F", "$F1"), "a$F1b$F");
    EXPECT_EQ(filterAscII("a\xC3\xA9\x7F"), "a\x7F");
    EXPECT_THAT(divideStr(";a;;b:c;", ";:"), testing::ElementsAre("a", "b", "c"));
    EXPECT_TRUE(isIPv6Format("PROXY [::1]:80"));
    EXPECT_FALSE(isIPv6Format("PROXY a:80"));
    EXPECT_EQ(pathOfFileURL("file://localhost/a%20b#c"), "/a b");
    EXPECT_EQ(pathOfFileURL("file:///a%00b"), "");
}

TEST_F(PacTest, IsReadAnewAfterAChangeOfTheNetwork) {
    if (!ownNetwork_)
        GTEST_SKIP() << "needs a network of its own, so root";
    useAnswer("'PROXY a:1'");
    EXPECT_EQ(shown(CPacParser::sharedInstance()->FindProxy(kURL)), "a|1");
    std::ofstream("/tmp/proxy script.pac") << "function FindProxyForURL(url, host) { return 'PROXY b:2'; }";
    CPacParser::RefreshForUpload();
    EXPECT_EQ(shown(CPacParser::sharedInstance()->FindProxy(kURL)), "a|1") << "nothing has changed";

    const uint64_t before = platform::networkChanges();
    ASSERT_EQ(std::system("ip address add 10.1.2.3/24 dev lo && ip route add default via 10.1.2.1"), 0);
    for (const auto end = Clock::now() + 5s; platform::networkChanges() == before && Clock::now() < end;)
        platform::RunLoop::main().runFor(20ms);
    CPacParser::RefreshForUpload();
    EXPECT_EQ(shown(CPacParser::sharedInstance()->FindProxy(kURL)), "b|2");
}

TEST_F(PacTest, WaysThatFailedComeLastForAWhile) {
    const std::vector<PacProxy> ways{{"dead", 1}, {"good", 2}, {"", 0}};
    const auto ordered = [&](const ProxyMemory& memory) {
        std::string text;
        for (const auto& way : memory.inOrder(ways))
            text += way.host + "|";
        return text;
    };
    const auto now = Clock::now();
    ProxyMemory memory;
    EXPECT_EQ(ordered(memory), "dead|good||");
    ProxyMemory::routeFailed(ways[0], now - 4min - 59s);
    EXPECT_EQ(ordered(memory), "good||dead|") << "for the next upload, too";
    memory.routeWorked(ways[2]);
    EXPECT_EQ(ordered(memory), "|good|dead|") << "what worked goes on";
    ProxyMemory::routeFailed(ways[0], now - 5min - 1s);
    EXPECT_EQ(ordered(ProxyMemory()), "dead|good||");
}

}  // namespace
