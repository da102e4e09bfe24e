// CharacterController: a capsule that the game moves by displacements and that stands, climbs
// steps and slides along walls on the level's geometry, written on Bullet's convex sweeps.
// In the simulation it is represented by a kinematic capsule actor (0.8 times its size) that
// follows it after every move, so that rockets and particles collide with it and contacts are
// reported. Every object a move touches is handed to the world's controller hit report, with the
// owners and actor groups of both.
#pragma once

#include "Vector3D.h"

#include <memory>

class btCapsuleShape;
class Object3D;
class PhysicsActor;
class PhysicsWorld;

class CharacterController {
public:
    // Defaults of the controller: walkable slope (cos 45 degrees), step height, contact skin.
    static constexpr float kSlopeLimit = 0.707f;
    static constexpr float kStepOffset = 0.5f;
    static constexpr float kSkinWidth = 0.1f;
    // The kinematic capsule is this fraction of the controller's radius and height.
    static constexpr float kCapsuleScale = 0.8f;

    // capsule: the kinematic actor that follows the controller (the world owns it); its actor
    // group is the mover's in hit reports. The controller starts at the origin with collision off.
    CharacterController(PhysicsWorld* world, PhysicsActor* capsule, Object3D* owner, float height,
                        float radius);
    ~CharacterController();

    // Moves by `displacement` against what activeGroups selects (bit 1: level geometry, bit 2:
    // other controllers): up by the step offset, sideways with sliding, then down by the step
    // offset plus the downward part of the displacement. Returns collision flags (bit 0 sides,
    // bit 1 above, bit 2 below).
    unsigned move(const Vector3D& displacement, unsigned activeGroups, float minDistance,
                  float sharpness);
    // Places the capsule centre; the kinematic actor follows.
    void setPosition(const Vector3D& centre);
    Vector3D getPosition() const { return position_; }
    // Switches the controller's collision on (moves then collide) or off (moves pass through).
    void setCollision(bool enabled) { collision_ = enabled; }

    // The kinematic actor standing for the controller in the simulation.
    PhysicsActor* getActor() const { return capsule_; }
    Object3D* getOwner() const { return owner_; }
    float getHeight() const { return height_; }
    float getRadius() const { return radius_; }

private:
    // Frees the sweep shape where Bullet's types are known (CharacterControllerMove.cpp).
    struct SweepShapeDeleter {
        void operator()(btCapsuleShape* shape) const;
    };
    // The full-size capsule the move sweeps, made on the first move.
    btCapsuleShape* sweepShape();

    PhysicsWorld* world_;
    PhysicsActor* capsule_;
    Object3D* owner_;
    float height_;
    float radius_;
    Vector3D position_;
    bool collision_ = false;
    // Stood still on the ground at the last move, which fell straight down; any placement or
    // other move ends it.
    bool resting_ = false;
    std::unique_ptr<btCapsuleShape, SweepShapeDeleter> sweepShape_;
};
