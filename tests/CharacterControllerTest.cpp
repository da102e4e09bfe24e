// Character controller moves in hand-built worlds, driven the way the game drives them: each
// cycle walks walk x dt x 5 and adds the world's gravity unscaled. Timing-dependent behaviour is
// checked at 60 and at 20 cycles per second.
#include "CharacterController.h"
#include "Object3D.h"
#include "PhysicsActor.h"
#include "PhysicsFixture.h"
#include "PhysicsWorld.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace {

constexpr float kHeight = 1.0f;
constexpr float kRadius = 0.5f;
// Centre height over a flat surface that the capsule touches.
constexpr float kStandHeight = kHeight / 2.0f + kRadius;
// The rest gap may exceed the skin by the level mesh's margin and the sweep's tolerance.
constexpr float kRestSlack = 0.02f;
constexpr float kSkin = CharacterController::kSkinWidth;
constexpr float kWalkFactor = 5.0f;
constexpr unsigned kLevelOnly = PhysicsWorld::kLevelGeometryBit;
constexpr unsigned kLevelAndControllers = kLevelOnly | PhysicsWorld::kControllerBit;
constexpr float kMinDistance = 1.0e-7f;
constexpr float kSharpness = 1.0f;
constexpr float kDegreesToRadians = 3.1415927f / 180.0f;
constexpr unsigned kHitSides = 1;
constexpr unsigned kHitAbove = 2;
constexpr unsigned kHitBelow = 4;

const Vector3D kForward(1, 0, 0);
const Vector3D kStill(0, 0, 0);

Vector3D cycleDisplacement(const Vector3D& walk, float rate) {
    return walk * (kWalkFactor / rate) + PhysicsWorld::gravity();
}

void expectCapsuleFollows(const CharacterController* c) {
    const Vector3D at = c->getPosition();
    const Vector3D body = c->getActor()->getGlobalPosition();
    EXPECT_TRUE(body.x == at.x && body.y == at.y && body.z == at.z) << "capsule left behind";
}

unsigned moveOnce(CharacterController* c, const Vector3D& displacement) {
    return c->move(displacement, kLevelAndControllers, kMinDistance, kSharpness);
}

// Game cycles for `seconds`; the flags of the last move. The kinematic capsule must follow
// every move.
unsigned run(CharacterController* c, const Vector3D& walk, float seconds, float rate,
             unsigned groups = kLevelAndControllers) {
    unsigned flags = 0;
    for (int i = 0; i < static_cast<int>(std::lround(seconds * rate)); ++i) {
        flags = c->move(cycleDisplacement(walk, rate), groups, kMinDistance, kSharpness);
        expectCapsuleFollows(c);
    }
    return flags;
}

// Resting on a surface whose height under the capsule's axis is `surfaceY` and whose slope is
// `degrees`: the capsule keeps the contact skin (measured straight down, as the down pass stops)
// between itself and the surface.
void expectResting(const CharacterController* c, float surfaceY, float degrees = 0.0f) {
    const float touching = surfaceY + kRadius / std::cos(degrees * kDegreesToRadians) + kHeight / 2;
    EXPECT_NEAR(c->getPosition().y - touching, kSkin, kRestSlack) << "not resting a skin above";
}

float rampHeight(float degrees, float x) {
    return x * std::tan(degrees * kDegreesToRadians);
}

class CharacterControllerTest : public PhysicsFixture {
protected:
    CharacterController* walker(const Vector3D& centre, int group = ActorGroup::kNone) {
        return addController(makeObject(), centre, kHeight, kRadius, group);
    }
    // A controller resting on flat ground at height 0.
    CharacterController* standing(float x, float z, int group = ActorGroup::kNone) {
        return walker(Vector3D(x, kStandHeight + kSkin, z), group);
    }
};

class CharacterControllerRateTest : public CharacterControllerTest,
                                    public ::testing::WithParamInterface<float> {
protected:
    float rate() const { return GetParam(); }
};

