// HUD texts, message expiry and the bitmap text drawn into a real GL window.
#include "HUD.h"
#include "Renderer.h"
#include "TestSupport.h"
#include "TextBitmap.h"

#include <GL/freeglut.h>
#include <GL/glu.h>

#include <climits>

namespace {

using HudTest = TempDirTest;

TEST_F(HudTest, StartsWithPrefixesAndTheLevelBanner) {
    HUD* hud = HUD::getInstance();
    EXPECT_EQ(hud->fps()->getText(), "FPS: ");
    EXPECT_EQ(hud->clock()->getText(), "TIME: ");
    EXPECT_EQ(hud->message()->getText(), "LEVEL 1");
    EXPECT_EQ(hud->getTime(), 0.0f);
    EXPECT_EQ(hud->fps()->x, 20);
    EXPECT_EQ(hud->clock()->x, 150);
    EXPECT_EQ(hud->message()->y, 200);
}

TEST_F(HudTest, LevelBannerHidesAfterThreeSeconds) {
    HUD* hud = HUD::getInstance();
    hud->update(1.5f);
    hud->update(1.5f);
    EXPECT_TRUE(hud->message()->visible) << "exactly 3.0 s is not past the duration";
    hud->update(0.01f);
    EXPECT_FALSE(hud->message()->visible);
    EXPECT_TRUE(hud->fps()->visible) << "only the message expires";
    EXPECT_TRUE(hud->clock()->visible);
}

TEST_F(HudTest, NewMessageReplacesTheOldAndRestartsTheClock) {
    HUD* hud = HUD::getInstance();
    hud->update(2.5f);
    HUD::showMessage("wolf wolf0 hit.", 2.0f);
    hud->update(1.9f);
    EXPECT_TRUE(hud->message()->visible);
    EXPECT_EQ(hud->message()->getText(), "wolf wolf0 hit.");
    hud->update(0.2f);
    EXPECT_FALSE(hud->message()->visible);
    HUD::showMessage("you lost. hah. press ESC to exit.", 1000.0f);
    for (int i = 0; i < 3600; ++i) {
        hud->update(0.25f);
    }
    EXPECT_TRUE(hud->message()->visible) << "a 1000 s message outlasts a 15-minute game";
}

TEST_F(HudTest, CountersTruncateAndFormatAnyInteger) {
    HUD* hud = HUD::getInstance();
    hud->setTime(59.9f);
    EXPECT_EQ(hud->clock()->getText(), "TIME: 59");
    hud->tick();
    EXPECT_EQ(hud->clock()->getText(), "TIME: 60");
    EXPECT_FLOAT_EQ(hud->getTime(), 60.9f);
    hud->setFPS(0);
    EXPECT_EQ(hud->fps()->getText(), "FPS: 0");
    hud->setFPS(INT_MIN);
    EXPECT_EQ(hud->fps()->getText(), "FPS: -2147483648");
    hud->setFPS(INT_MAX);
    EXPECT_EQ(hud->fps()->getText(), "FPS: 2147483647");
}

TEST_F(HudTest, TextDurationRules) {
    TextBitmap zero(0, 0, GLUT_BITMAP_HELVETICA_18, "x");
    zero.setDuration(0.0f);
    zero.update(0.0f);
    EXPECT_TRUE(zero.visible) << "no time has passed yet";
    zero.update(0.001f);
    EXPECT_FALSE(zero.visible);
    zero.update(5.0f);
    zero.setDuration(1.0f);
    EXPECT_TRUE(zero.visible) << "setDuration shows a hidden text again";
    zero.update(0.9f);
    EXPECT_TRUE(zero.visible) << "and restarts its clock";

    TextBitmap forever(0, 0, GLUT_BITMAP_HELVETICA_18, "y");
    for (int i = 0; i < 100; ++i) {
        forever.update(100.0f);
    }
    EXPECT_TRUE(forever.visible) << "a negative duration never hides the text";
}

// Lit pixels in a window rectangle of an RGB buffer read bottom row first.
int litPixels(const std::vector<unsigned char>& rgb, int width, int x0, int y0, int x1, int y1) {
    int lit = 0;
    for (int y = y0; y < y1; ++y) {
        for (int x = x0; x < x1; ++x) {
            const unsigned char* p = &rgb[(static_cast<size_t>(y) * width + x) * 3];
            lit += (p[0] > 128 && p[1] > 128 && p[2] > 128) ? 1 : 0;
        }
    }
    return lit;
}

TEST_F(HudTest, DrawsCountersBottomLeftAndTheMessageAtItsPlace) {
    openTestWindow();
    HUD* hud = HUD::getInstance();
    hud->setFPS(60);
    hud->setTime(12.0f);
    glClearColor(0, 0, 0, 0);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    hud->draw();
    auto rgb = readPixels(1024, 768);
    EXPECT_GT(litPixels(rgb, 1024, 20, 15, 140, 40), 50) << "FPS text";
    EXPECT_GT(litPixels(rgb, 1024, 150, 15, 260, 40), 50) << "TIME text";
    EXPECT_GT(litPixels(rgb, 1024, 200, 195, 280, 220), 50) << "LEVEL 1";
    EXPECT_EQ(litPixels(rgb, 1024, 400, 300, 1024, 768), 0) << "nothing else is drawn";

    hud->update(3.5f);
    glClear(GL_COLOR_BUFFER_BIT);
    hud->draw();
    rgb = readPixels(1024, 768);
    EXPECT_EQ(litPixels(rgb, 1024, 200, 195, 280, 220), 0) << "expired message is not drawn";
    EXPECT_GT(litPixels(rgb, 1024, 20, 15, 140, 40), 50);
}

// A wall right in front of the camera, drawn before the HUD as the scene list does, must not hide
// the text; the scene's depth testing is back on afterwards.
TEST_F(HudTest, TextDrawsOverNearGeometryAndLeavesDepthTestingOn) {
    openTestWindow();
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_LEQUAL);
    glClearColor(0, 0, 0, 0);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    gluPerspective(45.0, 1024.0 / 768.0, 1, 10000);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glDisable(GL_LIGHTING);
    glColor3f(0.0f, 0.0f, 0.5f);
    glBegin(GL_QUADS); // fills the view at 1.5 units, nearer than anything else
    glVertex3f(-5, -5, -1.5f);
    glVertex3f(5, -5, -1.5f);
    glVertex3f(5, 5, -1.5f);
    glVertex3f(-5, 5, -1.5f);
    glEnd();
    HUD::getInstance()->draw();
    const auto rgb = readPixels(1024, 768);
    EXPECT_GT(litPixels(rgb, 1024, 20, 15, 140, 40), 50) << "FPS text";
    EXPECT_GT(litPixels(rgb, 1024, 200, 195, 280, 220), 50) << "LEVEL 1";
    EXPECT_TRUE(glIsEnabled(GL_DEPTH_TEST));
}

