// The physics world without a window: cooking streams, meshes cooked from model data, stepping,
// the records of first touches by actor-group pairs, shape-group filtering, and the controller
// hit rule.
#include "PhysicsWorld.h"
#include "FBXModel.h"
#include "MemoryReadBuffer.h"
#include "MemoryWriteBuffer.h"
#include "Object3D.h"
#include "PhysicsActor.h"
#include "PhysicsFixture.h"
#include "TestSupport.h"
#include "UserStream.h"

#include <btBulletDynamicsCommon.h>

#include <cmath>
#include <filesystem>

namespace {

using PhysicsWorldTest = TempDirTest;

// A flat square of two triangles, `half` wide each way at height y, in model units.
void flatSquare(FBXModel& m, float half, float y, float scale) {
    const double corners[4][2] = {{-half, -half}, {half, -half}, {half, half}, {-half, half}};
    m.controlPointCount = 4;
    m.controlPoints.clear();
    for (const auto& c : corners) {
        m.controlPoints.insert(m.controlPoints.end(), {c[0], y, c[1], 1.0});
    }
    m.polygonCount = 2;
    m.polygonVertexIndices = {{0, 2, 1}, {0, 3, 2}};
    m.scale = scale;
}

// Whether the record is of these two bodies, in either order, each with its owner and group.
bool isPair(const ContactBegin& record, const Touch& x, const Touch& y) {
    const auto same = [](const Touch& p, const Touch& q) {
        return p.owner == q.owner && p.group == q.group;
    };
    return (same(record.a, x) && same(record.b, y)) || (same(record.a, y) && same(record.b, x));
}

// Steps the world `seconds` long in steps of dt and gathers the records each step leaves.
std::vector<ContactBegin> recordsOver(PhysicsWorld& world, float seconds, float dt) {
    std::vector<ContactBegin> all;
    for (float t = 0; t < seconds; t += dt) {
        world.step(dt);
        all.insert(all.end(), world.contactBegins().begin(), world.contactBegins().end());
    }
    return all;
}

// A capsule in `group`, its foot at `at`, moving at `velocity`.
PhysicsActor* throwBody(PhysicsWorld& world, Object3D* owner, int group, const Vector3D& at,
                        float velocityY) {
    PhysicsActor* body = world.createCapsuleActor(owner, 0.2f, 0.1f);
    body->group = group;
    body->setGlobalPosition(at);
    static_cast<btRigidBody*>(body->body())->setLinearVelocity(btVector3(0, velocityY, 0));
    return body;
}

float heightAfterFalling(PhysicsWorld& world, PhysicsActor* body, float seconds, float dt) {
    for (float t = 0; t < seconds; t += dt) {
        world.step(dt);
    }
    return body->getGlobalPosition().y;
}

TEST(StreamTest, WriteBufferGrowsByTheRequestPlus4096) {
    MemoryWriteBuffer buffer;
    const std::vector<uint8_t> ten(10, 1), more(5000, 2);
    buffer.storeBuffer(ten.data(), ten.size());
    EXPECT_EQ(buffer.maxSize, 4106u);
    buffer.storeBuffer(more.data(), more.size());
    EXPECT_EQ(buffer.maxSize, 9106u);
    EXPECT_EQ(buffer.currentSize, 5010u);
    EXPECT_EQ(buffer.data[9], 1);
    EXPECT_EQ(buffer.data[10], 2);
    buffer.storeDword(0xA1B2C3D4u).storeFloat(2.5f);
    EXPECT_EQ(buffer.currentSize, 5018u);
    EXPECT_EQ(buffer.maxSize, 9106u) << "small stores fit the slack";
}

TEST(StreamTest, ReadBufferReadsInOrderAndZerosPastTheEnd) {
    MemoryWriteBuffer out;
    out.storeByte(7).storeWord(0x1234).storeDword(0xDEADBEEF).storeFloat(-1.5f).storeDouble(0.25);
    MemoryReadBuffer in(out.data, out.currentSize);
    EXPECT_EQ(in.readByte(), 7);
    EXPECT_EQ(in.readWord(), 0x1234);
    EXPECT_EQ(in.readDword(), 0xDEADBEEFu);
    EXPECT_EQ(in.readFloat(), -1.5f);
    EXPECT_EQ(in.readDouble(), 0.25);
    EXPECT_EQ(in.remaining(), 0u);
    EXPECT_EQ(in.readDword(), 0u) << "reading past the end yields zeros, never foreign bytes";
    EXPECT_EQ(out.readDword(), 0u) << "a write buffer cannot be read";
}

TEST_F(PhysicsWorldTest, FileStreamRoundTripsAndCookingNeverTouchesIt) {
    {
        UserStream out("stream.bin", false);
        ASSERT_TRUE(out.isOpen());
        out.storeDword(42).storeFloat(3.0f);
    }
    UserStream in("stream.bin", true);
    EXPECT_EQ(in.readDword(), 42u);
    EXPECT_EQ(in.readFloat(), 3.0f);
    EXPECT_EQ(in.readDword(), 0u);
    UserStream missing("nowhere/at/all.bin", true);
    EXPECT_FALSE(missing.isOpen());
    EXPECT_EQ(missing.readWord(), 0u);

    PhysicsWorld world;
    FBXModel ground;
    flatSquare(ground, 100, 0, 0.5f);
    ASSERT_NE(world.createStaticMesh(&ground), nullptr);
    EXPECT_FALSE(std::filesystem::exists("tmp.bin"));
}

TEST_F(PhysicsWorldTest, CookedMeshIsTheScaledModelAndLogsItsSteps) {
    PhysicsWorld world;
    FBXModel ground;
    flatSquare(ground, 100, 4, 0.5f); // 50 units wide each way at height 2 after scaling
    PhysicsActor* mesh = world.createStaticMesh(&ground);
    ASSERT_NE(mesh, nullptr);
    EXPECT_EQ(mesh->controllerClass, PhysicsWorld::kLevelGeometryBit);
    btCollisionWorld::ClosestRayResultCallback down(btVector3(40, 10, -40),
                                                    btVector3(40, -10, -40));
    world.dynamicsWorld()->rayTest(down.m_rayFromWorld, down.m_rayToWorld, down);
    ASSERT_TRUE(down.hasHit());
    EXPECT_NEAR(down.m_hitPointWorld.y(), 2.0f, 1e-4f);
    btCollisionWorld::ClosestRayResultCallback outside(btVector3(60, 10, 0), btVector3(60, -10, 0));
    world.dynamicsWorld()->rayTest(outside.m_rayFromWorld, outside.m_rayToWorld, outside);
    EXPECT_FALSE(outside.hasHit());
    const auto lines = readLines("log.txt");
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], "triangles");
    EXPECT_EQ(lines[1], "points");
}

