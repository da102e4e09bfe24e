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

} // namespace

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