TEST_F(HudTest, TextOutsideModeOneOrEmptyDrawsNothing) {
    openTestWindow();
    TextBitmap text(100, 100, GLUT_BITMAP_HELVETICA_18, "WWWW");
    text.mode = 0;
    glClear(GL_COLOR_BUFFER_BIT);
    text.draw();
    TextBitmap empty(300, 300, GLUT_BITMAP_HELVETICA_18, "");
    empty.draw();
    const auto rgb = readPixels(1024, 768);
    EXPECT_EQ(litPixels(rgb, 1024, 0, 0, 1024, 768), 0);
}

TEST_F(HudTest, End2DRestoresTheSceneProjectionAndLighting) {
    openTestWindow();
    Renderer::nearClip = 1;
    Renderer::farClip = 10000;
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    gluPerspective(45.0, 1024.0 / 768.0, 1, 10000);
    GLfloat expected[16];
    glGetFloatv(GL_PROJECTION_MATRIX, expected);
    glLoadIdentity();
    glMatrixMode(GL_MODELVIEW);
    glTranslatef(3, 4, 5);

    Object2D::begin2D();
    EXPECT_FALSE(glIsEnabled(GL_LIGHTING));
    GLfloat ortho[16];
    glGetFloatv(GL_PROJECTION_MATRIX, ortho);
    EXPECT_FLOAT_EQ(ortho[0], 2.0f / 1024.0f);
    Object2D::end2D();

    GLfloat projection[16];
    GLfloat modelview[16];
    glGetFloatv(GL_PROJECTION_MATRIX, projection);
    glGetFloatv(GL_MODELVIEW_MATRIX, modelview);
    for (int i = 0; i < 16; ++i) {
        EXPECT_FLOAT_EQ(projection[i], expected[i]) << i;
        EXPECT_FLOAT_EQ(modelview[i], (i % 5 == 0) ? 1.0f : 0.0f) << i;
    }
    EXPECT_TRUE(glIsEnabled(GL_LIGHTING));
}

} // namespace
