// InputManager: turns GLUT keyboard and mouse callbacks into held-key flags, one-shot requests
// and switches. It acts on nothing itself (except the exit keys); the engine, the renderer and
// the level read its state once per cycle and clear the requests they serve.
#pragma once

#include "Singleton.h"

class InputManager : public Singleton<InputManager> {
public:
    // Special key pressed: arrows and the F-key switches.
    void specialDown(int key, int x, int y);
    // Special key released: clears the arrow flags.
    void specialUp(int key, int x, int y);
    // Character key pressed: movement keys, marker, path-search switch.
    void keyDown(unsigned char key, int x, int y);
    // Character key released: clears movement keys; ESC or "p" ends the process with status 0.
    void keyUp(unsigned char key, int x, int y);
    // Mouse button pressed or released: fire, herd, middle. A release leaves a fire or herd
    // request standing until the input step serves it, so a click between two cycles acts once.
    void mouseButton(int button, int state, int x, int y);
    // Pointer moved with no button: records the delta and wraps the pointer at the borders.
    void passiveMotion(int x, int y);
    // Pointer moved with a button held: same as passiveMotion.
    void motion(int x, int y);

    // The held keys that also remember a press since the input step last looked, so that a key
    // pressed and released between two cycles still acts for one.
    enum Tap { kForward, kBack, kStrafeLeft, kStrafeRight, kTurnLeft, kTurnRight, kTapCount };
    // Whether the key was pressed since the last clearTaps.
    bool tapped(Tap key) const { return taps_[key]; }
    // Called by the input step once it has read the keys.
    void clearTaps();

    bool upHeld = false;
    bool downHeld = false;
    bool leftHeld = false;
    bool rightHeld = false;
    bool forwardHeld = false;
    bool backHeld = false;
    bool strafeLeftHeld = false;
    bool strafeRightHeld = false;
    bool turnLeftHeld = false;
    bool turnRightHeld = false;
    bool mouseMoved = false;
    bool fireRequested = false;
    bool herdRequested = false;
    bool middleButtonDown = false;
    bool switchF1 = false;
    bool wireframe = false;
    bool hideModelF2 = true;
    bool switchF8 = true;
    bool displayLists = true;
    bool switchF9 = false;
    bool placeMarker = false;
    bool pathSearch = false;
    int renderMode = 2;
    int cycleF5 = 2;
    int toggleF4 = 1;
    int reserved[2] = {-1, -1};
    int lastX = -1;
    int lastY = -1;
    int mouseDx = 0;
    int mouseDy = 0;
    // "r" or "R" pressed: play again once the game is decided (where the rules offer it).
    bool playAgainRequested = false;

private:
    bool taps_[kTapCount] = {};
};
