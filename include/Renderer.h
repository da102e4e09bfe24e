// Renderer: owns the fixed-function OpenGL state and draws one frame of the level: clear, one
// positional light, the camera behind the herder, the frustum for culling, the debug layer, the
// scene list (the HUD is a member) and the lens flare, then asks for the next redisplay.
// The window size and clip distances are program-wide values kept here; the reshape callback
// and the Engine set them.
#pragma once

#include "Crosshair.h"

#include "Vector3D.h"

#include <GL/gl.h>

class Camera;
class DebugLayer;
class HUD;
class PhysicsWorld;
class Scene;
class ViewFrustum;

class Renderer {
public:
    // Uses the given level (not owned) and sets up the OpenGL state; needs a current GL context.
    explicit Renderer(Scene* scene);
    ~Renderer();
    Renderer(const Renderer&) = delete;
    Renderer& operator=(const Renderer&) = delete;

    // Viewport, perspective projection and frustum proportions for the current window size.
    void reshape();
    // Draws one frame; the display callback swaps buffers afterwards.
    void render();
    // Resets the material colour and draws every object of the scene list.
    void drawScene();
    // The 2D pass after all 3D: the scene list's overlays, then the crosshair.
    void drawOverlays();
    // Debug primitives through display lists built once: base, torus, four rotating spheres.
    void drawTestObjects(float angle);

    Scene* getScene() const { return scene_; }
    Camera* getCamera() const { return camera_; }
    const Vector3D& getLightPosition() const { return lightPosition_; }

    // Window size in pixels, stored by the reshape callback.
    static int windowWidth;
    static int windowHeight;
    // The front material ambient that models are drawn with: what colour tracking leaves after
    // start-up (white). Effects that change it put this back, so the level looks the same before
    // and after the first explosion.
    static constexpr GLfloat kDefaultMaterialAmbient[4] = {1.0f, 1.0f, 1.0f, 1.0f};
    // Clip distances of the projection, set by the Engine.
    static int nearClip;
    static int farClip;
    // windowWidth / windowHeight as a floating division (1 for an empty window).
    static double aspectRatio();

    // Draw the debug layer each frame (the F9 switch).
    bool showDebug = false;
    // Drawn when showDebug is set; supplied by the owner (not owned).
    DebugLayer* debugLayer = nullptr;
    // Culling volume, rebuilt from the camera every frame; created by program entry (not owned).
    ViewFrustum* frustum = nullptr;
    // Level geometry that the camera's eye stays above; set by program entry (not owned). Without
    // it the camera is never lifted.
    const PhysicsWorld* ground = nullptr;
    // Number of flare elements drawn in the last frame.
    int flareElementsDrawn = 0;
    // Where a shot would land, as last placed (window pixels).
    Crosshair crosshair;

private:
    bool placeCrosshair();
    void initGL();
    void captureMatrices();
    void setupLight();
    void followHerder();
    void liftOverGround();
    void renderShadowed();
    void shadowPass(bool lit);

    Scene* scene_;
    Camera* camera_;
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
