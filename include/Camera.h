// Camera: the third-person view. The renderer keeps it behind the herder every frame; the mouse
// raises and lowers it through `height`, which is clamped whenever the view is applied. Where the
// ground rises behind the herder, the renderer lifts the camera so the eye never goes under it.
#pragma once

#include "Object3D.h"

class Camera : public Object3D {
public:
    // Height offsets beyond this are clamped back when the view is applied.
    static constexpr float kHeightLimit = 3.0f;
    // Eye and target are both lifted by this much above the followed point.
    static constexpr float kLift = 2.0f;
    // The eye keeps at least this far above the ground under it.
    static constexpr float kGroundClearance = 0.5f;

    // At the origin looking down -z.
    Camera();
    // Looking towards the given target, normalised.
    explicit Camera(const Vector3D& target);
    // At the given position looking at the given target (both unchanged).
    Camera(const Vector3D& target, const Vector3D& position);

    // Clamps the height offset and issues gluLookAt; takes the place of drawing.
    void draw() override { look(); }
    void look();
    // The eye point of the view: the position raised by the height offset and the lift.
    Vector3D eye() const;
    // Clamps the height offset, then raises the position so that the eye stands at least
    // kGroundClearance above the given ground height; a lower ground changes nothing.
    void keepAbove(float groundHeight);
    // The point in window coordinates (pixels, and depth 0 to 1 in front of the eye) through the
    // current GL matrices and viewport; false when GL cannot project it.
    static bool project(const Vector3D& point, double* winX, double* winY, double* winZ);
    // The radius in pixels that a sphere of `radius` about the current origin shows on the
    // screen, read from the current GL matrices and viewport; infinite when the eye is inside it.
    static float pixelRadius(float radius);
    // Whether the point is in front of (or on) what has been drawn at its pixel.
    bool isVisible(const Vector3D& point) const;

    Vector3D target{0.0f, 0.0f, -1.0f};
    float height = 0.0f;
    float spare = 0.0f;
    Vector3D startTarget{0.0f, 0.0f, -1.0f};
    Vector3D cameraUp{0.0f, 1.0f, 0.0f};
    Vector3D right{1.0f, 0.0f, 0.0f};
};
