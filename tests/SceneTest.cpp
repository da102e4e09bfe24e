// The level built from the generated content with a real physics world: the scene list in its
// order, the placed scenery and herder, the render-mode rule, the input step on the herder, and
// the herder landing on and walking over the terrain, on a manual clock.
#include "Scene.h"
#include "AISheep.h"
#include "Camera.h"
#include "CharacterController.h"
#include "Engine.h"
#include "FBXModel.h"
#include "GameRules.h"
#include "HUD.h"
#include "InputManager.h"
#include "LevelFacts.h"
#include "LevelFixture.h"
#include "LevelMeshes.h"
#include "List.h"
#include "Object3D.h"
#include "ParticleSystem.h"
#include "PhysicsActor.h"
#include "PhysicsWorld.h"
#include "Renderer.h"
#include "Rocket.h"
#include "TestSupport.h"
#include "TextBitmap.h"
#include "Timer.h"
#include "WaypointGraph.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

class SceneTest : public LevelFixture {
protected:
    std::vector<std::string> listNames() const {
        std::vector<std::string> names;
        for (int i = 0; i < scene_->getSceneList()->count(); ++i) {
            names.push_back(scene_->getSceneList()->getAt(i)->name);
        }
        return names;
    }
};

TEST_F(SceneTest, LevelIsBuiltInItsOrder) {
    const std::vector<std::string> expected = {
        "terrain", "NoName", "canyon1", "powerplant", "FIN",    "playr",  "sheep0",
        "sheep1",  "sheep2", "sheep3",  "sheep4",     "sheep5", "NoName", "NoName"};
    EXPECT_EQ(listNames(), expected);
    EXPECT_EQ(scene_->getSceneList()->getAt(12), HUD::getInstance());
    EXPECT_EQ(scene_->getSceneList()->getAt(13), scene_->getFlag());
    ASSERT_EQ(scene_->getSheep().size(), 6u);
    EXPECT_EQ(scene_->getSheepCount(), 6);
    for (int i = 0; i < 6; ++i) {
        AISheep* sheep = scene_->getSheep()[static_cast<size_t>(i)];
        EXPECT_EQ(scene_->getSceneList()->getAt(6 + i), sheep);
        EXPECT_EQ(sheep->type, Object3D::kSheep);
        EXPECT_FLOAT_EQ(sheep->getPosition().x, 10.0f * i - 30.0f);
        ASSERT_NE(sheep->controller, nullptr);
        EXPECT_EQ(sheep->controller->getActor()->group, ActorGroup::kSheep);
        EXPECT_EQ(sheep->controller->getActor()->userData, sheep);
        EXPECT_FLOAT_EQ(sheep->controller->getPosition().y, 10.25f) << "half its height up";
    }
    EXPECT_FALSE(scene_->getFlag()->visible) << "the flag waits for the first herd command";
    EXPECT_EQ(scene_->getWolfCount(), 0);
    // The level's ten models, then two coarser versions each of the sheep and the wolf.
    ASSERT_EQ(scene_->getModels().size(), 10u + 2u * level::kCoarserLevels);
    EXPECT_EQ(scene_->getModels()[0], scene_->getBallModel());
    for (FBXModel* model : scene_->getModels()) {
        EXPECT_GT(model->vertexCount, 0);
    }
    const auto lines = readLines("log.txt");
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "initialising scene"), 2);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "triangles"), 3) << "three cooked meshes";
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "points"), 3);
}

