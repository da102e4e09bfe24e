// ControllerHitReport: hears about every body a character controller's own move runs into, and
// decides by the actor groups of mover and target what it means: a wolf that runs into a sheep
// catches it; nothing else means anything. The physics world holds one for all its
// controllers; the catch itself is pure virtual and implemented in src/game (GameRules.h).
#pragma once

#include "PhysicsGroups.h"

class ControllerHitReport {
public:
    virtual ~ControllerHitReport() = default;

    // The controller of `mover` touched `target` during its move (either owner may be null).
    virtual void onShapeHit(const Touch& mover, const Touch& target);

    // The effect: the wolf has caught the sheep.
    virtual void wolfCaughtSheep(Object3D* wolf, Object3D* sheep) = 0;
};
