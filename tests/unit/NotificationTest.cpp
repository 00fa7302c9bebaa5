#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>
#include <vector>

#include "platform/DistributedNotificationCenter.h"
#include "platform/RunLoop.h"

namespace {

using namespace std::chrono_literals;
using platform::DistributedNotificationCenter;
using platform::Notification;
using platform::RunLoop;

void runShell(const std::string& command) {
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
}

std::string emitCommand(const std::string& arguments) {
    return "gdbus emit --session --object-path /com/tellan/orvane/DistributedNotifications"
           " --signal com.tellan.orvane.DistributedNotifications.Posted " +
           arguments;
}

TEST(DistributedNotifications, AnObserverGetsItsNameInOrderAndNothingElse) {
    auto& center = DistributedNotificationCenter::defaultCenter();
    ASSERT_TRUE(center.isConnected());
    std::vector<Notification> got;
    const auto observer = center.addObserver("NAME_1", [&](const Notification& notification) {
        got.push_back(notification);
        if (notification.object == "last")
            RunLoop::main().stop();
    });
    center.postNotification({"NAME_2", std::nullopt, {}}, true);
    center.postNotification({"NAME_12", std::nullopt, {}}, true);
    for (int i = 0; i < 100; ++i) {
        center.postNotification({"NAME_1", std::to_string(i), {{"DgaJsonData", "{\"ä\": 1}"}}}, false);
        for (int turn = 0; i % 10 == 9 && got.size() <= static_cast<size_t>(i) && turn < 1000; ++turn)
            RunLoop::main().runFor(5ms);
    }
    center.postNotification({"NAME_1", std::nullopt, {}}, true);
    center.postNotification({"NAME_1", "last", {{"bad", "\xFF\xFE"}}}, true);
    RunLoop::main().runFor(5s);
    ASSERT_EQ(got.size(), 102U);
    for (size_t i = 0; i < 100; ++i) {
        EXPECT_EQ(got[i].object, std::to_string(i));
        EXPECT_EQ(got[i].userInfo.at("DgaJsonData"), "{\"ä\": 1}");
    }
    EXPECT_EQ(got[100].object, std::nullopt) << "\"\" is nil";
    EXPECT_EQ(got[101].userInfo.count("bad"), 1U) << "text that is not UTF-8 does not cost the connection";
    center.removeObserver(observer);
    center.postNotification({"NAME_1", std::nullopt, {}}, true);
    RunLoop::main().runFor(100ms);
    EXPECT_EQ(got.size(), 102U);
}

TEST(DistributedNotifications, WhatComesTooFastIsPassedOverAndHeartbeatsOvertake) {
    auto& center = DistributedNotificationCenter::defaultCenter();
    std::vector<std::string> got;
    uint64_t passedOver = 0;
    const auto take = [&](const Notification& notification) {
        got.push_back(notification.name + notification.object.value_or(""));
        passedOver += notification.passedOver;
        if (notification.object == "last")
            RunLoop::main().stop();
    };
    const auto slow = center.addObserver("SLOW", take);
    const auto beat = center.addObserver("BEAT", take, DistributedNotificationCenter::Delivery::overtaking);
    // Each twice as long as may be, or half of it.
    const std::string tooLong(DistributedNotificationCenter::kMaxTextLength + 1, 'x');
    const std::string half(DistributedNotificationCenter::kMaxTextLength / 2, 'x');
    center.postNotification({"SLOW", "ignored", {{"text", tooLong}}}, true);
    for (int i = 0; i < 100; ++i)
        center.postNotification({"SLOW", std::to_string(i), {}}, false);
    center.postNotification({"BEAT", "", {}}, true);
    std::this_thread::sleep_for(200ms);
    center.deliverOvertaking();
    EXPECT_EQ(got, std::vector<std::string>{"BEAT"});
    center.postNotification({"SLOW", "last", {{"text", half}}}, true);
    RunLoop::main().runFor(5s);
    EXPECT_EQ(got.size() - 1 + passedOver, 101U) << "all are accounted for";
    EXPECT_LE(got.size(), 18U);
    EXPECT_EQ(got.back(), "SLOWlast");

    for (const char* text : {"1", "2", "3"})
        center.postNotification({"SLOW", text, {}}, true);
    std::this_thread::sleep_for(200ms);
    got.clear();
    center.deliverLatest("SLOW");
    RunLoop::main().runFor(50ms);
    EXPECT_EQ(got, std::vector<std::string>{"SLOW3"});
    center.removeObserver(slow);
    center.removeObserver(beat);
}

TEST(DistributedNotifications, SignalsOfOddFormAreIgnored) {
    auto& center = DistributedNotificationCenter::defaultCenter();
    int got = 0;
    std::string text;
    const auto observer = center.addObserver("ODD", [&](const Notification& notification) {
        ++got;
        const auto found = notification.userInfo.find("DgaJsonData");
        if (found != notification.userInfo.end())
            text = found->second;
    });
    runShell(emitCommand("ODD"));
    runShell(emitCommand("ODD '\"\"' 12"));
    runShell(emitCommand("ODD '\"\"' \"{'DgaJsonData': <42>, 'other': <['list']>}\""));
    for (int i = 0; i < 1000 && got == 0; ++i)
        RunLoop::main().runFor(10ms);
    EXPECT_EQ(got, 1) << "only the last has the right signature";
    EXPECT_EQ(text, "") << "a number is no text";
    center.removeObserver(observer);
}

}  // namespace