TEST_P(CharacterControllerRateTest, FallsAndLandsOnAMesh) {
    const float groundY = 2.5f;
    addGround(groundY, 20);
    CharacterController* c = walker(Vector3D(1, 30, -2));
    EXPECT_TRUE(run(c, kStill, 1.0f, rate()) & kHitBelow);
    expectResting(c, groundY);
    EXPECT_FLOAT_EQ(c->getPosition().x, 1.0f);
    EXPECT_FLOAT_EQ(c->getPosition().z, -2.0f);
}

TEST_P(CharacterControllerRateTest, StandsOnAWalkableSlopeAndWalksUpIt) {
    const float degrees = 30.0f;
    addRamp(degrees, 12);
    CharacterController* still = walker(Vector3D(-2, 3, -6));
    run(still, kStill, 0.2f, rate());
    expectResting(still, rampHeight(degrees, -2), degrees);
    const Vector3D settled = still->getPosition();
    run(still, kStill, 2.0f, rate());
    EXPECT_NEAR(still->getPosition().x, settled.x, 0.01f);
    EXPECT_NEAR(still->getPosition().y, settled.y, 0.01f);

    CharacterController* climber = walker(Vector3D(-6, 0, 6));
    run(climber, kStill, 0.2f, rate());
    run(climber, kForward, 1.0f, rate());
    EXPECT_GT(climber->getPosition().x, -6 + 0.8f * kWalkFactor);
    expectResting(climber, rampHeight(degrees, climber->getPosition().x), degrees);
}

TEST_P(CharacterControllerRateTest, SlidesOffASteepSlopeAndCannotWalkUpIt) {
    const float degrees = 60.0f;
    const float half = 3.0f;
    const float footY = rampHeight(degrees, -half);
    addRamp(degrees, half);
    addGround(footY, 20);
    // Touching both slope and ground, the capsule's axis stands this far out from the foot.
    const float footX = -half - kRadius * (1 - std::cos(degrees * kDegreesToRadians)) /
                                    std::sin(degrees * kDegreesToRadians);

    CharacterController* slider = walker(Vector3D(1.5f, rampHeight(degrees, 1.5f) + 2, -1.5f));
    run(slider, kStill, 2.0f, rate());
    expectResting(slider, footY);
    EXPECT_LT(slider->getPosition().x, -half) << "off the slope";

    CharacterController* climber = walker(Vector3D(-8, footY + kStandHeight, 1.5f));
    run(climber, kForward, 2.0f, rate());
    expectResting(climber, footY);
    EXPECT_LT(climber->getPosition().x, -half) << "never on the slope";
    EXPECT_GT(climber->getPosition().x, footX - 2 * kSkin) << "walks up to the foot";
}

TEST_P(CharacterControllerRateTest, ClimbsStepsUpToTheStepOffset) {
    addGround(0, 30);
    const float steps[] = {0.4f, CharacterController::kStepOffset, 0.6f};
    for (int i = 0; i < 3; ++i) {
        SCOPED_TRACE("step " + std::to_string(steps[i]));
        const float z = 8.0f * static_cast<float>(i);
        addBox(Vector3D(1, 0, z - 3), Vector3D(20, steps[i], z + 3));
        CharacterController* c = standing(-1, z);
        run(c, kForward, 2.0f, rate());
        if (steps[i] <= CharacterController::kStepOffset) {
            EXPECT_GT(c->getPosition().x, 6.0f);
            expectResting(c, steps[i]);
        } else {
            EXPECT_LT(c->getPosition().x, 1 - kRadius);
            EXPECT_GT(c->getPosition().x, 1 - kRadius - kSkin - kRestSlack);
            expectResting(c, 0);
        }
    }
}

