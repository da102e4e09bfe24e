// Heads-up display: three bitmap texts in Helvetica 18, positioned in window pixels.
#include "HUD.h"

#include "TextBitmap.h"

#include <GL/freeglut.h>

#include <cstdio>

static constexpr float kLevelBannerSeconds = 3.0f;
// How far (pixels) the dark copy under each text is shifted down and right.
static constexpr int kShadowOffset = 1;

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

// Each text is drawn twice: a dark copy one pixel down and right, then the text in white, so
// that it reads on white wool and bright sky as well as on grass.
void HUD::draw() {
    begin2D();
    Object2D::draw();
    TextBitmap* const texts[] = {fpsText_, messageText_, timeText_, flockText_, summaryText_};
    for (const float shade : {0.0f, 1.0f}) {
        const int offset = shade == 0.0f ? kShadowOffset : 0;
        glColor4f(shade, shade, shade, 1.0f);
        for (TextBitmap* text : texts) {
            text->x += offset;
            text->y -= offset;
            text->draw();
            text->x -= offset;
            text->y += offset;
        }
    }
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
