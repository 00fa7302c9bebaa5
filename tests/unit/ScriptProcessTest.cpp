#include "platform/net/ScriptProcess.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>
#include <thread>

#include "platform/RunLoop.h"
#include "platform/Task.h"
#include "platform/net/PacFunctions.h"

namespace {

using namespace std::chrono_literals;
using platform::ScriptProcess;
using Clock = std::chrono::steady_clock;

const bool sanitized = getenv("ORVANEDGA_SANITIZE") && *getenv("ORVANEDGA_SANITIZE");

ScriptProcess::Settings quickSettings() {
    ScriptProcess::Settings settings;
    settings.deadline = sanitized ? 6000ms : 1500ms;
    settings.lookUpTime = 300ms;
    settings.pause = 60s;
    return settings;
}

std::string answerOf(ScriptProcess& process, const std::string& function) {
    const auto answer = process.call(function, {"a", "b"});
    return (answer.failed ? "failed: " : "") + answer.text;
}

TEST(ScriptProcess, EveryKindOfScriptHasAnAnswer) {
    ScriptProcess process(quickSettings());
    process.define("", "ask", [](const std::string& text) -> std::optional<std::string> {
        return text == "nothing" ? std::nullopt : std::optional("<" + text + ">");
    });
    process.define("page", "ask", [](const std::string& text) { return text + "!"; });
    process.evaluate(
        "function text(a, b) { return a + b; } function none() {} function number() { return 3; }"
        "function thrown() { throw 'a text'; } function error() { return nowhere; }"
        "function deep() { return deep() + 1; } var value = 3; function long() { return 'x'.repeat(100000); }"
        "function nul() { return ask('nothing') === null; } function asks() { return ask('x') + page.ask(1); "
        "}",
        nullptr);
    process.evaluate("function ( {", nullptr);
    const std::pair<const char*, const char*> cases[] = {
        {"text", "ab"},
        {"none", ""},
        {"number", "3"},
        {"thrown", "failed: a text"},
        {"error", "failed: ReferenceError: nowhere is not defined"},
        {"nul", "true"},
        {"asks", "<x>1!"},
        {"value", "failed: there is no function value"},
        {"missing", "failed: there is no function missing"},
        {"long", "failed: the answer is too long"},
    };
    for (const auto& [function, expected] : cases)
        EXPECT_EQ(answerOf(process, function), expected) << function;
    EXPECT_TRUE(answerOf(process, "deep").starts_with("failed: RangeError"));
    EXPECT_EQ(answerOf(process, "text"), "ab") << "the same process goes on";
}

TEST(ScriptProcess, LookUpsAreFewAndBounded) {
    std::atomic<int> asked{0};
    auto settings = quickSettings();
    settings.deadline = 10s;  // twenty questions take a busy machine a while
    ScriptProcess process(settings);
    process.define("", "ask", [&asked](const std::string& text) -> std::optional<std::string> {
        ++asked;
        if (text == "slow")
            std::this_thread::sleep_for(1s);
        return "known";
    });
    process.evaluate(
        "function many() { var n = 0; for (var i = 0; i < 10000; ++i) if (ask('h' + i)) ++n; return n; }"
        "function same() { var n = 0; for (var i = 0; i < 500; ++i) if (ask('one')) ++n; return n; }"
        "function slow() { return ask('slow') === null; }",
        nullptr);
    EXPECT_EQ(answerOf(process, "many"), "20");
    EXPECT_EQ(asked, 20);
    EXPECT_EQ(answerOf(process, "same"), "500");
    EXPECT_EQ(asked, 21);
    int turns = 0;
    platform::Timer timer(platform::RunLoop::main(), 10ms, true, [&turns] { ++turns; });
    EXPECT_EQ(answerOf(process, "slow"), "true");
    EXPECT_GT(turns, 5) << "the loop turns meanwhile";
    std::this_thread::sleep_for(1s);  // `asked` is used by the late one
}

TEST(ScriptProcess, WhatBreaksItCostsOneAnswerAndThenLess) {
    const std::pair<const char*, const char*> cases[] = {
        {"loops", "function bad() { for (;;); }"},
        {"eats memory",
         "function bad() { var list = []; for (;;) list.push(new Array(1000000).join('x') + list.length); }"},
        {"loops while it is read", "for (;;);"},
    };
    for (const auto& [name, script] : cases) {
        SCOPED_TRACE(name);
        if (sanitized && std::string(name) == "eats memory")
            continue;  // has no memory limit there
        ScriptProcess process(quickSettings());
        process.evaluate(std::string("function good() { return 'yes'; }") + script, nullptr);
        const auto start = Clock::now();
        EXPECT_TRUE(process.call("bad", {}).broken);
        if (std::string(script).starts_with("function")) {
            EXPECT_EQ(answerOf(process, "good"), "yes") << "a new process";
        }
        EXPECT_TRUE(process.call("bad", {}).broken);
        const auto again = Clock::now();
        EXPECT_LT(again - start, quickSettings().deadline * 3);
        for (int i = 0; i < 10; ++i)
            EXPECT_TRUE(process.call("good", {}).broken);
        EXPECT_LT(Clock::now() - again, 100ms) << "it is not started again";
    }
}

TEST(ScriptProcess, RefusesWhatCannotRun) {
    ScriptProcess::Settings settings = quickSettings();
    settings.program = "/nonexistent";
    ScriptProcess missing(settings);
    EXPECT_TRUE(missing.call("f", {}).broken);
    settings.program = "/bin/echo";  // writes what is no message, and ends
    ScriptProcess wrong(settings);
    EXPECT_TRUE(wrong.call("f", {}).broken);
    ScriptProcess large(quickSettings());
    bool refused = false;
    large.evaluate(std::string(2 * 1024 * 1024, ' '), [&](const auto& answer) { refused = answer.broken; });
    EXPECT_TRUE(refused);
}

// The library of both routes, a table against what others answer. In 100 cases two may differ.
TEST(ScriptProcess, AnswersAsOthersDo) {
    setenv("TZ", "UTC", 1);
    ScriptProcess process(quickSettings());
    const std::map<std::string, std::string> names = {{"www.example.com", "93.184.216.34"},
                                                      {"intra", "10.1.2.3"},
                                                      {"six.example", "2001:db8::1"},
                                                      {"10.0.0.1", "10.0.0.1"}};
    const auto resolve = [names](const std::string& name) {
        return names.contains(name) ? std::optional(names.at(name)) : std::nullopt;
    };
    process.define("", "dnsResolve", resolve);
    process.define("", "dnsResolveEx",
                   [resolve](const std::string& name) { return resolve(name).value_or(""); });
    process.define("", "myIpAddress", [](const std::string&) { return "192.168.1.5"; });
    process.define("", "myIpAddressEx", [](const std::string&) { return "192.168.1.5;fe80::5"; });
    process.evaluate(std::string("var namesLookedUp = 12;") + platform::kPacFunctions, nullptr);
    process.evaluate(
        "var RealDate = Date, now; Date = function () { return new RealDate(now); };"
        "function clock(list) { now = eval('new RealDate(' + list + ').getTime()'); }"
        "function run(text) { return String(eval(text)); }",
        nullptr);
    std::ifstream file(PAC_CASES);
    int cases = 0;
    int differ = 0;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with('#'))
            continue;
        if (line.starts_with("@ ")) {
            process.call("clock", {line.substr(2)});
            continue;
        }
        for (size_t begin = 0, end = 0; end != std::string::npos; begin = end + 4) {
            end = line.find(" ;; ", begin);
            const std::string one = line.substr(begin, end - begin);
            const size_t arrow = one.rfind(" => ");
            const auto answer = process.call("run", {one.substr(0, arrow)});
            const std::string expected = arrow + 4 <= one.size() ? one.substr(arrow + 4) : "";
            ++cases;
            if (answer.failed || answer.text != expected) {
                ++differ;
                std::cout << one << ", not " << answer.text << "\n";
            }
        }
    }
    EXPECT_GE(cases, 300);
    EXPECT_LE(differ * 50, cases);
    unsetenv("TZ");
}