// Under a low ceiling the walk over level ground goes on (it needs no lift); a step that the lift
// would clear asks for the lift, which the ceiling stops short, so the walk ends at the step.
TEST_P(CharacterControllerRateTest, LowCeilingStopsTheLift) {
    addGround(0, 20);
    const float ceiling = kStandHeight * 2 + kSkin + 0.2f;
    addBox(Vector3D(-20, ceiling, -20), Vector3D(20, ceiling + 1, 20));
    const float stepAt = 2.0f;
    const float stepHeight = 0.45f;
    addBox(Vector3D(stepAt, 0, -20), Vector3D(20, stepHeight, 20));
    CharacterController* c = standing(0, 0);
    EXPECT_EQ(run(c, kForward, 1.0f, rate()), kHitSides | kHitAbove | kHitBelow);
    EXPECT_LT(c->getPosition().x, stepAt) << "climbed the step under the ceiling";
    EXPECT_GT(c->getPosition().x, stepAt - kRadius - kSkin) << "walks up to the step";
    EXPECT_LT(c->getPosition().y, stepHeight + kStandHeight) << "stands on the step";
}

TEST_P(CharacterControllerRateTest, SlidesAlongAWallWalkedIntoAtAnAngle) {
    addGround(0, 40);
    addBox(Vector3D(2, 0, -40), Vector3D(3, 3, 40));
    CharacterController* c = standing(0, 0);
    const float diagonal = std::sqrt(0.5f);
    EXPECT_EQ(run(c, Vector3D(diagonal, 0, diagonal), 2.0f, rate()), kHitSides | kHitBelow);
    EXPECT_LE(c->getPosition().x, 2 - kRadius) << "into the wall";
    EXPECT_GT(c->getPosition().x, 2 - kRadius - kSkin - kRestSlack) << "stays at the wall";
    // Along the wall it keeps the whole of its walk's z part.
    EXPECT_NEAR(c->getPosition().z, 2 * kWalkFactor * diagonal, 0.05f);
    expectResting(c, 0);
}

TEST_P(CharacterControllerRateTest, OtherControllersBlockOnlyWhenSelected) {
    addGround(0, 30);
    const float contact = kRadius + kRadius * CharacterController::kCapsuleScale;
    for (unsigned groups : {kLevelAndControllers, kLevelOnly}) {
        SCOPED_TRACE("groups " + std::to_string(groups));
        const float z = groups == kLevelOnly ? 6.0f : -6.0f;
        CharacterController* mover = standing(0, z);
        CharacterController* other = standing(8, z);
        // The other walks first: the mover must meet it where it went, not where it was made.
        run(other, Vector3D(-1, 0, 0), 0.5f, rate());
        const Vector3D otherAt = other->getPosition();
        ASSERT_NEAR(otherAt.x, 8 - 0.5f * kWalkFactor, 0.01f);
        run(mover, kForward, 2.0f, rate(), groups);
        const bool touched = hits().reported(mover->getOwner(), other->getOwner());
        if (groups == kLevelOnly) {
            EXPECT_NEAR(mover->getPosition().x, 2 * kWalkFactor, 0.01f) << "passes through";
            EXPECT_FALSE(touched);
        } else {
            EXPECT_LE(mover->getPosition().x, otherAt.x - contact);
            EXPECT_GT(mover->getPosition().x, otherAt.x - contact - kSkin - kRestSlack);
            EXPECT_NEAR(mover->getPosition().z, z, 0.01f) << "head on: no slide around";
            EXPECT_TRUE(touched);
        }
        EXPECT_FLOAT_EQ(other->getPosition().x, otherAt.x) << "never pushed";
    }
}

INSTANTIATE_TEST_SUITE_P(CyclesPerSecond, CharacterControllerRateTest,
                         ::testing::Values(60.0f, 20.0f),
                         [](const ::testing::TestParamInfo<float>& info) {
                             return "at" + std::to_string(static_cast<int>(info.param)) + "Hz";
                         });

