// The window choice: "WIDTHxHEIGHT" in plain decimal digits, each side within the bounds that
// keep the HUD readable and the viewport drawable. Anything else still asks for a window, at the
// default size, so that a typing slip never throws the player into full screen.
#include "WindowOption.h"

#include <cstdlib>

// More digits than any accepted side has: a longer run is too large without being converted.
static constexpr size_t kMaxDigits = 5;

// Reads a run of decimal digits at `pos` into `side`; false when there is none or it is too long.
static bool readSide(const std::string& text, size_t& pos, int& side) {
    const size_t start = pos;
    int value = 0;
    while (pos < text.size() && text[pos] >= '0' && text[pos] <= '9') {
        if (pos - start == kMaxDigits) {
            return false;
        }
        value = value * 10 + (text[pos] - '0');
        ++pos;
    }
    side = value;
    return pos > start;
}

// The size in `text`, or false when it is not WIDTHxHEIGHT within the bounds.
static bool parseSize(const std::string& text, int& width, int& height) {
    size_t pos = 0;
    if (!readSide(text, pos, width) || pos >= text.size() || text[pos] != 'x') {
        return false;
    }
    ++pos;
    if (!readSide(text, pos, height) || pos != text.size()) {
        return false;
    }
    return width >= WindowOption::kMinWidth && height >= WindowOption::kMinHeight &&
           width <= WindowOption::kMaxSide && height <= WindowOption::kMaxSide;
}

WindowOption::WindowOption(const char* value) {
    if (value == nullptr || *value == '\0') {
        return;
    }
    windowed_ = true;
    text_ = value;
    int width = 0;
    int height = 0;
    understood_ = parseSize(text_, width, height);
    if (understood_) {
        width_ = width;
        height_ = height;
    }
}

WindowOption WindowOption::fromEnvironment() {
    return WindowOption(std::getenv(kVariable));
}

// "WIDTHxHEIGHT" of a size.
static std::string sizeText(int width, int height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

std::string WindowOption::describe() const {
    std::string line = "playing in a " + sizeText(width_, height_) + " window";
    if (!understood_) {
        line += std::string(" (") + kVariable + "=\"" + text_ + "\" is not a size from " +
                sizeText(kMinWidth, kMinHeight) + " to " + sizeText(kMaxSide, kMaxSide) + ")";
    }
    return line;
}
