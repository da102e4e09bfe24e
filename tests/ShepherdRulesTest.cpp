// The two rule sets played whole through the real input step: a shepherd who drives the flock to
// the fold and shoots the wolves wins; an idle one loses within five minutes; a herd click at the
// start wins only the classic game; walking goes by the second under the shepherd rules and by
// the cycle under the classic ones; a click or tap between two cycles still acts once.
#include "Rocket.h"
#include "WholeGameFixture.h"

#include <algorithm>
#include <string>
#include <vector>

namespace {

// Log lines that contain `part`.
long linesWith(const std::string& part) {
    const auto lines = readLines("log.txt");
    return std::count_if(lines.begin(), lines.end(),
                         [&](const std::string& l) { return l.find(part) != std::string::npos; });
}

class ShepherdGameTest : public WholeGameFixture {
protected:
    const RuleSet& rules() const override { return RuleSet::shepherd(); }
    // Shoots every living wolf within reach until it dies (or the tries run out).
    void shootWolvesNear(float reach) {
        for (AIWolf* wolf : scene_->getWolves()) {
            for (int attempt = 0; attempt < 12 && wolf->alive() &&
                                  flatDistance(wolf->getPosition(), herderAt()) < reach;
                 ++attempt) {
                shootAt(wolf);
            }
        }
    }
};

// The drive: a stretch towards the fold, a herd call, a pause for the flock to come up; every
// wolf that comes near is shot first. The game is won once three living sheep stand in the fold,
// and stays won.
TEST_F(ShepherdGameTest, DrivingTheFlockToTheFoldAndShootingWolvesWins) {
    constexpr float kStretch = 12.0f;
    const Vector3D fold = level::kFoldCentre;
    EXPECT_LT(flatDistance(scene_->getGoal()->getPosition(), fold), 1e-3f);
    for (int leg = 0; leg < 80 && scene_->getOutcome() == Outcome::Open; ++leg) {
        shootWolvesNear(30.0f);
        const Vector3D here = herderAt();
        const float left = flatDistance(here, fold);
        const float step = std::min(kStretch, left) / std::max(left, 1e-3f);
        walkTo(here + Vector3D((fold.x - here.x) * step, 0.0f, (fold.z - here.z) * step));
        click(GLUT_RIGHT_BUTTON);
        playFor(2.5);
    }
    ASSERT_EQ(scene_->getOutcome(), Outcome::Won);
    EXPECT_EQ(message(), kWon);
    EXPECT_GE(scene_->livingSheepWithin(fold, level::kGoalRadius), 3);
    EXPECT_GE(scene_->getWolvesKilled(), 1) << "the wolves that came were shot";
    const std::string summary = HUD::getInstance()->summary()->getText();
    EXPECT_NE(summary.find("sheep saved"), std::string::npos) << summary;
    EXPECT_NE(summary.find("press R"), std::string::npos) << summary;
    // Latched: walking off with the herder and scattering the flock changes nothing.
    walkTo(Vector3D(fold.x + 60.0f, 0.0f, fold.z + 60.0f));
    click(GLUT_RIGHT_BUTTON);
    playFor(10.0);
    EXPECT_EQ(scene_->getOutcome(), Outcome::Won);
    EXPECT_EQ(linesWith("game won at second"), 1);
    EXPECT_EQ(linesWith("game lost"), 0);
}

// Left alone, wolves carry sheep home and eat them; each one that has eaten leaves. Once fewer
// than three live, the game is lost, logged once, and stays lost.
TEST_F(ShepherdGameTest, AnIdleShepherdLosesWithinFiveMinutes) {
    ASSERT_TRUE(playUntil([&] { return scene_->getOutcome() == Outcome::Lost; }, 300.0));
    EXPECT_EQ(message(), kLost);
    int living = 0;
    for (const AISheep* sheep : scene_->getSheep()) {
        living += sheep->alive() ? 1 : 0;
    }
    EXPECT_EQ(living, 2);
    EXPECT_EQ(scene_->getSheepCount(), living);
    const long devoured = linesWith(" devoured by wolf");
    EXPECT_EQ(devoured, 6 - living);
    EXPECT_GE(linesWith(" seized by wolf"), devoured);
    playFor(40.0);
    EXPECT_EQ(scene_->getOutcome(), Outcome::Lost);
    EXPECT_EQ(message(), kLost);
    EXPECT_EQ(linesWith("game lost at second"), 1);
    for (const AIWolf* wolf : scene_->getWolves()) {
        const bool ate = linesWith("devoured by " + wolf->name + " at") == 1;
        if (ate) {
            EXPECT_FALSE(wolf->alive()) << wolf->name << " ate and stayed";
            EXPECT_EQ(linesWith("wolf " + wolf->name + " left the level"), 1);
        }
    }
}

// A wolf shot at the den before its time is up frees the sheep it holds, which lives on.
TEST_F(ShepherdGameTest, KillingTheWolfAtTheDenFreesItsSheep) {
    ASSERT_TRUE(playUntil([&] { return scene_->getWolfCount() == 1; }, 40.0));
    AIWolf* wolf = scene_->getWolves().front();
    const auto held = [&]() -> AISheep* {
        for (AISheep* sheep : scene_->getSheep()) {
            if (sheep->state == AIObject3D::kFollowObject && sheep->targetObject == wolf) {
                return sheep;
            }
        }
        return nullptr;
    };
    ASSERT_TRUE(playUntil([&] { return held() != nullptr && held()->secondsAtDen > 10.0f; }, 90.0));
    AISheep* sheep = held();
    wolf->hit(2.0f * AIWolf::kFullHitPoints);
    playFor(30.0);
    EXPECT_FALSE(wolf->alive());
    EXPECT_TRUE(sheep->alive()) << "freed before its time was up";
    EXPECT_EQ(linesWith("sheep " + sheep->name + " freed from wolf0"), 1);
    EXPECT_EQ(linesWith(" devoured by wolf0"), 0);
}

// The crosshair's point, traced through the world before the shot, is where the rocket comes
// down on the level, near and far: the rocket bursts there or skids on a little before the touch
// is reported (within a step and a half of its flight), never short of it and hardly off the line.
TEST_F(ShepherdGameTest, TheRocketBurstsWhereTheCrosshairPoints) {
    constexpr float kSkidSteps = 1.5f;
    face(40.0f, 0.0f); // +x, over the open meadow and away from the flock
    play();
    for (const float lookDown : {0.5f, 1.0f, 2.0f, 3.0f}) {
        renderer_->getCamera()->height = lookDown;
        Vector3D aim, start, direction;
        ASSERT_TRUE(scene_->aimPoint(&aim));
        engine_->launch(scene_->getPlayer(), &start, &direction);
        const Vector3D v = Rocket::launchVelocity(direction * Scene::kRocketPush);
        const float reach =
            kSkidSteps * PhysicsWorld::kStepInterval * std::sqrt(Vector3D::dot(v, v));
        click(GLUT_LEFT_BUTTON);
        auto* rocket = dynamic_cast<Rocket*>(scene_->getRockets().back());
        ASSERT_NE(rocket, nullptr);
        ASSERT_TRUE(playUntil([&] { return rocket->actor == nullptr; }, 3.0)) << "it burst";
        const Vector3D burst = rocket->getPosition();
        const std::string where = "looking down " + std::to_string(lookDown) + ": aimed at x " +
                                  std::to_string(aim.x) + ", burst at x " + std::to_string(burst.x);
        EXPECT_GE(burst.x, aim.x - 1.0f) << where;
        EXPECT_LE(burst.x, aim.x + reach) << where;
        EXPECT_LT(std::fabs(burst.z - aim.z), 3.0f) << where; // a skid up a slope turns a little
        EXPECT_GT(rocket->trail.size(), 0) << "a smoke trail behind it";
    }
}

// Both rule sets, each case on a fresh level.
struct RulesCase {
    const char* name;
    const RuleSet& (*rules)();
};

void PrintTo(const RulesCase& c, std::ostream* out) {
    *out << c.name;
}

class BothRulesTest : public WholeGameFixture, public ::testing::WithParamInterface<RulesCase> {
protected:
    const RuleSet& rules() const override { return GetParam().rules(); }
    bool shepherd() const { return &GetParam().rules() == &RuleSet::shepherd(); }
};

// The classic goal stands at the origin, beside the herder's start: one herd call there wins. The
// fold is far off, so the same call wins nothing.
TEST_P(BothRulesTest, AHerdClickAtTheStartWinsOnlyTheClassicGame) {
    click(GLUT_RIGHT_BUTTON);
    playFor(12.0);
    EXPECT_EQ(scene_->getOutcome() == Outcome::Won, !shepherd());
    EXPECT_EQ(message() == kWon, !shepherd());
    EXPECT_EQ(linesWith("game won at second"), shepherd() ? 0 : 1) << "logged once if won";
}

// Distance the herder covers holding "w" for `seconds` at the given cycle rate, from the start,
// facing +x over the open meadow.
float walkFor(double seconds, Scene* scene, Engine* engine, int rate) {
    Object3D* herder = scene->getPlayer();
    herder->controller->setPosition(Vector3D(0.0f, 2.0f, 0.0f));
    herder->setDirection(Vector3D(1.0f, 0.0f, 0.0f));
    InputManager* input = InputManager::getInstance();
    input->forwardHeld = false;
    for (int i = 0; i < 30; ++i) { // settle on the ground
        engine->processInput();
        ManualClock::advance(1.0 / 30.0);
        scene->update();
    }
    const Vector3D from = herder->getPosition();
    input->forwardHeld = true;
    for (long i = std::lround(seconds * rate); i > 0; --i) {
        engine->processInput();
        ManualClock::advance(1.0 / rate);
        scene->update();
    }
    input->forwardHeld = false;
    return flatDistance(herder->getPosition(), from);
}

// Under the shepherd rules three seconds of "w" go as far at any frame rate; the classic walk is
// per cycle (half a second of it, so that the border hills do not stop the fastest walk early),
// which shows that the measure can tell.
TEST_P(BothRulesTest, WalkingThreeSecondsGoesAsFarAtAnyFrameRateOnlyPerSecond) {
    const double seconds = shepherd() ? 3.0 : 0.5;
    std::vector<float> distances;
    for (int rate : {20, 60, 144}) {
        distances.push_back(walkFor(seconds, scene_, engine_, rate));
    }
    const auto [shortest, longest] = std::minmax_element(distances.begin(), distances.end());
    ASSERT_GT(*shortest, 5.0f) << "the herder walked";
    if (shepherd()) {
        EXPECT_LT(*longest / *shortest, 1.05f) << *shortest << " to " << *longest;
        EXPECT_NEAR(distances[1], 30.0f, 3.0f) << "ten units a second";
    } else {
        EXPECT_GT(*longest / *shortest, 2.0f) << "per cycle, not per second";
    }
}

// A click, or a tap of "w", that begins and ends between two cycles still acts once.
TEST_P(BothRulesTest, AClickOrTapShorterThanACycleActsOnce) {
    InputManager* input = InputManager::getInstance();
    const int before = scene_->getRocketCount();
    input->mouseButton(GLUT_LEFT_BUTTON, GLUT_DOWN, 512, 384);
    input->mouseButton(GLUT_LEFT_BUTTON, GLUT_UP, 512, 384);
    play();
    play();
    EXPECT_EQ(scene_->getRocketCount(), before + 1);

    const Vector3D from = herderAt();
    input->keyDown('w', 0, 0);
    input->keyUp('w', 0, 0);
    play();
    play();
    EXPECT_GT(flatDistance(herderAt(), from), 0.05f) << "the tap took a step";
    EXPECT_FALSE(input->forwardHeld);
}

// A second wolf that runs into a carried sheep takes it over in the classic game only; the
// seizure is logged once, when the sheep was free.
TEST_P(BothRulesTest, ASecondWolfTakesACarriedSheepOnlyInTheClassicGame) {
    scene_->spawnWolf();
    scene_->spawnWolf();
    AIWolf* first = scene_->getWolves()[0];
    AIWolf* second = scene_->getWolves()[1];
    AISheep* sheep = scene_->getSheep()[2];
    WolfCatches catches;
    catches.wolfCaughtSheep(first, sheep);
    ASSERT_EQ(sheep->carrier(), first);
    catches.wolfCaughtSheep(second, sheep);
    EXPECT_EQ(sheep->carrier(), shepherd() ? first : second);
    catches.wolfCaughtSheep(first, sheep);
    EXPECT_EQ(sheep->carrier(), first);
    EXPECT_EQ(linesWith("sheep " + sheep->name + " seized by"), 1);
}

// A wolf that carries a sheep and runs into another takes that one too in the classic game only;
// once it holds none, it seizes again.
TEST_P(BothRulesTest, AWolfCarryingASheepTakesASecondOnlyInTheClassicGame) {
    scene_->spawnWolf();
    AIWolf* wolf = scene_->getWolves()[0];
    AISheep* first = scene_->getSheep()[2];
    AISheep* second = scene_->getSheep()[3];
    WolfCatches catches;
    catches.wolfCaughtSheep(wolf, first);
    ASSERT_EQ(first->carrier(), wolf);
    catches.wolfCaughtSheep(wolf, second);
    EXPECT_EQ(second->carrier(), shepherd() ? nullptr : wolf);
    EXPECT_EQ(first->carrier(), wolf) << "the first stays with its wolf";
    EXPECT_EQ(linesWith("sheep " + second->name + " seized by"), shepherd() ? 0 : 1);
    first->state = AIObject3D::kIdle; // the wolf no longer holds it

    catches.wolfCaughtSheep(wolf, second);
    EXPECT_EQ(second->carrier(), wolf) << "a wolf with no sheep seizes";
}

const RulesCase kRules[] = {{"Classic", &RuleSet::classic}, {"Shepherd", &RuleSet::shepherd}};
INSTANTIATE_TEST_SUITE_P(Rules, BothRulesTest, ::testing::ValuesIn(kRules),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace
