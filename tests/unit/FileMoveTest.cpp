#include "platform/FileMove.h"

#include <gmock/gmock.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "platform/Report.h"
#include "platform/UserFiles.h"

namespace {

namespace fs = std::filesystem;
using testing::UnorderedElementsAre;

void write(const std::string& path, const std::string& content) {
    std::ofstream(path) << content;
}

std::string content(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

class FileMoveTest : public testing::Test {
protected:
    void SetUp() override {
        platform::setReporter([](platform::LogLevel, std::string_view) {});
        fs::create_directories("/tmp/from");
        fs::create_directories("/tmp/to");
        fs::create_directories("/tmp/small");
        write("/tmp/from/a.zip", archive_);
    }

    void TearDown() override {
        umount("/tmp/small");
        for (const char* folder : {"/tmp/from", "/tmp/to", "/tmp/small"})
            fs::remove_all(folder);
        platform::setReporter(nullptr);
    }

    const std::string archive_ = std::string(600000, 'z');
};

TEST_F(FileMoveTest, PutsTheWholeFileInPlaceOnEitherFileSystem) {
    if (mount("none", "/tmp/small", "tmpfs", 0, "size=2m,mode=0700") != 0)
        GTEST_SKIP() << "needs the right to mount";
    for (const std::string folder : {"/tmp/to/", "/tmp/small/"}) {
        const std::string longest(255, 'n');
        for (const std::string& name : {std::string("new.zip"), std::string("old.zip"), longest}) {
            write("/tmp/from/a.zip", archive_);
            write(folder + "old.zip", "old");
            EXPECT_TRUE(platform::moveFile("/tmp/from/a.zip", folder + name)) << folder + name;
            EXPECT_EQ(content(folder + name), archive_);
            EXPECT_FALSE(fs::exists("/tmp/from/a.zip"));
            fs::remove(folder + name);
        }
        fs::remove(folder + "old.zip");
        EXPECT_TRUE(fs::is_empty(folder));
    }
}

TEST_F(FileMoveTest, AFailureLeavesBothEndsAsTheyWere) {
    if (mount("none", "/tmp/small", "tmpfs", 0, "size=64k,mode=0700") != 0)
        GTEST_SKIP() << "needs the right to mount";
    write("/tmp/small/full.zip", "old");
    write("/tmp/to/victim", "precious");
    fs::create_directory("/tmp/to/folder.zip");
    fs::create_symlink("/tmp/to/victim", "/tmp/from/link.zip");
    ASSERT_EQ(mkfifo("/tmp/from/pipe.zip", 0600), 0);

    for (const auto& [from, to] : std::vector<std::pair<const char*, const char*>>{
             {"/tmp/from/a.zip", "/tmp/small/full.zip"},
             {"/tmp/from/a.zip", "/tmp/to/folder.zip"},
             {"/tmp/from/a.zip", "/tmp/nowhere/a.zip"},
             {"/tmp/from/a.zip", "/tmp/to/"},
             {"/tmp/from/a.zip", "relative.zip"},
             {"/tmp/from/a.zip", ""},
             {"/tmp/from/none.zip", "/tmp/to/b.zip"},
             {"/tmp/from/link.zip", "/tmp/to/b.zip"},
             {"/tmp/from/pipe.zip", "/tmp/to/b.zip"},
         }) {
        EXPECT_FALSE(platform::moveFile(from, to)) << from << " to " << to;
        EXPECT_EQ(content("/tmp/from/a.zip"), archive_) << to;
    }
    EXPECT_EQ(content("/tmp/small/full.zip"), "old");
    EXPECT_THAT(platform::namesInUserFolder("/tmp/small"), UnorderedElementsAre("full.zip"));
    EXPECT_THAT(platform::namesInUserFolder("/tmp/to"), UnorderedElementsAre("victim", "folder.zip"));
}

}  // namespace
