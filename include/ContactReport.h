// ContactReport: turns the first touch of a rocket with something into a game event, by the
// kinds of the two objects: a sheep struck by a rocket, a wolf struck by a rocket (which then
// explodes), or a rocket meeting the level (which explodes). Everything else is ignored.
#pragma once

class Object3D;

class ContactReport {
public:
    // What a touch means to the game.
    enum class Outcome { None, SheepHit, WolfHit, RocketOnLevel };

    virtual ~ContactReport() = default;

    // Called by the physics world once per pair when the two objects start touching.
    void onContactNotify(Object3D* a, Object3D* b);
    // The rules in their order; `subject` and `rocket` receive the objects concerned (when both
    // objects are of the kind looked for, the second is taken).
    static Outcome classify(Object3D* a, Object3D* b, Object3D** subject, Object3D** rocket);

protected:
    // The effects; the game's objects carry them out.
    virtual void sheepHit(Object3D* sheep, Object3D* rocket);
    virtual void wolfHit(Object3D* wolf, Object3D* rocket);
    virtual void rocketOnLevel(Object3D* rocket);
};
