// Heads-up display: three bitmap texts in Helvetica 18, positioned in window pixels.
#include "HUD.h"

#include "TextBitmap.h"

#include <GL/freeglut.h>

#include <cstdio>

static constexpr float kLevelBannerSeconds = 3.0f;

// "%d" text of n; the buffer holds any 32-bit value with its sign.
static std::string decimal(int n) {
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, "%d", n);
    return buffer;
}

HUD::HUD()
    : fpsText_(new TextBitmap(20, 20, GLUT_BITMAP_HELVETICA_18, "FPS: ")),
      messageText_(new TextBitmap(200, 200, GLUT_BITMAP_HELVETICA_18, "LEVEL 1")),
      timeText_(new TextBitmap(150, 20, GLUT_BITMAP_HELVETICA_18, "TIME: ")),
      flockText_(new TextBitmap(280, 20, GLUT_BITMAP_HELVETICA_18, "")),
      summaryText_(new TextBitmap(200, 172, GLUT_BITMAP_HELVETICA_18, "")) {
    messageText_->setDuration(kLevelBannerSeconds);
}

HUD::~HUD() {
    delete fpsText_;
    delete messageText_;
    delete timeText_;
    delete flockText_;
    delete summaryText_;
}

void HUD::draw() {
    begin2D();
    // Bitmap text takes the current colour at its raster position: keep it white whatever the
    // scene drew last.
    glColor4f(1.0f, 1.0f, 1.0f, 1.0f);
    Object2D::draw();
    fpsText_->draw();
    messageText_->draw();
    timeText_->draw();
    flockText_->draw();
    summaryText_->draw();
    end2D();
}

void HUD::update(float dt) {
    messageText_->update(dt);
}

void HUD::setFPS(int n) {
    fpsText_->setText(fpsPrefix_ + decimal(n));
}

void HUD::setTime(float t) {
    time_ = t;
    timeText_->setText(timePrefix_ + decimal(static_cast<int>(t)));
}

void HUD::setFlock(int living, int inFold) {
    if (living == living_ && inFold == inFold_) {
        return;
    }
    living_ = living;
    inFold_ = inFold;
    flockText_->setText("SHEEP: " + decimal(living) + "   IN FOLD: " + decimal(inFold));
}

void HUD::showSummary(const std::string& text) {
    summaryText_->setText(text);
}

void HUD::showMessage(const std::string& text, float seconds) {
    HUD* hud = getInstance();
    hud->messageText_->setText(text);
    hud->messageText_->setDuration(seconds);
}
