// The lens flare: halos at the light and coloured glows strung along the line from the light
// towards the eye, blended over the scene without writing depth.
#include "LensFlare.h"

#include "Camera.h"
#include "Renderer.h"
#include "SphereList.h"
#include "ViewFrustum.h"

#include <GL/freeglut.h>

#include <cmath>

// Glow spheres are drawn this many times their size; flat spheres and halos use their own.
static constexpr float kGlowScale = 5.0f;
static constexpr float kFlatScale = 1.0f;
static constexpr float kHalo1Scale = 1.0f;
static constexpr float kHalo2Scale = 0.6f;
// The flare reaches this fraction of the way from the light to the eye.
static constexpr float kReach = 0.5f;

const LensFlare::Element LensFlare::kElements[16] = {
    {-1.0f, Kind::Halo1, 0.6f, 0.6f, 0.8f, 0.02f, 16.0f},
    {-1.0f, Kind::Halo2, 0.6f, 0.6f, 0.8f, 0.05f, 16.0f},
    {-1.0f, Kind::Flat, 0.8f, 0.8f, 1.0f, 0.5f, 3.5f},
    {0.1f, Kind::Flat, 0.9f, 0.6f, 0.4f, 0.5f, 0.6f},
    {0.15f, Kind::Glow, 0.8f, 0.5f, 0.6f, 0.5f, 1.7f},
    {0.175f, Kind::Glow, 0.9f, 0.2f, 0.1f, 0.5f, 0.83f},
    {0.285f, Kind::Glow, 0.7f, 0.7f, 0.4f, 0.5f, 1.6f},
    {0.2755f, Kind::Flat, 0.9f, 0.9f, 0.2f, 0.5f, 0.8f},
    {0.4775f, Kind::Flat, 0.93f, 0.82f, 0.73f, 0.5f, 1.0f},
    {0.49f, Kind::Glow, 0.7f, 0.6f, 0.5f, 0.5f, 1.4f},
    {0.65f, Kind::Flat, 0.7f, 0.8f, 0.3f, 0.5f, 1.8f},
    {0.63f, Kind::Flat, 0.4f, 0.3f, 0.2f, 0.5f, 1.4f},
    {0.8f, Kind::Glow, 0.7f, 0.5f, 0.5f, 0.5f, 1.4f},
    {0.7825f, Kind::Flat, 0.8f, 0.5f, 0.1f, 0.5f, 0.6f},
    {1.0f, Kind::Glow, 0.5f, 0.5f, 0.7f, 0.5f, 1.7f},
    {0.975f, Kind::Flat, 0.4f, 0.1f, 0.9f, 0.5f, 2.0f},
};

void LensFlare::drawGlowSphere(float r, float g, float b, float a, float x, float y, float z,
                               float size, float yaw) {
    glPushMatrix();
    glTranslatef(x, y, z);
    glRotatef(-yaw, 0, 1, 0);
    const GLfloat colour[4] = {r * 1.5f, g * 1.3f, b * 0.6f, a * 0.3f};
    glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, colour);
    glMaterialfv(GL_FRONT_AND_BACK, GL_AMBIENT, colour);
    SphereList::draw(size * kGlowScale, 48, 48);
    glMaterialfv(GL_FRONT, GL_AMBIENT, Renderer::kDefaultMaterialAmbient);
    glPopMatrix();
}

// A flat, unlit sphere in its own colour.
static void drawFlat(const LensFlare::Element& e, const Vector3D& at, float scale) {
    glDisable(GL_LIGHTING);
    glPushMatrix();
    glTranslatef(at.x, at.y, at.z);
    glColor4f(e.r, e.g, e.b, e.a);
    SphereList::draw(e.size * scale, 8, 8);
    glPopMatrix();
    glEnable(GL_LIGHTING);
}

Vector3D LensFlare::elementPosition(const Vector3D& light, const Vector3D& eye, float length,
                                    float fraction) {
    if (fraction < 0.0f || length <= 0.0f) {
        return light;
    }
    const Vector3D towardsEye(eye.x - light.x, eye.y - light.y, eye.z - light.z);
    const float distance = std::sqrt(Vector3D::dot(towardsEye, towardsEye));
    return light + towardsEye * (fraction * length / distance);
}

int LensFlare::drawFlare(const Vector3D& light, const Camera& camera, const ViewFrustum& frustum) {
    // Hidden where the level covers the sun: called after the level is drawn, so the depth at
    // the sun's pixel tells.
    if (frustum.pointInFrustum(light) == ViewFrustum::kOutside || !camera.isVisible(light)) {
        return 0;
    }
    const Vector3D eye(camera.position.x, camera.position.y + camera.height + Camera::kLift,
                       camera.position.z);
    const Vector3D lifted(light.x, light.y + Camera::kLift, light.z);
    const Vector3D span(eye.x - lifted.x, eye.y - lifted.y, eye.z - lifted.z);
    const float length = std::sqrt(Vector3D::dot(span, span)) * kReach;

    // The glows set material colours of their own and the flat elements the current colour; the
    // level is drawn with both next frame, and left as the flare leaves them they darkened the
    // whole level whenever the sun was in view.
    glPushAttrib(GL_LIGHTING_BIT | GL_CURRENT_BIT);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE);
    glDepthMask(GL_FALSE);
    int drawn = 0;
    for (const Element& e : kElements) {
        const Vector3D at = elementPosition(light, eye, length, e.fraction);
        switch (e.kind) {
        case Kind::Glow:
            drawGlowSphere(e.r, e.g, e.b, e.a, at.x, at.y, at.z, e.size, camera.rotationY);
            break;
        case Kind::Flat:
            drawFlat(e, at, kFlatScale);
            break;
        case Kind::Halo1:
            drawFlat(e, at, kHalo1Scale);
            break;
        case Kind::Halo2:
            drawFlat(e, at, kHalo2Scale);
            break;
        }
        ++drawn;
    }
    glDepthMask(GL_TRUE);
    glDisable(GL_BLEND);
    glPopAttrib();
    return drawn;
}