TEST_F(CharacterControllerTest, RocketsParticlesAndSeparatedShapeGroupsNeverBlock) {
    addGround(0, 30);
    const int wallGroup = 12;
    world().setGroupCollisionFlag(0, wallGroup, false);
    PhysicsActor* blockers[4];
    blockers[0] = world().createCapsuleActor(makeObject(), 1.0f, 0.3f);
    blockers[0]->group = ActorGroup::kRocket;
    blockers[1] = world().createCapsuleActor(makeObject(), 1.0f, 0.3f);
    blockers[1]->shapeGroup = ShapeGroup::kParticle;
    blockers[2] = addBox(Vector3D(-1, 0, -1), Vector3D(1, 3, 1));
    blockers[2]->shapeGroup = wallGroup;
    // The same capsule as the rocket's, but level geometry to a controller: this one blocks.
    blockers[3] = world().createCapsuleActor(makeObject(), 1.0f, 0.3f);
    blockers[3]->controllerClass = PhysicsWorld::kLevelGeometryBit;
    for (int i = 0; i < 4; ++i) {
        place(blockers[i], Vector3D(3, 0, 6.0f * static_cast<float>(i)));
    }
    for (int i = 0; i < 4; ++i) {
        SCOPED_TRACE("lane " + std::to_string(i));
        CharacterController* c = standing(0, 6.0f * static_cast<float>(i));
        run(c, kForward, 1.0f, 60.0f);
        const bool blocks = i == 3;
        EXPECT_EQ(c->getPosition().x < 3 - 0.3f - kRadius, blocks);
        EXPECT_EQ(hits().reported(c->getOwner(), blockers[i]->userData), blocks);
    }
}

TEST_F(CharacterControllerTest, ShortLevelAndCollisionFreeMoves) {
    addGround(0, 10);
    addBox(Vector3D(1, 0, -5), Vector3D(2, 3, 5));
    CharacterController* c = standing(-2, 0);
    const Vector3D start = c->getPosition();
    EXPECT_EQ(c->move(Vector3D(0.001f, -0.001f, 0), kLevelAndControllers, 0.01f, kSharpness), 0u);
    EXPECT_TRUE(c->getPosition().x == start.x && c->getPosition().y == start.y) << "too short";

    // Without a downward part the down pass still takes the lift back.
    moveOnce(c, Vector3D(0.5f, 0, 0));
    EXPECT_NEAR(c->getPosition().x, start.x + 0.5f, 0.001f);
    expectResting(c, 0);

    c->setCollision(false);
    EXPECT_EQ(moveOnce(c, Vector3D(3, -1, 0)), 0u);
    EXPECT_NEAR(c->getPosition().x, start.x + 3.5f, 0.001f) << "through the box";
    expectCapsuleFollows(c);
}

// A character standing still is not swept again, but placing it anew (a wolf carrying a sheep
// does) wakes it: it falls from where it was put.
TEST_F(CharacterControllerTest, StandingStillSkipsSweepsUntilPlacedAnew) {
    addGround(0, 20);
    CharacterController* c = standing(0, 0);
    EXPECT_EQ(run(c, kStill, 0.5f, 60), kHitBelow);
    expectResting(c, 0);
    c->setPosition(c->getPosition() + Vector3D(2, 3, 0));
    EXPECT_EQ(run(c, kStill, 0.5f, 60), kHitBelow);
    EXPECT_NEAR(c->getPosition().x, 2.0f, 1.0e-4f);
    expectResting(c, 0);
    run(c, kForward, 0.2f, 60);
    EXPECT_NEAR(c->getPosition().x, 2.0f + kWalkFactor * 0.2f, 0.01f) << "walks on";
}

TEST_F(CharacterControllerTest, StartsOverlappingAndGetsOut) {
    addGround(0, 10);
    CharacterController* other = standing(0, 0);
    const float contact = kRadius + kRadius * CharacterController::kCapsuleScale;
    // 0.1 into the other's capsule, a little in the air: it falls past the other and lands.
    const float x = contact - 0.1f;
    CharacterController* c = walker(Vector3D(x, kStandHeight + 0.4f, 0));
    const Vector3D step(0.2f, 0, 0);
    moveOnce(c, step * -1.0f + PhysicsWorld::gravity());
    EXPECT_NEAR(c->getPosition().x, x, 0.01f) << "no deeper into the other";
    expectResting(c, 0);
    moveOnce(c, step + PhysicsWorld::gravity());
    EXPECT_NEAR(c->getPosition().x, x + step.x, 0.01f) << "moves away freely";
    expectResting(c, 0);
    EXPECT_FLOAT_EQ(other->getPosition().x, 0.0f);

    // Placed the way the game places a character standing on the ground: the centre half the
    // cylinder over its feet, the rounded bottom in the ground.
    CharacterController* placed = walker(Vector3D(5, kHeight / 2, 5));
    moveOnce(placed, PhysicsWorld::gravity());
    EXPECT_NEAR(placed->getPosition().y, kStandHeight, kRestSlack) << "out, touching";
    moveOnce(placed, PhysicsWorld::gravity());
    expectResting(placed, 0);
}

