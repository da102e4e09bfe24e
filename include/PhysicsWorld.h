// PhysicsWorld: the rigid-body simulation on Bullet. It owns the dynamics world, the bodies of
// the level, the rockets and particles, and the kinematic capsules of the character controllers;
// it steps in fixed 0.1 s sub-steps (at most three per call), filters collisions by shape group,
// and records the first touch of actor-group pairs that matter to the game as plain records that
// the caller reads after the step (contactBegins). What a touch means is the game's (GameRules.h),
// which the world never calls. Controller hits still go to a report (ControllerHitReport), since
// they must act within the mover's move; without one they go unheard.
#pragma once

#include "PhysicsGroups.h"
#include "Vector3D.h"

#include <map>
#include <memory>
#include <utility>
#include <vector>

class btBroadphaseInterface;
class btCollisionConfiguration;
class btCollisionDispatcher;
class btCollisionShape;
class btConstraintSolver;
class btDiscreteDynamicsWorld;
class btDynamicsWorld;
class btOverlapFilterCallback;
struct CookedMesh;
class CharacterController;
class ControllerHitReport;
class FBXModel;
class Object3D;
class PhysicsActor;
class PhysicsDebugDrawer;

class PhysicsWorld {
public:
    // Fixed sub-step and the accumulated time after which the level steps the world.
    static constexpr float kStepInterval = 0.1f;
    static constexpr int kMaxSubSteps = 3;
    static constexpr int kGroupCount = 32;
    // What a character controller's move collides with (its active-group bits).
    static constexpr unsigned kLevelGeometryBit = 2;
    static constexpr unsigned kControllerBit = 4;

    // Builds the world: gravity, default material, contact pairs, shape-group table.
    PhysicsWorld();
    ~PhysicsWorld();
    PhysicsWorld(const PhysicsWorld&) = delete;
    PhysicsWorld& operator=(const PhysicsWorld&) = delete;

    // Forgets the last step's contact records, then simulates dt seconds in fixed sub-steps,
    // recording the first touches of flagged pairs.
    void step(float dt);
    // The pairs of flagged actor groups that started touching in the last step, in the order they
    // started: each pair once until it has stopped touching, a predictive contact counting as a
    // touch. Read-only and owned by the world; valid until the next call to step.
    const std::vector<ContactBegin>& contactBegins() const { return started_; }
    // Results are ready after every step; kept for callers that poll.
    void fetchNow() {}

    // The mass of a dynamic capsule of these dimensions (density 20).
    static float capsuleMass(float height, float radius);
    // A dynamic capsule standing on the owner's origin (density 20), in shape group 0.
    PhysicsActor* createCapsuleActor(Object3D* owner, float height, float radius);
    // A capsule character controller, reporting to the world's hit report; not yet placed.
    CharacterController* createController(Object3D* owner, float height, float radius);
    // A static triangle mesh cooked from the model's triangles (logs "triangles", "points").
    PhysicsActor* createStaticMesh(FBXModel* model);
    // A static convex hull of the model's points.
    PhysicsActor* createConvexActor(FBXModel* model);
    // Removes a body from the simulation and frees it; the handle is deleted too.
    void releaseActor(PhysicsActor* actor);
    // Removes a controller and its kinematic capsule; the controller is freed.
    void releaseController(CharacterController* controller);

    // Report contacts between these two actor groups when they start to touch.
    void setActorPairFlags(int a, int b, bool report);
    bool reportsPair(int a, int b) const;
    // Whether shapes of these two groups collide at all.
    void setGroupCollisionFlag(int a, int b, bool collide);
    bool groupsCollide(int a, int b) const;

    // The world's gravity, also added unscaled to every controller move.
    static Vector3D gravity() { return Vector3D(0.0f, -9.8f, 0.0f); }

    // Height of the highest level surface (static geometry only) on the vertical line through
    // (x, z) between the heights `top` and `bottom`; false when none lies between them.
    bool levelHeightBelow(float x, float z, float top, float bottom, float* height) const;

    // Follows a thrown body from `start` at `velocity` through fixed steps under gravity, as the
    // simulation moves it, for at most `seconds`; where it first meets the level's static
    // geometry (true), or where it is when the time is up (false).
    bool traceFlight(const Vector3D& start, const Vector3D& velocity, float seconds,
                     Vector3D* end) const;

    btDiscreteDynamicsWorld* dynamicsWorld() const { return world_.get(); }
    PhysicsDebugDrawer* getDebugRenderer() const { return debugRenderer_.get(); }
    // The report controller hits go to (not owned; null: hits are dropped).
    ControllerHitReport* getControllerHitReport() const { return hitReport_; }
    void setControllerHitReport(ControllerHitReport* report) { hitReport_ = report; }

    bool sceneReady = false;
    float stepInterval = kStepInterval;

private:
    // Bullet's hook after each fixed step; the world's user info is the PhysicsWorld.
    static void afterFixedStep(btDynamicsWorld* world, float timeStep);
    void scanContacts();
    void addBody(PhysicsActor* actor);

    std::unique_ptr<btCollisionConfiguration> configuration_;
    std::unique_ptr<btCollisionDispatcher> dispatcher_;
    std::unique_ptr<btBroadphaseInterface> broadphase_;
    std::unique_ptr<btOverlapFilterCallback> filter_;
    std::unique_ptr<btConstraintSolver> solver_;
    std::unique_ptr<btDiscreteDynamicsWorld> world_;
    std::unique_ptr<PhysicsDebugDrawer> debugRenderer_;
    ControllerHitReport* hitReport_ = nullptr;
    bool pairFlags_[kGroupCount][kGroupCount] = {};
    bool collides_[kGroupCount][kGroupCount] = {};
    // Pairs touching now, with the step in which they were last seen touching.
    std::map<std::pair<const void*, const void*>, long> touching_;
    long stepCount_ = 0;
    // Pairs that started touching in the fixed steps of the last step, by owner and group.
    std::vector<ContactBegin> started_;
    std::vector<std::unique_ptr<btCollisionShape>> shapes_;
    std::vector<std::unique_ptr<CookedMesh>> meshes_;
    std::vector<std::unique_ptr<CharacterController>> controllers_;
};
