#include "platform/ProxySettings.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "platform/RunLoop.h"
#include "platform/Task.h"

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using platform::ProxyServer;
using platform::ProxySettings;

constexpr char kConfig[] = "/tmp/config";
using Settings = std::optional<ProxySettings>;

// Everything of a reading in one line.
std::string shown(const Settings& settings) {
    if (!settings)
        return "none";
    const auto server = [](const ProxyServer& s) {
        static const char* const kinds[] = {"", "tls:", "socks:", "socks4:", "socks5:"};
        const std::string login = s.user.empty() ? "" : s.user + ":" + s.password + "@";
        return s.enabled ? kinds[static_cast<int>(s.kind)] + login + s.host + "|" + std::to_string(s.port)
                         : std::string("-");
    };
    std::string text = server(settings->http) + " " + server(settings->https) + " ";
    text += (settings->autoConfigEnabled ? "auto=" : "-") + settings->autoConfigURL;
    for (const auto& exception : settings->exceptions)
        text += " " + exception;
    return text + (settings->exceptionsReversed ? " reversed" : "");
}

// Another program of the desktop writes them.
void gsettings(const std::string& schema, const std::string& key, const std::string& value) {
    platform::Task task;
    task.program = "/usr/bin/env";
    task.surroundings = platform::Task::Surroundings::desktop;
    task.arguments = {"GSETTINGS_BACKEND=keyfile",       "gsettings", "set",
                      "org.gnome.system.proxy" + schema, key,         value};
    const auto result = platform::runTask(task);
    ASSERT_EQ(result.exitStatus, 0) << result.output;
}

void expectSoon(const std::string& expected) {
    for (int i = 0; i < 100 && shown(platform::copySystemProxySettings()) != expected; ++i)
        platform::RunLoop::main().runFor(50ms);
    EXPECT_EQ(shown(platform::copySystemProxySettings()), expected);
}

class ProxySettingsTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        setenv("GSETTINGS_BACKEND", "keyfile", 1);
        setenv("XDG_CONFIG_HOME", kConfig, 1);
        fs::create_directories(kConfig);
    }
    static void writeKde(const std::string& text) {
        std::ofstream(std::string(kConfig) + "/kioslaverc") << text;
    }
};

TEST_F(ProxySettingsTest, ReadsTheDesktopsSettingsAfresh) {
    expectSoon("none");
    gsettings(".http", "host", "one.example");
    gsettings(".http", "port", "3128");
    gsettings("", "mode", "manual");
    expectSoon("one.example|3128 one.example|3128 - localhost 127.0.0.0/8 ::1");
    gsettings(".http", "use-authentication", "true");
    gsettings(".http", "authentication-user", "me");
    gsettings(".http", "authentication-password", "p@w");
    gsettings(".socks", "host", "three.example");
    gsettings(".socks", "port", "1080");
    expectSoon("me:p@w@one.example|3128 me:p@w@one.example|3128 - localhost 127.0.0.0/8 ::1");
    gsettings(".http", "host", "");
    expectSoon("socks:three.example|1080 socks:three.example|1080 - localhost 127.0.0.0/8 ::1");
    gsettings(".http", "host", "one.example");
    gsettings(".http", "use-authentication", "false");
    gsettings(".https", "host", "https://two.example:81/");
    gsettings("", "ignore-hosts", "['localhost', '10.0.0.0/8']");
    expectSoon("one.example|3128 tls:two.example|81 - localhost 10.0.0.0/8");
    gsettings("", "autoconfig-url", "/etc/proxy.pac");
    gsettings("", "mode", "auto");
    expectSoon("- - auto=file:///etc/proxy.pac localhost 10.0.0.0/8");
    gsettings("", "mode", "none");
    expectSoon("none");
    // On the user's own desktop that is an answer; elsewhere the next place is asked.
    setenv("http_proxy", "a:1", 1);
    expectSoon("a|1 - -");
    setenv("XDG_CURRENT_DESKTOP", "ubuntu:GNOME", 1);
    expectSoon("none");
    writeKde("[Proxy Settings]\nProxyType=1\nhttpProxy=k:2\n");
    setenv("XDG_CURRENT_DESKTOP", "KDE", 1);
    expectSoon("k|2 - -");
    writeKde("[Proxy Settings]\nProxyType=0\n");
    expectSoon("none");
    fs::create_directories("/tmp/xdg");
    fs::rename(std::string(kConfig) + "/kioslaverc", "/tmp/xdg/kioslaverc");
    setenv("XDG_CONFIG_DIRS", "/tmp/none:/tmp/xdg", 1);
    expectSoon("none");
    for (const char* name : {"XDG_CURRENT_DESKTOP", "XDG_CONFIG_DIRS", "http_proxy"})
        unsetenv(name);
}

