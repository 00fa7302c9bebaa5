#include <gtest/gtest.h>

#include <chrono>
#include <clocale>
#include <cstdlib>

#include "DGAMonitor/Windows/DGAApplicationWindows.h"
#include "DGAMonitor/Windows/DGAWindowModuleEntry.h"
#include "platform/RunLoop.h"

// The module as the core sees it: this program links no toolkit.

namespace {

using Clock = std::chrono::steady_clock;

double millisecondsSince(Clock::time_point begin) {
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

struct NoAnswer final : DGAFrozeWindowDelegate {
    void frozeWindowButtonDidClickWithIndex(int /*index*/) override {}
};

class WindowModuleTest : public testing::Test {
protected:
    // What the log says while no prompt can be made.
    static std::string complaint() {
        testing::internal::CaptureStderr();
        EXPECT_FALSE(windows().makeFrozeWindow(std::make_shared<NoAnswer>()));
        return testing::internal::GetCapturedStderr();
    }

    // How long it takes to a prompt that the X server shows.
    static double millisecondsToShow() {
        const auto begin = Clock::now();
        const auto prompt = windows().makeFrozeWindow(std::make_shared<NoAnswer>());
        if (!prompt)
            return -1;
        prompt->center();
        prompt->show();
        while (std::system("xdotool search --onlyvisible --name 'Problem Reporting' >/dev/null") != 0)
            platform::RunLoop::main().runFor(std::chrono::milliseconds(1));
        const double taken = millisecondsSince(begin);
        EXPECT_TRUE(windows().anyVisible());
        prompt->close();
        EXPECT_FALSE(windows().anyVisible());
        return taken;
    }

    static DGAApplicationWindows& windows() { return DGAApplicationWindows::sharedWindows(); }
};

TEST_F(WindowModuleTest, WhatIsMissingCostsALineAndMayComeLater) {
    EXPECT_EQ(complaint().find("module"), std::string::npos) << "opened a module that nobody named";
    windows().setModuleName("libnosuchmodule");
    EXPECT_NE(complaint().find("there is no not-responding prompt to show: the module libnosuchmodule"),
              std::string::npos);
    windows().setModuleName("libdgacore");
    EXPECT_NE(complaint().find("cannot be used"), std::string::npos);

    windows().setModuleName(kDGAWindowModuleName);
    const std::string display = getenv("DISPLAY");
    unsetenv("DISPLAY");
    EXPECT_NE(complaint().find("no display answers"), std::string::npos);
    setenv("DISPLAY", ":4711", 1);
    EXPECT_NE(complaint().find("no display answers"), std::string::npos);
    setenv("QT_QPA_PLATFORM", "nosuchplatform", 1);
    EXPECT_NE(complaint().find("no display answers"), std::string::npos);
    unsetenv("QT_QPA_PLATFORM");
    setenv("DISPLAY", display.c_str(), 1);

    const double first = millisecondsToShow();
    const double later = millisecondsToShow();
    EXPECT_GT(first, 0);
    EXPECT_GT(later, 0);
    RecordProperty("first_window_ms", std::to_string(first));
    RecordProperty("later_window_ms", std::to_string(later));
    EXPECT_STREQ(setlocale(LC_NUMERIC, nullptr), "C");
    EXPECT_STREQ(setlocale(LC_TIME, nullptr), "C");
}

}  // namespace
