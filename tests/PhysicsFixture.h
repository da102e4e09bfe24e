// PhysicsFixture: hand-built physics worlds for tests that need no window. Level geometry is
// cooked from triangles through the same path as the level's models, owners are plain scene
// objects, and the world's controller hits go to a recording hit report.
#pragma once

#include "ControllerHitReport.h"
#include "TestSupport.h"
#include "Vector3D.h"

#include <memory>
#include <utility>
#include <vector>

class CharacterController;
class FBXModel;
class Object3D;
class PhysicsActor;
class PhysicsWorld;

// Every touch a controller's move reports, and every catch the wolf-and-sheep rule makes of them.
class RecordingHitReport : public ControllerHitReport {
public:
    using Pair = std::pair<Object3D*, Object3D*>;

    void onShapeHit(const Touch& mover, const Touch& target) override;
    void wolfCaughtSheep(Object3D* wolf, Object3D* sheep) override;
    // Whether (mover, target) was reported.
    bool reported(Object3D* mover, Object3D* target) const;
    // How many touches the moves of `mover` reported.
    long reportedBy(const Object3D* mover) const;

    std::vector<Pair> hits;
    std::vector<Pair> catches;
};

// One triangle of level geometry.
struct LevelTriangle {
    Vector3D a, b, c;
};

class PhysicsFixture : public TempDirTest {
protected:
    PhysicsFixture();
    ~PhysicsFixture() override;
    void SetUp() override;
    void TearDown() override;

    PhysicsWorld& world() { return *world_; }

    // A scene object of kind `type` that lives as long as the test.
    Object3D* makeObject(int type = 0);
    // Static level geometry cooked from the triangles, owned by a scenery object.
    PhysicsActor* addMesh(const std::vector<LevelTriangle>& triangles);
    // A flat square at height y, `half` wide each way from the origin.
    PhysicsActor* addGround(float y, float half);
    // A closed axis-aligned box.
    PhysicsActor* addBox(const Vector3D& min, const Vector3D& max);
    // A plane through the origin rising along +x at `degrees`, from x = -half to x = half and
    // z = -half to z = half: its height at x is x * tan(degrees).
    PhysicsActor* addRamp(float degrees, float half);
    // A controller with collision on, centred at `centre`, its capsule in actor group `group`.
    CharacterController* addController(Object3D* owner, const Vector3D& centre, float height,
                                       float radius, int group = ActorGroup::kNone);
    // What the controllers' moves reported.
    RecordingHitReport& hits() { return hits_; }
    // Moves a body and refreshes its broadphase box, as the next world step would.
    void place(PhysicsActor* actor, const Vector3D& position);

private:
    std::unique_ptr<PhysicsWorld> world_;
    RecordingHitReport hits_;
    std::vector<std::unique_ptr<Object3D>> objects_;
    std::vector<std::unique_ptr<FBXModel>> models_;
};