TEST_F(ProxySettingsTest, ReadsKdesFile) {
    const std::pair<const char*, const char*> cases[] = {
        {"ProxyType=0\nhttpProxy=http://a 1", "none"},
        {"ProxyType=1\nhttpProxy=http://a 3128\nhttpsProxy=http://u:p@b 81\nNoProxyFor=x, .y",
         "a|3128 u:p@b|81 - x .y"},
        {"ProxyType=1\nhttpProxy[$e]=[::1]:8080\nReversedException=true", "::1|8080 - - reversed"},
        {"ProxyType=1\nhttpProxy=quic://a 1080\nhttpsProxy=b\n[Other]\nhttpProxy=c", "- b|0 -"},
        {"ProxyType=1\nhttpProxy=https://a\nsocksProxy=s 1080", "tls:a|0 socks:s|1080 -"},
        {"ProxyType=2\nProxy Config Script=http://c/p.pac\nhttpProxy=http://a 1", "- - auto=http://c/p.pac"},
        {"ProxyType=3\nProxy Config Script=http://c/p.pac", "- - auto="},
        {"ProxyType=4\nhttpProxy=MY_PROXY\nNoProxyFor=MY_EXCEPTIONS", "env|9 - - one two"},
        {"ProxyType=44\nhttpProxy", "none"},
    };
    setenv("MY_PROXY", "env:9", 1);
    setenv("MY_EXCEPTIONS", "one,two", 1);
    for (const auto& [text, expected] : cases) {
        writeKde(std::string("[Something]\nProxyType=1\n[Proxy Settings]\n") + text + "\n");
        EXPECT_EQ(shown(platform::copySystemProxySettings()), expected) << text;
    }
    // An ordinary file has some kilobytes, and one of more than 256 is none of ours.
    for (const auto& [size, expected] : {std::pair(255, "a|3128 - -"), std::pair(257, "none")}) {
        writeKde("[Proxy Settings]\nProxyType=1\nhttpProxy=http://a 3128\n#" +
                 std::string(static_cast<size_t>(size) * 1024 - 60, 'x'));
        EXPECT_EQ(shown(platform::copySystemProxySettings()), expected) << size;
    }
    EXPECT_EQ(shown(platform::copySystemProxySettings()), "none");
    fs::remove(std::string(kConfig) + "/kioslaverc");
}

TEST_F(ProxySettingsTest, ReadsTheEnvironment) {
    setenv("http_proxy", "http://user:se%40c:ret@a.example:3128/", 1);
    setenv("HTTPS_PROXY", "[fe80::1]:81", 1);
    setenv("NO_PROXY", "x,.y z", 1);
    EXPECT_EQ(shown(platform::copySystemProxySettings()), "user:se@c:ret@a.example|3128 fe80::1|81 - x .y z");
    unsetenv("HTTPS_PROXY");
    EXPECT_EQ(shown(platform::copySystemProxySettings()), "user:se@c:ret@a.example|3128 - - x .y z");
    setenv("ALL_PROXY", "socks5h://a:1", 1);
    EXPECT_EQ(shown(platform::copySystemProxySettings()), "user:se@c:ret@a.example|3128 socks5:a|1 - x .y z");
    unsetenv("ALL_PROXY");
    setenv("http_proxy", "quic://a:1", 1);
    EXPECT_EQ(shown(platform::copySystemProxySettings()), "none");
    setenv("AUTO_PROXY", "http://c/p.pac", 1);
    EXPECT_EQ(shown(platform::copySystemProxySettings()), "- - auto=http://c/p.pac x .y z");
}

TEST_F(ProxySettingsTest, KnowsTheExceptions) {
    struct Case {
        const char* entry;
        const char* host;
        int32_t port;
        bool direct;
    };
    const Case cases[] = {
        {"example.com", "example.com", 80, true},
        {"example.com", "www.Example.COM.", 80, true},
        {"example.com", "badexample.com", 80, false},
        {".example.com", "www.example.com", 80, true},
        {"*.example.com", "a.b.example.com", 80, true},
        {"example.com:81", "example.com", 80, false},
        {"example.com:81", "example.com", 81, true},
        {"*", "anything", 1, true},
        {"192.168.*", "192.168.3.4", 80, true},
        {"10.0.0.0/8", "10.1.2.3", 80, true},
        {"10.0.0.0/8", "11.1.2.3", 80, false},
        {"10.0.0.0/8", "ten.example", 80, false},
        {"127.0.0.1", "127.0.0.1", 80, true},
        {"127.0.0.1", "1.127.0.0.1", 80, false},
        {"::1", "[::1]", 80, true},
        {"[::1]:8080", "::1", 80, false},
        {"[::1]:8080", "0:0:0:0:0:0:0:1", 8080, true},
        {"fe80::/10", "fe80::1234", 80, true},
        {"<local>", "intranet", 80, true},
        {"<local>", "www.example.com", 80, false},
        {"<local>", "::1", 80, false},
        {"", "example.com", 80, false},
        {"[", "example.com", 80, false},
        {"10.0.0.0/99", "10.0.0.1", 80, false},
        {"10.0.0.0/", "10.0.0.1", 80, false},
        {"127.0.0.1/8", "127.9.8.7", 80, true},
        {"127.0.0.1/8", "128.0.0.1", 80, false},
        {"10.9.8.7/255.0.0.0", "10.1.2.3", 80, true},
        {"10.0.0.0/255.0.255.0", "10.1.0.3", 80, false},
        {"172.16.0.0/255.240.0.0", "172.31.0.1", 80, true},
        {"172.16.0.0/12", "172.32.0.1", 80, false},
        {"[::1]/128", "::1", 80, true},
        {"::1/0", "127.0.0.1", 80, false},
        {"127.", "127.1.2.3", 80, true},
        {"127.", "127.example", 80, false},
        {"192.168.", "192.16.8.1", 80, false},
        {"r?p.x", "rap.x", 80, true},
        {"*.corp.*", "a.corp.example", 80, true},
        {"r?p.x", "raap.x", 80, false},
    };
    for (const auto& item : cases) {
        ProxySettings settings;
        settings.exceptions = {"unrelated.example", item.entry};
        EXPECT_EQ(platform::isProxyException(settings, item.host, item.port), item.direct)
            << item.entry << " " << item.host << " " << item.port;
        settings.exceptionsReversed = true;
        EXPECT_NE(platform::isProxyException(settings, item.host, item.port), item.direct);
    }
}

}  // namespace
