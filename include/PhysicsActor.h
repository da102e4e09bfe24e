// PhysicsActor: the game's handle on one body of the physics world (a dynamic capsule, a static
// level mesh, or the kinematic capsule that stands for a character controller). It carries the
// actor group that contact filtering and reports read, and the owning scene object.
#pragma once

#include "Vector3D.h"

class btCollisionObject;
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

    btCollisionObject* body() const { return body_; }

    // Actor group (2 wolves, 3 sheep, 4 rockets, 6 terrain and plant, 10 canyon).
    int group = 0;
    // The scene object this body belongs to (not owned).
    Object3D* userData = nullptr;

private:
    btCollisionObject* body_;
};
