#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "DGAUpload/logic/CFileOperate.h"
#include "DGAUpload/logic/CTraceUpload.h"
#include "DGAUpload/logic/DGAXMLParser.h"
#include "DGAUpload/logic/webaccess/urlcode.h"

namespace {

using namespace std::string_literals;

/// Writes down what it is told, one entry an event.
struct Recorder final : platform::XmlStreamDelegate {
    std::vector<std::string> events;
    void parserDidStartDocument() override { events.emplace_back("start"); }
    void parserDidStartElement(const std::string& name) override { events.push_back("<" + name); }
    void parserFoundCharacters(const std::string& text) override { events.push_back(text); }
    void parserDidEndDocument() override { events.emplace_back("end"); }
    void parserParseErrorOccurred(const platform::XmlParseError& /*error*/) override {
        events.emplace_back("error");
    }
};

std::vector<std::string> eventsOf(const std::string& document) {
    Recorder recorder;
    platform::XmlStreamParser parser(document);
    parser.setDelegate(&recorder);
    const bool isWhole = parser.parse();
    EXPECT_EQ(isWhole, recorder.events.back() == "end");
    return recorder.events;
}

TEST(XmlStream, TellsWhatTheDocumentSays) {
    const std::string utf16 = "\xFF\xFE<\0a\0>\0\xE4\0<\0/\0a\0>\0"s;
    const std::vector<std::pair<std::string, std::vector<std::string>>> cases = {
        {"<a/>", {"start", "<a", "end"}},
        {"<?xml version=\"1.0\"?>\r\n<a>\r\n<b>x</b>\n</a>\r\n",
         {"start", "<a", "\r\n", "<b", "x", "\n", "end"}},
        {"<a>1\r2\r\n3\n\r\n</a>", {"start", "<a", "1\n2\r\n3\n\r\n", "end"}},
        {"<a>x&amp;y&#65;&#x42;z&lt;</a>", {"start", "<a", "x", "&", "y", "A", "B", "z", "<", "end"}},
        {"<a>one<!-- c -->two<?p i?>three<![CDATA[<&\r\n]]>four</a>",
         {"start", "<a", "one", "two", "three", "<&\r\n", "four", "end"}},
        {"<n:a xmlns:n='u' t='>\r\n&amp;'>\n<n:b/><q:c/></n:a>", {"start", "<a", "\n", "<b", "<c", "end"}},
        {"<a>\xC3\xA4\xE2\x82\xAC\xEE\x80\x80</a>",
         {"start", "<a", "\xC3\xA4\xE2\x82\xAC\xEE\x80\x80", "end"}},
        {"\xEF\xBB\xBF<a>x</a>", {"start", "<a", "x", "end"}},
        {"<?xml version='1.0' encoding='ISO-8859-1'?><a>\xE4\r\n</a>",
         {"start", "<a", "\xC3\xA4\r\n", "end"}},
        {utf16, {"start", "<a", "\xC3\xA4", "end"}},
        {"<!DOCTYPE a [<!-- ' -->\r\n<!ENTITY e \"<b>'\r\n\">]>\r\n<a>\r\n</a>",
         {"start", "<a", "\r\n", "end"}},
        {"<!DOCTYPE a SYSTEM 'file:///etc/passwd'><a>x&e;y</a>", {"start", "<a", "x", "y", "end"}},
    };
    for (const auto& [document, events] : cases)
        EXPECT_EQ(eventsOf(document), events) << document;

    const std::string megabyte(1'000'000, 'x');
    EXPECT_EQ(eventsOf("<a>" + megabyte + "\xC3\xA4" + megabyte + "</a>"),
              (std::vector{"start"s, "<a"s, megabyte + "\xC3\xA4" + megabyte, "end"s}));
}

TEST(XmlStream, RefusesWhatIsNotWellFormedOrTooMuch) {
    std::string bomb = "<!DOCTYPE a [<!ENTITY e0 'x'>";
    for (int i = 1; i < 20; ++i)
        bomb += "<!ENTITY e" + std::to_string(i) + " '&e" + std::to_string(i - 1) + ";&e" +
                std::to_string(i - 1) + ";'>";
    std::string deep;
    for (int i = 0; i < 300; ++i)
        deep += "<a>";
    const std::string cases[] = {
        "",
        " ",
        "text",
        "<a>",
        "<a><b></a>",
        "<a>x</a",
        "<a>x</a><b/>",
        "<a>&unknown;</a>",
        "<a b=&amp;></a>",
        "<a>\x01</a>",
        "<a>\0</a>"s,
        "<a>\xFF\xFE</a>",
        "<?xml version='1.0' encoding='no-such'?><a/>",
        bomb + "]><a>&e19;</a>",
        bomb + "]><a b='&e19;'/>",
        "<!DOCTYPE a [<!ENTITY e SYSTEM 'file:///etc/passwd'>]><a>&e;</a>",
        deep,
        std::string(platform::XmlStreamParser::kMostBytes + 1, ' '),
    };
    for (const auto& document : cases) {
        const auto events = eventsOf(document);
        EXPECT_EQ(events.back(), "error") << document.substr(0, 80);
        EXPECT_EQ(std::count(events.begin(), events.end(), "end"), 0) << document.substr(0, 80);
    }
}

TEST(ServerReply, KeepsTheLastTextOfTheElementStartedLast) {
    using Dictionary = DGAXMLParser::Dictionary;
    const std::vector<std::pair<std::string, Dictionary>> cases = {
        {"<R>\n<Status>SUCCESS</Status>\n<ExceedFileNumber>false</ExceedFileNumber>\n</R>",
         {{"Status", "SUCCESS"}, {"ExceedFileNumber", "false"}}},
        {"<R><Status>a&amp;b</Status></R>", {{"Status", "b"}}},
        {"<R><Status>SUCCESS</Status>\n  </R>", {{"Status", "\n  "}}},
        {"<R><Status>SUCCESS</Status>\r\n</R>", {{"Status", "\r\n"}}},
        {"<R>\r\n<Status>SUCCESS</Status></R>", {{"R", "\r\n"}, {"Status", "SUCCESS"}}},
        {"<R><S>1</S><S>2</S><S/></R>", {{"S", "2"}}},
        {"<R/>", {}},
    };
    for (const auto& [reply, expected] : cases) {
        int calls = 0;
        DGAXMLParser::parserValueWith(
            reply,
            [&](const Dictionary& values) {
                ++calls;
                EXPECT_EQ(values, expected) << reply;
            },
            [&](const platform::XmlParseError& error) { ADD_FAILURE() << error.message << reply; })
            ->startParse();
        EXPECT_EQ(calls, 1);
    }
    int failures = 0;
    DGAXMLParser::parserValueWith("<R><Status>SUCCESS</Status>", nullptr, [&](const auto&) {
        ++failures;
    })->startParse();
    DGAXMLParser::parserValueWith("", nullptr, nullptr)->startParse();
    EXPECT_EQ(failures, 1);
}

// The buffers have exactly the room that is asked for, so that a sanitizer sees a byte too many.
std::string encoded(const std::string& text, size_t size) {
    const auto buffer = std::make_unique<char[]>(size + 1);
    return URLEncode(text.c_str(), buffer.get(), size);
}

std::string decoded(const std::string& text, size_t limit) {
    const auto buffer = std::make_unique<char[]>(limit + 1);
    return URLDecode(text.c_str(), buffer.get(), limit);
}

TEST(UrlCode, KeepsToItsLimits) {
    EXPECT_EQ(encoded("aZ09 -\xC3\xA4/", 100), "aZ09%20%2D%C3%A4%2F");
    EXPECT_EQ(encoded("abcdef", 5), "abc");
    EXPECT_EQ(encoded("   ", 5), "%20");
    EXPECT_EQ(encoded("   ", 6), "%20%20") << "the limit is looked at before a byte";
    for (const size_t size : {0U, 1U, 2U})
        EXPECT_EQ(encoded("abc", size), "");
    EXPECT_EQ(decoded("a+b%20c%2dD%2D%C3%A4", 100), "a b c-D-\xC3\xA4");
    EXPECT_EQ(decoded("%41%42%43", 2), "AB");
    EXPECT_EQ(decoded("abc", 0), "");
    EXPECT_EQ(decoded("%4", 9), "%4");
    EXPECT_EQ(decoded("x%", 9), "x%");
    EXPECT_EQ(decoded("%gg", 9), "\x10") << "16 * 16 + 16, in a byte";
    char room[4] = "abc";
    EXPECT_EQ(URLEncode(nullptr, room, 4), nullptr);
    EXPECT_EQ(URLEncode("a", nullptr, 4), nullptr);
    EXPECT_EQ(URLDecode(nullptr, room, 3), nullptr);
    EXPECT_EQ(URLDecode("a", nullptr, 3), nullptr);
}

TEST(FileOperate, CountsAndReadsPieces) {
    const std::vector<std::pair<int64_t, int32_t>> sizes = {
        {0, 0}, {1, 1}, {122879, 1}, {122880, 1}, {122881, 2}, {25'000'000, 204}, {3'000'000'000, 24415}};
    for (const auto& [size, pieces] : sizes) {
        std::ofstream("/tmp/sparse").put('x').flush();
        ASSERT_EQ(truncate("/tmp/sparse", size), 0);
        CFileOperate file;
        ASSERT_TRUE(file.initialize("/tmp/sparse"));
        EXPECT_EQ(file.fileSize(), size);
        EXPECT_EQ(file.getTotalPiece(), pieces);
    }
    std::ofstream("/tmp/ten") << "0123456789";
    CFileOperate file;
    ASSERT_TRUE(file.initialize("/tmp/ten"));
    std::vector<unsigned char> bytes(8);
    unsigned char* buffer = bytes.data();
    EXPECT_EQ(file.getBlockFromFile(8, &buffer), 8U);
    EXPECT_EQ(file.getBlockFromFile(8, &buffer), 2U);
    EXPECT_EQ(bytes[0], '8');
    EXPECT_EQ(file.getBlockFromFile(8, &buffer), 0U);

    ASSERT_EQ(mkfifo("/tmp/pipe", 0600), 0);
    for (const char* path : {"", "/tmp/none", "/tmp", "/tmp/pipe"}) {
        CFileOperate none;
        EXPECT_FALSE(none.initialize(path)) << path;
        EXPECT_EQ(none.getTotalPiece(), 0);
        EXPECT_EQ(none.getBlockFromFile(8, &buffer), 0U);
    }
}

}  // namespace
