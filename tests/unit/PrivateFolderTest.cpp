#include "platform/PrivateFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "platform/Report.h"

namespace {

namespace fs = std::filesystem;
using platform::PrivateFolder;

std::vector<std::string>* reports = nullptr;

class PrivateFolderTest : public testing::Test {
protected:
    void SetUp() override {
        reports = &seen_;
        platform::setReporter([](platform::LogLevel level, std::string_view text) {
            if (level >= platform::LogLevel::warning)
                reports->emplace_back(text);
        });
        fs::remove_all(kRoot);
        fs::create_directory("/tmp/victim");
        std::ofstream("/tmp/victim/precious") << "precious";
    }

    void TearDown() override {
        platform::setReporter(nullptr);
        fs::remove_all(kRoot);
        EXPECT_EQ(content("/tmp/victim/precious"), "precious");
        fs::remove_all("/tmp/victim");
    }

    static std::string content(const std::string& path) {
        std::ostringstream text;
        text << std::ifstream(path).rdbuf();
        return text.str();
    }

    static std::optional<PrivateFolder> openRoot(PrivateFolder::Create create = PrivateFolder::Create::yes) {
        return PrivateFolder::open(kRoot, create);
    }

    static constexpr char kRoot[] = "/tmp/private";
    std::vector<std::string> seen_;
};

TEST_F(PrivateFolderTest, MakesWhatIsMissingForTheUserAlone) {
    EXPECT_FALSE(openRoot(PrivateFolder::Create::no));
    EXPECT_TRUE(seen_.empty()) << "a folder that is not there yet is no fault";
    const auto folder = PrivateFolder::open("/tmp/private/a/b", PrivateFolder::Create::yes);
    ASSERT_TRUE(folder);
    for (const char* path : {"/tmp/private", "/tmp/private/a", "/tmp/private/a/b"})
        EXPECT_EQ(fs::status(path).permissions() & fs::perms::mask, fs::perms::owner_all) << path;

    const auto handles = [] { return std::distance(fs::directory_iterator("/proc/self/fd"), {}); };
    const auto before = handles();
    EXPECT_TRUE(PrivateFolder::open("/tmp/private/a/b", PrivateFolder::Create::no));
    EXPECT_EQ(handles(), before) << "none of the folders on the way stays open";
}

TEST_F(PrivateFolderTest, RefusesWhateverIsNotTheUsersOwnFolder) {
    const std::vector<std::pair<const char*, std::function<void()>>> plants = {
        {"a file", [] { std::ofstream(kRoot) << "x"; }},
        {"a link to a folder", [] { fs::create_symlink("/tmp/victim", kRoot); }},
        {"a dangling link", [] { fs::create_symlink("/tmp/nowhere", kRoot); }},
        {"a folder that all may write to",
         [] {
             fs::create_directory(kRoot);
             fs::permissions(kRoot, fs::perms::all);
         }},
        {"another user's folder",
         [] {
             fs::create_directory(kRoot);
             if (chown(kRoot, 12345, 12345) != 0)
                 GTEST_SKIP() << "needs the right to give a folder away";
         }},
    };
    for (const auto& [name, plant] : plants) {
        fs::remove_all(kRoot);
        seen_.clear();
        plant();
        if (IsSkipped())
            return;
        EXPECT_FALSE(openRoot()) << name;
        EXPECT_FALSE(PrivateFolder::open("/tmp/private/inner", PrivateFolder::Create::yes)) << name;
        EXPECT_FALSE(openRoot()) << name;
        EXPECT_EQ(seen_.size(), 2U) << name << " is reported once for each path";
        fs::remove_all(kRoot);
        EXPECT_TRUE(PrivateFolder::open("/tmp/private/inner", PrivateFolder::Create::yes))
            << "usable again after " << name;
        EXPECT_TRUE(openRoot());
    }
}

TEST_F(PrivateFolderTest, NamesCannotLeaveTheFolder) {
    const auto folder = openRoot();
    ASSERT_TRUE(folder);
    const std::vector<std::string> names = {
        "", ".", "..", "../victim/precious", "a/b", std::string("a\0b", 3)};
    for (const auto& name : names) {
        EXPECT_FALSE(folder->createFile(name)) << name;
        EXPECT_FALSE(folder->appendToFile(name, "x")) << name;
        EXPECT_FALSE(folder->replaceFile(name, "x")) << name;
        EXPECT_FALSE(folder->remove(name)) << name;
        EXPECT_FALSE(folder->subfolder(name, PrivateFolder::Create::yes)) << name;
    }
}

TEST_F(PrivateFolderTest, WritingNeverFollowsALink) {
    const auto folder = openRoot();
    ASSERT_TRUE(folder);
    fs::create_symlink("/tmp/victim/precious", "/tmp/private/link");
    EXPECT_FALSE(folder->appendToFile("link", "x"));
    EXPECT_FALSE(folder->createFile("link"));
    EXPECT_TRUE(folder->replaceFile("link", "new"));
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status("/tmp/private/link")))
        << "the link itself is replaced";
    EXPECT_EQ(content("/tmp/private/link"), "new");
    ASSERT_EQ(mkfifo("/tmp/private/fifo", 0600), 0);
    EXPECT_FALSE(folder->appendToFile("fifo", "x")) << "and does not hang";
}

TEST_F(PrivateFolderTest, RemovingTakesTheTreeAndLeavesWhatLinksPointTo) {
    const auto folder = openRoot();
    ASSERT_TRUE(folder);
    fs::create_directories("/tmp/private/tree/deep/deeper");
    std::ofstream("/tmp/private/tree/deep/file") << "x";
    fs::create_directory_symlink("/tmp/victim", "/tmp/private/tree/deep/link");
    fs::create_directory_symlink("/tmp/victim", "/tmp/private/direct");
    EXPECT_TRUE(folder->remove("tree"));
    EXPECT_TRUE(folder->remove("direct"));
    EXPECT_TRUE(folder->remove("never there"));
    EXPECT_TRUE(folder->entries().empty());
}

TEST_F(PrivateFolderTest, AFullDiskTakesAWholeRecordOrNothing) {
    ASSERT_TRUE(openRoot());
    if (mount("none", kRoot, "tmpfs", 0, "size=64k,mode=0700") != 0)
        GTEST_SKIP() << "needs the right to mount";
    {
        const auto folder = openRoot();
        ASSERT_TRUE(folder);
        const std::string record(3000, 'r');
        int written = 0;
        while (written < 100 && folder->appendToFile("trace", record))
            ++written;
        EXPECT_GT(written, 0);
        ASSERT_LT(written, 100);
        EXPECT_EQ(fs::file_size("/tmp/private/trace"), 3000U * static_cast<unsigned>(written));
        EXPECT_FALSE(folder->replaceFile("topic", std::string(100000, 't')));
        EXPECT_EQ(folder->entries(), std::vector<std::string>{"trace"}) << "no draft is left behind";
    }
    umount(kRoot);
}

}  // namespace