TEST(ScriptProcess, TakesOldSyntax) {
    const std::pair<const char*, const char*> cases[] = {
        {"'\\101\\60x\\0\\400\\8'.length", "7"},
        {"'\\101\\060'", "A0"},
        {"010 + 0777 + '' + 09 + 0 + 0.5", "519900.5"},
        {"'010 // \\101' + /[/]010\\101/.test('/010A') /* '\\101 010 */ // 010", "010 // Atrue"},
        {"`010` + (8 / 010 / 1) + \"it's \\1011\"", "0101it's A1"},
    };
    for (const auto& [expression, expected] : cases) {
        ScriptProcess process(quickSettings());
        process.evaluate(std::string("var old = 00; function f() { return ") + expression + "\n; }", nullptr);
        EXPECT_EQ(answerOf(process, "f"), expected) << expression;
    }
}

// Scripts of every size up to the limit, which counts without what the program adds.
TEST(ScriptProcess, TakesScriptsOfEverySize) {
    const size_t most = ScriptProcess::kLongestScript;
    for (const size_t size : {size_t{300}, size_t{600} * 1024, most + std::strlen(platform::kPacFunctions)}) {
        ScriptProcess process(quickSettings());
        std::string script = "function f(a, b) { return a + b; } //";
        script += std::string(size - script.size(), 'x');
        process.evaluate(std::move(script), nullptr);
        EXPECT_EQ(answerOf(process, "f"), "ab") << size;
    }
}

