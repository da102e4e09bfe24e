// CharacterController: a capsule that the game moves by displacements and that stands, climbs
// and slides on the level's geometry. In the simulation it is represented by a kinematic capsule
// actor that follows it, so that dynamic bodies collide with it and contacts are reported.
#pragma once

class PhysicsActor;

class CharacterController {
public:
    // capsule is the kinematic actor that follows the controller (owned by the physics world).
    CharacterController(PhysicsActor* capsule, float height, float radius);

    // The kinematic actor standing for the controller in the simulation.
    PhysicsActor* getActor() const { return capsule_; }
    float getHeight() const { return height_; }
    float getRadius() const { return radius_; }

private:
    PhysicsActor* capsule_;
    float height_;
    float radius_;
};
