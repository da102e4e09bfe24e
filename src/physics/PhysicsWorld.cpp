// The physics world on Bullet: construction with the game's groups and pairs, fixed stepping,
// first-touch contact records, and the capsule bodies of rockets, particles and controllers.
#include "PhysicsWorld.h"

#include "CharacterController.h"
#include "CookedMesh.h"
#include "ParticleSweep.h"
#include "PhysicsActor.h"
#include "PhysicsDebugDrawer.h"

#include <btBulletDynamicsCommon.h>

#include <algorithm>
#include <cmath>

namespace {

constexpr float kRestitution = 0.5f;
constexpr float kFriction = 0.5f;
constexpr float kDensity = 20.0f;
constexpr float kSleepLinearVelocity = 0.15f;
constexpr float kSleepAngularVelocity = 0.2f;
constexpr float kMargin = 0.01f;
constexpr float kPi = 3.1415927f;
// A pair not seen touching for this many steps has stopped touching; bodies resting on a mesh
// lose and regain contact from step to step, and must not report again each time.
constexpr long kForgetAfterSteps = 3;
// Contacts deeper than this count as touching.
constexpr float kTouchDistance = 0.02f;

// Broadphase filter: the shape-group table decides which pairs may collide at all.
class GroupFilter : public btOverlapFilterCallback {
public:
    explicit GroupFilter(const PhysicsWorld* world) : world_(world) {}
    bool needBroadphaseCollision(btBroadphaseProxy* a, btBroadphaseProxy* b) const override {
        const auto* oa = static_cast<const btCollisionObject*>(a->m_clientObject);
        const auto* ob = static_cast<const btCollisionObject*>(b->m_clientObject);
        const auto* pa = static_cast<const PhysicsActor*>(oa->getUserPointer());
        const auto* pb = static_cast<const PhysicsActor*>(ob->getUserPointer());
        if (pa == nullptr || pb == nullptr) {
            return true;
        }
        return world_->groupsCollide(pa->shapeGroup, pb->shapeGroup);
    }

private:
    const PhysicsWorld* world_;
};

// The dynamics world that can tell a predictive contact from a touching one. A fast body's
// swept test adds a predictive contact when the body would meet another within the step; the
// solver then stops it short of the other, so its touch never shows as a touching contact.
// Particles are moved apart from the other bodies: their swept test looks at the level only.
class ReportingWorld : public btDiscreteDynamicsWorld {
public:
    ReportingWorld(btDispatcher* dispatcher, btBroadphaseInterface* broadphase,
                   btConstraintSolver* solver, btCollisionConfiguration* configuration,
                   const PhysicsWorld* groups)
        : btDiscreteDynamicsWorld(dispatcher, broadphase, solver, configuration), groups_(groups) {}
    bool predictive(const btPersistentManifold* manifold) const {
        for (int i = 0; i < m_predictiveManifolds.size(); ++i) {
            if (m_predictiveManifolds[i] == manifold) {
                return true;
            }
        }
        return false;
    }

protected:
    // As Bullet's own, for every body but the particles.
    void createPredictiveContacts(btScalar timeStep) override {
        releasePredictiveContacts();
        splitBodies();
        if (!others_.empty()) {
            createPredictiveContactsInternal(others_.data(), static_cast<int>(others_.size()),
                                             timeStep);
        }
    }
    void integrateTransforms(btScalar timeStep) override {
        splitBodies();
        if (!others_.empty()) {
            integrateTransformsInternal(others_.data(), static_cast<int>(others_.size()), timeStep);
        }
        integrateParticles(particles_, particleObstacles(*this, *groups_), timeStep,
                           getDispatchInfo().m_allowedCcdPenetration);
    }

private:
    void splitBodies() {
        particles_.clear();
        others_.clear();
        for (int i = 0; i < m_nonStaticRigidBodies.size(); ++i) {
            btRigidBody* body = m_nonStaticRigidBodies[i];
            (isParticleBody(body) ? particles_ : others_).push_back(body);
        }
    }

    const PhysicsWorld* groups_;
    std::vector<btRigidBody*> particles_;
    std::vector<btRigidBody*> others_;
};

bool validGroup(int g) {
    return g >= 0 && g < PhysicsWorld::kGroupCount;
}

} // namespace