TEST_F(SceneTest, SceneryStandsWhereItsActorsWereMoved) {
    auto* terrain = dynamic_cast<Object3D*>(scene_->getSceneList()->getAt(0));
    auto* canyon = dynamic_cast<Object3D*>(scene_->getSceneList()->getAt(2));
    auto* plant = dynamic_cast<Object3D*>(scene_->getSceneList()->getAt(3));
    auto* goal = dynamic_cast<Object3D*>(scene_->getSceneList()->getAt(4));
    ASSERT_TRUE(terrain && canyon && plant && goal);
    ASSERT_NE(terrain->actor, nullptr);
    EXPECT_EQ(terrain->actor->group, ActorGroup::kGround);
    EXPECT_EQ(canyon->actor->group, ActorGroup::kCanyon);
    EXPECT_EQ(plant->actor->group, ActorGroup::kGround);
    EXPECT_EQ(terrain->actor->userData, terrain);
    EXPECT_FLOAT_EQ(terrain->actor->getGlobalPosition().x, level::kTerrainPlacement.position.x);
    EXPECT_FLOAT_EQ(canyon->actor->getGlobalPosition().z, level::kCanyonPlacement.position.z);
    float pose[16];
    terrain->actor->getGlobalPose(pose);
    EXPECT_NEAR(pose[0], 0.0f, 1e-6f) << "turned 90 degrees about y";
    EXPECT_NEAR(pose[2], -1.0f, 1e-6f);
    EXPECT_EQ(goal->type, Object3D::kGoalMarker);
    EXPECT_FLOAT_EQ(goal->getPosition().x, 0.0f) << "the goal stands at the origin";
    EXPECT_FLOAT_EQ(goal->getPosition().z, 0.0f);
    Object3D* herder = scene_->getPlayer();
    ASSERT_NE(herder->controller, nullptr);
    EXPECT_FLOAT_EQ(herder->controller->getPosition().y, 6.0f) << "half its height above (0,5,0)";
}

TEST_F(SceneTest, PhysicsStepsOnlyOnceMoreThanAStepHasGathered) {
    Object3D rocket;
    rocket.setPosition(Vector3D(5, 30, 5));
    rocket.createCapsuleActor(0.1f, 0.2f);
    ASSERT_NE(rocket.actor, nullptr);
    rocket.actor->setGlobalPosition(Vector3D(5, 30, 5));
    cycle(0.05);
    cycle(0.04);
    EXPECT_FLOAT_EQ(rocket.actor->getGlobalPosition().y, 30.0f) << "0.09 s gathered: no step";
    cycle(0.02);
    EXPECT_LT(rocket.actor->getGlobalPosition().y, 30.0f) << "0.11 s: one step";
}

TEST_F(SceneTest, RenderModeTwoWithoutBufferObjectsBecomesZeroBeforeModelsSeeIt) {
    engine_->hasVertexBufferObjects = false;
    InputManager::getInstance()->renderMode = 2;
    EXPECT_EQ(scene_->getWaypoints(), nullptr);
    scene_->prepare();
    ASSERT_NE(scene_->getWaypoints(), nullptr) << "prepare makes the waypoint graph";
    EXPECT_EQ(scene_->getWaypoints()->getWaypoints().size(), 7u);
    EXPECT_EQ(InputManager::getInstance()->renderMode, 0);
    for (FBXModel* model : scene_->getModels()) {
        EXPECT_NE(model->renderMode, 2);
        EXPECT_FALSE(model->buffersCreated);
    }
    InputManager::getInstance()->renderMode = 2;
    cycle(0.01);
    EXPECT_EQ(InputManager::getInstance()->renderMode, 0);
    EXPECT_EQ(scene_->getLastRenderMode(), 0);
}

TEST_F(SceneTest, HerderFallsOntoTheMeadowAndWalksWhereItFaces) {
    Object3D* herder = scene_->getPlayer();
    for (int i = 0; i < 60; ++i) {
        engine_->processInput();
        cycle(1.0 / 30.0);
    }
    const Vector3D landed = herder->controller->getPosition();
    EXPECT_NEAR(landed.y, 1.5f, 1.0f) << "capsule centre 1.5 above the meadow at y = 0";
    EXPECT_TRUE(herder->staticPose) << "standing still";
    InputManager::getInstance()->forwardHeld = true;
    for (int i = 0; i < 10; ++i) {
        engine_->processInput();
        cycle(1.0 / 30.0);
    }
    const Vector3D walked = herder->controller->getPosition();
    EXPECT_LT(walked.z, landed.z - 10.0f) << "10 cycles of 2.4 units towards -z";
    EXPECT_NEAR(walked.x, landed.x, 0.5f);
    EXPECT_NEAR(walked.y, landed.y, 1.5f) << "still on the ground";
    EXPECT_FALSE(herder->staticPose);
}

