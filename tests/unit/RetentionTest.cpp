#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <set>

#include "DGAMonitor/Report/DGAReportRetention.h"
#include "DGAMonitor/Report/DGAUtilitiesRetention.h"
#include "platform/PrivateFolder.h"

namespace fs = std::filesystem;

namespace {

const fs::path kStore = "/tmp/orvdga";
const fs::path kOutside = "/tmp/retention-outside";

std::string numbered(const std::string& before, int number, const std::string& after) {
    return before + (number < 10 ? "0" : "") + std::to_string(number) + after;
}

void makeFile(const std::string& name) {
    std::ofstream(kStore / name) << "x";
}

class RetentionTest : public testing::Test {
protected:
    void SetUp() override {
        fs::remove_all(kStore);
        fs::remove_all(kOutside);
        fs::create_directories(kStore);
        fs::permissions(kStore, fs::perms::owner_all);
        fs::create_directories(kOutside);
        std::ofstream(kOutside / "precious") << "precious";
    }
    void TearDown() override {
        EXPECT_TRUE(fs::exists(kOutside / "precious"));
        fs::remove_all(kStore);
        fs::remove_all(kOutside);
    }

    static void makeFolder(const std::string& name) {
        fs::create_directories(kStore / name / "deep");
        std::ofstream(kStore / name / "deep/file") << "x";
        fs::create_directory_symlink(kOutside, kStore / name / "link");
    }

    static std::set<std::string> left() {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(kStore))
            names.insert(entry.path().filename());
        return names;
    }
};

// Entries made one after the other may have the same birth time, but not those before and after this.
void nextMoment() {
    const auto store = platform::PrivateFolder::open(kStore, platform::PrivateFolder::Create::no);
    const auto birthOfAnother = [&store] {
        fs::remove(kStore / "probe");
        makeFile("probe");
        return store->creationTime("probe").value();
    };
    const auto before = birthOfAnother();
    while (birthOfAnother() <= before)
        continue;
    fs::remove(kStore / "probe");
}

TEST_F(RetentionTest, TheOldestOfTooManyGo) {
    struct Case {
        const char* before;
        const char* after;
        bool folder;
        int count;
        int kept;
    };
    const Case cases[] = {
        {"r", ".zip", false, 30, 30},
        {"r", ".zip", false, 31, 25},
        {"backup", "zip", false, 31, 25},
        {"orvanedga_orvaneapp_", ".zip", false, 30, 30},
        {"orvanedga_orvaneapp_", ".zip", false, 32, 25},
        {"orvanedga_orvaneapp_", "", true, 31, 25},
        {"orvanedga_meeting_", "", true, 5, 5},
        {"orvanedga_meeting_", "", true, 6, 5},
        {"orvanedga_meeting_", ".zip", false, 8, 5},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(testing::Message() << test.before << test.after << " " << test.count);
        SetUp();
        std::set<std::string> expected;
        // The oldest has the highest number.
        for (int number = test.count; number-- > 0; nextMoment()) {
            const std::string name = numbered(test.before, number, test.after);
            test.folder ? makeFolder(name) : makeFile(name);
            if (number < test.kept)
                expected.insert(name);
        }
        DGAUtilities::dga_removeExcessiveLogZip();
        EXPECT_EQ(left(), expected);
    }
}

TEST_F(RetentionTest, GroupsDoNotCountTogether) {
    for (int number = 0; number < 25; ++number) {
        makeFile(numbered("hv_", number, ".zip"));
        makeFile(numbered("orvanedga_orvaneapp_", number, ".zip"));
    }
    for (int number = 0; number < 5; ++number)
        makeFolder(numbered("orvanedga_meeting_", number, ""));
    const auto before = left();
    makeFile("notes.txt");
    makeFile(".draft.csv.4711.1");
    makeFile("orvdga_screenshot_20240315_143025.png");
    makeFile("a.ZIP");
    makeFolder("stray folder");
    fs::create_directory_symlink(kOutside, kStore / "stray link");
    fs::create_symlink("/nowhere", kStore / "dangling link");
    DGAUtilities::dga_removeExcessiveLogZip();
    EXPECT_EQ(left(), before);
}

TEST_F(RetentionTest, LinksAreOldEntriesLikeOthersAndAreNotFollowed) {
    fs::create_symlink(kOutside / "precious", kStore / "first.zip");
    fs::create_directory_symlink(kOutside, kStore / "orvanedga_meeting_first");
    for (int number = 0; number < 30; ++number) {
        nextMoment();
        makeFile(numbered("r", number, ".zip"));
    }
    for (int number = 0; number < 5; ++number)
        makeFolder(numbered("orvanedga_meeting_", number, ""));
    DGAUtilities::dga_removeExcessiveLogZip();
    const auto remaining = left();
    EXPECT_EQ(remaining.size(), 30U);
    EXPECT_FALSE(remaining.contains("first.zip"));
    EXPECT_FALSE(remaining.contains("orvanedga_meeting_first"));
}

TEST_F(RetentionTest, VanishedEntriesCountAsTheOldest) {
    std::vector<std::string> names;
    for (int number = 0; number < 8; ++number) {
        names.push_back(numbered("orvanedga_meeting_", number, ""));
        makeFolder(names.back());
        nextMoment();
    }
    fs::remove_all(kStore / names[5]);
    fs::remove_all(kStore / names[6]);
    DGAUtilities::dga__removeExcessiveFile(DGARetentionGroups::kTraceFolders, names);
    EXPECT_EQ(left(), (std::set<std::string>{names[1], names[2], names[3], names[4], names[7]}));
    DGAUtilities::dga__removeExcessiveFile(DGARetentionGroups::kTraceFolders, {names[1]});
    EXPECT_FALSE(left().contains(names[1])) << "at least one goes";
    DGAUtilities::dga__removeExcessiveFile(DGARetentionGroups::kArchives,
                                           {"..", "../retention-outside", "", "."});
}

TEST_F(RetentionTest, AStoreThatIsALinkIsNotCleaned) {
    fs::remove_all(kStore);
    fs::create_directory_symlink(kOutside, kStore);
    DGAUtilities::dga_removeExcessiveLogZip();
    DGAUtilities::dga__removeExcessiveFile(DGARetentionGroups::kArchives, {"precious"});
}

}  // namespace
