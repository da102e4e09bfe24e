// Renderer: owns the fixed-function OpenGL state and draws one frame of the level: clear, one
// positional light, the scene list (the HUD is a member) and the next redisplay request.
// The window size and clip distances are program-wide values kept here; the reshape callback
// and the Engine set them.
#pragma once

#include "Vector3D.h"

#include <GL/gl.h>

class Scene;
class HUD;

class Renderer {
public:
    // Uses the given level (not owned) and sets up the OpenGL state; needs a current GL context.
    explicit Renderer(Scene* scene);

    // Viewport and perspective projection for the current window size.
    void reshape();
    // Draws one frame; the display callback swaps buffers afterwards.
    void render();
    // Resets the material colour and draws every object of the scene list.
    void drawScene();

    Scene* getScene() const { return scene_; }

    // Window size in pixels, stored by the reshape callback.
    static int windowWidth;
    static int windowHeight;
    // Clip distances of the projection, set by the Engine.
    static int nearClip;
    static int farClip;
    // windowWidth / windowHeight as a floating division (1 for an empty window).
    static double aspectRatio();

    bool showDebug = false;

private:
    void initGL();
    void captureMatrices();
    void setupLight();

    Scene* scene_;
    HUD* overlay_;
    Vector3D cameraStart_;
    Vector3D lightPosition_;
    int shadowMapSize_ = 1024;
    GLuint shadowMapTexture_ = 0;
    GLfloat lightProjection_[16] = {};
    GLfloat lightView_[16] = {};
    GLfloat cameraProjection_[16] = {};
    GLfloat cameraView_[16] = {};
    GLfloat materialColour_[4] = {0.4f, 0.4f, 0.4f, 1.0f};
};
