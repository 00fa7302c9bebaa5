#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>

#include "reportproblem/MailExtension.h"

namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

const std::string kHome = std::getenv("HOME");
const std::string kRecord = "/tmp/arguments";

bool eventually(const std::function<bool()>& holds) {
    for (int i = 0; i < 2000 && !holds(); ++i)
        std::this_thread::sleep_for(5ms);
    return holds();
}

void put(const std::string& path, const std::string& text) {
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream(path + ".new") << text;
    fs::permissions(path + ".new", fs::perms::owner_all);
    fs::rename(path + ".new", path);
}

std::string contentOf(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

// A mail program that writes down its arguments, one a line, and then lives on.
void putMailProgram(const std::string& path) {
    put(path, "#!/bin/sh\nprintf '%s\\n' \"$@\" > " + kRecord + ".new\nmv " + kRecord + ".new " + kRecord +
                  "\nexec sleep 60\n");
}

// Makes it the handler of mail links; returns once GIO has noticed.
void putHandler(const std::string& id, const std::string& program) {
    putMailProgram(program);
    put(kHome + "/.local/share/applications/" + id + ".desktop",
        "[Desktop Entry]\nType=Application\nName=Mail\nExec=" + program +
            " %u\nMimeType=x-scheme-handler/mailto;\n");
    put(kHome + "/.config/mimeapps.list",
        "[Default Applications]\nx-scheme-handler/mailto=" + id + ".desktop\n");
    EXPECT_TRUE(eventually([&] { return MailExtension().getDefaultMailApp() == program; })) << program;
}

std::string decoded(const std::string& text) {
    std::string plain;
    for (size_t i = 0; i < text.size(); ++i) {
        const bool isCode = text[i] == '%' && i + 2 < text.size();
        plain += isCode ? static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16)) : text[i];
        i += isCode ? 2 : 0;
    }
    return plain;
}

// The value between a mark and the next of the separators, decoded.
std::string valueOf(const std::string& text, const std::string& mark, const char* separators) {
    const size_t at = text.find(mark);
    if (at == std::string::npos)
        return "(missing)";
    const size_t begin = at + mark.size();
    return decoded(text.substr(begin, text.find_first_of(separators, begin) - begin));
}

std::string sentBy(const ReportMail& mail) {
    fs::remove(kRecord);
    const auto begin = std::chrono::steady_clock::now();
    MailExtension().reportProblem(mail, nullptr);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 1s) << "waits for the mail program";
    EXPECT_TRUE(eventually([] { return fs::exists(kRecord); }));
    return contentOf(kRecord);
}

const std::string kNasty = "-n \"quoted\", it's $(touch /tmp/pwned) `id` \\n \\\\ 100% %41 & a=b? <ü €> ;|";
const ReportMail kMail{
    ._recipient = "",
    ._mailTitle = kNasty,
    ._mailBody = "-" + kNasty + "\nsecond\r\nthird\n\n",
    ._attachments = {"/tmp/a, folder/-it's " + kNasty.substr(3, 8) + " $(id) é%41.zip", "/tmp/second.zip"}};
const std::string kBodyInLink = "-" + kNasty + "\r\nsecond\r\nthird\r\n\r\n";

