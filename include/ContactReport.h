// ContactReport: what the first touch of two bodies means, decided by their actor groups in a
// fixed order of rules: a sheep struck by a rocket, a wolf struck by a rocket, or a rocket
// meeting the level; everything else means nothing. Physics decides; the game acts: the effects
// are pure virtual and implemented in src/game (GameRules.h), which installs its report on the
// world at program entry.
#pragma once

#include "PhysicsGroups.h"

class ContactReport {
public:
    // What a touch means to the game.
    enum class Outcome { None, SheepHit, WolfHit, RocketOnLevel };

    virtual ~ContactReport() = default;

    // Called by the physics world once per pair when the two bodies start touching.
    void onContactNotify(const Touch& a, const Touch& b);
    // The rules in their order; `subject` and `rocket` receive the owners concerned (when both
    // bodies are of the group looked for, the second is taken).
    static Outcome classify(const Touch& a, const Touch& b, Object3D** subject, Object3D** rocket);

    // The effects.
    virtual void sheepHit(Object3D* sheep, Object3D* rocket) = 0;
    virtual void wolfHit(Object3D* wolf, Object3D* rocket) = 0;
    virtual void rocketOnLevel(Object3D* rocket) = 0;
};
