#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <thread>

#include "DGAMonitor/Const/DGALocalizationStrings.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/Session/DGAUtilitiesLocalize.h"
#include "DGAMonitor/Utilities/Tool/DGALanguageManager.h"
#include "platform/BundleInfo.h"
#include "support/StringTable.h"
#include "support/TextTemplate.h"

namespace {

using namespace std::string_literals;
using support::StringTable;

TEST(Language, NumbersChooseTables) {
    const std::vector<std::string> names = {"English", "English", "English", "zh_CN",  "zh_TW",   "Japanese",
                                            "ko",      "French",  "French",  "German", "Italian", "Spanish",
                                            "es_419",  "sv",      "Dutch",   "pt",     "ru",      "tr",
                                            "da",      "English", "English"};
    for (size_t number = 0; number < names.size(); ++number)
        EXPECT_EQ(DGALanguageManager::dga_getActiveLanguageWithLanguageID(static_cast<int64_t>(number)),
                  names[number])
            << number;
    for (const int64_t number : {int64_t{-1}, int64_t{21}, int64_t{1} << 32, INT64_MIN, INT64_MAX})
        EXPECT_EQ(DGALanguageManager::dga_getActiveLanguageWithLanguageID(number), "English") << number;
}

TEST(StringTable, ReadsTextsCommentsAndEscapes) {
    const auto table = StringTable::parse(
        "\xEF\xBB\xBF// \"no\" = \"text\";\r\n"
        "/* \"nor\" = \"this\"; */ \"a\"\n= /* between */ \"1\" ;\"b\"=\"// no /* comment\";\n"
        R"("q\"\\\n\t\r" = "\U00e9\u20AC\UD83D\ude00é;";)");
    ASSERT_FALSE(table.fault()) << table.fault()->what;
    ASSERT_EQ(table.entries().size(), 3U);
    EXPECT_EQ(table.find("a")->value, "1");
    EXPECT_EQ(table.find("b")->value, "// no /* comment");
    EXPECT_EQ(table.find("q\"\\\n\t\r")->value, "é€😀é;");
    EXPECT_EQ(table.find("no"), nullptr);
    EXPECT_TRUE(StringTable::parse("").entries().empty());
}

TEST(StringTable, NamesTheLineOfAFault) {
    const std::vector<std::pair<std::string, size_t>> faults = {
        {"\"a\" = \"1\";\n\n\"a\" = \"2\";", 3},   // the same key
        {"\n\"a\" = \"1\"\n\n\"b\" = \"2\";", 2},  // no semicolon
        {"\"a\" \"1\";", 1},
        {"\"a\" = 1;", 1},
        {"\n\na = \"1\";", 3},
        {"\"a\";", 1},
        {"\"a\" = \"1\";\n}", 2},
        {"\n\"a\" = \"1;\n\"b\" = \"2\";", 2},  // a text over two lines
        {"\"a", 1},
        {"\"a\\", 1},
        {"\n/* \n\n", 2},
        {"/", 1},
        {"\"a\" = \"\\x\";", 1},
        {"\"a\" = \"\\U12\";", 1},
        {"\"a\" = \"\\U+123\";", 1},
        {"\"a\" = \"\\U0000\";", 1},
        {"\"a\" = \"\\UD83D\";", 1},
        {"\"a\" = \"\\UD83D\\U0041\";", 1},
        {"\"a\" = \"\\UDE00\";", 1},
        {"\"a\" = \"\t\";", 1},
        {"\"a\" = \"1\";\n\"b\" = \"\xC3\";", 2},
        {"\"a\" = \"\0\";"s, 1},
        {"\"a\" = \"1\";\xEF\xBB\xBF", 1},
        {std::string(support::kMaxStringTableBytes + 1, ' '), 0},
    };
    for (const auto& [text, line] : faults) {
        const auto table = StringTable::parse(text);
        ASSERT_TRUE(table.fault()) << text.substr(0, 40);
        EXPECT_EQ(table.fault()->line, line) << text.substr(0, 40) << ": " << table.fault()->what;
        EXPECT_TRUE(table.entries().empty() && !table.find("a")) << text.substr(0, 40);
    }
    EXPECT_FALSE(StringTable::parse(std::string(support::kMaxStringTableBytes, ' ')).fault());
    for (const char* path : {"/no such file", "/tmp", "/dev/zero"})
        EXPECT_TRUE(StringTable::read(path).fault()) << path;
}

class Localize : public testing::Test {
protected:
    ~Localize() override { setLanguage(std::nullopt); }