// The scenery's actors are moved after they join the world; the very first fall of the animals,
// before any world step, must find the ground where the pieces were moved to.
TEST_F(SceneTest, SheepDroppedAtTheStartLandOnTheMeadow) {
    for (int i = 0; i < 60; ++i) {
        play();
    }
    for (AISheep* sheep : scene_->getSheep()) {
        EXPECT_NEAR(sheep->controller->getPosition().y, 1.25f, 1.0f)
            << sheep->name << ": capsule centre 1.25 above the meadow at y = 0";
    }
}

TEST_F(SceneTest, MouseLookUsesIntegerArithmetic) {
    Renderer renderer(scene_);
    engine_->renderer = &renderer;
    engine_->mouseSensYaw = 3;
    engine_->mouseSensPitch = 2;
    InputManager* input = InputManager::getInstance();
    cycle(0.5);
    const struct {
        int dy;
        float change;
    } cases[] = {{3, 0.0f}, {4, 0.5f}, {-4, -0.5f}};
    for (const auto& c : cases) {
        const float before = renderer.getCamera()->height;
        input->mouseMoved = true;
        input->mouseDx = 0;
        input->mouseDy = c.dy;
        engine_->processInput();
        EXPECT_FLOAT_EQ(renderer.getCamera()->height - before, c.change) << "dy " << c.dy;
    }
    const float heading = scene_->getPlayer()->getRotationY();
    input->mouseMoved = true;
    input->mouseDx = 5;
    input->mouseDy = 0;
    engine_->processInput();
    EXPECT_FLOAT_EQ(scene_->getPlayer()->getRotationY() - heading, 0.5f * -2 * 5);
    engine_->renderer = nullptr;
}

// The mouse arithmetic holds for any factor the settings reader can return and any pointer step
// the window system can report (the sanitizer build stops on a signed overflow here).
TEST_F(SceneTest, MouseLookHoldsForExtremeFactorsAndSteps) {
    Renderer renderer(scene_);
    engine_->renderer = &renderer;
    InputManager* input = InputManager::getInstance();
    cycle(0.5);
    const int extremes[] = {std::numeric_limits<int>::min(), std::numeric_limits<int>::max(), -1};
    for (int factor : extremes) {
        for (int step : extremes) {
            engine_->mouseSensYaw = factor;
            engine_->mouseSensPitch = factor;
            input->mouseMoved = true;
            input->mouseDx = step;
            input->mouseDy = step;
            engine_->processInput();
            EXPECT_TRUE(std::isfinite(renderer.getCamera()->height)) << factor << " " << step;
            EXPECT_TRUE(std::isfinite(scene_->getPlayer()->getRotationY()));
        }
    }
    input->lastX = std::numeric_limits<int>::min();
    input->lastY = 0;
    input->passiveMotion(std::numeric_limits<int>::max(), 0);
    EXPECT_EQ(input->mouseDx, std::numeric_limits<int>::max()) << "the step is held within int";
    engine_->renderer = nullptr;
}

TEST_F(SceneTest, KeysCombineWithoutNormalising) {
    InputManager* input = InputManager::getInstance();
    cycle(0.1);
    input->forwardHeld = true;
    engine_->processInput();
    const float alone = std::sqrt(Vector3D::dot(engine_->lastMove, engine_->lastMove));
    EXPECT_FLOAT_EQ(alone, 3.0f);
    input->strafeRightHeld = true;
    engine_->processInput();
    const float diagonal = std::sqrt(Vector3D::dot(engine_->lastMove, engine_->lastMove));
    EXPECT_NEAR(diagonal / alone, std::sqrt(2.0f), 1e-4f);
    EXPECT_GT(engine_->lastMove.x, 0.0f) << "d steps to the right of -z: +x";
    input->strafeRightHeld = false;
    input->backHeld = true;
    engine_->processInput();
    EXPECT_FLOAT_EQ(engine_->lastMove.z, 0.0f) << "w and s cancel";
    EXPECT_FALSE(scene_->getPlayer()->staticPose) << "but the herder still counts as moving";
}