PhysicsWorld::PhysicsWorld()
    : configuration_(std::make_unique<btDefaultCollisionConfiguration>()),
      dispatcher_(std::make_unique<btCollisionDispatcher>(configuration_.get())),
      broadphase_(std::make_unique<btDbvtBroadphase>()),
      filter_(std::make_unique<GroupFilter>(this)),
      solver_(std::make_unique<btSequentialImpulseConstraintSolver>()),
      world_(std::make_unique<ReportingWorld>(dispatcher_.get(), broadphase_.get(), solver_.get(),
                                              configuration_.get(), this)) {
    for (auto& row : collides_) {
        std::fill(std::begin(row), std::end(row), true);
    }
    const Vector3D g = gravity();
    world_->setGravity(btVector3(g.x, g.y, g.z));
    world_->getPairCache()->setOverlapFilterCallback(filter_.get());
    world_->setInternalTickCallback(&PhysicsWorld::afterFixedStep, this);
    // Static bodies keep their bounds: every move of a body updates them (PhysicsActor).
    world_->setForceUpdateAllAabbs(false);
    sceneReady = true;
    debugRenderer_ = std::make_unique<PhysicsDebugDrawer>(world_.get());
    // Rockets report touching wolves, the level (terrain, plant; canyon) and sheep.
    for (int group :
         {ActorGroup::kWolf, ActorGroup::kGround, ActorGroup::kCanyon, ActorGroup::kSheep}) {
        setActorPairFlags(group, ActorGroup::kRocket, true);
    }
    setGroupCollisionFlag(ShapeGroup::kParticle, ShapeGroup::kParticle, false);
    setGroupCollisionFlag(ShapeGroup::kParticle, ShapeGroup::kCanyon, false);
}

// Removes a body from the world and frees it with its motion state, its own shape and handle.
static void destroyBody(btDiscreteDynamicsWorld* world, btCollisionObject* body) {
    auto* actor = static_cast<PhysicsActor*>(body->getUserPointer());
    world->removeCollisionObject(body);
    if (btRigidBody* rigid = btRigidBody::upcast(body)) {
        delete rigid->getMotionState();
    }
    if (actor != nullptr) {
        delete actor->ownedShape;
        delete actor;
    }
    delete body;
}

PhysicsWorld::~PhysicsWorld() {
    for (int i = world_->getNumCollisionObjects() - 1; i >= 0; --i) {
        destroyBody(world_.get(), world_->getCollisionObjectArray()[i]);
    }
}

void PhysicsWorld::setActorPairFlags(int a, int b, bool report) {
    if (validGroup(a) && validGroup(b)) {
        pairFlags_[a][b] = pairFlags_[b][a] = report;
    }
}

bool PhysicsWorld::reportsPair(int a, int b) const {
    return validGroup(a) && validGroup(b) && pairFlags_[a][b];
}

void PhysicsWorld::setGroupCollisionFlag(int a, int b, bool collide) {
    if (validGroup(a) && validGroup(b)) {
        collides_[a][b] = collides_[b][a] = collide;
    }
}

bool PhysicsWorld::groupsCollide(int a, int b) const {
    return !validGroup(a) || !validGroup(b) || collides_[a][b];
}

// The records are kept by owner rather than body: the game may release bodies while it walks
// them, and a later record of the same step may name the same owner again (a rocket touching two
// pieces of the level at once).
void PhysicsWorld::step(float dt) {
    started_.clear();
    if (!sceneReady || dt <= 0.0f) {
        return;
    }
    world_->stepSimulation(dt, kMaxSubSteps, kStepInterval);
}

void PhysicsWorld::afterFixedStep(btDynamicsWorld* world, float) {
    static_cast<PhysicsWorld*>(world->getWorldUserInfo())->scanContacts();
}

// After every fixed step: the pairs of flagged actor groups that started touching in it. A
// predictive contact counts as a touch: the body was stopped against the other.
void PhysicsWorld::scanContacts() {
    ++stepCount_;
    const auto* reporting = static_cast<const ReportingWorld*>(world_.get());
    const int manifolds = dispatcher_->getNumManifolds();
    for (int i = 0; i < manifolds; ++i) {
        const btPersistentManifold* m = dispatcher_->getManifoldByIndexInternal(i);
        auto* a = static_cast<PhysicsActor*>(m->getBody0()->getUserPointer());
        auto* b = static_cast<PhysicsActor*>(m->getBody1()->getUserPointer());
        // The groups first: most manifolds (particles on the ground) are never reported.
        if (a == nullptr || b == nullptr || !reportsPair(a->group, b->group)) {
            continue;
        }
        bool touching = m->getNumContacts() > 0 && reporting->predictive(m);
        for (int c = 0; c < m->getNumContacts() && !touching; ++c) {
            touching = m->getContactPoint(c).getDistance() <= kTouchDistance;
        }
        if (!touching) {
            continue;
        }
        const std::pair<const void*, const void*> key = std::minmax<const void*>(a, b);
        if (touching_.find(key) == touching_.end()) {
            started_.push_back({Touch{a->userData, a->group}, Touch{b->userData, b->group}});
        }
        touching_[key] = stepCount_;
    }
    for (auto it = touching_.begin(); it != touching_.end();) {
        it = (stepCount_ - it->second > kForgetAfterSteps) ? touching_.erase(it) : std::next(it);
    }
}

