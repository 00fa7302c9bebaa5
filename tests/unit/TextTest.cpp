#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <regex>

#include "DGAMonitor/Utilities/Catagory/DGAStringDate.h"
#include "DGAMonitor/Utilities/DGAUtilitiesFiles.h"
#include "DGAMonitor/Utilities/DGAUtilitiesText.h"
#include "support/Base64.h"
#include "support/JsonValue.h"
#include "support/ORVNLogger.h"

namespace {

using namespace std::string_literals;

TEST(Base64, EncodesAndDecodes) {
    const std::vector<std::pair<std::string, std::string>> pairs = {{"", ""},
                                                                    {"f", "Zg=="},
                                                                    {"fo", "Zm8="},
                                                                    {"foo", "Zm9v"},
                                                                    {"foobar", "Zm9vYmFy"},
                                                                    {"Weekly", "V2Vla2x5"},
                                                                    {"\0\xFF\xFE"s, "AP/+"}};
    for (const auto& [bytes, text] : pairs) {
        EXPECT_EQ(support::base64Encode(bytes), text);
        EXPECT_EQ(support::base64Decode(text), bytes);
    }
    EXPECT_EQ(DGAUtilities::dga_stringToBase64Str(std::string(48, 'a')).size(), 64U)
        << "one full line, no break";
    const std::string two = DGAUtilities::dga_stringToBase64Str(std::string(49, 'a'));
    EXPECT_EQ(two.substr(62, 6), "Fh\r\nYQ");
    EXPECT_EQ(DGAUtilities::dga_Base64StrToObj(two), std::string(49, 'a')) << "breaks are passed over";
    EXPECT_EQ(DGAUtilities::dga_stringToBase64Str(std::nullopt), "");
    EXPECT_EQ(DGAUtilities::dga_Base64StrToObj(DGAUtilities::dga_stringToBase64Str(nlohmann::json{{"a", 1}})),
              "{\n  \"a\": 1\n}");
    for (const char* bad : {"Z", "Zg=", "Zm9vY", "Zg==Zg==", "/w=="})
        EXPECT_EQ(DGAUtilities::dga_Base64StrToObj(bad), std::nullopt) << bad;
}

TEST(Json, QueriesAnswerByKind) {
    struct Row {
        const char* json;
        std::optional<std::string> text;
        std::optional<int64_t> integer;
        std::optional<uint64_t> unsignedInteger;
        std::optional<bool> flag;
        std::optional<std::string> asSent;
    };
    constexpr auto kMax = std::numeric_limits<int64_t>::max();
    constexpr auto kMin = std::numeric_limits<int64_t>::min();
    const std::vector<Row> rows = {
        {"12", "12", 12, 12U, true, "12"},
        {"-1", "-1", -1, std::numeric_limits<uint64_t>::max(), true, "-1"},
        {"0", "0", 0, 0U, false, "0"},
        {"1.75", "1.75", 1, 1U, true, "1.75"},
        {"0.5", "0.5", 0, 0U, true, "0.5"},
        {"1e3", "1000", 1000, 1000U, true, "1000.0"},
        {"18446744073709551615", "18446744073709551615", kMax, 18446744073709551615U, true,
         "18446744073709551615"},
        {"1e300", "1e+300", kMax, static_cast<uint64_t>(kMax), true, "1e+300"},
        {"-99999999999999999999", "-1e+20", kMin, static_cast<uint64_t>(kMin), true, "-1e+20"},
        {"true", "1", 1, 1U, true, "true"},
        {"false", "0", 0, 0U, false, "false"},
        {"\" 42abc\"", {}, 42, {}, true, " 42abc"},
        {"\"abc\"", {}, 0, {}, false, "abc"},
        {"\"yes\"", {}, 0, {}, true, "yes"},
        {"\" -007\"", {}, -7, {}, true, " -007"},
        {"\"False\"", {}, 0, {}, false, "False"},
        {"\"\"", {}, 0, {}, false, ""},
        {"\"99999999999999999999\"", {}, kMax, {}, true, "99999999999999999999"},
        {"null", {}, {}, {}, {}, {}},
        {"[1, 2]", {}, {}, {}, {}, "[1,2]"},
        {"{\"a\": \"b\"}", {}, {}, {}, {}, "{\"a\":\"b\"}"},
    };
    for (const auto& row : rows) {
        const auto value = support::parseJson(row.json);
        ASSERT_TRUE(value) << row.json;
        EXPECT_EQ(support::jsonStringQuery(*value), row.text) << row.json;
        EXPECT_EQ(support::jsonIntegerQuery(*value), row.integer) << row.json;
        EXPECT_EQ(support::jsonUnsignedQuery(*value), row.unsignedInteger) << row.json;
        EXPECT_EQ(support::jsonBoolQuery(*value), row.flag) << row.json;
        EXPECT_EQ(support::jsonAsSent(*value), row.asSent) << row.json;
    }
}

TEST(Json, RefusesWhatCannotBeReadInGoodOrder) {
    const std::string deep(10000, '[');
    for (const std::string& text :
         {""s, "{"s, "{} {}"s, "{\"a\": \"\xFF\"}"s, "nul"s, deep, deep + std::string(10000, ']'), "\"\\"s})
        EXPECT_FALSE(support::parseJson(text)) << text.substr(0, 20);
    EXPECT_TRUE(support::parseJson(std::string(512, '[') + std::string(512, ']')));
    EXPECT_FALSE(support::parseJson(std::string(513, '[') + std::string(513, ']')));
    EXPECT_TRUE(support::parseJson("[\"" + std::string(2000, '[') + "\\\"{\"]"))
        << "brackets in a text do not count";
}

TEST(Dates, FormatAndParseByPattern) {
    setenv("TZ", "Europe/Berlin", 1);
    tzset();
    const auto when = dga_fetchDateFromSpecificFormat("03152024143025", "MMddyyyyHHmmss");
    ASSERT_TRUE(when);
    EXPECT_EQ(support::formatDate(*when + std::chrono::milliseconds(7), "yyyy-MM-dd HH:mm:ss.SSS"),
              "2024-03-15 14:30:25.007");
    EXPECT_EQ(support::formatDate(*when, "yyyMMdd_HHmmss"), "20240315_143025");
    EXPECT_EQ(support::formatDate(*when, "MM/dd/yyyy HH:mm"), "03/15/2024 14:30");
    EXPECT_EQ(support::formatDate(*when, "M d"), "3 15");
    for (const char* bad : {"", "0315202414302", "031520241430255", "13152024143025", "02302024143025",
                            "03152024243025", "03152024146025", "03152024143061", "0315202a143025"})
        EXPECT_FALSE(dga_fetchDateFromSpecificFormat(bad, "MMddyyyyHHmmss")) << bad;
    EXPECT_TRUE(dga_fetchDateFromSpecificFormat("02292024000000", "MMddyyyyHHmmss")) << "a leap day";
    EXPECT_FALSE(dga_fetchDateFromSpecificFormat("2024-03-15", "yyyy/MM/dd"));
    setenv("TZ", "UTC", 1);
    tzset();
    const std::regex iso(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d[+-]\d\d:\d\d)");
    EXPECT_TRUE(std::regex_match(dga_currentISODateString(), iso)) << dga_currentISODateString();
}

TEST(Utilities, TextsAndIdentifiers) {
    EXPECT_EQ(DGAUtilities::dga_stringWithoutForbiddenSymbolFrom("a.b/c:d\\*?\"<>|"), "abcd");
    EXPECT_EQ(DGAUtilities::dga_stringWithoutForbiddenSymbolFrom("(null)"), "(null)");
    EXPECT_EQ(DGAUtilities::dga_addLineBreakForStr("abcd", 2), "ab\ncd");
    EXPECT_EQ(DGAUtilities::dga_addLineBreakForStr("äö", 1), "ä\nö") << "characters, not bytes";
    EXPECT_EQ(DGAUtilities::dga_addLineBreakForStr("ab", 2), "ab\n");
    EXPECT_EQ(DGAUtilities::dga_addLineBreakForStr("ab", 3), "ab");
    EXPECT_EQ(DGAUtilities::dga_fetchFileSizeAt("/no such file"), 0);
    const std::vector<std::pair<std::optional<std::string>, bool>> trackIDs = {
        {"0123ABCD-0123-4567-89AB-0123456789AB", true},
        {"0123abcd-0123-4567-89ab-0123456789ab", false},
        {"0123456789ABCDEF0123456789ABCDEF_0123456789ABC", true},
        {"0123456789ABCDEF0123456789ABCDEF_0123456789ABCD", false},
        {"x0123ABCD-0123-4567-89AB-0123456789AB", false},
        {"", false},
        {std::nullopt, false},
        {std::string(1 << 20, 'A'), false},
        {"\xFF", false},
    };
    for (const auto& [trackID, valid] : trackIDs)
        EXPECT_EQ(DGAUtilities::isValidTrackID(trackID), valid) << trackID.value_or("(null)").substr(0, 50);
    const std::string uuid = DGAUtilities::createUUID();
    EXPECT_TRUE(DGAUtilities::isValidTrackID(uuid)) << uuid;
    EXPECT_NE(uuid, DGAUtilities::createUUID());
    EXPECT_TRUE(DGAUtilities::isMatchWithPattern("a\nb", "a.b"));
    EXPECT_FALSE(DGAUtilities::isMatchWithPattern("ab", "(")) << "no expression at all";
    EXPECT_FALSE(DGAUtilities::isMatchWithPattern("ab", std::nullopt));
}

TEST(MethodName, IsClassAndMethodWhateverTheSignature) {
    EXPECT_EQ(support::methodName("void DGAThing::doIt()"), "DGAThing::doIt");
    EXPECT_EQ(support::methodName(
                  "static std::optional<std::vector<int, std::allocator<int> > > A::b(const C&, int)"),
              "A::b");
    EXPECT_EQ(support::methodName("const std::string& A::name() const"), "A::name");
    EXPECT_EQ(support::methodName("A::A(int)"), "A::A");
}

}  // namespace