TEST(MailTest, TheMessageReachesTheMailProgramUnchanged) {
    put(kMail._attachments[0], "zip");
    // Looks around when the message is on its way already.
    put(kHome + "/bin/xdg-mime", "#!/bin/sh\nps -ww -eo args >> /tmp/seen\n");
    setenv("PATH", (kHome + "/bin:" + std::getenv("PATH")).c_str(), 1);
    EXPECT_EQ(MailExtension().getDefaultMailApp(), "");
    EXPECT_EQ(MailExtension().appleScriptNameForDefaultMailApp(), "SendViaMail");
    EXPECT_FALSE(MailExtension().appleScriptPathForScriptName("SendViaPost"));

    struct Case {
        const char* id;
        std::string program;
        const char* script;
    };
    const Case cases[] = {
        {"some", kHome + "/mail/some", "SendViaMail"},
        {"outlook", kHome + "/Outlook.app/bin/run", "SendViaOutlook"},
        {"lower", kHome + "/outlook.app/run", "SendViaMail"},
    };
    for (const auto& c : cases) {
        putHandler(c.id, c.program);
        EXPECT_EQ(MailExtension().appleScriptNameForDefaultMailApp(), c.script) << c.program;
        const std::string link = sentBy(kMail);
        EXPECT_EQ(link.find("mailto:?"), 0U) << link;
        EXPECT_EQ(valueOf(link, "subject=", "&\n"), kNasty);
        EXPECT_EQ(valueOf(link, "&body=", "&\n"), kBodyInLink);
        EXPECT_EQ(valueOf(link, "&attach=", "&\n"), kMail._attachments[0]);
        EXPECT_EQ(link.find("second.zip"), std::string::npos);
    }
    EXPECT_FALSE(fs::exists("/tmp/pwned"));
    EXPECT_NE(contentOf("/tmp/seen").find("SendViaMail"), std::string::npos);
    EXPECT_EQ(contentOf("/tmp/seen").find("quoted"), std::string::npos) << "other users read it there";
    fs::remove(kHome + "/bin/xdg-mime");

    ReportMail novel = kMail;
    novel._mailBody.clear();
    while (novel._mailBody.size() < 400'000)
        novel._mailBody += "ü€";
    const std::string arrived = valueOf(sentBy(novel), "&body=", "&\n");
    EXPECT_GT(arrived.size(), 30'000U);
    EXPECT_EQ(arrived.substr(arrived.size() - 10), "\u00fc\u20ac\r\n\u2026");
}

// The portal comes first; where it fails (2) the mail program does, where it was cancelled (1) nothing.
TEST(MailTest, ThePortalComposesWhereThereIsOne) {
    putHandler("some", kHome + "/mail/some");
    for (const char* code : {"0", "1", "2"}) {
        SCOPED_TRACE(code);
        fs::remove("/tmp/composed");
        fs::remove(kRecord);
        const pid_t portal = fork();
        if (portal == 0) {
            execlp("python3", "python3", EMAIL_PORTAL, "/tmp/composed", code, nullptr);
            _exit(127);
        }
        const auto owned = [] {
            return std::system(
                       "gdbus wait --session --timeout 1 org.freedesktop.portal.Desktop 2>/dev/null") == 0;
        };
        ASSERT_TRUE(eventually(owned));
        MailExtension().reportProblem(kMail, nullptr);
        EXPECT_TRUE(eventually([] { return fs::exists("/tmp/composed"); }));
        EXPECT_EQ(contentOf("/tmp/composed"), kNasty + "\n" + kMail._mailBody + "|zip");
        if (*code == '2') {
            EXPECT_TRUE(eventually([] { return fs::exists(kRecord); }));
        }
        std::this_thread::sleep_for(300ms);
        EXPECT_EQ(fs::exists(kRecord), *code == '2');
        kill(portal, SIGKILL);
        waitpid(portal, nullptr, 0);
    }
}

TEST(MailTest, KnownProgramsGetTheirOwnCommandLines) {
    const std::string bin = kHome + "/bin/";
    const std::string file = "file://" + kMail._attachments[0];

    putHandler("org.mozilla.Thunderbird", bin + "thunderbird");
    std::string line = sentBy(kMail);
    EXPECT_EQ(line.find("-compose\nsubject="), 0U) << line;
    EXPECT_EQ(valueOf(line, "subject=", ",\n"), kNasty);
    EXPECT_EQ(valueOf(line, ",body=", ",\n"), kBodyInLink);
    EXPECT_EQ(valueOf(line, ",attachment='", "'\n"), file);

    putHandler("org.kde.kmail2", bin + "kmail");
    line = sentBy(kMail);
    EXPECT_EQ(
        line.find("--composer\n--subject=" + kNasty + "\n--body=" + kMail._mailBody + "\n--attach=file://"),
        0U)
        << line;
    EXPECT_EQ(valueOf(line, "--attach=", "\n"), file);

    putHandler("claws-mail", bin + "claws-mail");
    ReportMail mail = kMail;
    mail._recipient = "a b@example.com";
    line = sentBy(mail);
    EXPECT_EQ(line.find("--compose\nmailto:%61%20%62@"), 0U) << line;
    EXPECT_EQ(valueOf(line, "&body=", "&\n"), kBodyInLink);
    EXPECT_NE(line.find("\n--attach\n" + kMail._attachments[0] + "\n"), std::string::npos) << line;

    mail._attachments.clear();
    EXPECT_EQ(sentBy(mail).find("--attach"), std::string::npos);
    EXPECT_FALSE(fs::exists("/tmp/pwned"));
}

}  // namespace