void PhysicsWorld::addBody(PhysicsActor* actor) {
    btCollisionObject* body = actor->body();
    body->setUserPointer(actor);
    body->setRestitution(kRestitution);
    body->setFriction(kFriction);
    // Every body gets its group and mask explicitly: a kinematic body added without them never
    // pairs with anything. The group filter above makes the real decision.
    if (btRigidBody* rigid = btRigidBody::upcast(body)) {
        world_->addRigidBody(rigid, btBroadphaseProxy::DefaultFilter, btBroadphaseProxy::AllFilter);
    } else {
        world_->addCollisionObject(body, btBroadphaseProxy::DefaultFilter,
                                   btBroadphaseProxy::AllFilter);
    }
    actor->setWorld(world_.get());
}

float PhysicsWorld::capsuleMass(float height, float radius) {
    const float volume =
        kPi * radius * radius * height + 4.0f / 3.0f * kPi * radius * radius * radius;
    return kDensity * volume;
}

PhysicsActor* PhysicsWorld::createCapsuleActor(Object3D* owner, float height, float radius) {
    auto* shape = new btCapsuleShape(radius, height);
    shape->setMargin(std::min(kMargin, radius * 0.5f));
    const float mass = capsuleMass(height, radius);
    btVector3 inertia(0, 0, 0);
    shape->calculateLocalInertia(mass, inertia);
    auto* body = new btRigidBody(
        btRigidBody::btRigidBodyConstructionInfo(mass, new btDefaultMotionState(), shape, inertia));
    body->setSleepingThresholds(kSleepLinearVelocity, kSleepAngularVelocity);
    // Steps are a tenth of a second long: a small body falls or flies further than its own size
    // in one, and would pass through thin level meshes without a swept test. The swept sphere
    // sits at the capsule's centre.
    body->setCcdMotionThreshold(radius * 0.5f);
    body->setCcdSweptSphereRadius(radius * 0.9f);
    auto* actor = new PhysicsActor(body);
    // The capsule stands on the owner's origin.
    actor->lift = height * 0.5f + radius;
    actor->userData = owner;
    actor->ownedShape = shape;
    addBody(actor);
    actor->setGlobalPosition(Vector3D(0, 0, 0));
    return actor;
}

CharacterController* PhysicsWorld::createController(Object3D* owner, float height, float radius) {
    if (height <= 0.0f || radius <= 0.0f) {
        return nullptr;
    }
    const float scale = CharacterController::kCapsuleScale;
    auto* shape = new btCapsuleShape(radius * scale, height * scale);
    auto* body = new btRigidBody(
        btRigidBody::btRigidBodyConstructionInfo(0.0f, nullptr, shape, btVector3(0, 0, 0)));
    body->setCollisionFlags(body->getCollisionFlags() | btCollisionObject::CF_KINEMATIC_OBJECT);
    body->setActivationState(DISABLE_DEACTIVATION);
    auto* actor = new PhysicsActor(body);
    actor->userData = owner;
    actor->ownedShape = shape;
    actor->controllerClass = kControllerBit;
    addBody(actor);
    controllers_.push_back(
        std::make_unique<CharacterController>(this, actor, owner, height, radius));
    return controllers_.back().get();
}

void PhysicsWorld::releaseController(CharacterController* controller) {
    for (auto it = controllers_.begin(); it != controllers_.end(); ++it) {
        if (it->get() == controller) {
            releaseActor(controller->getActor());
            controllers_.erase(it);
            return;
        }
    }
}

void PhysicsWorld::releaseActor(PhysicsActor* actor) {
    if (actor == nullptr) {
        return;
    }
    for (auto it = touching_.begin(); it != touching_.end();) {
        const bool involved = it->first.first == actor || it->first.second == actor;
        it = involved ? touching_.erase(it) : std::next(it);
    }
    destroyBody(world_.get(), actor->body());
}
