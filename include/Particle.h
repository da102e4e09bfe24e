// Particle: one glowing speck of an effect. It is a tiny dynamic body so that bursts bounce off
// the ground and the animals, and it is drawn as an additively blended sphere that fades out
// over its lifetime.
#pragma once

#include "Object3D.h"

class Particle : public Object3D {
public:
    // A live particle at `position`, with its own body pushed off with `initialVelocity`.
    Particle(const Vector3D& position, float lifetime, const Vector3D& initialVelocity, float size,
             const Vector3D& colour);

    // Draws the fading sphere: additive blending, no depth writes, state restored afterwards.
    void draw() override;
    // While alive: follows the body and ages; dies once older than its lifetime.
    void update(float dt) override;

    // Whether the particle is still within its lifetime.
    bool isAlive() const { return alive; }
    // Gives the body back to the physics world and leaves the scene list.
    void release();

    float size;
    Vector3D sphereColour;
    bool alive = true;
    float lifetime;
    float age = 0.0f;
    Vector3D initialVelocity;
};