// Characters meet side by side only: one that falls onto another comes down through it to the
// ground instead of riding on its rounded top (which would slide it off, both drifting away).
TEST_F(CharacterControllerTest, CharactersNeverStandOnEachOther) {
    addGround(0, 10);
    CharacterController* below = standing(0, 0);
    CharacterController* above = walker(Vector3D(0.3f, kStandHeight + 3.0f, 0));
    for (int i = 0; i < 3; ++i) {
        moveOnce(above, PhysicsWorld::gravity());
    }
    expectResting(above, 0);
    EXPECT_NEAR(above->getPosition().x, 0.3f, 0.01f) << "not pushed aside by the fall";
    EXPECT_FLOAT_EQ(below->getPosition().x, 0.0f);
    EXPECT_FLOAT_EQ(below->getPosition().y, kStandHeight + kSkin);
}

TEST_F(CharacterControllerTest, TouchesAreReportedOncePerMoveAndOnlyByTheMover) {
    // One mesh of floor and wall: a move that walks into the wall touches it twice.
    Object3D* level = addMesh({{Vector3D(-20, 0, -20), Vector3D(-20, 0, 20), Vector3D(20, 0, 20)},
                               {Vector3D(-20, 0, -20), Vector3D(20, 0, 20), Vector3D(20, 0, -20)},
                               {Vector3D(2, 0, -20), Vector3D(2, 3, -20), Vector3D(2, 3, 20)},
                               {Vector3D(2, 0, -20), Vector3D(2, 3, 20), Vector3D(2, 0, 20)}})
                          ->userData;
    const float rate = 60.0f;
    CharacterController* wolf = standing(-6, 0, ActorGroup::kWolf);
    run(wolf, kForward, 2.0f, rate);
    hits().hits.clear();
    EXPECT_EQ(moveOnce(wolf, cycleDisplacement(kForward, rate)), kHitSides | kHitBelow);
    const std::vector<RecordingHitReport::Pair> once = {{wolf->getOwner(), level}};
    EXPECT_EQ(hits().hits, once) << "wall and floor are one object";

    // A sheep runs into a wolf: it reports the wolf; nobody is caught and the wolf hears nothing.
    CharacterController* sheep = standing(-6, 8, ActorGroup::kSheep);
    CharacterController* hunter = standing(-3, 8, ActorGroup::kWolf);
    Object3D* s = sheep->getOwner();
    run(sheep, kForward, 1.0f, rate);
    EXPECT_TRUE(hits().reported(s, hunter->getOwner()));
    EXPECT_TRUE(hits().reported(s, level));
    EXPECT_TRUE(hits().catches.empty());
    EXPECT_EQ(hits().reportedBy(hunter->getOwner()), 0);

    // The wolf runs into the sheep: caught at most once per move; the sheep hears nothing.
    const long sheepHeard = hits().reportedBy(s);
    const int cycles = 10;
    run(hunter, Vector3D(-1, 0, 0), cycles / rate, rate);
    const auto& catches = hits().catches;
    ASSERT_FALSE(catches.empty());
    EXPECT_LE(catches.size(), static_cast<size_t>(cycles));
    EXPECT_EQ(
        std::count(catches.begin(), catches.end(), RecordingHitReport::Pair(hunter->getOwner(), s)),
        static_cast<long>(catches.size()));
    EXPECT_EQ(hits().reportedBy(s), sheepHeard);
}

} // namespace
