// Key and mouse bindings. Held keys are flags set on press and cleared on release (key repeat
// is off); switches flip on press; the pointer wraps at a 100-pixel border so the mouse can turn
// the view forever without leaving the screen.
#include "InputManager.h"

#include "HUD.h"
#include "Renderer.h"

#include <GL/freeglut.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string>

static constexpr unsigned char kEscape = 27;
// Pointer wrap border in pixels.
static constexpr int kBorder = 100;
// Seconds the switch messages stay on the HUD.
static constexpr float kMessageSeconds = 1000.0f;

// a - b for pointer coordinates, held within int: the window system hands over any int.
static int difference(int a, int b) {
    const int64_t d = int64_t{a} - b;
    return static_cast<int>(
        std::clamp<int64_t>(d, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

void InputManager::specialDown(int key, int, int) {
    switch (key) {
    case GLUT_KEY_UP:
        upHeld = true;
        break;
    case GLUT_KEY_DOWN:
        downHeld = true;
        break;
    case GLUT_KEY_LEFT:
        leftHeld = true;
        break;
    case GLUT_KEY_RIGHT:
        rightHeld = true;
        break;
    case GLUT_KEY_F1:
        switchF1 = !switchF1;
        break;
    case GLUT_KEY_F2:
        hideModelF2 = !hideModelF2;
        break;
    case GLUT_KEY_F3:
        wireframe = !wireframe;
        break;
    case GLUT_KEY_F4:
        toggleF4 = (toggleF4 + 1) % 2;
        break;
    case GLUT_KEY_F5:
        cycleF5 = (cycleF5 + 1) % 3;
        break;
    case GLUT_KEY_F6:
        renderMode = (renderMode + 1) % 3;
        HUD::showMessage("renderMode: " + std::to_string(renderMode), kMessageSeconds);
        break;
    case GLUT_KEY_F7:
        displayLists = !displayLists;
        HUD::showMessage(std::string("displayLists ") + (displayLists ? "enabled" : "disabled"),
                         kMessageSeconds);
        break;
    case GLUT_KEY_F8:
        switchF8 = !switchF8;
        break;
    case GLUT_KEY_F9:
        switchF9 = !switchF9;
        break;
    default:
        break;
    }
}

void InputManager::specialUp(int key, int, int) {
    switch (key) {
    case GLUT_KEY_UP:
        upHeld = false;
        break;
    case GLUT_KEY_DOWN:
        downHeld = false;
        break;
    case GLUT_KEY_LEFT:
        leftHeld = false;
        break;
    case GLUT_KEY_RIGHT:
        rightHeld = false;
        break;
    // The release of right Super and of right Ctrl clears forward and back: freeglut sends them as
    // the special keys 0x77 and 0x73, the codes of 'w' and 's', which these branches were written
    // for. No special key has the code of 'a' (0x61): that branch never runs.
    case GLUT_KEY_SUPER_R:
        forwardHeld = false;
        break;
    case GLUT_KEY_CTRL_R:
        backHeld = false;
        break;
    case 'a':
        strafeLeftHeld = false;
        break;
    default:
        break;
    }
}

void InputManager::keyDown(unsigned char key, int, int) {
    switch (key) {
    case 'w':
        forwardHeld = true;
        taps_[kForward] = true;
        break;
    case 's':
        backHeld = true;
        taps_[kBack] = true;
        break;
    case 'a':
        strafeLeftHeld = true;
        taps_[kStrafeLeft] = true;
        break;
    case 'd':
        strafeRightHeld = true;
        taps_[kStrafeRight] = true;
        break;
    case 'q':
        turnLeftHeld = true;
        taps_[kTurnLeft] = true;
        break;
    case 'e':
        turnRightHeld = true;
        taps_[kTurnRight] = true;
        break;
    case 'm':
        placeMarker = true;
        break;
    case 'n':
        pathSearch = !pathSearch;
        break;
    case 'r':
    case 'R':
        playAgainRequested = true;
        break;
    default:
        break;
    }
}

void InputManager::keyUp(unsigned char key, int, int) {
    switch (key) {
    case 'w':
        forwardHeld = false;
        break;
    case 's':
        backHeld = false;
        break;
    case 'a':
        strafeLeftHeld = false;
        break;
    case 'd':
        strafeRightHeld = false;
        break;
    case 'q':
        turnLeftHeld = false;
        break;
    case 'e':
        turnRightHeld = false;
        break;
    case kEscape:
    case 'p':
        std::exit(0);
    default:
        break;
    }
}

void InputManager::mouseButton(int button, int state, int, int) {
    const bool pressed = (state == GLUT_DOWN);
    switch (button) {
    case GLUT_LEFT_BUTTON:
        fireRequested = fireRequested || pressed;
        break;
    case GLUT_RIGHT_BUTTON:
        herdRequested = herdRequested || pressed;
        break;
    case GLUT_MIDDLE_BUTTON:
        middleButtonDown = pressed;
        break;
    default:
        break;
    }
}

void InputManager::clearTaps() {
    for (bool& tap : taps_) {
        tap = false;
    }
}

void InputManager::passiveMotion(int x, int y) {
    if (lastX != -1 && lastY != -1) {
        mouseDx = difference(x, lastX);
        mouseDy = difference(y, lastY);
        mouseMoved = true;
    }
    lastX = x;
    lastY = y;

    const int w = Renderer::windowWidth;
    const int h = Renderer::windowHeight;
    if (x >= w - kBorder && mouseDx > 0) {
        glutWarpPointer(0, y);
        lastX = 0;
    }
    if (x < kBorder + 1 && mouseDx < 0) {
        glutWarpPointer(w, y);
        lastX = w;
    }
    if (y >= h - kBorder && mouseDy > 0) {
        glutWarpPointer(x, 0);
        lastY = 0;
    }
    if (y < kBorder + 1 && mouseDy < 0) {
        glutWarpPointer(x, h);
        lastY = h;
    }
}

void InputManager::motion(int x, int y) {
    passiveMotion(x, y);
}
