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
    // Mouse button pressed or released: fire, herd, middle.
    void mouseButton(int button, int state, int x, int y);
    // Pointer moved with no button: records the delta and wraps the pointer at the borders.
    void passiveMotion(int x, int y);
    // Pointer moved with a button held: same as passiveMotion.
    void motion(int x, int y);

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
};
