// TextBitmap: one line of GLUT bitmap text that can hide itself after a set time.
#pragma once

#include "Object2D.h"

#include <string>

class TextBitmap : public Object2D {
public:
    // font is a GLUT bitmap font handle such as GLUT_BITMAP_HELVETICA_18.
    TextBitmap(int x, int y, void* font, const std::string& text);

    // Draws the text in its own 2D bracket (the bracket runs even when hidden).
    void draw() override;
    // Counts the shown time and hides the text once a non-negative duration has passed.
    void update(float dt) override;

    void setText(const std::string& text) { text_ = text; }
    const std::string& getText() const { return text_; }
    // Shows the text for `seconds` (negative: until changed), restarting its clock.
    void setDuration(float seconds);

    // Text is drawn only while mode is 1.
    int mode = 1;

private:
    void* font_;
    std::string text_;
    float duration_ = -1.0f;
    float elapsed_ = 0.0f;
};
