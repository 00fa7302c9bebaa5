#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <thread>

#include "DGAMonitor/Session/DGAPolicy.h"

namespace {

using platform::AdministratorFile;
using State = AdministratorFile::State;
constexpr char kFolder[] = "/tmp/policy";
constexpr char kFile[] = "/tmp/policy/policy.conf";

AdministratorFile fileWith(const std::string& text) {
    std::filesystem::create_directories(kFolder);
    std::ofstream(kFile, std::ios::trunc) << text;
    return AdministratorFile::read(kFile, AdministratorFile::Trust::anybody);
}

// The keys that are not as without a policy.
std::string narrowed(const DGAPolicy& policy) {
    std::string text;
    for (const auto& rule : policy.rules())
        text += rule.isDefault ? "" : rule.name + "=" + rule.value + " ";
    return text;
}

constexpr char kEverything[] =
    "ScreenCapture=never SystemProfile=never CrashReports=never KeepDays=0 Mail=never Save=never Send=never "
    "Hosts= VerifyCertificates=true Telemetry=never FreezePrompt=never ";

TEST(PolicyTest, TakesTheStricterReadingOfWhatIsWrong) {
    const struct {
        std::string text;
        std::string narrowed;
        size_t faults;
    } rows[] = {
        {"", "", 0},
        {"# none\n[Report]\nMail=allow\n[Upload]\nVerifyCertificates=false\n", "", 0},
        {"[Report]\nScreenCapture = never \nKeepDays=7\n[Watch]\nFreezePrompt=never\n",
         "ScreenCapture=never KeepDays=7 FreezePrompt=never ", 0},
        {"[Upload]\nHosts=*.example.org; reports.example.com;\n",
         "Hosts=*.example.org; reports.example.com; ", 0},
        // Values that are none, also by their case.
        {"[Report]\nScreenCapture=Allow\nSystemProfile=yes\nCrashReports=\nKeepDays=-1\nMail=NEVER\nSave="
         "\"allow\"\n"
         "[Upload]\nSend=Never\nVerifyCertificates=False\nTelemetry=0\n[Watch]\nFreezePrompt=ALLOW\n",
         "ScreenCapture=never SystemProfile=never CrashReports=never KeepDays=0 Mail=never Save=never "
         "Send=never "
         "VerifyCertificates=true Telemetry=never FreezePrompt=never ",
         10},
        {"[Report]\nKeepDays=30d\n", "KeepDays=0 ", 1},
        {"[Upload]\nHosts=http://example.org/\n", "Hosts=http://example.org/ ", 1},
        // Keys that are none: nearly one, in another group, and nothing at all.
        {"[report]\nscreencapture=allow\n[Upload]\nSendd=allow\nMail=never\n[Watch]\nColour=red\n",
         "ScreenCapture=never Mail=never Send=never ", 4},
        {"[Report]\nScreenCaptur=never\nScreenCapture=allow\n", "ScreenCapture=never ", 1},
        {"[Report]\nMail=never\nMail=allow\n[Upload]\nHosts=a.org\n[Upload]\nHosts=b.org\n",
         "Mail=never Hosts= ", 2},
        // No key files.
        {"ScreenCapture=never\n", kEverything, 1},
        {"[Report]\nnever\n", kEverything, 1},
        {"[Report]\nMail=\xff\n", kEverything, 1},
        {std::string("[Report]\nMail=allow\n\0", 21), kEverything, 1},
        {"[Report]\n" + std::string(10'000'000, '#') + "\n", kEverything, 1},
    };
    for (const auto& row : rows) {
        const DGAPolicy policy(fileWith(row.text));
        EXPECT_EQ(narrowed(policy), row.narrowed) << row.text.substr(0, 200);
        EXPECT_EQ(policy.faults().size(), row.faults) << row.text.substr(0, 200);
    }
}

TEST(PolicyTest, KnowsWhomToTrust) {
    const auto stateOf = [](mode_t folder, mode_t file) {
        fileWith("[Report]\nMail=never\n");
        chmod(kFolder, folder);
        chmod(kFile, file);
        return AdministratorFile::read(kFile).state;
    };
    const bool isRoot = geteuid() == 0;
    EXPECT_EQ(stateOf(0755, 0644), isRoot ? State::read : State::ignored);
    EXPECT_EQ(stateOf(0755, 0664), State::ignored);
    EXPECT_EQ(stateOf(0755, 0646), State::ignored);
    EXPECT_EQ(stateOf(0777, 0644), State::ignored);
    EXPECT_EQ(stateOf(0755, 0644), isRoot ? State::read : State::ignored);
    if (isRoot) {
        EXPECT_EQ(chown(kFile, 1000, 0), 0);
        EXPECT_EQ(AdministratorFile::read(kFile).state, State::ignored);
    }
    constexpr uid_t kStranger = 65534;  // whose files may be root's, seen from a namespace of users
    if (isRoot && chown(kFile, kStranger, 0) == 0) {
        EXPECT_EQ(AdministratorFile::read(kFile).state, State::read);
        ASSERT_EQ(seteuid(kStranger), 0);
        EXPECT_EQ(AdministratorFile::read(kFile).state, State::ignored) << "its own";
        ASSERT_EQ(seteuid(0), 0);
    }
    EXPECT_EQ(narrowed(DGAPolicy(AdministratorFile::read("/tmp/policy/none.conf"))), "");

    // What stands in its place, but is no file.
    for (const char* const place : {"link", "folder", "pipe"}) {
        const std::string path = std::string(kFolder) + "/" + place;
        std::filesystem::remove_all(path);
        if (*place == 'l')
            std::filesystem::create_symlink(kFile, path);
        else if (*place == 'f')
            std::filesystem::create_directory(path);
        else
            mkfifo(path.c_str(), 0644);
        const DGAPolicy policy(AdministratorFile::read(path, AdministratorFile::Trust::anybody));
        EXPECT_EQ(narrowed(policy), kEverything) << place;
        EXPECT_EQ(policy.faults().size(), 1U) << place;
    }
}

// Whatever is read is one of the versions as a whole, or nothing that can be trusted.
TEST(PolicyTest, ReadsNoMixtureOfVersions) {
    const std::string versions[] = {"[Report]\nMail=never\nSave=allow\n",
                                    "[Report]\nMail=allow\nSave=never\n"};
    fileWith(versions[0]);
    std::atomic<bool> ends{false};
    std::thread writer([&] {
        std::fstream file(kFile, std::ios::in | std::ios::out);
        for (int i = 0; !ends; ++i)
            (file.seekp(0) << versions[i % 2]).flush();
    });
    for (int i = 0; i < 2000; ++i) {
        const auto text =
            narrowed(DGAPolicy(AdministratorFile::read(kFile, AdministratorFile::Trust::anybody)));
        EXPECT_TRUE(text == "Mail=never " || text == "Save=never " || text == kEverything) << text;
    }
    ends = true;
    writer.join();
}

TEST(PolicyTest, KnowsHostsAndDays) {
    const DGAPolicy policy(
        fileWith("[Report]\nKeepDays=7\n[Upload]\nHosts=*.Example.org;one.net;::1;*;a*.net\n"));
    EXPECT_EQ(policy.faults().size(), 2U);
    const std::pair<const char*, bool> hosts[] = {
        {"a.example.org", true}, {"b.A.EXAMPLE.ORG", true}, {"example.org", false}, {"badexample.org", false},
        {"one.net", true},       {"one.net.evil", false},   {"::1", true},          {"", false},
    };
    for (const auto& [host, allowed] : hosts)
        EXPECT_EQ(policy.allowsHost(host), allowed) << host;
    EXPECT_TRUE(DGAPolicy().allowsHost("anywhere"));
    using std::chrono::hours;
    EXPECT_EQ(policy.keeps(hours(720)), hours(168));
    EXPECT_EQ(policy.keeps(hours(24)), hours(24));
    EXPECT_EQ(DGAPolicy().keeps(hours(24)), hours(24));
}

}  // namespace
