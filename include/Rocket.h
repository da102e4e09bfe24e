// Rocket: the herder's shot. A small fast body drawn with the rocket model; the game's rules
// make it burst into a yellow particle cloud when it touches the level or a wolf, and one that
// touches nothing leaves the scene after its lifetime.
#pragma once

#include "Object3D.h"
#include "SmokeTrail.h"

class List;

class Rocket : public Object3D {
public:
    // A rocket that will leave `sceneList` (not owned) when it expires.
    explicit Rocket(List* sceneList);

    // Gives the rocket its body at its position and pushes it off with `force`.
    void launch(const Vector3D& force);
    // Follows the body and ages; past its lifetime it leaves the scene list and the level's
    // rocket list.
    void update(float dt) override;
    // The model, then the smoke trail (when it leaves one) in world coordinates.
    void draw() override;
    // The speed a push-off of `force` gives a rocket's body: an impulse over one physics step.
    static Vector3D launchVelocity(const Vector3D& force);
    // A touch that needs no reaction from the rocket itself; deliberately does nothing.
    virtual void hit(Object3D* other);
    // Bursts where the body is: a yellow particle system, the body released, the rocket gone
    // from the scene list. A rocket that has burst already does nothing.
    void explode();
    // Stops the flight's sound.
    void silence();

    float damage = 50.0f;
    float lifetime = 5.0f;
    float age = 0.0f;
    List* sceneList;
    // Whether it leaves a smoke trail in flight (set by whoever fires it).
    bool leavesTrail = false;
    // The flight's sound loop while it flies (0: none).
    int flightSound = 0;
    SmokeTrail trail;
};
