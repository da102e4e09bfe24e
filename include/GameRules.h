// GameRules: what the game does about the touches physics finds. The rocket rules read the
// physics world's records of a step's first touches, which the level walks right after stepping;
// the world never calls them. The catch stays a report (WolfCatches) that program entry installs
// on the world, because it has to happen within the wolf's move, before anything else moves.
#pragma once

#include "ControllerHitReport.h"
#include "PhysicsGroups.h"

#include <vector>

class PhysicsWorld;

// A wolf that runs into a sheep seizes it; with path search on, it carries it along the
// waypoints.
class WolfCatches : public ControllerHitReport {
public:
    void wolfCaughtSheep(Object3D* wolf, Object3D* sheep) override;
};

namespace GameRules {
// The rocket rules for each record in order, all effects of one before the next; call right
// after PhysicsWorld::step, while its records are valid. A record may name an owner that an
// earlier one burst or killed: that changes nothing.
void applyContacts(const std::vector<ContactBegin>& begins);
// The rocket rules for one first touch, asked in this order, the first whose group one of the
// bodies has deciding (the second body when both have it): a sheep struck by a rocket dies, a
// wolf struck by a rocket is wounded and then the rocket bursts, a rocket on the level (ground
// or canyon) bursts. Anything else, or a body without an owner, means nothing.
void applyContact(const ContactBegin& begin);
// Hands the world the game's controller-hit report (one, living as long as the program).
void install(PhysicsWorld& world);
} // namespace GameRules