TEST_F(PhysicsWorldTest, ModelsWithoutTrianglesCookToNothing) {
    PhysicsWorld world;
    FBXModel empty;
    EXPECT_EQ(world.createStaticMesh(&empty), nullptr);
    FBXModel quads;
    flatSquare(quads, 1, 0, 1);
    quads.polygonVertexIndices = {{0, 1, 2, 3}};
    EXPECT_EQ(world.createStaticMesh(&quads), nullptr) << "quads are not triangles";
    FBXModel wild;
    flatSquare(wild, 1, 0, 1);
    wild.polygonVertexIndices = {{0, 1, 99}};
    EXPECT_EQ(world.createStaticMesh(&wild), nullptr) << "indices past the points are refused";
    EXPECT_EQ(world.createConvexActor(&empty), nullptr);
    FBXModel box;
    flatSquare(box, 1, 0, 1);
    box.controlPointCount = 8;
    for (int i = 0; i < 4; ++i) {
        box.controlPoints.insert(box.controlPoints.end(), {box.controlPoints[i * 4], 1.0,
                                                           box.controlPoints[i * 4 + 2], 1.0});
    }
    EXPECT_NE(world.createConvexActor(&box), nullptr);
}

TEST_F(PhysicsWorldTest, BodiesFallUnderGravityAndLandOnCookedGround) {
    for (float dt : {0.1f, 0.3f}) {
        PhysicsWorld world;
        FBXModel ground;
        flatSquare(ground, 100, 0, 1);
        world.createStaticMesh(&ground);
        Object3D owner;
        PhysicsActor* rocket = world.createCapsuleActor(&owner, 0.2f, 0.1f);
        rocket->setGlobalPosition(Vector3D(0, 5, 0));
        world.step(0.05f);
        EXPECT_FLOAT_EQ(rocket->getGlobalPosition().y, 5.0f) << "less than a step: nothing";
        // Upright its foot is at 0; tipped over it lies across, its foot at most its length up.
        const float rest = heightAfterFalling(world, rocket, 6.0f, dt);
        EXPECT_GT(rest, -0.05f) << "dt " << dt;
        EXPECT_LT(rest, 0.45f) << "dt " << dt;
        const float later = heightAfterFalling(world, rocket, 2.0f, dt);
        EXPECT_GT(later, -0.05f) << "still on the ground two seconds later, dt " << dt;
    }
}

