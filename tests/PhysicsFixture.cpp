// The physics test fixture: a fresh world per test, level geometry cooked from hand-made models,
// and a hit report that records what the controllers' moves reached.
#include "PhysicsFixture.h"

#include "CharacterController.h"
#include "FBXModel.h"
#include "Object3D.h"
#include "PhysicsActor.h"
#include "PhysicsWorld.h"

#include <btBulletDynamicsCommon.h>

#include <algorithm>
#include <cmath>

namespace {

constexpr float kDegreesToRadians = 3.1415927f / 180.0f;

// A quad as two triangles, corners in order around it.
void addQuad(std::vector<LevelTriangle>& out, const Vector3D& a, const Vector3D& b,
             const Vector3D& c, const Vector3D& d) {
    out.push_back({a, b, c});
    out.push_back({a, c, d});
}

} // namespace

void RecordingHitReport::onShapeHit(const Touch& mover, const Touch& target) {
    hits.emplace_back(mover.owner, target.owner);
    ControllerHitReport::onShapeHit(mover, target);
}

void RecordingHitReport::wolfCaughtSheep(Object3D* wolf, Object3D* sheep) {
    catches.emplace_back(wolf, sheep);
}

bool RecordingHitReport::reported(Object3D* mover, Object3D* target) const {
    return std::find(hits.begin(), hits.end(), Pair(mover, target)) != hits.end();
}

long RecordingHitReport::reportedBy(const Object3D* mover) const {
    return std::count_if(hits.begin(), hits.end(),
                         [mover](const Pair& hit) { return hit.first == mover; });
}

PhysicsFixture::PhysicsFixture() = default;
PhysicsFixture::~PhysicsFixture() = default;

void PhysicsFixture::SetUp() {
    TempDirTest::SetUp();
    world_ = std::make_unique<PhysicsWorld>();
    world_->setControllerHitReport(&hits_);
}

void PhysicsFixture::TearDown() {
    world_.reset();
    models_.clear();
    objects_.clear();
    TempDirTest::TearDown();
}

Object3D* PhysicsFixture::makeObject(int type) {
    objects_.push_back(std::make_unique<Object3D>());
    objects_.back()->type = type;
    return objects_.back().get();
}

PhysicsActor* PhysicsFixture::addMesh(const std::vector<LevelTriangle>& triangles) {
    auto model = std::make_unique<FBXModel>();
    for (const LevelTriangle& t : triangles) {
        const int first = model->controlPointCount;
        for (const Vector3D& p : {t.a, t.b, t.c}) {
            model->controlPoints.insert(model->controlPoints.end(), {p.x, p.y, p.z, 1.0});
        }
        model->controlPointCount += 3;
        model->polygonVertexIndices.push_back({first, first + 1, first + 2});
    }
    model->polygonCount = static_cast<int>(triangles.size());
    PhysicsActor* actor = world_->createStaticMesh(model.get());
    models_.push_back(std::move(model));
    if (actor != nullptr) {
        actor->userData = makeObject(Object3D::kScenery);
    }
    return actor;
}

PhysicsActor* PhysicsFixture::addGround(float y, float half) {
    std::vector<LevelTriangle> triangles;
    addQuad(triangles, Vector3D(-half, y, -half), Vector3D(-half, y, half), Vector3D(half, y, half),
            Vector3D(half, y, -half));
    return addMesh(triangles);
}

PhysicsActor* PhysicsFixture::addBox(const Vector3D& lo, const Vector3D& hi) {
    auto corner = [&](int i) {
        return Vector3D((i & 1) ? hi.x : lo.x, (i & 2) ? hi.y : lo.y, (i & 4) ? hi.z : lo.z);
    };
    // Corner i has bit 0 for x, bit 1 for y, bit 2 for z; each face lists its four corners.
    const int faces[6][4] = {{0, 2, 6, 4}, {1, 5, 7, 3}, {0, 4, 5, 1},
                             {2, 3, 7, 6}, {0, 1, 3, 2}, {4, 6, 7, 5}};
    std::vector<LevelTriangle> triangles;
    for (const auto& f : faces) {
        addQuad(triangles, corner(f[0]), corner(f[1]), corner(f[2]), corner(f[3]));
    }
    return addMesh(triangles);
}

PhysicsActor* PhysicsFixture::addRamp(float degrees, float half) {
    const float rise = half * std::tan(degrees * kDegreesToRadians);
    std::vector<LevelTriangle> triangles;
    addQuad(triangles, Vector3D(-half, -rise, -half), Vector3D(-half, -rise, half),
            Vector3D(half, rise, half), Vector3D(half, rise, -half));
    return addMesh(triangles);
}

CharacterController* PhysicsFixture::addController(Object3D* owner, const Vector3D& centre,
                                                   float height, float radius, int group) {
    CharacterController* controller = world_->createController(owner, height, radius);
    controller->getActor()->group = group;
    controller->setPosition(centre);
    controller->setCollision(true);
    owner->controller = controller;
    return controller;
}

void PhysicsFixture::place(PhysicsActor* actor, const Vector3D& position) {
    actor->setGlobalPosition(position);
    world_->dynamicsWorld()->updateSingleAabb(actor->body());
}
