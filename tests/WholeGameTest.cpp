// Whole games on the real level, played through the input manager at 30 cycles a second of the
// manual clock: herding three sheep home wins, shooting every sheep loses, wolves left alone for
// five minutes carry sheep to the den in both path-search modes, and two rockets kill a wolf.
#include "WholeGameFixture.h"

#include <algorithm>
#include <fstream>

#include <unistd.h>

#include <GL/glu.h>

namespace {

using WholeGameTest = WholeGameFixture;

// The flock goes where the herd command was given, not after the herder; the herder leaves at
// once, before the sheep close in around it.
TEST_F(WholeGameTest, HerdingThreeSheepToTheGoalWins) {
    const Vector3D start = herderAt();
    ASSERT_TRUE(walkTo(Vector3D(-25, 0, -35)));
    click(GLUT_RIGHT_BUTTON);
    const Vector3D flag = scene_->getFlag()->getPosition();
    EXPECT_TRUE(scene_->getFlag()->visible);
    ASSERT_TRUE(walkTo(start));
    playFor(8.0);
    EXPECT_NE(message(), kWon) << "the flock gathers far from the goal";
    int near = 0;
    for (const AISheep* sheep : scene_->getSheep()) {
        near += flatDistance(sheep->getPosition(), flag) < 6.0f ? 1 : 0;
    }
    EXPECT_GE(near, 4) << "the flock came to where it was called";

    click(GLUT_RIGHT_BUTTON);
    EXPECT_TRUE(playUntil([&] { return message() == kWon; }, 20.0));
    EXPECT_GE(scene_->sheepWithin(Vector3D(0, 0, 0), 15.0f), 3);
    EXPECT_EQ(scene_->getSheepCount(), 6);
}

TEST_F(WholeGameTest, ShootingEverySheepLoses) {
    for (int attempt = 0; attempt < 40 && scene_->getSheepCount() > 0; ++attempt) {
        for (AISheep* sheep : scene_->getSheep()) {
            if (sheep->alive()) {
                shootAt(sheep);
                break;
            }
        }
    }
    EXPECT_EQ(scene_->getSheepCount(), 0);
    playFor(2.0);
    EXPECT_EQ(message(), kLost);
    const auto lines = readLines("log.txt");
    EXPECT_EQ(
        std::count_if(lines.begin(), lines.end(),
                      [](const std::string& l) { return l.rfind("game lost at second", 0) == 0; }),
        1)
        << "shown every cycle, logged once";
    for (const AISheep* sheep : scene_->getSheep()) {
        EXPECT_FALSE(sheep->alive());
        EXPECT_EQ(sheep->controller, nullptr);
    }
}

// The world point `distance` units from the eye on the line through window pixel (x, y).
Vector3D underPixel(double x, double y, double distance) {
    GLint viewport[4];
    GLdouble modelview[16], projection[16], nx, ny, nz, fx, fy, fz;
    glGetIntegerv(GL_VIEWPORT, viewport);
    glGetDoublev(GL_MODELVIEW_MATRIX, modelview);
    glGetDoublev(GL_PROJECTION_MATRIX, projection);
    gluUnProject(x, y, 0.0, modelview, projection, viewport, &nx, &ny, &nz);
    gluUnProject(x, y, 1.0, modelview, projection, viewport, &fx, &fy, &fz);
    const double length =
        std::sqrt((fx - nx) * (fx - nx) + (fy - ny) * (fy - ny) + (fz - nz) * (fz - nz));
    const double s = distance / length;
    return Vector3D(static_cast<float>(nx + (fx - nx) * s), static_cast<float>(ny + (fy - ny) * s),
                    static_cast<float>(nz + (fz - nz) * s));
}

// A sheep and the flag stand between the camera and the end message: every pixel of the text is
// still drawn, since all 2D comes after all 3D.
TEST_F(WholeGameTest, EndMessageStaysWholeWithASheepAndTheFlagInFront) {
    constexpr int kW = 1024, kH = 768;
    engine_->showResult(true);
    renderer_->reshape();
    renderer_->render();
    // The flag's cloth over the message's line, a sheep over its start.
    Object3D* flag = scene_->getFlag();
    flag->setPosition(underPixel(330, 206, 3.0) + Vector3D(0.0f, -2.1f, 0.0f));
    flag->visible = true;
    AISheep* sheep = scene_->getSheep().front();
    sheep->controller->setPosition(underPixel(230, 190, 3.0));

    // The text alone on black: where its pixels are.
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    HUD::getInstance()->draw();
    const auto text = readPixels(kW, kH);
    renderer_->render();
    const auto frame = readPixels(kW, kH);
    std::vector<GLfloat> depth(static_cast<size_t>(kW) * kH);
    glReadPixels(0, 0, kW, kH, GL_DEPTH_COMPONENT, GL_FLOAT, depth.data());

    int textPixels = 0, covered = 0, lost = 0;
    for (size_t i = 0; i < depth.size(); ++i) {
        const size_t p = 3 * i;
        const bool inMessage = (i / kW) > 150 && (i / kW) < 260;
        if (!inMessage || text[p] < 200) {
            continue;
        }
        ++textPixels;
        covered += depth[i] < 0.9f ? 1 : 0; // something within about ten units of the eye
        lost += (frame[p] < 200 || frame[p + 1] < 200 || frame[p + 2] < 200) ? 1 : 0;
    }
    ASSERT_GT(textPixels, 500) << "the message was drawn";
    EXPECT_GT(covered, textPixels / 4) << "the sheep and the flag stand in front of the text";
    EXPECT_EQ(lost, 0) << "of " << textPixels << " text pixels";
}

TEST_F(WholeGameTest, TwoRocketsKillAWolf) {
    ASSERT_TRUE(playUntil([&] { return scene_->getWolfCount() == 1; }, 40.0));
    AIWolf* wolf = scene_->getWolves().front();
    for (int attempt = 0; attempt < 20 && wolf->alive(); ++attempt) {
        shootAt(wolf);
    }
    EXPECT_FALSE(wolf->alive());
    EXPECT_FLOAT_EQ(wolf->hitPoints, 0.0f);
    const auto lines = readLines("log.txt");
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "wolf wolf0 hit."), 2);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "wolf wolf0 died."), 1);
    for (int i = 0; i < scene_->getSceneList()->count(); ++i) {
        EXPECT_NE(scene_->getSceneList()->getAt(i), wolf);
    }
}

