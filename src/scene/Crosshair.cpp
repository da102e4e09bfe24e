// The aiming mark: four ticks and a dot, drawn twice (dark and wide, then light and thin) so that
// it stands out on any background.
#include "Crosshair.h"

#include <GL/gl.h>

// Ticks from kGap to kGap + kTick pixels off the centre; the dot's size.
static constexpr float kGap = 5.0f;
static constexpr float kTick = 9.0f;
static constexpr float kDot = 3.0f;
static constexpr float kOutlineWidth = 4.0f;
static constexpr float kLineWidth = 2.0f;

static void marks(float cx, float cy, float width, float shade, float alpha) {
    glLineWidth(width);
    glColor4f(shade, shade, shade, alpha);
    glBegin(GL_LINES);
    const float near = kGap, far = kGap + kTick;
    glVertex2f(cx - far, cy);
    glVertex2f(cx - near, cy);
    glVertex2f(cx + near, cy);
    glVertex2f(cx + far, cy);
    glVertex2f(cx, cy - far);
    glVertex2f(cx, cy - near);
    glVertex2f(cx, cy + near);
    glVertex2f(cx, cy + far);
    glEnd();
    glPointSize(width > kLineWidth ? kDot + 2.0f : kDot);
    glBegin(GL_POINTS);
    glVertex2f(cx, cy);
    glEnd();
}

void Crosshair::draw() {
    begin2D();
    glPushAttrib(GL_ENABLE_BIT | GL_CURRENT_BIT | GL_LINE_BIT | GL_POINT_BIT | GL_COLOR_BUFFER_BIT);
    glDisable(GL_TEXTURE_2D);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    const float cx = static_cast<float>(x) + 0.5f, cy = static_cast<float>(y) + 0.5f;
    marks(cx, cy, kOutlineWidth, 0.0f, 0.6f);
    marks(cx, cy, kLineWidth, 1.0f, 0.95f);
    glPopAttrib();
    end2D();
}
