#include "platform/CoredumpRecord.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <vector>

#include "platform/CoredumpModules.h"
#include "platform/ElfNotes.h"

namespace {

using platform::CoredumpRecord;

constexpr char kListing[] = R"(           PID: 4711 (convexa)
           UID: 1000 (ann)
        Signal: 11 (SEGV)
     Timestamp: Fri 2024-03-15 14:30:25 CET (2min 3s ago)
  Command Line: /opt/convexa/bin/convexa --ticket secret Executable: no
    Executable: /opt/convexa/bin/convexa
          Unit: user@1000.service
      Hostname: desk
       Storage: /var/lib/systemd/coredump/core.convexa.1000.zst (present)
       Message: Process 4711 (convexa) of user 1000 dumped core.
                
                Module libfoo.so without build-id.
                Stack trace of thread 4711:
                #0  0x00007f1d5b2a9e3c raise (libc.so.6 + 0x8ae3c)
                #1  0x0000561d2a4011a6 Signal: 1 (not a field)

                Stack trace of thread 4713:
                #0  0x00007f1d5b31c59f poll (libc.so.6 + 0xfd59f)
                ELF object binary architecture: AMD x86-64
)";

TEST(CoredumpRecordTest, ReadsWhatTheServiceKnows) {
    const auto record = CoredumpRecord::parse(kListing);
    ASSERT_TRUE(record);
    EXPECT_EQ(record->fileName("Convexa_", "de/sk"), "Convexa_2024-03-15-143025_de_sk.crash");
    EXPECT_EQ(record->text(), R"(Process: 4711
Executable: /opt/convexa/bin/convexa
Date: 2024-03-15 14:30:25
Signal: 11 (SEGV)

Stack trace of thread 4711:
#0  0x00007f1d5b2a9e3c raise (libc.so.6 + 0x8ae3c)
#1  0x0000561d2a4011a6 Signal: 1 (not a field)
Stack trace of thread 4713:
#0  0x00007f1d5b31c59f poll (libc.so.6 + 0xfd59f)
ELF object binary architecture: AMD x86-64
)");
}

TEST(CoredumpRecordTest, TakesTheLastOfSeveralAndLessThanAll) {
    const auto record = CoredumpRecord::parse(std::string(kListing) +
                                              "\n           PID: 4712 (convexa)\n        Signal: 6 (ABRT)\n"
                                              "     Timestamp: Sat 2024-03-16 09:00:00 CET (1s ago)");
    ASSERT_TRUE(record);
    EXPECT_EQ(record->text(), "Process: 4712\nExecutable: \nDate: 2024-03-16 09:00:00\nSignal: 6 (ABRT)\n");
}

TEST(CoredumpRecordTest, RefusesWhatIsNoRecord) {
    for (const char* listing : {"", "\n\n", "No coredumps found.\n", "PID: 4711\nSignal: 11\n",
                                "PID: 4711\nSignal: 11\nTimestamp: n/a\n",
                                "PID: ../x\nSignal: 11\nTimestamp: 2024-03-15 14:30:25\n",
                                "PID: 4711\nTimestamp: 2024-03-15 14:30:25\n", "PID: ", ": : :\n"})
        EXPECT_FALSE(CoredumpRecord::parse(listing)) << listing;
}

TEST(CoredumpModulesTest, KnowsTheModulesOfTheStack) {
    // Of two crashes, the way that two generations of the service tell; one of them in full.
    const std::string id(40, 'a');
    const auto record = CoredumpRecord::parse(
        std::string(kListing) +
        "\n           PID: 4712 (convexa)\n        Signal: 6 (ABRT)\n"
        "     Timestamp: Sat 2024-03-16 09:00:00 CET (1s ago)\n"
        "       Message: Process 4712 (convexa) of user 1000 dumped core.\n"
        "                Module libunused.so from deb unused-1.0-1.amd64\n"
        "                Module libstdc++.so.6 from deb gcc-12-12.2.0-14.amd64\n"
        "                Module /opt/convexa/lib/libav.so with build-id " +
        id +
        "\n"
        "                Module convexa, build-id=" +
        id +
        "\n"
        "                Module libodd.so from deb odd-native-1.0.arm64\n"
        "                Stack trace of thread 4712:\n"
        "                #0  0x00007f1d5b2a9e3c (a, b)::c(int) (libstdc++.so.6 + 0x8ae3c)\n"
        "                #1  0x00007f1d5b2a9e3c n/a (/opt/convexa/lib/libav.so + 0x1)\n"
        "                #2  0x00007f1d5b2a9e3c n/a (libodd.so + 0x1)\n"
        "                #3  0x00007f1d5b2a9e3c main (convexa + 0x1)\n"
        "                #4  0x00007f1d5b2a9e3c start (convexa + 0x2)\n"
        "                #5  broken\n");
    ASSERT_TRUE(record);
    EXPECT_EQ(record->modules, (std::vector<platform::CoredumpModule>{{"libstdc++.so.6", "", "12.2.0-14"},
                                                                      {"/opt/convexa/lib/libav.so", id, ""},
                                                                      {"libodd.so", "", "1.0"},
                                                                      {"convexa", id, ""}}));
}

