#include "platform/UserFiles.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <set>

#include "platform/StorePath.h"

namespace {

namespace fs = std::filesystem;

const fs::path kHome = std::getenv("HOME");
const fs::path kOutside = "/tmp/user-files";

class UserFilesTest : public testing::Test {
protected:
    void SetUp() override { TearDown(); }
    void TearDown() override {
        fs::remove_all(kOutside);
        fs::remove_all(kHome / "files");
    }
    static fs::path write(const fs::path& path) {
        fs::create_directories(path.parent_path());
        std::ofstream(path) << "text";
        return path;
    }
};

TEST_F(UserFilesTest, ReadsAFileUpToALength) {
    const std::string path = write(kOutside / "a.log");
    EXPECT_EQ(platform::readUserFile(path, 100), "text");
    EXPECT_EQ(platform::readUserFile(path, 3), "tex");
}

TEST_F(UserFilesTest, OnlyTheUsersOwnFilesMayBeTaken) {
    const auto giveAway = [](const fs::path& path) {
        if (lchown(path.c_str(), 12345, 12345) != 0)
            GTEST_SKIP() << "needs the right to give files away";
    };
    const fs::path out = kOutside / "a.log";
    const fs::path in = kHome / "files/a.log";
    const fs::path secret = kHome / "files/secret";
    const struct {
        const char* what;
        fs::path path;
        std::function<void()> make;
        const char* fault;  // of the only entry; null for none
    } cases[] = {
        {"a file", out, [&] { write(out); }, ""},
        {"a file at home", in, [&] { write(in); }, ""},
        {"slashes", kHome.string() + "//files//a.log", [&] { write(in); }, ""},
        {"nothing", out, [] {}, nullptr},
        {"a way back", kOutside / "../user-files/a.log", [&] { write(out); },
         "its path is not absolute and plain"},
        {"no absolute path", "a.log", [] {}, "its path is not absolute and plain"},
        {"a link", out, [&] { write(out.parent_path() / "b"), fs::create_symlink("b", out); },
         "it is a link"},
        {"a link on the way", kOutside / "l/secret",
         [&] { write(secret), write(out), fs::create_directory_symlink(kHome / "files", kOutside / "l"); },
         "a link leads to it"},
        {"a link on the way at home", kHome / "files/l/a.log",
         [&] { write(in), write(out), fs::create_directory_symlink(kOutside, kHome / "files/l"); },
         "a link leads to it"},
        {"a folder", kOutside / "d", [] { write(kOutside / "d/x"); },
         "it is a folder outside the home folder"},
        {"a pipe", out, [&] { fs::create_directories(kOutside), mkfifo(out.c_str(), 0600); },
         "it is no regular file"},
        {"another's file", out, [&] { write(out), giveAway(out); }, "it is not the user's"},
        {"another's file at home", in, [&] { write(in), giveAway(in); }, "it is not the user's"},
        {"another's folder", out, [&] { write(out), giveAway(kOutside); }, "it is not the user's"},
        {"a folder that all may change", out, [&] { write(out), fs::permissions(kOutside, fs::perms::all); },
         "others may change its folder"},
        {"a second name where others may put one", out,
         [&] {
             write(out);
             fs::create_hard_link(out, kOutside / "b");
             chmod(kOutside.c_str(), 01777);
         },
         "it has another name elsewhere"},
        {"a large one", out, [&] { write(out), fs::resize_file(out, (size_t{2} << 20) + 1); },
         "it is larger than 2 MiB"},
        {"the largest", out, [&] { write(out), fs::resize_file(out, size_t{2} << 20); }, ""},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.what);
        TearDown();
        test.make();
        if (IsSkipped())
            return;
        const platform::UserFileRule rule{.largest = size_t{2} << 20};
        const auto found = platform::userFilesAt(test.path, rule);
        ASSERT_EQ(found.size(), test.fault ? 1U : 0U);
        if (test.fault) {
            EXPECT_EQ(found[0].path, test.path);
            EXPECT_NE(found[0].fault.find(test.fault), std::string::npos) << found[0].fault;
            EXPECT_EQ(found[0].fault.empty(), *test.fault == '\0');
        }
        const int file = platform::openUserFile(test.path, rule);
        EXPECT_EQ(file >= 0, test.fault && *test.fault == '\0');
        close(file);
    }
    write(out);
    giveAway(out);
    const auto found = platform::userFilesAt(out, {.programFolder = kOutside});
    EXPECT_FALSE(found.at(0).fault.empty()) << "beside the program a file may be root's, but nobody else's";
    ASSERT_EQ(lchown(out.c_str(), 0, 0), 0);
    EXPECT_EQ(platform::userFilesAt(out, {.programFolder = kOutside}).at(0).fault, "");
}

TEST_F(UserFilesTest, AFolderAtHomeGivesItsFilesWithoutFollowingLinks) {
    write(kHome / "files/a/deep/one.log");
    write(kHome / "files/a/.two");
    write(kOutside / "x");
    fs::create_directory_symlink(".", kHome / "files/a/deep/loop");
    fs::create_directory_symlink(kOutside, kHome / "files/a/out");
    std::set<std::string> taken;
    std::set<std::string> left;
    for (const auto& file : platform::userFilesAt(kHome / "files/a", {}))
        (file.fault.empty() ? taken : left).insert(fs::path(file.path).lexically_relative(kHome / "files/a"));
    EXPECT_EQ(taken, (std::set<std::string>{"deep/one.log", ".two"}));
    EXPECT_EQ(left, (std::set<std::string>{"deep/loop", "out"}));
    EXPECT_EQ(platform::namesInUserFolder(kHome / "files/a").size(), 3U);
    EXPECT_TRUE(platform::namesInUserFolder(kHome / "files/a/out").empty());
    EXPECT_FALSE(platform::namesInUserFolder("/tmp").empty());
}

TEST(StorePathTest, AFolderThatIsSomebodyElsesIsReplacedByTheUsersOwn) {
    const std::string cache = kHome / "cache";
    setenv("XDG_CACHE_HOME", cache.c_str(), 1);
    EXPECT_EQ(platform::storePath("store-own"), "/tmp/store-own");
    fs::create_directory("/tmp/store-other");
    fs::permissions("/tmp/store-other", fs::perms::all);
    fs::create_symlink(kHome, "/tmp/store-link");
    for (const std::string name : {"store-other", "store-link"}) {
        const std::string path = platform::storePath(name);
        EXPECT_EQ(path, cache + "/orvanedga/" + name);
        EXPECT_EQ(fs::status(path).permissions() & fs::perms::mask, fs::perms::owner_all);
        fs::remove("/tmp/" + name);
        EXPECT_EQ(platform::storePath(name), path) << "the same as long as the process lives";
    }
    unsetenv("XDG_CACHE_HOME");
}

}  // namespace
