// The launcher's window choice as the program reads it: which texts ask for a window, which sizes
// are taken, and that an unusable size still gives a window at the default size and says why.
#include "WindowOption.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

struct WindowCase {
    const char* text;
    bool windowed;
    // The size the window opens at; zero where no window is asked for.
    int width;
    int height;
    // Whether the text was a usable size (the log line then names only the size).
    bool understood;
};

constexpr int kW = WindowOption::kDefaultWidth;
constexpr int kH = WindowOption::kDefaultHeight;

const WindowCase kCases[] = {
    {nullptr, false, 0, 0, true},
    {"", false, 0, 0, true},
    {"800x600", true, 800, 600, true},
    {"1280x720", true, 1280, 720, true},
    {"640x480", true, 640, 480, true},
    {"16384x16384", true, 16384, 16384, true},
    {"0800x0600", true, 800, 600, true},
    // Below the smallest or beyond the largest side, on either side.
    {"639x480", true, kW, kH, false},
    {"640x479", true, kW, kH, false},
    {"16385x600", true, kW, kH, false},
    {"800x16385", true, kW, kH, false},
    // Digits enough to overflow an int must not wrap round into the accepted range.
    {"4294968096x600", true, kW, kH, false},
    {"800x99999999999999999999", true, kW, kH, false},
    // Not WIDTHxHEIGHT.
    {"800", true, kW, kH, false},
    {"800x", true, kW, kH, false},
    {"x600", true, kW, kH, false},
    {"800X600", true, kW, kH, false},
    {"800x600x32", true, kW, kH, false},
    {"800x600 ", true, kW, kH, false},
    {" 800x600", true, kW, kH, false},
    {"-800x600", true, kW, kH, false},
    {"+800x600", true, kW, kH, false},
    {"800x-600", true, kW, kH, false},
    {"yes", true, kW, kH, false},
};

TEST(WindowOptionTest, TextsAskForTheirWindow) {
    for (const WindowCase& c : kCases) {
        SCOPED_TRACE(c.text != nullptr ? std::string("\"") + c.text + "\"" : "unset");
        const WindowOption option(c.text);
        ASSERT_EQ(option.windowed(), c.windowed);
        if (!c.windowed) {
            continue;
        }
        EXPECT_EQ(option.width(), c.width);
        EXPECT_EQ(option.height(), c.height);
        const std::string line = option.describe();
        const std::string size = std::to_string(c.width) + "x" + std::to_string(c.height);
        EXPECT_NE(line.find(" " + size + " window"), std::string::npos) << line;
        // An unusable text is quoted in the line, so the player sees what was not understood.
        EXPECT_EQ(line.find(std::string("\"") + c.text + "\"") != std::string::npos, !c.understood)
            << line;
    }
}

TEST(WindowOptionTest, ReadsTheLaunchersVariable) {
    unsetenv(WindowOption::kVariable);
    EXPECT_FALSE(WindowOption::fromEnvironment().windowed());
    setenv(WindowOption::kVariable, "1000x700", 1);
    const WindowOption option = WindowOption::fromEnvironment();
    unsetenv(WindowOption::kVariable);
    EXPECT_TRUE(option.windowed());
    EXPECT_EQ(option.width(), 1000);
    EXPECT_EQ(option.height(), 700);
}

} // namespace
