// Bitmap text line with an optional display time.
#include "TextBitmap.h"

#include <GL/freeglut.h>

TextBitmap::TextBitmap(int x, int y, void* font, const std::string& text)
    : Object2D(x, y), font_(font), text_(text) {
}

void TextBitmap::draw() {
    begin2D();
    if (visible) {
        Object2D::draw();
        if (mode == 1) {
            for (unsigned char c : text_) {
                glutBitmapCharacter(font_, c);
            }
        }
    }
    end2D();
}

void TextBitmap::update(float dt) {
    elapsed_ += dt;
    if (duration_ >= 0.0f && elapsed_ > duration_) {
        visible = false;
    }
}

void TextBitmap::setDuration(float seconds) {
    duration_ = seconds;
    elapsed_ = 0.0f;
    visible = true;
}
