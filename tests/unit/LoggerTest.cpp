#include "support/ORVNLogger.h"

#include <gtest/gtest.h>
#include <sys/mount.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <thread>
#include <vector>

#include <spdlog/logger.h>

#include "support/ORVNLogFile.h"

namespace {

namespace fs = std::filesystem;

constexpr char kFolder[] = "/tmp/orvtrace/test";

class LogFileTest : public testing::Test {
protected:
    void SetUp() override { fs::remove_all("/tmp/orvtrace"); }

    void open(int maxFiles) {
        file_ = std::make_shared<support::ORVNLogFile>(kFolder, "orvtra_", maxFiles);
        logger_ = std::make_unique<spdlog::logger>("test", file_);
        logger_->set_pattern("%v");
    }

    static std::set<std::string> names() {
        std::set<std::string> found;
        for (const auto& entry : fs::directory_iterator(kFolder))
            found.insert(entry.path().filename());
        return found;
    }

    static std::vector<std::string> lines(const std::string& path) {
        std::vector<std::string> found;
        std::ifstream file(path);
        for (std::string line; std::getline(file, line);)
            found.push_back(line);
        return found;
    }

    std::shared_ptr<support::ORVNLogFile> file_;
    std::unique_ptr<spdlog::logger> logger_;
};

TEST_F(LogFileTest, KeepsTheNewestFilesAndNobodyElses) {
    fs::create_directories(kFolder);
    fs::permissions(kFolder, fs::perms::owner_all);
    fs::permissions("/tmp/orvtrace", fs::perms::owner_all);
    const std::vector<std::string> strangers = {"orvtra_notes.ovt", "orvtra_gpc_0101202012000001.ovt",
                                                "other.txt", "orvtra_0101202012000001.ovt.bak"};
    const std::vector<std::string> oldest = {"orvtra_1231201912000001.ovt", "orvtra_0101202012000001.ovt"};
    const std::vector<std::string> newer = {"orvtra_0101202012000002.ovt", "orvtra_0601202012000001.ovt"};
    for (const auto& group : {strangers, oldest, newer}) {
        for (const auto& name : group)
            std::ofstream(std::string(kFolder) + "/" + name) << "old";
    }
    open(3);
    EXPECT_FALSE(file_->path()) << "no file before the first line";
    logger_->info("first");
    ASSERT_TRUE(file_->path());
    auto expected = std::set<std::string>(strangers.begin(), strangers.end());
    expected.insert(newer.begin(), newer.end());
    expected.insert(fs::path(*file_->path()).filename());
    EXPECT_EQ(names(), expected);
}

TEST_F(LogFileTest, AFileOfTenMegabytesIsFollowedByTheNext) {
    open(2);
    const std::string megabyte(1000 * 1000, 'x');
    std::set<std::string> paths;
    for (int i = 0; i < 25; ++i) {
        logger_->info("{}", megabyte);
        paths.insert(*file_->path());
    }
    EXPECT_EQ(paths.size(), 3U);
    EXPECT_EQ(names().size(), 2U) << "only so many are kept";
    for (const auto& name : names())
        EXPECT_LE(fs::file_size(std::string(kFolder) + "/" + name), 10U * 1000 * 1000);
}

TEST_F(LogFileTest, AFullDiskDropsWholeLinesAndSaysHowMany) {
    fs::create_directories(kFolder);
    fs::permissions("/tmp/orvtrace", fs::perms::owner_all);
    if (mount("none", kFolder, "tmpfs", 0, "size=64k,mode=0700") != 0)
        GTEST_SKIP() << "needs the right to mount";
    open(5);
    const std::string line(1000, 'l');
    for (int i = 0; i < 100; ++i)
        logger_->info("{}", line);
    const std::string path = *file_->path();
    const auto full = lines(path);
    ASSERT_EQ(mount("none", kFolder, "tmpfs", MS_REMOUNT, "size=256k,mode=0700"), 0);
    logger_->info("after");
    const auto after = lines(path);
    for (const auto& kept : full)
        EXPECT_EQ(kept, line);
    ASSERT_EQ(after.size(), full.size() + 2);
    EXPECT_EQ(after[full.size()],
              "(" + std::to_string(100 - full.size()) + " lines could not be written here)");
    EXPECT_EQ(after.back(), "after");
    file_.reset();
    logger_.reset();
    umount(kFolder);
}

// The process's one logger can be set up once, so all that is asked of it stands in one test.
TEST(Logger, WritesLinesOfAllThreadsAndSurvivesABadFolder) {
    auto& logger = ORVNLogger::sharedLogger();
    EXPECT_FALSE(logger.logFileName());
    fs::remove_all("/tmp/orvtrace");
    fs::create_directory("/tmp/elsewhere");
    fs::create_directory_symlink("/tmp/elsewhere", "/tmp/orvtrace");
    setenv("XDG_CACHE_HOME", "/proc", 1);  // no way out
    logger.initParams({.subPath = "dga", .fileNamePrefix = "orvtra_dga_", .maxFileNum = 30});
    logInfo("nowhere to go");
    EXPECT_TRUE(fs::is_empty("/tmp/elsewhere")) << "a planted link is not followed";
    EXPECT_FALSE(logger.logFileName());
    fs::remove("/tmp/orvtrace");
    std::this_thread::sleep_for(
        std::chrono::milliseconds(3100));  // it tries again after a while, not with every line
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&logger, t] {
            for (int i = 0; i < 250; ++i)
                logWarning("thread {} line {} {}", t, i, "{not a format %s}");
        });
    }
    for (auto& thread : threads)
        thread.join();
    ASSERT_TRUE(logger.logFileName());
    const std::string name = fs::path(*logger.logFileName()).filename();
    EXPECT_TRUE(name.starts_with("orvtra_dga_") && name.ends_with(".ovt") && name.size() == 31) << name;
    std::ifstream file(*logger.logFileName());
    int whole = 0;
    for (std::string line; std::getline(file, line);)
        whole += line.find("] orvdga 8 thread ") != std::string::npos && line.ends_with(" {not a format %s}");
    EXPECT_EQ(whole, 1000);
}

}  // namespace