TEST_F(PhysicsWorldTest, TouchesAreRecordedOncePerFlaggedPair) {
    using namespace ActorGroup;
    PhysicsWorld world;
    FBXModel groundModel;
    flatSquare(groundModel, 100, 0, 1);
    Object3D ground, rocket, wolfA, wolfB;
    PhysicsActor* mesh = world.createStaticMesh(&groundModel);
    mesh->group = kGround;
    mesh->userData = &ground;
    throwBody(world, &rocket, kRocket, Vector3D(0, 1, 0), 0.0f);
    // Lands and rests on the ground for seconds.
    const std::vector<ContactBegin> landing = recordsOver(world, 4.0f, 0.1f);
    ASSERT_EQ(landing.size(), 1u) << "resting on the mesh is recorded only once";
    EXPECT_TRUE(isPair(landing[0], Touch{&rocket, kRocket}, Touch{&ground, kGround}));

    // Two falling wolves' bodies touch each other and the ground: those pairs are not flagged.
    PhysicsActor* a = world.createCapsuleActor(&wolfA, 1.0f, 0.5f);
    PhysicsActor* b = world.createCapsuleActor(&wolfB, 1.0f, 0.5f);
    a->group = b->group = kWolf;
    a->setGlobalPosition(Vector3D(10, 0, 0));
    b->setGlobalPosition(Vector3D(10, 2.2f, 0));
    EXPECT_TRUE(recordsOver(world, 2.0f, 0.1f).empty());
    EXPECT_TRUE(world.reportsPair(kRocket, kWolf) && world.reportsPair(kSheep, kRocket) &&
                world.reportsPair(kCanyon, kRocket) && world.reportsPair(kGround, kRocket));
    EXPECT_FALSE(world.reportsPair(kRocket, kRocket) || world.reportsPair(kWolf, kSheep) ||
                 world.reportsPair(kGround, kCanyon));
}

// One step of three fixed steps: the body that lands in the first is recorded before the one
// that lands in the second, though it was made later; the next step starts with no records.
TEST_F(PhysicsWorldTest, RecordsComeInTheOrderTouchesStartedAndLastOneStep) {
    using namespace ActorGroup;
    PhysicsWorld world;
    FBXModel groundModel;
    flatSquare(groundModel, 100, 0, 1);
    Object3D ground, late, early;
    PhysicsActor* mesh = world.createStaticMesh(&groundModel);
    mesh->group = kCanyon;
    mesh->userData = &ground;
    throwBody(world, &late, kRocket, Vector3D(0, 1.0f, 0), -5.0f);
    throwBody(world, &early, kRocket, Vector3D(5, 0.05f, 0), -1.0f);
    world.step(0.3f);
    const std::vector<ContactBegin>& records = world.contactBegins();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_TRUE(isPair(records[0], Touch{&early, kRocket}, Touch{&ground, kCanyon}));
    EXPECT_TRUE(isPair(records[1], Touch{&late, kRocket}, Touch{&ground, kCanyon}));
    world.step(0.1f);
    EXPECT_TRUE(records.empty()) << "both still touch: nothing new";
}

// A body fast enough to cross the gap within one fixed step is stopped by a predictive contact
// before it truly touches; that counts, in that very step.
TEST_F(PhysicsWorldTest, APredictiveContactIsRecordedInTheStepThatStopsTheBody) {
    using namespace ActorGroup;
    PhysicsWorld world;
    FBXModel groundModel;
    flatSquare(groundModel, 100, 0, 1);
    Object3D ground, rocket;
    PhysicsActor* mesh = world.createStaticMesh(&groundModel);
    mesh->group = kGround;
    mesh->userData = &ground;
    PhysicsActor* r = throwBody(world, &rocket, kRocket, Vector3D(0, 3, 0), -60.0f);
    world.step(0.1f);
    ASSERT_EQ(world.contactBegins().size(), 1u);
    EXPECT_TRUE(isPair(world.contactBegins()[0], Touch{&rocket, kRocket}, Touch{&ground, kGround}));
    EXPECT_GT(r->getGlobalPosition().y, -0.2f) << "stopped, not through the ground";
}

