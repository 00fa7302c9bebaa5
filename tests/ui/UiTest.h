#pragma once

#include <gtest/gtest.h>

#include <QWidget>
#include <chrono>
#include <functional>
#include <string>

// Windows under test: a real display, real clicks and keys (xdotool), and the loop that serves them in the
// assistant. A failed expectation leaves a picture of the screen with ctest's results if $ORVANEDGA_PICTURES
// names a folder.

namespace ui {

/// The base of tests that show windows: starts the toolkit, and moves the pointer out of the way.
class UiTest : public testing::Test {
protected:
    UiTest();  // before the windows that a test has as members
    void SetUp() override;
    void TearDown() override;
};

/// Serves the main loop until the condition holds; false if it does not within ten seconds.
bool waitUntil(const std::function<bool()>& condition);

/// Serves the main loop for a while.
void runFor(std::chrono::milliseconds time);

/// Serves the loop until the window is on the screen and has the keyboard.
bool waitUntilActive(const QWidget& window);

// What a user does. Each returns when the events have been handled.
void moveTo(const QWidget& widget, QPoint offset);
void moveTo(const QWidget& widget);
void click(const QWidget& widget);
void press(const std::string& keys);  ///< as xdotool names them, "shift+Tab"
void type(const std::string& text);

/// What the process holds of memory now.
long residentKilobytes();

/// Whether this is a sanitizer build, in which figures of cost mean little.
bool isSanitized();

/// Writes a picture of the whole screen to $ORVANEDGA_PICTURES/<name>.png, if that is set.
void takePicture(const std::string& name);

}  // namespace ui
