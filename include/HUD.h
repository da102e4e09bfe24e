// HUD: frames per second and elapsed seconds in the bottom-left corner, plus one message line
// for announcements. One instance, a member of the level's scene list.
#pragma once

#include "Object2D.h"
#include "Singleton.h"

#include <string>

class TextBitmap;

class HUD : public Object2D, public Singleton<HUD> {
public:
    // Creates the three texts; "LEVEL 1" is shown for three seconds.
    HUD();
    ~HUD() override;

    // Draws the FPS, message and time texts in that order.
    void draw() override;
    // Only the message expires; the counters stay until replaced.
    void update(float dt) override;

    // FPS text := "FPS: " + n.
    void setFPS(int n);
    // Stores t and shows its whole seconds (truncated) after "TIME: ".
    void setTime(float t);
    // Advances the shown time by one second.
    void tick() { setTime(time_ + 1.0f); }
    float getTime() const { return time_; }
    // Replaces the message of the single HUD and shows it for `seconds`.
    static void showMessage(const std::string& text, float seconds);
    // The flock counters beside the clock: living sheep and sheep in the fold (only redrawn into
    // text when they change).
    void setFlock(int living, int inFold);
    // A second line under the message, shown for the rest of the game (the end's summary).
    void showSummary(const std::string& text);

    const TextBitmap* fps() const { return fpsText_; }
    const TextBitmap* message() const { return messageText_; }
    const TextBitmap* clock() const { return timeText_; }
    const TextBitmap* flock() const { return flockText_; }
    const TextBitmap* summary() const { return summaryText_; }

private:
    TextBitmap* fpsText_;
    TextBitmap* messageText_;
    TextBitmap* timeText_;
    // Empty, and so not drawn, until the rules show them.
    TextBitmap* flockText_;
    TextBitmap* summaryText_;
    int living_ = -1;
    int inFold_ = -1;
    std::string fpsPrefix_ = "FPS: ";
    std::string timePrefix_ = "TIME: ";
    float time_ = 0.0f;
};
