#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <map>
#include <sstream>

#include "DGAMeetingData/DGACSVFileTool.h"
#include "DGAMonitor/DGAMonitorToolManager.h"
#include "DGAMonitor/Session/DGASessionRecord.h"
#include "DGAMonitor/Utilities/DGAUtilitiesText.h"
#include "platform/DistributedNotificationCenter.h"
#include "platform/WorkQueue.h"
#include "support/ORVNLogger.h"

namespace {

using Text = std::optional<std::string>;

DGASessionRecord& record() {
    return DGASessionRecord::sharedRecord();
}

void send(const std::string& json) {
    DGAMonitorToolManager::shareManager().dealMessageFromClient(
        {"name", std::nullopt, {{"DgaJsonData", json}}});
}

std::map<std::string, Text> fields() {
    auto& m = record();
    return {{"pID", m.pID.get()},
            {"clientVersion", m.clientVersion.get()},
            {"confID", m.confID.get()},
            {"confName", m.confName.get()},
            {"userID", m.userID.get()},
            {"userName", m.userName.get()},
            {"userEmail", m.userEmail.get()},
            {"siteID", m.siteID.get()},
            {"siteURL", m.siteURL.get()},
            {"meetingKey", m.meetingKey.get()},
            {"smac", m.smac.get()},
            {"smacTimestap", m.smacTimestap.get()},
            {"uploadURL", m.uploadURL.get()},
            {"logFileName", m.logFileName.get()},
            {"languageID", m.languageID.get()},
            {"language", m.language.get()},
            {"telemetrySessionID", m.telemetrySessionID.get()},
            {"telemetryMetricsURL", m.telemetryMetricsURL.get()},
            {"serviceType", std::to_string(m.serviceType.load())},
            {"flags", std::string() + (m.isSignStatus ? "s" : "-") + (m.enableSendReport ? "r" : "-") +
                          (m.telemetryEnable ? "t" : "-") + (m.enableAccompnyDGA ? "a" : "-")},
            {"headers", m.telemetryHttpHeaders.get() ? Text("set") : std::nullopt}};
}

// What a message changes in the record, the ever new tracking id left aside.
std::map<std::string, Text> changesBy(const std::string& json) {
    const auto before = fields();
    send(json);
    std::map<std::string, Text> changed;
    for (const auto& [key, value] : fields()) {
        if (value != before.at(key) && key != "telemetrySessionID")
            changed[key] = value;
    }
    return changed;
}

const char* const kFull =
    R"({"serviceType": 1, "signInStatus": true, "processID": "4711", "activeLanguage": 9,
    "clientVersion": "43.1", "enableSendProblemReport": true, "enableTelementry": true, "enableAccompnyDGA": true,
    "telemetrySessionID": "0123ABCD-0123-4567-89AB-0123456789AB", "telemetryMetricsURL": "https://me:pw@m.example/v1?hook=1",
    "telemetryHttpHeaders": {"X-Token": "t0ken"}, "confId": "123",
    "uploadURL": "https://s.example/upload.do?next=upload.do", "smac": "s3cret", "confName": "Weekly.123 and .123",
    "UserID": 77, "siteID": 5, "siteURL": "https://s.example", "userName": "Ann", "meetingKey": 998877,
    "smacTimestap": 1234, "userEmail": "ann@s.example", "logFileName": "/tmp/orvtra_x.ovt"})";

class SessionParameters : public testing::Test {
protected:
    static void SetUpTestSuite() {
        ORVNLogger::sharedLogger().initParams(
            {.subPath = "dga", .fileNamePrefix = "orvtra_dga_", .maxFileNum = 30});
    }
    void SetUp() override { send(kFull); }
};

TEST_F(SessionParameters, AFullMessageFillsTheRecord) {
    const std::map<std::string, Text> expected = {
        {"pID", "4711"},
        {"clientVersion", "43.1"},
        {"confID", "123"},
        {"confName", "Weekly and "},
        {"userID", "77"},
        {"userName", "Ann"},
        {"userEmail", "ann@s.example"},
        {"siteID", "5"},
        {"siteURL", "https://s.example"},
        {"meetingKey", "998877"},
        {"smac", "s3cret"},
        {"smacTimestap", "1234"},
        {"uploadURL", "https://s.example/spr.do?next=spr.do"},
        {"logFileName", "/tmp/orvtra_x.ovt"},
        {"languageID", "9"},
        {"language", "German"},
        {"telemetrySessionID", "0123ABCD-0123-4567-89AB-0123456789AB"},
        {"telemetryMetricsURL", "https://me:pw@m.example/v1?hook=1"},
        {"serviceType", "1"},
        {"flags", "srta"},
        {"headers", "set"}};
    EXPECT_EQ(fields(), expected);
}

