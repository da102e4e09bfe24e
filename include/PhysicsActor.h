// PhysicsActor: the game's handle on one body of the physics world (a dynamic capsule, a static
// level mesh, or the kinematic capsule that stands for a character controller). It carries the
// actor group that contact filtering and reports read, and the owning scene object.
#pragma once

#include "PhysicsGroups.h"
#include "Vector3D.h"

class btCollisionObject;
class btCollisionWorld;
class btCollisionShape;
class Object3D;

class PhysicsActor {
public:
    // Wraps a body the physics world owns; the actor does not delete it.
    explicit PhysicsActor(btCollisionObject* body);

    // Position of the body's origin in the world.
    Vector3D getGlobalPosition() const;
    // Moves the body's origin, keeping its orientation.
    void setGlobalPosition(const Vector3D& p);
    // The body's pose as a column-major 4x4 matrix, as glMultMatrixf takes it.
    void getGlobalPose(float matrix[16]) const;
    // Sets the body's orientation to a turn of `degrees` about the vertical axis.
    void setGlobalOrientationY(float degrees);

    // Pushes a dynamic body: the force acts over one fixed step (an impulse of force x step).
    void addForce(const Vector3D& force);
    // Linear velocity of a dynamic body (zero for others).
    Vector3D getLinearVelocity() const;

    btCollisionObject* body() const { return body_; }
    // The world that now holds the body (not owned; null before it is added or after removal).
    void setWorld(btCollisionWorld* world) { world_ = world; }

    // Actor group (PhysicsGroups.h: wolves, sheep, rockets, terrain and plant, canyon).
    int group = ActorGroup::kNone;
    // The scene object this body belongs to (not owned).
    Object3D* userData = nullptr;
    // Where the body's centre lies in the actor's own frame. A capsule actor stands on its origin
    // while its body (a plain capsule, so that swept collision works) is centred above it.
    float lift = 0.0f;
    // Collision filtering group of the body's shape (ShapeGroup in PhysicsGroups.h).
    int shapeGroup = ShapeGroup::kDefault;
    // What this body is to a moving character controller: level geometry, another controller's
    // capsule, or nothing that blocks (rockets, particles).
    unsigned controllerClass = 0;
    // The shape made for this body alone, freed with it (null for shared shapes).
    btCollisionShape* ownedShape = nullptr;

private:
    // Carries a move over to the interpolation, the motion state and the broadphase bounds.
    void syncBody();

    btCollisionObject* body_;
    btCollisionWorld* world_ = nullptr;
};