// It starts with nothing of ours, and scripts work all the same when it has given up the rest.
TEST(ScriptProcess, IsGivenNothing) {
    setenv("ORVANE_SECRET", "token", 1);
    setenv("TZ", "Asia/Tokyo", 1);
    ScriptProcess process(quickSettings());
    process.evaluate(
        "function zone() { return new Date(2030, 1, 1).getTimezoneOffset() + ' ' + new "
        "Date().toString().length; }"
        "function all() { var list = []; for (var i = 0; i < 100000; ++i) list.push('x' + i);"
        " return /x(1+)2/i.exec(list.join(' '))[1] + 'b'.localeCompare('a') + (1.5).toLocaleString(); }",
        nullptr);
    EXPECT_TRUE(answerOf(process, "zone").starts_with("-540 "));
    EXPECT_EQ(answerOf(process, "all"), "111.5");
    platform::Task task;
    task.program = "/bin/sh";
    task.arguments = {"-c",
                      "p=$(pgrep -P $PPID pac_evaluator); tr '\\0' '\\n' < /proc/$p/environ | cut -d= -f1;"
                      " ls /proc/$p/fd; grep -E 'NoNewPrivs|^Seccomp:' /proc/$p/status | cut -f2"};
    const auto seen = platform::runTask(task).output;
    if (!sanitized) {
        EXPECT_EQ(seen, "1\n1\n2\n") << "its one socket; no new rights, and a filter";
    }
    task.arguments = {"-c", "env"};
    EXPECT_EQ(platform::runTask(task).output.find("ORVANE_SECRET"), std::string::npos);
    unsetenv("TZ");
}

// Two calls at once, a process that somebody kills, and one that is destroyed under its caller.
TEST(ScriptProcess, SurvivesWhatHappensMeanwhile) {
    auto process = std::make_unique<ScriptProcess>(quickSettings());
    std::string inner;
    process->define("", "wait", [](const std::string&) {
        std::this_thread::sleep_for(200ms);
        return "waited";
    });
    process->evaluate(
        "function f() { return wait('x'); } function g() { return 'g'; }"
        "function hang() { for (;;); }",
        nullptr);
    platform::performOnMainAfter(50ms, [&] { inner = answerOf(*process, "g"); });
    EXPECT_EQ(answerOf(*process, "f"), "waited");
    EXPECT_EQ(inner, "g");

    platform::performOnMainAfter(100ms, [] {
        platform::Task task;
        task.program = "/bin/sh";
        // Ours only.
        task.arguments = {"-c", "kill -KILL $(pgrep -P $PPID pac_evaluator)"};
        EXPECT_EQ(platform::runTask(task).exitStatus, 0);
    });
    EXPECT_TRUE(process->call("hang", {}).broken);
    EXPECT_EQ(answerOf(*process, "g"), "g");

    platform::performOnMainAfter(100ms, [&] { process.reset(); });
    auto* const raw = process.get();
    EXPECT_TRUE(raw->call("hang", {}).broken);
    EXPECT_FALSE(process);
}

}  // namespace
