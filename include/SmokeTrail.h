// SmokeTrail: the puffs a flying rocket leaves behind, so the player can see where his shot goes.
// Puffs are drawing only: no physics body (a particle's body would touch the rocket it trails and
// push it off course), no scene-list membership; the rocket that owns the trail updates and draws
// it.
#pragma once

#include "Vector3D.h"

#include <vector>

class SmokeTrail {
public:
    // Ages the puffs, drops the ones that have faded, and leaves a new one at `at` every
    // kSpacing seconds of flight while `emitting`.
    void update(float dt, const Vector3D& at, bool emitting);
    // Grey blended spheres that grow and fade with age; depth is tested, not written.
    void draw() const;
    // Whether any puff is left to draw.
    bool empty() const { return puffs_.empty(); }
    int size() const { return static_cast<int>(puffs_.size()); }

private:
    struct Puff {
        Vector3D position;
        float age;
    };
    std::vector<Puff> puffs_;
    float sinceLast_ = 0.0f;
};