TEST_F(SessionParameters, KeysFollowTheirRules) {
    // Keys that are stored as sent: a message without them clears them.
    const std::string rest =
        R"("processID": "4711", "clientVersion": "43.1", "telemetryMetricsURL": "https://me:pw@m.example/v1?hook=1",
        "telemetryHttpHeaders": {"X-Token": "t0ken"}, "confId": "123", "uploadURL": "https://s.example/spr.do?next=spr.do",
        "smac": "s3cret", "confName": "Weekly and ", "siteID": "5", "siteURL": "https://s.example", "userName": "Ann",
        "userEmail": "ann@s.example", "logFileName": "/tmp/orvtra_x.ovt", )";
    using Changes = std::map<std::string, Text>;
    const std::vector<std::pair<std::string, Changes>> rows = {
        {R"("serviceType": 1})", {}},
        {R"("x": 1})", {}},
        {R"("serviceType": 12})", {}},
        {R"("serviceType": 11})", {{"serviceType", "11"}}},
        {R"("serviceType": -3})", {{"serviceType", "-3"}}},
        {R"("serviceType": "2"})", {{"serviceType", "2"}}},
        {R"("serviceType": {}})", {}},
        {R"("serviceType": 99999999999999999999999})", {}},
        {R"("activeLanguage": "3"})", {{"languageID", "3"}, {"language", "zh_CN"}}},
        {R"("activeLanguage": 20})", {{"languageID", "20"}, {"language", "English"}}},
        {R"("activeLanguage": -1})", {{"languageID", "-1"}, {"language", "English"}}},
        {R"("activeLanguage": [9]})", {}},
        {R"("signInStatus": false, "enableSendProblemReport": 0, "enableTelementry": "no", "enableAccompnyDGA": "0"})",
         {{"flags", "----"}}},
        {R"("signInStatus": null, "enableSendProblemReport": {}, "enableTelementry": [], "enableAccompnyDGA": null})",
         {}},
        {R"("processID": 815})", {{"pID", "815"}}},
        {R"("processID": "none"})", {{"pID", {}}}},
        {R"("processID": "1"})", {{"pID", {}}}},
        {R"("processID": -815})", {{"pID", {}}}},
        {R"("processID": "815 "})", {{"pID", {}}}},
        {R"("processID": 99999999999})", {{"pID", {}}}},
        {R"("processID": {"a": 1}})", {{"pID", {}}}},
        {R"("processID": null})", {{"pID", {}}}},
        {R"("UserID": 4294967297})", {{"userID", "1"}}},
        {R"("UserID": -1})", {{"userID", "4294967295"}}},
        {R"("UserID": "12"})", {}},
        {R"("siteID": 12})", {{"siteID", "12"}}},
        {R"("meetingKey": "12", "smacTimestap": "12"})", {}},
        {R"("meetingKey": 1.5, "smacTimestap": 18446744073709551615})",
         {{"meetingKey", "1.5"}, {"smacTimestap", "18446744073709551615"}}},
        {R"("confId": null, "confName": "a.b."})", {{"confID", ""}, {"confName", "a.b."}}},
        {R"("confId": 9, "confName": "a.9.99"})", {{"confID", "9"}, {"confName", "a9"}}},
        {R"("confName": 7})", {{"confName", "7"}}},
        {R"("uploadURL": "https://s.example/up"})", {{"uploadURL", "https://s.example/up"}}},
        {R"("telemetryHttpHeaders": null, "telemetryMetricsURL": ""})", {{"telemetryMetricsURL", ""}}},
    };
    for (const auto& [json, expected] : rows) {
        send(kFull);
        // A later key of the same name wins.
        EXPECT_EQ(changesBy("{" + rest + json), expected) << json;
    }
    send(kFull);
    EXPECT_EQ(
        changesBy(R"({"serviceType": 2, "processID": "2", "confId": "x", "UserID": 1, "userEmail": "y"})"),
        (Changes{{"serviceType", "2"},
                 {"pID", "2"},
                 {"clientVersion", {}},
                 {"telemetryMetricsURL", {}},
                 {"headers", {}}}))
        << "only the meeting service has a meeting";
}

