// Particles' swept motion against the level: one convex cast per obstacle (a handful of static
// meshes, each with its own BVH) instead of a walk of the broadphase.
#include "ParticleSweep.h"

#include "PhysicsActor.h"
#include "PhysicsGroups.h"
#include "PhysicsWorld.h"

#include <btBulletDynamicsCommon.h>

bool isParticleBody(const btCollisionObject* body) {
    const auto* actor = static_cast<const PhysicsActor*>(body->getUserPointer());
    return actor != nullptr && actor->shapeGroup == ShapeGroup::kParticle;
}

std::vector<ParticleObstacle> particleObstacles(const btCollisionWorld& world,
                                               const PhysicsWorld& groups) {
    std::vector<ParticleObstacle> obstacles;
    const btCollisionObjectArray& objects = world.getCollisionObjectArray();
    for (int i = 0; i < objects.size(); ++i) {
        const btCollisionObject* o = objects[i];
        const auto* actor = static_cast<const PhysicsActor*>(o->getUserPointer());
        if (o->isStaticObject() &&
            (actor == nullptr ||
             groups.groupsCollide(ShapeGroup::kParticle, actor->shapeGroup))) {
            ParticleObstacle obstacle{o, btVector3(), btVector3()};
            o->getCollisionShape()->getAabb(o->getWorldTransform(), obstacle.min, obstacle.max);
            obstacles.push_back(obstacle);
        }
    }
    return obstacles;
}

namespace {

// The closest touch that the move runs into: a surface the sphere already lies on and moves along
// or away from is no obstacle (or a particle resting on the ground could never move again).
struct ClosestApproach : btCollisionWorld::ClosestConvexResultCallback {
    ClosestApproach(const btVector3& from, const btVector3& to, float allowedPenetration)
        : ClosestConvexResultCallback(from, to), allowed(allowedPenetration) {}
    btScalar addSingleResult(btCollisionWorld::LocalConvexResult& result,
                             bool normalInWorldSpace) override {
        const btVector3 normal =
            normalInWorldSpace ? result.m_hitNormalLocal
                               : result.m_hitCollisionObject->getWorldTransform().getBasis() *
                                     result.m_hitNormalLocal;
        if (normal.dot(m_convexToWorld - m_convexFromWorld) >= -allowed) {
            return 1.0f;
        }
        return ClosestConvexResultCallback::addSingleResult(result, normalInWorldSpace);
    }
    float allowed;
};

} // namespace

// The first touch of a sphere moved from `from` to `to` among the obstacles whose bounds the
// move reaches (a cast against a far convex hull still costs its full support search); 1 when
// none.
static float firstTouch(float radius, const btTransform& from, const btTransform& to,
                        const std::vector<ParticleObstacle>& obstacles, float allowedPenetration) {
    btSphereShape sphere(radius);
    ClosestApproach closest(from.getOrigin(), to.getOrigin(), allowedPenetration);
    btVector3 lo = from.getOrigin(), hi = from.getOrigin();
    lo.setMin(to.getOrigin());
    hi.setMax(to.getOrigin());
    lo -= btVector3(radius, radius, radius);
    hi += btVector3(radius, radius, radius);
    for (const ParticleObstacle& o : obstacles) {
        if (!TestAabbAgainstAabb2(lo, hi, o.min, o.max)) {
            continue;
        }
        auto* object = const_cast<btCollisionObject*>(o.object);
        btCollisionWorld::objectQuerySingle(&sphere, from, to, object,
                                            object->getCollisionShape(),
                                            object->getWorldTransform(), closest,
                                            allowedPenetration);
    }
    return closest.hasHit() ? closest.m_closestHitFraction : 1.0f;
}

void integrateParticles(const std::vector<btRigidBody*>& particles,
                        const std::vector<ParticleObstacle>& obstacles, float timeStep,
                        float allowedPenetration) {
    for (btRigidBody* body : particles) {
        body->setHitFraction(1.0f);
        if (!body->isActive() || body->isStaticOrKinematicObject()) {
            continue;
        }
        btTransform predicted;
        body->predictIntegratedTransform(timeStep, predicted);
        const btScalar motion2 =
            (predicted.getOrigin() - body->getWorldTransform().getOrigin()).length2();
        if (body->getCcdSquareMotionThreshold() != 0 &&
            body->getCcdSquareMotionThreshold() < motion2) {
            btTransform sweptTo = predicted;
            sweptTo.setBasis(body->getWorldTransform().getBasis());
            const float fraction = firstTouch(body->getCcdSweptSphereRadius(),
                                              body->getWorldTransform(), sweptTo, obstacles,
                                              allowedPenetration);
            if (fraction < 1.0f) {
                body->predictIntegratedTransform(timeStep * fraction, predicted);
                body->setHitFraction(0.0f);
            }
        }
        body->proceedToTransform(predicted);
    }
}