TEST_F(SceneTest, SwitchesHideTheBallModelAndMarkersLogThePosition) {
    InputManager* input = InputManager::getInstance();
    engine_->processInput();
    EXPECT_FALSE(scene_->getBallModel()->visible) << "F2 starts switched to hidden";
    input->specialDown(2, 0, 0); // F2
    engine_->processInput();
    EXPECT_TRUE(scene_->getBallModel()->visible);
    const int before = scene_->getSceneList()->count();
    input->keyDown('m', 0, 0);
    engine_->processInput();
    EXPECT_FALSE(input->placeMarker);
    EXPECT_EQ(scene_->getSceneList()->count(), before + 1);
    const auto lines = readLines("log.txt");
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back().rfind("vector/", 0), 0u) << lines.back();
}

TEST_F(SceneTest, ARocketKillsASheepOnceAndLeavesABurst) {
    AISheep* sheep = scene_->getSheep()[2];
    const int members = scene_->getSceneList()->count();
    const Vector3D at = sheep->controller->getActor()->getGlobalPosition();
    Rocket rocket(scene_->getSceneList());
    const ContactBegin struck{Touch{sheep, ActorGroup::kSheep},
                              Touch{&rocket, ActorGroup::kRocket}};
    // A second rocket contact in the same step.
    GameRules::applyContacts({struck, struck});
    EXPECT_EQ(scene_->getSheepCount(), 5);
    EXPECT_FALSE(sheep->alive());
    EXPECT_FALSE(sheep->visible);
    EXPECT_EQ(sheep->controller, nullptr);
    EXPECT_EQ(scene_->getSheep()[2], sheep) << "dead sheep stay in the sheep list";
    EXPECT_EQ(scene_->getSceneList()->count(), members) << "the sheep out, one burst in";
    auto* burst = dynamic_cast<ParticleSystem*>(scene_->getSceneList()->head()->prev);
    ASSERT_NE(burst, nullptr);
    EXPECT_FLOAT_EQ(burst->getPosition().x, at.x);
    EXPECT_FLOAT_EQ(burst->duration, 1.0f);
    EXPECT_FLOAT_EQ(burst->emissionTime, 0.2f);
    EXPECT_FALSE(listed(*scene_->getSceneList(), sheep));
}

TEST_F(SceneTest, GoalMarkerWinsWithThreeSheepInReachAndLosesWithNone) {
    auto* goal = dynamic_cast<Object3D*>(scene_->getSceneList()->getAt(4));
    ASSERT_EQ(goal->type, Object3D::kGoalMarker);
    const auto& flock = scene_->getSheep();
    const auto message = [] { return HUD::getInstance()->message()->getText(); };
    flock[0]->setPosition(Vector3D(3, 0, 0));
    flock[1]->setPosition(Vector3D(0, 0, -14.9f));
    flock[2]->setPosition(Vector3D(15, 0, 0)); // exactly at the edge: not in reach
    goal->update(0.01f);
    EXPECT_EQ(message(), "LEVEL 1") << "two sheep are not enough";
    flock[2]->setPosition(Vector3D(-10, 1, 5));
    goal->update(0.01f);
    EXPECT_EQ(message(), "you won the game. hooray. press ESC to exit.");
    for (AISheep* sheep : flock) {
        sheep->remove();
    }
    EXPECT_EQ(scene_->getSheepCount(), 0);
    goal->update(0.01f);
    EXPECT_EQ(message(), "you won the game. hooray. press ESC to exit.")
        << "dead sheep in reach still count, and the win is shown after the loss";
    flock[0]->setPosition(Vector3D(100, 0, 0));
    goal->update(0.01f);
    EXPECT_EQ(message(), "you lost. hah. press ESC to exit.");
}

} // namespace