TEST(CoredumpModulesTest, CompletesThemFromTheirFiles) {
    const std::string self = std::filesystem::read_symlink("/proc/self/exe");
    const auto own = platform::ElfNotes::ofFile(self);
    ASSERT_TRUE(own);
    FILE* const output = popen(("readelf -n '" + self + "' | sed -n 's/.*Build ID: //p'").c_str(), "r");
    char line[256] = "";
    ASSERT_TRUE(output && std::fgets(line, sizeof line, output));
    pclose(output);
    EXPECT_EQ(own->buildId + "\n", line);

    const std::vector<platform::CoredumpModule> before{{"report_log_tests", "", ""},
                                                       {"report_log_tests", "ab", "1"},
                                                       {"libc.so.6", "", "2"},
                                                       {"none.so", "", ""}};
    auto modules = before;
    platform::completeModules(modules, self, std::time(nullptr));
    EXPECT_EQ(modules[0].buildId, own->buildId);
    EXPECT_EQ(modules[1], before[1]) << "another one of that name crashed";
    EXPECT_EQ(modules[2].buildId.size(), 40U);
    EXPECT_EQ(modules[2].version, "2");
    EXPECT_EQ(modules[3], before[3]);
    modules = before;
    platform::completeModules(modules, self, 1);
    EXPECT_EQ(modules, before) << "changed since";
    for (const char* const file : {"/dev/null", "/etc/passwd", "/nonexistent", "/tmp"})
        EXPECT_FALSE(platform::ElfNotes::ofFile(file)) << file;
}

// The service's answer is recorded; it comes late, and only while the service is seen at work.
TEST(CoredumpRecordTest, IsAskedForUntilTheServiceHasWrittenIt) {
    namespace fs = std::filesystem;
    const fs::path folder = "/tmp/coredump-test";
    const struct {
        const char* pid;
        int silentAnswers;
        bool atWork;
        bool written;
    } cases[] = {{"4711", 0, false, true},
                 {"4711", 0, false, false},       // once is enough
                 {"999999991", 0, false, false},  // of another process
                 {"999999992", 6, true, true},
                 {"999999993", 6, false, false}};
    for (const auto& test : cases) {
        SCOPED_TRACE(&test - cases);
        fs::remove_all(folder);
        fs::create_directories(folder / "proc/77");
        std::ofstream(folder / "proc/77/comm") << (test.atWork ? "systemd-coredum\n" : "other\n");
        std::string listing = kListing;
        if (test.silentAnswers > 0)
            listing.replace(listing.find("4711"), 4, test.pid);
        std::ofstream(folder / "listing") << listing;
        std::ofstream(folder / "service")
            << "#!/bin/sh\necho >> /tmp/coredump-test/asked\n[ $(wc -l < /tmp/coredump-test/asked) -le "
            << test.silentAnswers << " ] || cat /tmp/coredump-test/listing\n";
        fs::permissions(folder / "service", fs::perms::owner_all);
        platform::writeCoredumpRecord(test.pid, folder / "out", "Convexa_",
                                      {.program = folder / "service", .procRoot = folder / "proc"});
        EXPECT_EQ(fs::exists(folder / "out") && !fs::is_empty(folder / "out"), test.written);
    }
    fs::remove_all(folder);
}

}  // namespace
