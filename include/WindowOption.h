// WindowOption: the player's choice of an ordinary window in place of game mode, handed to the
// program by the launcher (`herder --window[=WxH]`) in the environment variable HERDER_WINDOW.
// settings.ini is read forward only: a new key there would make an older file's later keys read
// as missing, so the choice travels beside the file instead of in it.
#pragma once

#include <string>

class WindowOption {
public:
    // The environment variable that carries the choice, as WIDTHxHEIGHT in pixels.
    static constexpr const char* kVariable = "HERDER_WINDOW";
    // The size of a window asked for without a usable size.
    static constexpr int kDefaultWidth = 1024;
    static constexpr int kDefaultHeight = 768;
    // The smallest window that holds the HUD's lines, and the largest viewport GL drivers offer.
    static constexpr int kMinWidth = 640;
    static constexpr int kMinHeight = 480;
    static constexpr int kMaxSide = 16384;

    // The choice that the variable's text asks for; null or empty asks for none.
    explicit WindowOption(const char* value);
    // The choice in this process's environment.
    static WindowOption fromEnvironment();

    // True when an ordinary window was asked for.
    bool windowed() const { return windowed_; }
    // The window's size in pixels (the default size when the text was not a usable size).
    int width() const { return width_; }
    int height() const { return height_; }
    // One line for the log: the window's size, and why the default when the text was unusable.
    std::string describe() const;

private:
    bool windowed_ = false;
    bool understood_ = true;
    std::string text_;
    int width_ = kDefaultWidth;
    int height_ = kDefaultHeight;
};