TEST_F(SessionParameters, MessagesThatSayNothingChangeNothing) {
    for (const std::string& json :
         {std::string(), std::string("{"), std::string("[1]"), std::string("\"text\""), std::string("42"),
          std::string("{\"confId\": \"\xFF\"}"), std::string(10000, '['),
          "{\"confId\": " + std::string(10000, '{')}) {
        EXPECT_TRUE(changesBy(json).empty()) << json.substr(0, 20);
    }
    const auto before = fields();
    DGAMonitorToolManager::shareManager().dealNormalStart({"name", std::nullopt, {}});
    DGAMonitorToolManager::shareManager().dealNormalStart(
        {"name", std::nullopt, {{"Other", "{\"confId\": \"1\"}"}}});
    EXPECT_EQ(fields(), before);
    EXPECT_EQ(
        changesBy("{\"serviceType\": 1, \"userName\": \"" + std::string(1 << 20, 'u') + "\"}").at("userName"),
        std::string(1 << 20, 'u'));
}

TEST_F(SessionParameters, ABadTrackingIDIsReplaced) {
    for (const char* json : {R"({})", R"({"telemetrySessionID": ""})", R"({"telemetrySessionID": 12})",
                             R"({"telemetrySessionID": "0123abcd-0123-4567-89ab-0123456789ab"})",
                             R"({"telemetrySessionID": "0123ABCD-0123-4567-89AB-0123456789AB\n"})"}) {
        send(json);
        const auto first = record().telemetrySessionID.get();
        EXPECT_TRUE(DGAUtilities::isValidTrackID(first)) << json;
        send(json);
        EXPECT_NE(record().telemetrySessionID.get(), first) << json;
    }
}

TEST_F(SessionParameters, AreTracedInOrderAndLoggedWithoutPersonalData) {
    DGACSVFileTool::traceQueue().sync([] {});
    std::ifstream file(DGACSVFileTool::shareFileTool().orvdgaCSVFilePath());
    file.seekg(0, std::ios::end);
    const auto start = file.tellg();
    record().telemetryMrg.reset();
    send(kFull);
    DGACSVFileTool::traceQueue().sync([] {});
    file.seekg(start);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
        lines.push_back(line.substr(0, line.find(",0,,0,")));
    const std::string own = std::to_string(getpid());
    EXPECT_EQ(
        lines,
        (std::vector<std::string>{
            "39,1,1,platform,0,Mac", "39,1,1,service,0,HV", "39,1,1,confid,0,123",
            "39,1,1,confname,1.0,V2Vla2x5IGFuZCA=", "39,1,1,userid,0,77", "39,1,1,username,1.0,QW5u",
            "39,1,1,siteurl,0,https://s.example", "39,1,1,trackingid,0,0123ABCD-0123-4567-89AB-0123456789AB",
            "39,1,1,clientversion,0,43.1", "39,1,1,targetpid,0,4711", "39,1,1,dgapid,0," + own}));
    const std::string longName(69, 'n');
    send(R"({"siteURL": "a\n39,1,1,forged,0,,0,,0,T,1\r\u2028\u0085b", "userName": ")" + longName + "\"}");
    DGACSVFileTool::traceQueue().sync([] {});
    file.clear();
    lines.clear();
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    ASSERT_EQ(lines.size(), 11U);
    EXPECT_TRUE(lines[6].starts_with("39,1,1,siteurl,0,a 39,1,1,forged,0,,0,,0,T,1   b,0,,0,")) << lines[6];
    EXPECT_EQ(lines[5].find('\r'), std::string::npos);
    EXPECT_EQ(DGAUtilities::dga_Base64StrToObj(lines[5].substr(20, 92)), longName);
    std::ostringstream log;
    log << std::ifstream(ORVNLogger::sharedLogger().logFileName().value_or("")).rdbuf();
    EXPECT_NE(log.str().find("dealMessageFromClient，jsonStr={"), std::string::npos);
    for (const char* kept : {"X-Token", "https://s.example/upload.do", "https://m.example/v1"})
        EXPECT_NE(log.str().find(kept), std::string::npos) << kept;
    for (const char* personal : {"ann@s.example", "998877", "Weekly", "userEmail", "meetingKey", "confName",
                                 "s3cret", "smac\"", "t0ken", "next=", "hook", "me:"})
        EXPECT_EQ(log.str().find(personal), std::string::npos) << personal;
}

}  // namespace
