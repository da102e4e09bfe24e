// Key and mouse bindings, the switch messages, pointer wrapping and the exit keys.
#include "InputManager.h"
#include "HUD.h"
#include "Renderer.h"
#include "TestSupport.h"
#include "TextBitmap.h"

#include <GL/freeglut.h>

namespace {

using InputManagerTest = TempDirTest;

std::string hudMessage() {
    return HUD::getInstance()->message()->getText();
}

TEST_F(InputManagerTest, HeldKeysFollowPressAndRelease) {
    InputManager* in = InputManager::getInstance();
    const struct {
        unsigned char key;
        bool InputManager::*flag;
    } keys[] = {{'w', &InputManager::forwardHeld},    {'s', &InputManager::backHeld},
                {'a', &InputManager::strafeLeftHeld}, {'d', &InputManager::strafeRightHeld},
                {'q', &InputManager::turnLeftHeld},   {'e', &InputManager::turnRightHeld}};
    for (const auto& k : keys) {
        in->keyDown(k.key, 0, 0);
        EXPECT_TRUE(in->*k.flag) << k.key;
        in->keyUp(k.key, 0, 0);
        EXPECT_FALSE(in->*k.flag) << "press and release in one cycle leaves " << k.key << " up";
    }
    const struct {
        int key;
        bool InputManager::*flag;
    } arrows[] = {{GLUT_KEY_UP, &InputManager::upHeld},
                  {GLUT_KEY_DOWN, &InputManager::downHeld},
                  {GLUT_KEY_LEFT, &InputManager::leftHeld},
                  {GLUT_KEY_RIGHT, &InputManager::rightHeld}};
    for (const auto& k : arrows) {
        in->specialDown(k.key, 0, 0);
        EXPECT_TRUE(in->*k.flag);
        in->specialUp(k.key, 0, 0);
        EXPECT_FALSE(in->*k.flag);
    }
    // freeglut sends right Super and right Ctrl as special keys with the codes of 'w' and 's'.
    in->keyDown('w', 0, 0);
    in->keyDown('s', 0, 0);
    in->specialUp(GLUT_KEY_SUPER_R, 0, 0);
    in->specialUp(GLUT_KEY_CTRL_R, 0, 0);
    EXPECT_FALSE(in->forwardHeld || in->backHeld) << "their release clears forward and back";
}

TEST_F(InputManagerTest, UpperCaseAndUnboundKeysDoNothing) {
    InputManager* in = InputManager::getInstance();
    for (unsigned char key : {'W', 'S', 'A', 'D', 'Q', 'E', 'M', 'N', 'P', 'x', '1', ' '}) {
        in->keyDown(key, 0, 0);
    }
    EXPECT_FALSE(in->forwardHeld);
    EXPECT_FALSE(in->backHeld);
    EXPECT_FALSE(in->strafeLeftHeld);
    EXPECT_FALSE(in->turnLeftHeld);
    EXPECT_FALSE(in->placeMarker);
    EXPECT_FALSE(in->pathSearch);
    in->keyDown('m', 0, 0);
    in->keyDown('n', 0, 0);
    EXPECT_TRUE(in->placeMarker);
    EXPECT_TRUE(in->pathSearch);
    in->keyDown('n', 0, 0);
    EXPECT_FALSE(in->pathSearch);
}

TEST_F(InputManagerTest, FunctionKeysCycleAndFlip) {
    InputManager* in = InputManager::getInstance();
    EXPECT_EQ(in->toggleF4, 1);
    in->specialDown(GLUT_KEY_F4, 0, 0);
    EXPECT_EQ(in->toggleF4, 0);
    in->specialDown(GLUT_KEY_F4, 0, 0);
    EXPECT_EQ(in->toggleF4, 1);
    EXPECT_EQ(in->cycleF5, 2);
    in->specialDown(GLUT_KEY_F5, 0, 0);
    EXPECT_EQ(in->cycleF5, 0);
    in->specialDown(GLUT_KEY_F5, 0, 0);
    in->specialDown(GLUT_KEY_F5, 0, 0);
    EXPECT_EQ(in->cycleF5, 2);
    const struct {
        int key;
        bool InputManager::*flag;
        bool start;
    } flips[] = {{GLUT_KEY_F1, &InputManager::switchF1, false},
                 {GLUT_KEY_F2, &InputManager::hideModelF2, true},
                 {GLUT_KEY_F3, &InputManager::wireframe, false},
                 {GLUT_KEY_F8, &InputManager::switchF8, true},
                 {GLUT_KEY_F9, &InputManager::switchF9, false}};
    for (const auto& f : flips) {
        EXPECT_EQ(in->*f.flag, f.start);
        in->specialDown(f.key, 0, 0);
        EXPECT_EQ(in->*f.flag, !f.start);
        in->specialUp(f.key, 0, 0);
        EXPECT_EQ(in->*f.flag, !f.start) << "switches do not flip back on release";
    }
}

TEST_F(InputManagerTest, RenderModeAndDisplayListSwitchesAnnounceThemselves) {
    InputManager* in = InputManager::getInstance();
    EXPECT_EQ(in->renderMode, 2);
    for (int expected : {0, 1, 2}) {
        in->specialDown(GLUT_KEY_F6, 0, 0);
        EXPECT_EQ(in->renderMode, expected);
        EXPECT_EQ(hudMessage(), "renderMode: " + std::to_string(expected));
    }
    in->specialDown(GLUT_KEY_F7, 0, 0);
    EXPECT_FALSE(in->displayLists);
    EXPECT_EQ(hudMessage(), "displayLists disabled");
    in->specialDown(GLUT_KEY_F7, 0, 0);
    EXPECT_TRUE(in->displayLists);
    EXPECT_EQ(hudMessage(), "displayLists enabled");
    EXPECT_TRUE(HUD::getInstance()->message()->visible);
}

// A release leaves the fire and herd requests for the input step to serve: a click shorter than
// a cycle is not lost.
TEST_F(InputManagerTest, MouseButtonsSetRequestsThatOutlastTheRelease) {
    InputManager* in = InputManager::getInstance();
    in->mouseButton(GLUT_LEFT_BUTTON, GLUT_DOWN, 5, 5);
    in->mouseButton(GLUT_RIGHT_BUTTON, GLUT_DOWN, 5, 5);
    in->mouseButton(GLUT_MIDDLE_BUTTON, GLUT_DOWN, 5, 5);
    EXPECT_TRUE(in->fireRequested);
    EXPECT_TRUE(in->herdRequested);
    EXPECT_TRUE(in->middleButtonDown);
    in->mouseButton(GLUT_LEFT_BUTTON, GLUT_UP, 5, 5);
    in->mouseButton(GLUT_RIGHT_BUTTON, GLUT_UP, 5, 5);
    in->mouseButton(GLUT_MIDDLE_BUTTON, GLUT_UP, 5, 5);
    EXPECT_TRUE(in->fireRequested);
    EXPECT_TRUE(in->herdRequested);
    EXPECT_FALSE(in->middleButtonDown);
}

TEST_F(InputManagerTest, FirstMotionOnlyRecordsThePosition) {
    InputManager* in = InputManager::getInstance();
    in->passiveMotion(500, 400);
    EXPECT_FALSE(in->mouseMoved);
    EXPECT_EQ(in->lastX, 500);
    EXPECT_EQ(in->lastY, 400);
    in->motion(507, 396);
    EXPECT_TRUE(in->mouseMoved);
    EXPECT_EQ(in->mouseDx, 7);
    EXPECT_EQ(in->mouseDy, -4);
    EXPECT_EQ(in->lastX, 507);
}

// Each row: previous position, new position, expected last position after the event.
struct WarpCase {
    int fromX, fromY, toX, toY, lastX, lastY;
};

TEST_F(InputManagerTest, PointerWrapsAtEachBorderInTheDirectionOfTravel) {
    openTestWindow();
    ASSERT_EQ(Renderer::windowWidth, 1024);
    ASSERT_EQ(Renderer::windowHeight, 768);
    const WarpCase cases[] = {
        {900, 400, 924, 400, 0, 400},    // right border, moving right: wrap to x = 0
        {990, 400, 960, 400, 960, 400},  // right border, moving left: stay
        {200, 400, 100, 400, 1024, 400}, // left border (x < 101), moving left: wrap to W
        {50, 400, 60, 400, 60, 400},     // left border, moving right: stay
        {101, 400, 101, 400, 101, 400},  // no motion at the left edge: stay
        {500, 600, 500, 668, 500, 0},    // bottom border, moving down: wrap to y = 0
        {500, 700, 500, 690, 500, 690},  // bottom border, moving up: stay
        {500, 150, 500, 100, 500, 768},  // top border, moving up: wrap to H
        {500, 50, 500, 60, 500, 60},     // top border, moving down: stay
        {900, 600, 950, 700, 0, 0},      // corner: both wraps
    };
    InputManager* in = InputManager::getInstance();
    for (const WarpCase& c : cases) {
        in->lastX = c.fromX;
        in->lastY = c.fromY;
        in->passiveMotion(c.toX, c.toY);
        EXPECT_EQ(in->lastX, c.lastX)
            << c.fromX << "," << c.fromY << " -> " << c.toX << "," << c.toY;
        EXPECT_EQ(in->lastY, c.lastY)
            << c.fromX << "," << c.fromY << " -> " << c.toX << "," << c.toY;
    }
}

TEST_F(InputManagerTest, WrapTestUsesThePreviousDeltaOnAFirstEvent) {
    openTestWindow();
    InputManager* in = InputManager::getInstance();
    in->mouseDx = 5; // left over from an earlier event
    in->passiveMotion(1000, 300);
    EXPECT_FALSE(in->mouseMoved);
    EXPECT_EQ(in->lastX, 0);
}

TEST_F(InputManagerTest, ExitKeysEndTheProcessOnRelease) {
    InputManager* in = InputManager::getInstance();
    in->keyDown(27, 0, 0);
    in->keyDown('p', 0, 0);
    in->keyUp('P', 0, 0);
    SUCCEED() << "pressing ESC or p, or releasing P, keeps running";
    EXPECT_EXIT(in->keyUp(27, 0, 0), ::testing::ExitedWithCode(0), "");
    EXPECT_EXIT(in->keyUp('p', 0, 0), ::testing::ExitedWithCode(0), "");
}

} // namespace
