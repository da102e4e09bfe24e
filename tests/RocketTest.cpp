// Rockets in a hand-built world (bursting on the ground, hitting a capsule at full speed, hit()
// doing nothing) and in the level on a manual clock (expiry, names, the input step's shot).
#include "Rocket.h"
#include "Camera.h"
#include "CharacterController.h"
#include "Engine.h"
#include "FBXModel.h"
#include "GameRules.h"
#include "InputManager.h"
#include "LevelFixture.h"
#include "LevelMeshes.h"
#include "List.h"
#include "ParticleSystem.h"
#include "PhysicsActor.h"
#include "PhysicsFixture.h"
#include "PhysicsWorld.h"
#include "Renderer.h"
#include "Scene.h"
#include "TestSupport.h"

#include <btBulletDynamicsCommon.h>

#include <cmath>
#include <string>
#include <vector>

namespace {

std::vector<ParticleSystem*> burstsIn(const List& list) {
    std::vector<ParticleSystem*> bursts;
    for (int i = 0; i < list.count(); ++i) {
        if (auto* system = dynamic_cast<ParticleSystem*>(list.getAt(i))) {
            bursts.push_back(system);
        }
    }
    return bursts;
}

bool hasBody(PhysicsWorld& world, const Object3D* owner) {
    const btCollisionObjectArray& bodies = world.dynamicsWorld()->getCollisionObjectArray();
    for (int i = 0; i < bodies.size(); ++i) {
        const auto* actor = static_cast<const PhysicsActor*>(bodies[i]->getUserPointer());
        if (actor != nullptr && actor->userData == owner) {
            return true;
        }
    }
    return false;
}

// The scene's push on the input step's shot; straight ahead it is 40 units along the facing.
const float kPush = 30.0f;

class RocketPhysicsTest : public PhysicsFixture {
protected:
    void SetUp() override {
        PhysicsFixture::SetUp();
        Engine::getInstance()->physics = &world();
        list_.attach(&rocket_);
        rocket_.setPosition(Vector3D(0, 2.5f, 0));
    }
    void TearDown() override {
        Engine::getInstance()->physics = nullptr;
        PhysicsFixture::TearDown();
    }
    // The level's cycle in short: a physics step and its touches, then every object's update.
    void run(float seconds) {
        for (float t = 0.0f; t < seconds; t += 0.1f) {
            world().step(0.1f);
            GameRules::applyContacts(world().contactBegins());
            list_.updateAll(0.1f);
        }
    }
    Object3D head_;
    List list_{&head_};
    Rocket rocket_{&list_};
};

TEST_F(RocketPhysicsTest, HitChangesNothing) {
    rocket_.launch(Vector3D(0, 0, -40) * kPush);
    Rocket other(&list_);
    for (Object3D* target : {makeObject(Object3D::kWolf), static_cast<Object3D*>(&other),
                             static_cast<Object3D*>(&rocket_), static_cast<Object3D*>(nullptr)}) {
        rocket_.hit(target);
    }
    EXPECT_EQ(rocket_.age, 0.0f);
    EXPECT_TRUE(rocket_.visible);
    EXPECT_NE(rocket_.actor, nullptr);
    EXPECT_EQ(list_.count(), 2);
    EXPECT_TRUE(burstsIn(list_).empty());
}

TEST_F(RocketPhysicsTest, RocketShotIntoTheGroundBurstsOnceOnIt) {
    addGround(0.0f, 100.0f)->group = ActorGroup::kGround;
    rocket_.launch(Vector3D(0, -5, -40) * kPush); // looking down
    run(0.5f);
    ASSERT_EQ(rocket_.actor, nullptr) << "burst within half a second";
    EXPECT_FALSE(rocket_.visible);
    EXPECT_FALSE(listed(list_, &rocket_));
    EXPECT_FALSE(hasBody(world(), &rocket_)) << "its body is released";
    run(2.0f);
    const std::vector<ParticleSystem*> bursts = burstsIn(list_);
    ASSERT_EQ(bursts.size(), 1u) << "one burst, however long the rocket lay there";
    EXPECT_EQ(bursts[0]->particleColour.z, 0.1f) << "yellow";
    EXPECT_GT(bursts[0]->emitted, 0);
    // The shot falls 1 for every 8 forward and meets the ground 20 units out; the touch is
    // reported a step later, after the rocket has skidded on along the ground.
    EXPECT_NEAR(bursts[0]->getPosition().y, 0.0f, 0.6f) << "on the ground, not under it";
    EXPECT_LT(bursts[0]->getPosition().z, -15.0f);
}

TEST_F(RocketPhysicsTest, RocketTouchingTwoPiecesOfTheLevelAtOnceBurstsOnce) {
    // Terrain with the canyon's floor lying on it: both touches are recorded in the same step, and
    // the second must not reach the body that the first one released.
    addGround(0.0f, 100.0f)->group = ActorGroup::kGround;
    addGround(0.0f, 50.0f)->group = ActorGroup::kCanyon;
    rocket_.launch(Vector3D(0, -5, 0) * kPush);
    run(1.0f);
    EXPECT_EQ(rocket_.actor, nullptr);
    EXPECT_EQ(burstsIn(list_).size(), 1u);
}

// A wolf-sized controller capsule. The wolves' group would tell the rules its owner is a whole
// wolf; in the level's group the same capsule stops the rocket and makes it burst.
TEST_F(RocketPhysicsTest, FullSpeedRocketHitsACapsuleTwentyUnitsAway) {
    Object3D* post = makeObject(Object3D::kScenery);
    addController(post, Vector3D(0, 2.75f, -20), 2.0f, 0.5f, ActorGroup::kGround);
    rocket_.launch(Vector3D(0, 0, -40) * kPush);
    ASSERT_GT(std::fabs(rocket_.actor->getLinearVelocity().z) * 0.1f, 2.0f)
        << "one step carries the rocket further than the capsule is thick";
    run(0.5f);
    EXPECT_EQ(rocket_.actor, nullptr) << "the capsule stops the rocket";
    const std::vector<ParticleSystem*> bursts = burstsIn(list_);
    ASSERT_EQ(bursts.size(), 1u);
    // The capsule's surface faces the rocket at z = -19.6; the rocket bounces back off it.
    EXPECT_GT(bursts[0]->getPosition().z, -20.0f) << "in front of the capsule, not behind it";
}

class RocketSceneTest : public LevelFixture {
protected:
    // World updates of 1/30 s until `seconds` have passed.
    void run(double seconds) {
        for (long i = std::lround(seconds * 30.0); i > 0; --i) {
            ManualClock::advance(1.0 / 30.0);
            scene_->update();
        }
    }
    // Fires straight up from high above the level: nothing to touch for many seconds.
    Object3D* fireUp(float x) {
        scene_->fireRocket(Vector3D(x, 30, 0), Vector3D(0, 40, 0));
        return scene_->getRockets().back();
    }
};

TEST_F(RocketSceneTest, UntouchedRocketsGoAfterFiveSecondsAndNamesCountOn) {
    run(0.2);
    std::vector<Object3D*> fired;
    for (int i = 0; i < 3; ++i) {
        fired.push_back(fireUp(static_cast<float>(i) * 5.0f));
        EXPECT_EQ(fired.back()->name, "rocket" + std::to_string(i + 1));
    }
    run(4.9);
    for (Object3D* rocket : fired) {
        EXPECT_TRUE(listed(*scene_->getSceneList(), rocket)) << "still flying at 4.9 s";
    }
    run(0.2);
    for (Object3D* rocket : fired) {
        EXPECT_FALSE(listed(*scene_->getSceneList(), rocket));
    }
    EXPECT_TRUE(scene_->getRockets().empty());
    EXPECT_TRUE(burstsIn(*scene_->getSceneList()).empty()) << "no explosion";
    EXPECT_EQ(fireUp(0.0f)->name, "rocket4") << "expiry does not reset the count";
}

TEST_F(RocketSceneTest, ShotIntoTheTerrainBurstsAndTheBurstIsGoneAfterEightSeconds) {
    run(0.2);
    const int built = scene_->getSceneList()->count();
    scene_->fireRocket(Vector3D(0, 10, 0), Vector3D(0, -40, -10));
    run(0.5);
    const std::vector<ParticleSystem*> bursts = burstsIn(*scene_->getSceneList());
    ASSERT_EQ(bursts.size(), 1u);
    EXPECT_EQ(scene_->getRockets().size(), 1u) << "a burst rocket stays in the level's list";
    EXPECT_EQ(scene_->getSceneList()->count(), built + 1 + bursts[0]->emitted)
        << "the rocket gone; the burst and its particles listed";
    run(8.5);
    EXPECT_TRUE(burstsIn(*scene_->getSceneList()).empty());
    EXPECT_EQ(scene_->getSceneList()->count(), built);
}

TEST_F(RocketSceneTest, FireRequestShootsAlongTheFacingAndPitchRaisesTheShot) {
    Renderer renderer(scene_);
    engine_->renderer = &renderer;
    Object3D* herder = scene_->getPlayer();
    herder->turn(30.0f);
    const Vector3D facing = herder->getDirection();
    const Vector3D at = herder->getPosition();
    InputManager* input = InputManager::getInstance();
    const float heights[] = {0.0f, -0.5f};
    for (float height : heights) {
        renderer.getCamera()->height = height;
        input->fireRequested = true;
        engine_->processInput();
        EXPECT_FALSE(input->fireRequested) << "the request is used up";
        Object3D* rocket = scene_->getRockets().back();
        ASSERT_NE(rocket->actor, nullptr);
        EXPECT_NEAR(rocket->getPosition().x, at.x - 0.4f * facing.x, 1e-4f);
        EXPECT_NEAR(rocket->getPosition().y, at.y + 2.5f, 1e-4f);
        EXPECT_NEAR(rocket->getPosition().z, at.z - 0.4f * facing.z, 1e-4f);
        const Vector3D v = rocket->actor->getLinearVelocity();
        EXPECT_NEAR(v.x * facing.z - v.z * facing.x, 0.0f, 1e-3f) << "no sideways drift";
        const float climb = v.y / (v.x * facing.x + v.z * facing.z);
        EXPECT_NEAR(climb, (5.0f - 8.0f * height) / 40.0f, 1e-4f) << "camera height " << height;
        EXPECT_EQ(rocket->actor->group, ActorGroup::kRocket);
        EXPECT_EQ(rocket->model, scene_->getModels()[4]);
    }
    EXPECT_EQ(scene_->getRockets().size(), 2u);
    engine_->renderer = nullptr;
}

} // namespace
