// Wolves and the herd command on the real level: the timed spawn and its offsets, wounds and
// death with their log lines, the catch in both path-search modes (the game's rules over what
// physics finds, GameRules.h), the path hunt's switch to a direct chase, and the herd command's
// goals and flag.
#include "AISheep.h"
#include "AIWolf.h"
#include "CharacterController.h"
#include "GameRules.h"
#include "HUD.h"
#include "InputManager.h"
#include "LevelFixture.h"
#include "List.h"
#include "PhysicsActor.h"
#include "Rocket.h"
#include "TextBitmap.h"
#include "Waypoint.h"
#include "WaypointGraph.h"

#include <GL/freeglut.h>

#include <algorithm>
#include <cstdlib>

namespace {

long countLines(const std::vector<std::string>& lines, const std::string& text) {
    return std::count(lines.begin(), lines.end(), text);
}

class WolfTest : public LevelFixture {
protected:
    // A wolf made the way the level spawns them, standing at `at`.
    AIWolf* addWolf(const char* name, const Vector3D& at) {
        AIWolf* wolf = new AIWolf(scene_);
        wolf->name = name;
        wolf->setPosition(at);
        scene_->getSceneList()->attach(wolf);
        wolf->createController(1.0f, 2.0f);
        wolf->controller->getActor()->group = ActorGroup::kWolf;
        wolf->controller->getActor()->userData = wolf;
        return wolf;
    }
    // One world update per game second until the game clock shows `seconds`.
    void runToSecond(int seconds) {
        while (static_cast<int>(scene_->getGameSeconds()) < seconds) {
            cycle(1.0);
        }
    }
};

// The spawn draws the prey, then the z offset, then the x offset, from the standard generator.
struct SpawnDraws {
    int prey;
    float dx;
    float dz;
};
SpawnDraws drawsFor(unsigned seed) {
    std::srand(seed);
    SpawnDraws d{};
    d.prey = std::rand() % 6;
    d.dz = static_cast<float>(std::rand() % 10) - 20.0f;
    d.dx = static_cast<float>(std::rand() % 10) - 20.0f;
    std::srand(seed);
    return d;
}

TEST_F(WolfTest, AWolfAppearsAtThirtyAndSixtyGameSecondsOffTheHerder) {
    runToSecond(29);
    EXPECT_EQ(scene_->getWolfCount(), 0);
    const int members = scene_->getSceneList()->count();
    for (int n = 0; n < 2; ++n) {
        runToSecond(29 + 30 * n);
        ASSERT_EQ(scene_->getWolfCount(), n) << "nothing between the spawns";
        const Vector3D herder = scene_->getPlayer()->getPosition();
        const SpawnDraws d = drawsFor(1234u + static_cast<unsigned>(n));
        cycle(1.0);
        ASSERT_EQ(scene_->getWolfCount(), n + 1);
        AIWolf* wolf = scene_->getWolves().back();
        EXPECT_EQ(wolf->name, "wolf" + std::to_string(n));
        EXPECT_EQ(wolf->type, Object3D::kWolf);
        EXPECT_EQ(scene_->getSceneList()->head()->prev, wolf) << "appended at the tail";
        EXPECT_EQ(wolf->targetObject, scene_->getSheep()[static_cast<size_t>(d.prey)]);
        EXPECT_EQ(wolf->state, AIObject3D::kFollowObject) << "path search is off";
        ASSERT_NE(wolf->controller, nullptr);
        const Vector3D at = wolf->controller->getPosition();
        EXPECT_FLOAT_EQ(at.x, herder.x + d.dx);
        EXPECT_FLOAT_EQ(at.z, herder.z + d.dz);
        EXPECT_FLOAT_EQ(at.y, herder.y + 10.0f + 0.5f) << "10 up, capsule half its height more";
        EXPECT_EQ(wolf->controller->getActor()->group, ActorGroup::kWolf);
        EXPECT_EQ(wolf->controller->getActor()->userData, wolf);
        EXPECT_FLOAT_EQ(wolf->rotationAngle, 90.0f);
    }
    EXPECT_EQ(scene_->getSceneList()->count(), members + 2);
}

TEST_F(WolfTest, TwoRocketHitsKillAWolfInItsNextUpdateAndFreeItsSheep) {
    AIWolf* wolf = addWolf("wolf3", Vector3D(-20, 2, -40));
    AISheep* sheep = scene_->getSheep()[0];
    engine_->pathSearch = true;
    scene_->prepare();
    wolf->seize(sheep, true);
    const int members = scene_->getSceneList()->count();
    for (int shot = 1; shot <= 2; ++shot) {
        Rocket* rocket = new Rocket(scene_->getSceneList());
        scene_->getSceneList()->attach(rocket);
        GameRules::applyContact(
            {Touch{rocket, ActorGroup::kRocket}, Touch{wolf, ActorGroup::kWolf}});
        EXPECT_FLOAT_EQ(wolf->hitPoints, 100.0f - 50.0f * static_cast<float>(shot));
        EXPECT_EQ(HUD::getInstance()->message()->getText(), "wolf wolf3 hit.\n");
        EXPECT_TRUE(wolf->alive()) << "death waits for the wolf's own update";
    }
    EXPECT_EQ(scene_->getSceneList()->count(), members + 2) << "two rockets became two bursts";
    wolf->update(0.01f);
    wolf->update(0.01f);
    EXPECT_FALSE(wolf->alive());
    EXPECT_EQ(wolf->controller, nullptr);
    EXPECT_FALSE(listed(*scene_->getSceneList(), wolf));
    EXPECT_EQ(HUD::getInstance()->message()->getText(), "wolf wolf3 died.\n");
    const auto lines = readLines("log.txt");
    EXPECT_EQ(countLines(lines, "wolf wolf3 hit."), 2);
    EXPECT_EQ(countLines(lines, "wolf wolf3 died."), 1);

    const Vector3D before = sheep->getPosition();
    sheep->update(0.01f);
    EXPECT_EQ(sheep->state, AIObject3D::kIdle) << "the follower of a dead wolf stops";
    EXPECT_FALSE(sheep->heldByWolf);
    EXPECT_EQ(sheep->holder, nullptr);
    EXPECT_FLOAT_EQ(sheep->getPosition().x, before.x) << "where it stands";
}

TEST_F(WolfTest, ACaughtSheepFollowsTheWolfToTheDen) {
    AIWolf* wolf = addWolf("wolf0", Vector3D(-20, 2, -40));
    AISheep* sheep = scene_->getSheep()[1];
    WolfCatches rules;
    rules.wolfCaughtSheep(sheep, wolf);
    rules.wolfCaughtSheep(wolf, scene_->getPlayer());
    EXPECT_EQ(sheep->state, AIObject3D::kIdle) << "only a wolf catches, and only a sheep";

    engine_->pathSearch = false;
    rules.wolfCaughtSheep(wolf, sheep);
    EXPECT_EQ(sheep->state, AIObject3D::kFollowObject);
    EXPECT_EQ(sheep->targetObject, wolf);
    EXPECT_FALSE(sheep->heldByWolf) << "held only when caught with path search on";
    EXPECT_EQ(wolf->state, AIObject3D::kGoToPoint);
    EXPECT_EQ(wolf->targetObject, nullptr);
    EXPECT_FLOAT_EQ(wolf->goal.x, AIWolf::den.x);
    EXPECT_FLOAT_EQ(wolf->goal.z, AIWolf::den.z);
}

TEST_F(WolfTest, CatchWithPathSearchMarksTheSheepAndWalksTheGraphToTheDen) {
    engine_->pathSearch = true;
    scene_->prepare();
    AIWolf* wolf = addWolf("wolf0", Vector3D(-20, 2, -40));
    ASSERT_TRUE(wolf->huntingByPath);
    ASSERT_NE(wolf->prey, nullptr);
    AISheep* sheep = scene_->getSheep()[4];
    WolfCatches rules;
    rules.wolfCaughtSheep(wolf, sheep);
    EXPECT_TRUE(sheep->heldByWolf);
    EXPECT_EQ(sheep->holder, wolf);
    EXPECT_EQ(sheep->targetObject, wolf);
    EXPECT_FALSE(wolf->huntingByPath);
    EXPECT_EQ(wolf->state, AIObject3D::kFollowPath);
    ASSERT_GE(wolf->pathLength(), 2);
    const Vector3D last = wolf->path.back();
    const Vector3D denWaypoint = wolf->path[wolf->path.size() - 2];
    EXPECT_FLOAT_EQ(last.x, AIWolf::den.x);
    EXPECT_FLOAT_EQ(denWaypoint.x, scene_->getWaypoints()->getWaypoints()[0]->position.x)
        << "the walk ends at W0, then the den point itself";

    // Touching the sheep it carries again does not send the wolf along a fresh path.
    wolf->path.pop_front();
    const int left = wolf->pathLength();
    rules.wolfCaughtSheep(wolf, sheep);
    EXPECT_EQ(wolf->pathLength(), left);
}

TEST_F(WolfTest, PathHuntTurnsIntoADirectChaseBelowFourPoints) {
    engine_->pathSearch = true;
    scene_->prepare();
    AIWolf* wolf = addWolf("wolf0", Vector3D(-20, 2, -40));
    AISheep* prey = wolf->prey;
    wolf->path.assign(4, Vector3D(-100, 0, -100));
    wolf->update(0.01f);
    EXPECT_TRUE(wolf->huntingByPath) << "four points left: still on the path";
    EXPECT_EQ(wolf->state, AIObject3D::kFollowPath);
    EXPECT_EQ(wolf->repathCounter, 0);
    wolf->path.resize(3);
    wolf->update(0.01f);
    EXPECT_FALSE(wolf->huntingByPath);
    EXPECT_EQ(wolf->state, AIObject3D::kFollowObject);
    EXPECT_EQ(wolf->targetObject, prey);
    for (int i = 0; i < 25; ++i) {
        wolf->update(0.01f);
    }
    EXPECT_EQ(wolf->repathCounter, 5) << "counted and wrapped at 20 once the hunt is direct";
}

TEST_F(WolfTest, HerdSendsEveryFreeSheepNearTheHerderAndPlantsTheFlag) {
    scene_->prepare();
    InputManager* input = InputManager::getInstance();
    AIWolf* wolf = addWolf("wolf0", Vector3D(-20, 2, -40));
    AISheep* held = scene_->getSheep()[5];
    for (const bool pathSearch : {false, true}) {
        wolf->seize(held, pathSearch);
        input->pathSearch = pathSearch;
        input->mouseButton(GLUT_RIGHT_BUTTON, GLUT_DOWN, 0, 0);
        cycle(0.01);
        engine_->processInput();
        EXPECT_FALSE(input->herdRequested);
        const Vector3D herder = scene_->getPlayer()->getPosition();
        for (AISheep* sheep : scene_->getSheep()) {
            if (sheep == held) {
                EXPECT_EQ(sheep->state, AIObject3D::kFollowObject) << "held sheep stay held";
                continue;
            }
            const Vector3D goal = pathSearch ? sheep->path.back() : sheep->goal;
            EXPECT_EQ(sheep->state, pathSearch ? AIObject3D::kFollowPath : AIObject3D::kGoToPoint);
            for (const float jitter : {goal.x - herder.x, goal.z - herder.z}) {
                EXPECT_TRUE(jitter == -1.5f || jitter == -0.5f || jitter == 0.5f) << jitter;
            }
            EXPECT_FLOAT_EQ(goal.y, herder.y);
        }
        Object3D* flag = scene_->getFlag();
        EXPECT_TRUE(flag->visible);
        EXPECT_FLOAT_EQ(flag->getPosition().y, herder.y - 1.0f);
        EXPECT_FLOAT_EQ(flag->getPosition().x, herder.x);
    }
}

} // namespace
