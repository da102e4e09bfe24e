// GameRules: what the game does about the touches the physics world reports. Physics decides
// which touch is which by actor group (ContactReport, ControllerHitReport); these classes carry
// the effects out on the game's objects. Program entry installs them on the world right after
// making it.
#pragma once

#include "ContactReport.h"
#include "ControllerHitReport.h"

class PhysicsWorld;

// Rocket touches: a rocket kills the sheep it strikes and flies on; it wounds the wolf it strikes
// and bursts; it bursts on the level.
class RocketContacts : public ContactReport {
public:
    void sheepHit(Object3D* sheep, Object3D* rocket) override;
    void wolfHit(Object3D* wolf, Object3D* rocket) override;
    void rocketOnLevel(Object3D* rocket) override;
};

// A wolf that runs into a sheep seizes it; with path search on, it carries it along the
// waypoints.
class WolfCatches : public ControllerHitReport {
public:
    void wolfCaughtSheep(Object3D* wolf, Object3D* sheep) override;
};

namespace GameRules {
// Hands the world the game's reports (one of each, living as long as the program).
void install(PhysicsWorld& world);
} // namespace GameRules
