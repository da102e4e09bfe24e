// LensFlare: a chain of glowing translucent spheres along the line from the light towards the
// camera, drawn on top of the scene when the light is in view.
#pragma once

#include "Vector3D.h"

class Camera;
class ViewFrustum;

class LensFlare {
public:
    // Element kinds: glow sphere, flat sphere, and the two wide halos.
    enum class Kind { Glow, Flat, Halo1, Halo2 };

    struct Element {
        float fraction; // along the flare; negative: at the light itself
        Kind kind;
        float r, g, b, a;
        float size;
    };

    // The elements in drawing order (blending makes the order visible).
    static const Element kElements[16];

    // Draws the whole flare for a light at `light` seen by `camera`; nothing when the frustum
    // says the light is out of view. Returns the number of elements drawn.
    static int drawFlare(const Vector3D& light, const Camera& camera, const ViewFrustum& frustum);
    // One glow sphere facing the camera (yaw in degrees).
    static void drawGlowSphere(float r, float g, float b, float a, float x, float y, float z,
                               float size, float yaw);
    // Where an element at `fraction` of a flare of `length` lies on the line.
    static Vector3D elementPosition(const Vector3D& light, const Vector3D& eye, float length,
                                    float fraction);
};
