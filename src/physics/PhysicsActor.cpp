// Body handles: poses read from and written to the physics library's transforms.
#include "PhysicsActor.h"

#include <btBulletCollisionCommon.h>

static constexpr float kDegreesToRadians = 3.1415927f / 180.0f;

PhysicsActor::PhysicsActor(btCollisionObject* body) : body_(body) {
}

Vector3D PhysicsActor::getGlobalPosition() const {
    const btVector3& o = body_->getWorldTransform().getOrigin();
    return Vector3D(o.x(), o.y(), o.z());
}

void PhysicsActor::setGlobalPosition(const Vector3D& p) {
    body_->getWorldTransform().setOrigin(btVector3(p.x, p.y, p.z));
}

void PhysicsActor::getGlobalPose(float matrix[16]) const {
    body_->getWorldTransform().getOpenGLMatrix(matrix);
}

void PhysicsActor::setGlobalOrientationY(float degrees) {
    body_->getWorldTransform().setRotation(
        btQuaternion(btVector3(0, 1, 0), degrees * kDegreesToRadians));
}
