#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "DGAMeetingData/DGACSVFileTool.h"
#include "DGAMeetingData/DGAMeetingDataRecordTool.h"
#include "platform/WorkQueue.h"
#include "support/ORVNLogger.h"

namespace {

using Lines = std::vector<std::string>;

constexpr char kAllZero[] = R"({"network":{"networkStatus":1}})";

void send(const std::optional<std::string>& message) {
    DGAMeetingDataRecordTool::shareDataRecordTool().onMessageWithJsonData(message);
}

Lines linesOf(const std::string& path) {
    DGACSVFileTool::traceQueue().sync([] {});
    std::ifstream file(path);
    Lines lines;
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

Lines trace() {
    return linesOf(DGACSVFileTool::shareFileTool().orvdgaCSVFilePath());
}

// What the messages add to the trace, without time and thread.
Lines recordsOf(const Lines& messages) {
    const size_t before = trace().size();
    for (const auto& message : messages)
        send(message);
    Lines records = trace();
    records.erase(records.begin(), records.begin() + static_cast<ptrdiff_t>(before));
    for (auto& record : records)
        record.erase(record.rfind(',', record.rfind(',') - 1));
    return records;
}

// A message that says nothing but one section, in a connected network.
std::string with(const std::string& section) {
    return R"({"network":{"networkStatus":1},)" + section + "}";
}

std::string event(const std::string& number) {
    return with(R"("event":{"eventType":)" + number + "}");
}

std::string audio(const std::string& fields) {
    return with(R"("audioQuality":{)" + fields + "}");
}

std::string video(const std::string& fields) {
    return with(R"("videoQuality":{)" + fields + "}");
}

std::string share(int type) {
    return with(
        R"("shareQuality":{"h264Quality":7,"dlcQuality":6,"videoSendQuality":5,"videoReceiveQuality":4,)"
        R"("audioSendQuality":3,"audioReceiveQuality":2,"shareType":)" +
        std::to_string(type) + "}");
}

std::string cbCode(const std::string& number) {
    return with(R"("meetingService":{"cbConnectionErrorCode":)" + number + "}");
}

std::string nested(size_t depth) {
    return event("1").insert(1, "\"deep\":" + std::string(depth, '[') + std::string(depth, ']') + ",");
}

constexpr char kServices[] =
    R"("meetingService":{"videoSessionErrorCode":113,"audioSessionErrorCode":112,"asSessionErrorCode":111,)"
    R"("nbrSessionErrorCode":110,"fileTransformSessionErrorCode":109,"noteSessionErrorCode":108,)"
    R"("ccSessionErrorCode":107,"pollingSessionErrorCode":106,"chatSessionErrorCode":105,)"
    R"("pdSessionErrorCode":104,"mmpConnectionErrorCode":103,"cbConnectionDelay":102,)"
    R"("cbConnectionErrorCode":101})";

struct Case {
    const char* name;
    Lines messages;
    Lines records;
};

// Every case begins with all values 0 and the network connected.
class MeetingData : public testing::TestWithParam<Case> {
protected:
    void SetUp() override { send(kAllZero); }
};

TEST_P(MeetingData, IsRecorded) {
    EXPECT_EQ(recordsOf(GetParam().messages), GetParam().records);
}

const Lines kServiceRecords = {"32,1,6,,35.0,,101,,0", "32,1,6,,37.0,,102,,0", "32,1,6,,36.0,,103,,0",
                               "32,1,6,,6.0,,104,,0",  "32,1,6,,2.0,,105,,0",  "32,1,6,,1.0,,106,,0",
                               "32,1,6,,4.0,,107,,0",  "32,1,6,,3.0,,108,,0",  "32,1,6,,5.0,,109,,0",
                               "32,1,6,,10.0,,110,,0", "32,1,6,,8.0,,111,,0",  "32,1,6,,9.0,,112,,0",
                               "32,1,6,,7.0,,113,,0"};
const Lines kShowEvent = {"42,1,3,HC Show,0,,0,,0"};
const Lines kDisconnected = {"31,1,6,,2.0,,0,,0"};

const Case kChanges[] = {
    {"network",
     {"{}", "{}", kAllZero, R"({"network":{"networkStatus":0}})"},
     {"31,1,6,,2.0,,0,,0", "31,1,6,,0,,0,,0", "31,1,6,,2.0,,0,,0"}},
    {"services", {with(kServices), with(kServices)}, kServiceRecords},
    {"onlyAnEventResetsTheRest",
     {cbCode("5"), video(R"("sendQuality":1)"), R"({"event":{"eventType":2}})"},
     {"32,1,6,,35.0,,5,,0", "32,1,6,,35.0,,0,,0", "7,1,6,,100.0,,0,,0", "7,1,6,,300.0,,0,,0",
      "7,1,6,,200.0,,1,,0", "42,1,3,HC Hide,0,,0,,0", "31,1,6,,2.0,,0,,0", "7,1,6,,100.0,,0,,0",
      "7,1,6,,300.0,,0,,0", "7,1,6,,200.0,,0,,0"}},
    {"events",
     {event("1"), event("1"), event("2"), event("3"), event("4"), event("5"), event("6")},
     {"42,1,3,HC Show,0,,0,,0", "42,1,3,HC Show,0,,0,,0", "42,1,3,HC Hide,0,,0,,0", "42,1,3,HC Test,0,,0,,0",
      "42,1,3,HC Refresh,0,,0,,0", "42,1,3,HC AV Click,0,,0,,0", "42,1,3,HC Send Report,0,,0,,0"}},
    {"sectionsInOrder",
     {R"({"shareQuality":{"shareType":1},"videoQuality":{"sendQuality":2},"audioQuality":{"audioType":2},)"
      R"("meetingService":{"nbrSessionErrorCode":9},"network":{},"event":{"eventType":3}})"},
     {"42,1,3,HC Test,0,,0,,0", "31,1,6,,2.0,,0,,0", "32,1,6,,10.0,,9,,0", "9,1,6,,100.0,,2,,0",
      "9,1,6,,200.0,,0,,0", "7,1,6,,100.0,,0,,0", "7,1,6,,300.0,,0,,0", "7,1,6,,200.0,,2,,0",
      "8,1,6,,100.0,,1,,0", "8,1,6,,200.0,,0,,0"}},
    {"telephone",
     {audio(R"("audioType":2,"telephoneQuality":3,"sendQuality":9)"),
      audio(R"("audioType":2,"telephoneQuality":4,"sendQuality":9)")},
     {"9,1,6,,100.0,,2,,0", "9,1,6,,200.0,,3,,0", "9,1,6,,100.0,,2,,0", "9,1,6,,200.0,,4,,0"}},
    {"audioWaitsForAType",
     {audio(R"("audioType":0,"sendQuality":3)"), audio(R"("audioType":5,"sendQuality":3)"),
      audio(R"("audioType":5,"sendQuality":3)"),
      audio(R"("audioType":5,"sendQuality":1,"receiveQuality":2,"deviceStatus":-1)")},
     {"9,1,6,,100.0,,1,,0", "9,1,6,,210.0,,3,,0", "9,1,6,,220.0,,0,,0", "9,1,6,,300.0,,0,,0",
      "9,1,6,,100.0,,1,,0", "9,1,6,,210.0,,1,,0", "9,1,6,,220.0,,2,,0", "9,1,6,,300.0,,-1,,0"}},
    {"audioEndsSilently",
     {audio(R"("audioType":1)"), kAllZero, audio(R"("audioType":2)")},
     {"9,1,6,,100.0,,1,,0", "9,1,6,,210.0,,0,,0", "9,1,6,,220.0,,0,,0", "9,1,6,,300.0,,0,,0",
      "9,1,6,,100.0,,2,,0", "9,1,6,,200.0,,0,,0"}},
    {"video",
     {video(R"("receiveQuality":1,"sendQuality":2,"deviceStatus":3)"),
      video(R"("deviceStatus":3,"receiveQuality":1,"sendQuality":2)")},
     {"7,1,6,,100.0,,3,,0", "7,1,6,,300.0,,1,,0", "7,1,6,,200.0,,2,,0"}},
    {"share",
     {share(0), share(1), share(1), share(2), share(3), share(-1)},
     {"8,1,6,,100.0,,1,,0", "8,1,6,,200.0,,6,,0", "8,1,6,,100.0,,2,,0", "8,1,6,,320.0,,2,,0",
      "8,1,6,,310.0,,3,,0", "8,1,6,,450.0,,4,,0", "8,1,6,,400.0,,5,,0", "8,1,6,,100.0,,3,,0",
      "8,1,6,,200.0,,7,,0", "8,1,6,,100.0,,-1,,0", "8,1,6,,320.0,,2,,0", "8,1,6,,310.0,,3,,0",
      "8,1,6,,450.0,,4,,0", "8,1,6,,400.0,,5,,0"}},
};

const Case kOddInput[] = {
    {"empty", {""}, {}},
    {"notJson",
     {cbCode("5"), R"({"event":{"eventType":1})"},
     {"32,1,6,,35.0,,5,,0", "31,1,6,,2.0,,0,,0", "32,1,6,,35.0,,0,,0"}},
    {"notAnObject", {"[]", R"([{"event":{"eventType":1}}])", "5", "\"text\"", "null"}, {}},
    {"eventsWithoutRecord",
     {event("0"), event("-1"), event("7"), event("2147483647"), event("1099511627776")},
     {}},
    {"unknownEventKeepsTheRest", {R"({"event":{"eventType":7},"network":{}})"}, kDisconnected},
    {"sectionsThatAreNotObjects",
     {with(R"("event":1,"meetingService":[5],"audioQuality":"5","videoQuality":null,"shareQuality":true)")},
     {}},
    {"valuesThatAreNotNumbers", {event("[1]"), event("{}"), event("null")}, {}},
    {"numbers",
     {cbCode("-5"), cbCode("2.9"), cbCode("true"), cbCode("\" 42 \""), cbCode("\"text\""),
      cbCode("4294967303"), cbCode("2147483648"), cbCode("1e300"), cbCode("\"-99999999999\""),
      cbCode("18446744073709551616")},
     {"32,1,6,,35.0,,-5,,0", "32,1,6,,35.0,,2,,0", "32,1,6,,35.0,,1,,0", "32,1,6,,35.0,,42,,0",
      "32,1,6,,35.0,,0,,0", "32,1,6,,35.0,,7,,0", "32,1,6,,35.0,,-2147483648,,0",
      "32,1,6,,35.0,,2147483647,,0", "32,1,6,,35.0,,-2147483648,,0", "32,1,6,,35.0,,2147483647,,0"}},
    {"deep", {nested(500)}, kShowEvent},
    {"tooDeep", {nested(10000)}, kDisconnected},
};

std::string nameOf(const testing::TestParamInfo<Case>& info) {
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Changes, MeetingData, testing::ValuesIn(kChanges), nameOf);
INSTANTIATE_TEST_SUITE_P(OddInput, MeetingData, testing::ValuesIn(kOddInput), nameOf);

TEST(MeetingDataMessage, ThatIsAbsentIsIgnored) {
    send(kAllZero);
    const size_t before = trace().size();
    send(std::nullopt);
    EXPECT_EQ(trace().size(), before);
}

TEST(MeetingDataLog, HasTheMessagesAndWhatIsWrongWithThem) {
    ORVNLogger::sharedLogger().initParams({.subPath = "dga", .fileNamePrefix = "test_", .maxFileNum = 1});
    const std::string unknown = event("7");
    for (const auto& message : {unknown, std::string("[\"%s{}\"]")})
        send(message);
    const auto path = ORVNLogger::sharedLogger().logFileName();
    ASSERT_TRUE(path);
    const Lines log = linesOf(*path);
    const Lines expected = {"orvdga 2 parseJson: " + unknown, "orvdga 8 parseJson: no event has the number 7",
                            "orvdga 2 parseJson: [\"%s{}\"]",
                            "orvdga 8 parseJson: the message is not an object but of type array"};
    ASSERT_EQ(log.size(), expected.size());
    for (size_t i = 0; i < log.size(); ++i)
        EXPECT_TRUE(log[i].ends_with(expected[i])) << log[i];
}

}  // namespace
