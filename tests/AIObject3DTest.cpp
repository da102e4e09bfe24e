// Steering of the animals without physics (free flight moves them): goals, arrival, following a
// wolf until it dies, and walking waypoint paths with their stale first steer point.
#include "AIObject3D.h"
#include "LevelFacts.h"
#include "LevelFixture.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

// A wolf stand-in whose life can be switched off.
struct MortalWolf : AIObject3D {
    MortalWolf() { type = kWolf; }
    bool alive() const override { return living; }
    bool living = true;
};

float distance(const Vector3D& a, const Vector3D& b) {
    return std::sqrt((a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y) +
                     (a.z - b.z) * (a.z - b.z));
}

TEST(AIObject3DTest, StartsIdleWhereItStands) {
    AIObject3D ai;
    EXPECT_EQ(ai.type, Object3D::kAIObject);
    EXPECT_EQ(ai.state, AIObject3D::kIdle);
    EXPECT_FALSE(ai.staticPose);
    ai.update(0.1f);
    EXPECT_FLOAT_EQ(ai.getPosition().x, 0.0f) << "idle objects get no motion";
}

TEST(AIObject3DTest, GoalIsReachedStrictlyInsideTheArrivalRadius) {
    AIObject3D ai;
    ai.setGoal(Vector3D(2.0f, 0, 0)); // exactly the radius away
    ai.update(0.0f);
    EXPECT_EQ(ai.state, AIObject3D::kGoToPoint) << "2.0 away is not yet arrived";
    EXPECT_FLOAT_EQ(ai.getVelocity().x, 1.0f) << "heading at the goal at speed 1";
    EXPECT_NEAR(ai.getRotationY(), -90.0f, 1e-4f) << "turned to face +x";
    ai.update(0.01f);
    EXPECT_EQ(ai.state, AIObject3D::kIdle) << "1.99 away has arrived";
    EXPECT_FLOAT_EQ(ai.lastDistance, 2.0f - 0.01f);
}

TEST(AIObject3DTest, GoalsAreIgnoredWhileFollowing) {
    AIObject3D ai;
    MortalWolf wolf;
    wolf.setPosition(Vector3D(0, 0, -10));
    ai.follow(&wolf);
    ai.setGoal(Vector3D(50, 0, 0));
    EXPECT_EQ(ai.state, AIObject3D::kFollowObject);
    EXPECT_FLOAT_EQ(ai.goal.x, 0.0f);
    ai.update(0.0f);
    EXPECT_FLOAT_EQ(ai.getVelocity().z, -1.0f) << "steers at the wolf";
    wolf.setPosition(Vector3D(10, 0, 0));
    ai.update(0.0f);
    EXPECT_FLOAT_EQ(ai.getVelocity().x, 1.0f) << "and at its new position every frame";
    wolf.living = false;
    ai.update(0.0f);
    EXPECT_EQ(ai.state, AIObject3D::kIdle) << "the follower of a dead wolf is freed";
    ai.follow(&wolf);
    ai.stopFollowing();
    EXPECT_EQ(ai.targetObject, nullptr);
    EXPECT_EQ(ai.state, AIObject3D::kIdle);
}

class AIPathTest : public LevelFixture {
protected:
    void SetUp() override {
        LevelFixture::SetUp();
        scene_->prepare();
    }
    // Free-flight updates until idle (or a limit); returns the updates used.
    int walk(AIObject3D& ai, float dt, int limit) {
        int n = 0;
        while (ai.state != AIObject3D::kIdle && n < limit) {
            ai.update(dt);
            ++n;
        }
        return n;
    }
};

TEST_F(AIPathTest, StaleSteerPointCostsTheFirstPathPoint) {
    AIObject3D ai;
    ai.setPosition(level::kWaypoints[3] + Vector3D(0.5f, 0, 0));
    ai.steerPoint = ai.getPosition(); // arrived at its last steer point
    const Vector3D target = level::kWaypoints[6] + Vector3D(1, 0, 0);
    ai.goViaPath(target);
    EXPECT_EQ(ai.state, AIObject3D::kFollowPath);
    ASSERT_EQ(ai.pathLength(), 5) << "W3, W4, W5, W6 and the point itself";
    ai.update(0.0f);
    EXPECT_EQ(ai.pathLength(), 4) << "W3 is dropped without being visited";
    EXPECT_FALSE(ai.steeringAtPathPoint);
    ai.update(0.0f);
    EXPECT_TRUE(ai.steeringAtPathPoint);
    EXPECT_FLOAT_EQ(ai.steerPoint.x, level::kWaypoints[4].x) << "then heads for W4";
}

TEST_F(AIPathTest, PathEndsIdleAtTheGoal) {
    AIObject3D ai;
    ai.setPosition(level::kWaypoints[0]);
    ai.steerPoint = Vector3D(1000, 0, 0); // far from any old steer point
    ai.setSpeed(20.0f);
    const Vector3D target = level::kWaypoints[5] + Vector3D(0, 0, 1);
    ai.goViaPath(target);
    EXPECT_EQ(ai.pathLength(), 7) << "W0 to W5, then the point";
    walk(ai, 0.02f, 10000);
    EXPECT_EQ(ai.state, AIObject3D::kIdle);
    EXPECT_LT(distance(ai.getPosition(), target), ai.arrivalRadius);
    EXPECT_EQ(ai.pathLength(), 0);
}

TEST_F(AIPathTest, SameNearestWaypointGivesItThenThePoint) {
    AIObject3D ai;
    ai.setPosition(level::kWaypoints[2] + Vector3D(3, 0, 0));
    ai.goViaPath(level::kWaypoints[2] + Vector3D(-3, 0, 0));
    ASSERT_EQ(ai.pathLength(), 2);
    EXPECT_FLOAT_EQ(ai.path[0].x, level::kWaypoints[2].x);
    EXPECT_FLOAT_EQ(ai.path[1].x, level::kWaypoints[2].x - 3.0f);
}

} // namespace
