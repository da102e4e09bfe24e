// Queries of the world's static level geometry that are not part of stepping: where the ground
// is under a point. The camera uses it to keep its eye out of the terrain.
#include "PhysicsWorld.h"

#include <btBulletDynamicsCommon.h>

namespace {

// The closest hit of a ray, counting only static bodies: rockets, particles and the characters'
// capsules are not ground.
struct StaticRay : btCollisionWorld::ClosestRayResultCallback {
    StaticRay(const btVector3& from, const btVector3& to) : ClosestRayResultCallback(from, to) {}
    bool needsCollision(btBroadphaseProxy* proxy) const override {
        const auto* object = static_cast<const btCollisionObject*>(proxy->m_clientObject);
        return object != nullptr && object->isStaticObject() &&
               ClosestRayResultCallback::needsCollision(proxy);
    }
};

btVector3 toBullet(const Vector3D& v) {
    return btVector3(v.x, v.y, v.z);
}

} // namespace

// Only the level stops a rocket for certain (it flies on through the sheep it kills). The
// simulation's fixed step integrates semi-implicitly: the velocity takes the step's gravity
// first, then carries the body the whole step.
bool PhysicsWorld::traceFlight(const Vector3D& start, const Vector3D& velocity, float seconds,
                               Vector3D* end) const {
    btVector3 at = toBullet(start), v = toBullet(velocity);
    const btVector3 g = toBullet(gravity()) * kStepInterval;
    for (float t = 0.0f; t < seconds; t += kStepInterval) {
        v += g;
        const btVector3 next = at + v * kStepInterval;
        StaticRay ray(at, next);
        world_->rayTest(at, next, ray);
        if (ray.hasHit()) {
            const btVector3& p = ray.m_hitPointWorld;
            *end = Vector3D(p.x(), p.y(), p.z());
            return true;
        }
        at = next;
    }
    *end = Vector3D(at.x(), at.y(), at.z());
    return false;
}

bool PhysicsWorld::levelHeightBelow(float x, float z, float top, float bottom,
                                    float* height) const {
    if (!(top > bottom)) {
        return false;
    }
    const btVector3 from(x, top, z), to(x, bottom, z);
    StaticRay ray(from, to);
    world_->rayTest(from, to, ray);
    if (!ray.hasHit()) {
        return false;
    }
    *height = ray.m_hitPointWorld.y();
    return true;
}
