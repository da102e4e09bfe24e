// Body handles: poses read from and written to the physics library's transforms.
#include "PhysicsActor.h"

#include "PhysicsWorld.h"

#include <btBulletDynamicsCommon.h>

static constexpr float kDegreesToRadians = 3.1415927f / 180.0f;

PhysicsActor::PhysicsActor(btCollisionObject* body) : body_(body) {
}

// The actor's frame: the body's transform moved down by the lift along the body's own up axis.
static btTransform actorFrame(const btCollisionObject* body, float lift) {
    btTransform t = body->getWorldTransform();
    t.setOrigin(t.getOrigin() - t.getBasis() * btVector3(0, lift, 0));
    return t;
}

Vector3D PhysicsActor::getGlobalPosition() const {
    const btVector3 o = actorFrame(body_, lift).getOrigin();
    return Vector3D(o.x(), o.y(), o.z());
}

void PhysicsActor::setGlobalPosition(const Vector3D& p) {
    btTransform& t = body_->getWorldTransform();
    t.setOrigin(btVector3(p.x, p.y, p.z) + t.getBasis() * btVector3(0, lift, 0));
    syncBody();
}

void PhysicsActor::getGlobalPose(float matrix[16]) const {
    actorFrame(body_, lift).getOpenGLMatrix(matrix);
}

void PhysicsActor::setGlobalOrientationY(float degrees) {
    const Vector3D at = getGlobalPosition();
    body_->getWorldTransform().setRotation(
        btQuaternion(btVector3(0, 1, 0), degrees * kDegreesToRadians));
    setGlobalPosition(at);
}

// A dynamic body keeps an interpolation transform and a motion state: both follow a move. The
// broadphase bounds must follow at once: sweeps and rays find bodies through them, and a static
// mesh placed after it was added would otherwise be found only where its unmoved box lay.
void PhysicsActor::syncBody() {
    if (btRigidBody* body = btRigidBody::upcast(body_)) {
        body->setInterpolationWorldTransform(body->getWorldTransform());
        if (body->getMotionState() != nullptr) {
            body->getMotionState()->setWorldTransform(body->getWorldTransform());
        }
    }
    if (world_ != nullptr && body_->getBroadphaseHandle() != nullptr) {
        world_->updateSingleAabb(body_);
    }
}

void PhysicsActor::addForce(const Vector3D& force) {
    btRigidBody* body = btRigidBody::upcast(body_);
    if (body == nullptr) {
        return;
    }
    body->activate(true);
    body->applyCentralImpulse(btVector3(force.x, force.y, force.z) * PhysicsWorld::kStepInterval);
}

Vector3D PhysicsActor::getLinearVelocity() const {
    const btRigidBody* body = btRigidBody::upcast(body_);
    if (body == nullptr) {
        return Vector3D(0, 0, 0);
    }
    const btVector3& v = body->getLinearVelocity();
    return Vector3D(v.x(), v.y(), v.z());
}