    static void setLanguage(std::optional<std::string> language) {
        DGASessionRecord::sharedRecord().language.set(std::move(language));
    }
};

TEST_F(Localize, EveryLanguageHasEveryText) {
    const std::string folder = platform::BundleInfo::resourceFolder();
    const auto english = StringTable::read(folder + "/English.lproj/Localizable.strings");
    ASSERT_GT(english.entries().size(), 50U);
    std::set<std::string> languages = {"fi", "pl"};
    for (int64_t number = 0; number <= 18; ++number)
        languages.insert(DGALanguageManager::dga_getActiveLanguageWithLanguageID(number));
    ASSERT_EQ(languages.size(), 18U);
    for (const auto& language : languages) {
        const auto table = StringTable::read(folder + "/" + language + ".lproj/Localizable.strings");
        EXPECT_FALSE(table.fault()) << language;
        setLanguage(language);
        for (const auto& entry : english.entries()) {
            const auto* const own = table.find(entry.key);
            ASSERT_TRUE(own) << language << ": " << entry.key;
            EXPECT_EQ(DGAUtilities::dga_localize(entry.key), own->value) << language;
        }
        std::set<std::string> titles;
        for (const char* title :
             {lDGADropListNotResponding, lDGADropListJoining, lDGADropListAudio, lDGADropListVideo,
              lDGADropListSharing, lDGADropListRecording, lDGADropListOther, lDGADropListChooseType,
              lDGADropListSchedule, lDGADropListDevice, lDGADropListMeeting})
            titles.insert(DGAUtilities::dga_localize(title));
        EXPECT_EQ(titles.size(), 11U) << "what a user chooses is told apart by its title: " << language;
    }
}

TEST_F(Localize, FallsBackToTheKey) {
    setLanguage("German");
    EXPECT_EQ(DGAUtilities::dga_localize(lDGACancelStr), "Abbrechen");
    EXPECT_EQ(DGAUtilities::dga_localize("no such text %@"), "no such text %@");
    EXPECT_EQ(DGAUtilities::dga_localize(""), "");

    const std::string outside = "/tmp/outside.lproj";
    std::filesystem::create_directory(outside);
    std::ofstream(outside + "/Localizable.strings") << "\"Cancel\" = \"hostile\";";
    const std::string up = "../../../../../../../../../../../../../../..";
    ASSERT_TRUE(std::filesystem::exists(platform::BundleInfo::resourceFolder() + "/" + up + outside));
    const std::vector<std::optional<std::string>> languages = {std::nullopt,
                                                               "",
                                                               "xx",
                                                               "German ",
                                                               up + "/tmp/outside",
                                                               "./German",
                                                               "German.lproj/../German",
                                                               ".",
                                                               "German\0"s,
                                                               std::string(5000, 'a')};
    for (const auto& language : languages) {
        setLanguage(language);
        EXPECT_EQ(DGAUtilities::dga_localize(lDGACancelStr), "Cancel") << language.value_or("none");
    }
}

TEST_F(Localize, ServesThreadsSideBySide) {
    const auto language = [](int number) {
        return DGALanguageManager::dga_getActiveLanguageWithLanguageID(3 + number % 16);
    };
    std::set<std::string> texts;
    for (int i = 0; i < 16; ++i) {
        setLanguage(language(i));
        texts.insert(DGAUtilities::dga_localize(lDGACancelStr));
    }
    EXPECT_GT(texts.size(), 10U);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int k = 0; k < 200; ++k) {
                EXPECT_TRUE(texts.contains(DGAUtilities::dga_localize(lDGACancelStr)));
                setLanguage(language(k));
            }
        });
    for (auto& thread : threads)
        thread.join();
}

TEST(Placeholders, AreFilledWithoutReadingTheValues) {
    using support::fillPlaceholders;
    EXPECT_EQ(fillPlaceholders("%@\n\n%@", {"a %@ %d %%", "b"}), "a %@ %d %%\n\nb");
    EXPECT_EQ(fillPlaceholders("(%d%%)", {std::to_string(42)}), "(42%)");
    EXPECT_EQ(fillPlaceholders("(%%%d)", {"42"}), "(%42)");
    EXPECT_EQ(fillPlaceholders("%s %n %", {"a"}), "%s %n %") << "not a format string";
    EXPECT_EQ(fillPlaceholders("%@ %@", {"a"}), "a %@");
    EXPECT_EQ(fillPlaceholders("%@.zip", {"a", "b"}), "a.zip");
    EXPECT_EQ(fillPlaceholders("%%@", {"a"}), "%@");
}

}  // namespace