class WolvesAloneTest : public WholeGameTest, public ::testing::WithParamInterface<bool> {};

// Ten wolves come in the first five minutes; each seizes a sheep (its prey, or one that another
// wolf is already carrying) and ends at the den. Wolves are broad, so a crowd of them stands
// around the den rather than on it.
TEST_P(WolvesAloneTest, FiveMinutesOfWolvesCarrySheepToTheDen) {
    constexpr float kDenCrowd = 12.0f;
    InputManager::getInstance()->pathSearch = GetParam();
    ASSERT_TRUE(playUntil([&] { return scene_->getGameSeconds() >= 300.0f; }, 320.0));
    EXPECT_EQ(scene_->getWolfCount(), 10);
    int carried = 0;
    for (const AISheep* sheep : scene_->getSheep()) {
        const Vector3D p = sheep->getPosition();
        ASSERT_TRUE(sheep->alive());
        EXPECT_GT(p.y, -20.0f) << sheep->name << " fell out of the level";
        if (sheep->state == AIObject3D::kFollowObject) {
            EXPECT_EQ(sheep->targetObject->type, Object3D::kWolf);
            EXPECT_EQ(sheep->heldByWolf, GetParam()) << "held only with path search on";
            EXPECT_LT(flatDistance(p, AIWolf::den), kDenCrowd) << sheep->name << " not at the den";
            carried += 1;
        }
    }
    EXPECT_GE(carried, 3);
    const std::vector<AIWolf*>& wolves = scene_->getWolves();
    for (size_t i = 0; i + 2 < wolves.size(); ++i) {
        const Vector3D p = wolves[i]->getPosition();
        EXPECT_LT(flatDistance(p, AIWolf::den), kDenCrowd)
            << wolves[i]->name << " stuck at " << p.x << ", " << p.y << ", " << p.z;
        EXPECT_FALSE(wolves[i]->huntingByPath);
    }
}

INSTANTIATE_TEST_SUITE_P(PathSearch, WolvesAloneTest, ::testing::Bool(),
                         [](const auto& info) { return info.param ? "On" : "Off"; });

// Resident memory of this process in MiB.
double residentMiB() {
    std::ifstream statm("/proc/self/statm");
    long pages = 0, resident = 0;
    statm >> pages >> resident;
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1048576.0;
}

// Half an hour of game time at five cycles a second: a rocket every second at a heading that
// turns on, herding every ten seconds, path search switched every minute, and a wolf every thirty
// seconds. The counters must agree with the objects all the way, and memory must level off.
TEST_F(WholeGameTest, SoakHalfAnHourOfPlay) {
    constexpr int kRate = 5;
    constexpr int kSeconds = 30 * 60;
    InputManager* input = InputManager::getInstance();
    double earlyMiB = 0;
    for (int second = 1; second <= kSeconds; ++second) {
        const float heading = static_cast<float>(second * 37 % 360) * 3.1415927f / 180.0f;
        const Vector3D at = herderAt();
        face(at.x + std::sin(heading), at.z + std::cos(heading));
        input->mouseButton(GLUT_LEFT_BUTTON, GLUT_DOWN, 0, 0);
        if (second % 10 == 0) {
            input->mouseButton(GLUT_RIGHT_BUTTON, GLUT_DOWN, 0, 0);
        }
        if (second % 60 == 0) {
            input->keyDown('n', 0, 0);
        }
        for (int i = 0; i < kRate; ++i) {
            engine_->processInput();
            cycle(1.0 / kRate);
        }
        if (second == 5 * 60) {
            earlyMiB = residentMiB();
        }
        int living = 0;
        for (const AISheep* sheep : scene_->getSheep()) {
            living += sheep->alive() ? 1 : 0;
        }
        ASSERT_EQ(scene_->getSheepCount(), living) << "at " << second << " s";
    }
    EXPECT_GE(scene_->getGameSeconds(), kSeconds - 60.0f);
    EXPECT_GE(scene_->getWolfCount(), 58);
    EXPECT_EQ(scene_->getRocketCount(), kSeconds);
    List* list = scene_->getSceneList();
    for (const AIWolf* wolf : scene_->getWolves()) {
        bool listed = false;
        for (int i = 0; i < list->count() && !listed; ++i) {
            listed = list->getAt(i) == wolf;
        }
        EXPECT_EQ(listed, wolf->alive()) << wolf->name;
    }
    const double lateMiB = residentMiB();
    RecordProperty("resident_MiB_at_5_min", std::to_string(earlyMiB));
    RecordProperty("resident_MiB_at_30_min", std::to_string(lateMiB));
    std::printf("resident memory: %.1f MiB at 5 min, %.1f MiB at 30 min\n", earlyMiB, lateMiB);
    EXPECT_LT(lateMiB - earlyMiB, 64.0) << "memory keeps growing";
}

} // namespace