TEST_F(PhysicsWorldTest, ParticlesPassThroughEachOtherButNotTheGround) {
    PhysicsWorld world;
    FBXModel groundModel;
    flatSquare(groundModel, 100, 0, 1);
    world.createStaticMesh(&groundModel);
    Object3D owner;
    PhysicsActor* lower = world.createCapsuleActor(&owner, 0.05f, 0.5f);
    PhysicsActor* upper = world.createCapsuleActor(&owner, 0.05f, 0.5f);
    lower->shapeGroup = upper->shapeGroup = ShapeGroup::kParticle;
    lower->setGlobalPosition(Vector3D(0, 0, 0));
    upper->setGlobalPosition(Vector3D(0, 3, 0));
    EXPECT_NEAR(heightAfterFalling(world, upper, 3.0f, 0.1f), 0.0f, 0.1f)
        << "the upper particle ends on the ground, not on the lower one";
    EXPECT_NEAR(lower->getGlobalPosition().y, 0.0f, 0.1f);
    EXPECT_FALSE(world.groupsCollide(ShapeGroup::kParticle, ShapeGroup::kParticle));
    EXPECT_FALSE(world.groupsCollide(ShapeGroup::kCanyon, ShapeGroup::kParticle));
    EXPECT_TRUE(world.groupsCollide(ShapeGroup::kParticle, ShapeGroup::kDefault));
}

// Particles thrown hard at the level are stopped by what they collide with (the terrain's group)
// and pass through what they do not (the canyon's), fast enough to cross either in one step.
TEST_F(PhysicsWorldTest, FastParticlesStopAtTheGroundAndPassTheCanyon) {
    PhysicsWorld world;
    FBXModel groundModel, canyonModel;
    flatSquare(groundModel, 100, 0, 1);
    flatSquare(canyonModel, 100, -10, 1);
    world.createStaticMesh(&groundModel);
    PhysicsActor* canyon = world.createStaticMesh(&canyonModel);
    canyon->shapeGroup = ShapeGroup::kCanyon;
    Object3D owner;
    PhysicsActor* above = world.createCapsuleActor(&owner, 0.001f, 0.05f);
    PhysicsActor* below = world.createCapsuleActor(&owner, 0.001f, 0.05f);
    above->shapeGroup = below->shapeGroup = ShapeGroup::kParticle;
    above->setGlobalPosition(Vector3D(0, 2, 0));
    below->setGlobalPosition(Vector3D(5, -5, 0));
    for (PhysicsActor* p : {above, below}) {
        auto* body = static_cast<btRigidBody*>(p->body());
        body->setLinearVelocity(btVector3(0, -60, 0)); // 6 units a step
    }
    world.step(0.1f);
    world.step(0.1f);
    EXPECT_GT(above->getGlobalPosition().y, -0.2f) << "through the ground";
    EXPECT_LT(below->getGlobalPosition().y, -10.0f) << "stopped by the canyon";
}

TEST(ControllerHitRulesTest, OnlyAWolfRunningIntoASheepCatchesIt) {
    Object3D o[4];
    using namespace ActorGroup;
    const Touch sheep{&o[0], kSheep}, wolf{&o[1], kWolf}, herder{&o[2], kNone},
        level{&o[3], kGround};
    RecordingHitReport hits;
    hits.onShapeHit(sheep, wolf);
    hits.onShapeHit(herder, sheep);
    hits.onShapeHit(wolf, level);
    hits.onShapeHit(wolf, Touch{nullptr, kSheep});
    hits.onShapeHit(Touch{nullptr, kWolf}, sheep);
    EXPECT_TRUE(hits.catches.empty());
    hits.onShapeHit(wolf, sheep);
    ASSERT_EQ(hits.catches.size(), 1u);
    EXPECT_EQ(hits.catches[0], RecordingHitReport::Pair(wolf.owner, sheep.owner));
}

} // namespace
