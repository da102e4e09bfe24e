// Particle systems in a physics world: batch sizes from the whole-number interval, the cap per
// batch, dead particles hidden but kept, the end in the middle of the list's walk, the look of
// the emission, and the additive drawing.
#include "ParticleSystem.h"
#include "Engine.h"
#include "List.h"
#include "Particle.h"
#include "PhysicsActor.h"
#include "PhysicsFixture.h"
#include "PhysicsWorld.h"
#include "Renderer.h"
#include "SphereList.h"
#include "TestSupport.h"

#include <btBulletDynamicsCommon.h>

#include <GL/gl.h>
#include <GL/glu.h>

#include <cmath>
#include <cstdlib>
#include <vector>

namespace {

class ParticleSystemTest : public PhysicsFixture {
protected:
    void SetUp() override {
        PhysicsFixture::SetUp();
        Engine::getInstance()->physics = &world();
    }
    void TearDown() override {
        Engine::getInstance()->physics = nullptr;
        PhysicsFixture::TearDown();
    }
    int bodies() { return world().dynamicsWorld()->getNumCollisionObjects(); }
};

TEST_F(ParticleSystemTest, BatchesFollowTheWholeNumberIntervalAndTheCap) {
    // Rate 1: the interval is one whole second, and a batch covers all the time gathered.
    ParticleSystem slow(100.0f, 1, 50.0f, Vector3D(), 1.0f);
    for (int i = 0; i < 4; ++i) {
        slow.update(0.25f);
    }
    EXPECT_EQ(slow.emitted, 0) << "one second gathered is not more than the interval";
    slow.update(0.25f);
    EXPECT_EQ(slow.emitted, 2) << "ceil(1 x 1.25 s)";
    slow.update(0.25f);
    EXPECT_EQ(slow.emitted, 2) << "gathering starts again from zero";

    // Rate 400: 1 / 400 is 0 in whole numbers, so every frame emits until the cap is passed.
    ParticleSystem burst(100.0f, 400, 50.0f, Vector3D(), 1.0f);
    const float dt = 1.0f / 60.0f;
    const int batch = static_cast<int>(std::ceil(400.0f * dt));
    for (int frame = 0; frame < 60; ++frame) {
        const int before = burst.emitted;
        burst.update(dt);
        const int expected = before < ParticleSystem::kMaxParticles ? batch : 0;
        ASSERT_EQ(burst.emitted - before, expected) << "frame " << frame;
    }
    EXPECT_LT(burst.emitted, ParticleSystem::kMaxParticles + batch) << "one batch past at most";
    EXPECT_EQ(static_cast<int>(burst.particles.size()), burst.emitted);
    EXPECT_EQ(bodies(), slow.emitted + burst.emitted) << "every particle is a body";
}

TEST_F(ParticleSystemTest, DeadParticlesAreHiddenButKeptAndEmissionStopsInTime) {
    ParticleSystem system(100.0f, 8, 0.5f, Vector3D(), 1.0f);
    system.emissionTime = 0.0f; // only the first frame, at age 0, emits
    for (int i = 0; i < 4; ++i) {
        system.update(0.125f);
    }
    ASSERT_EQ(system.particles.size(), 1u);
    Particle* particle = system.particles[0];
    EXPECT_TRUE(particle->isAlive()) << "alive at age 0.5 = lifetime";
    system.update(0.125f);
    EXPECT_FALSE(particle->isAlive());
    EXPECT_FALSE(particle->visible);
    system.update(0.125f);
    EXPECT_EQ(particle->age, 0.625f) << "a dead particle no longer ages";
    EXPECT_EQ(system.particles.size(), 1u);
    EXPECT_NE(particle->actor, nullptr) << "its body stays until the system ends";
}

TEST_F(ParticleSystemTest, EndDuringTheListsWalkRemovesEverything) {
    Object3D head, after;
    List list(&head);
    // Shorter than the emission time: the system ends while it still emits.
    ParticleSystem system(1.0f, 8, 10.0f, Vector3D(), 1.0f);
    list.attach(&system);
    list.attach(&after);
    for (int i = 0; i < 4; ++i) {
        list.updateAll(0.25f);
    }
    EXPECT_EQ(list.count(), 3 + 8) << "two particles a frame, in the ring";
    list.updateAll(0.25f); // the age passes the duration in this walk
    EXPECT_FALSE(system.visible);
    EXPECT_TRUE(system.particles.empty());
    EXPECT_EQ(list.count(), 2);
    EXPECT_EQ(list.getAt(1), &after);
    EXPECT_EQ(system.next, &system) << "the system has left the ring";
    EXPECT_EQ(bodies(), 0) << "every particle's body is released";
}

TEST_F(ParticleSystemTest, ParticlesAreThrownOnARingAroundTheVertical) {
    ParticleSystem system(100.0f, 2, 10.0f, Vector3D(1, 2, 3), 1.0f);
    system.setPosition(Vector3D(3, 4, 5));
    for (int i = 0; i < 3; ++i) {
        system.update(0.5f); // one particle a frame
    }
    ASSERT_EQ(system.particles.size(), 3u);
    for (int i = 0; i < 3; ++i) {
        const Particle* p = system.particles[i];
        // Sideways always -sin and -cos of the angle; upwards one of two values.
        const float angle = 0.5f * static_cast<float>(i + 1);
        EXPECT_NEAR(p->initialVelocity.x, 1.0f - 4.0f * std::sin(angle), 1e-4f) << i;
        EXPECT_NEAR(p->initialVelocity.z, 3.0f - 4.0f * std::cos(angle), 1e-4f) << i;
        const float spread = 4.0f * 0.5f * std::tan(angle);
        const float up = p->initialVelocity.y - (2.0f + 4.0f * 1.5f);
        EXPECT_NEAR(std::fabs(up), std::fabs(spread), 1e-4f) << i;
        ASSERT_NE(p->actor, nullptr);
        EXPECT_EQ(p->actor->shapeGroup, ShapeGroup::kParticle);
        EXPECT_EQ(p->actor->userData, p);
    }
    const Particle* last = system.particles[2];
    EXPECT_FLOAT_EQ(last->getPosition().z, 5.0f) << "born at the system";
    const Vector3D v = last->actor->getLinearVelocity();
    const Vector3D across = Vector3D::cross(v, last->initialVelocity);
    EXPECT_NEAR(Vector3D::dot(across, across), 0.0f, 1e-3f) << "pushed along its start velocity";
}

int redAtCentre() {
    unsigned char pixel[3] = {};
    glReadPixels(512, 384, 1, 1, GL_RGB, GL_UNSIGNED_BYTE, pixel);
    return pixel[0];
}

TEST_F(ParticleSystemTest, OverlappingParticlesAddUpAndTheStateIsRestored) {
    openTestWindow();
    Engine::getInstance()->physics = nullptr; // no bodies: drawn where they were placed
    Particle first(Vector3D(), 1.0f, Vector3D(), 0.5f, Vector3D(1, 0, 0));
    Particle second(Vector3D(), 1.0f, Vector3D(), 0.5f, Vector3D(1, 0, 0));
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_CULL_FACE);     // as in the game: one layer of each sphere
    Renderer renderer(nullptr); // the game's start-up material state
    GLfloat startAmbient[4], startDiffuse[4];
    glGetMaterialfv(GL_FRONT, GL_AMBIENT, startAmbient);
    glGetMaterialfv(GL_FRONT, GL_DIFFUSE, startDiffuse);
    glDisable(GL_COLOR_MATERIAL); // as every model's draw does
    glDisable(GL_LIGHTING);
    first.draw();
    const int one = redAtCentre();
    EXPECT_NEAR(one, 128, 3) << "half alpha at birth, added to black";
    glLoadIdentity();
    second.draw();
    EXPECT_GT(redAtCentre(), one + 100) << "the first wrote no depth, so the second adds on";
    GLboolean depthWrites = GL_FALSE;
    glGetBooleanv(GL_DEPTH_WRITEMASK, &depthWrites);
    EXPECT_EQ(depthWrites, GL_TRUE);
    EXPECT_FALSE(glIsEnabled(GL_BLEND));
    EXPECT_FALSE(glIsEnabled(GL_COLOR_MATERIAL));
    // The level is drawn next with the material the sphere leaves: the one it started with.
    GLfloat ambient[4], diffuse[4];
    glGetMaterialfv(GL_FRONT, GL_AMBIENT, ambient);
    glGetMaterialfv(GL_FRONT, GL_DIFFUSE, diffuse);
    for (int i = 0; i < 4; ++i) {
        EXPECT_FLOAT_EQ(ambient[i], startAmbient[i]) << i;
        EXPECT_FLOAT_EQ(diffuse[i], startDiffuse[i]) << i;
    }
}

// A burst's glowing sphere as the game draws it (lit, coloured, added to black), at `distance`
// straight ahead under the game's projection, with every triangle or by its size on screen.
constexpr int kWindowWidth = 1024; // the test window's size
constexpr int kWindowHeight = 768;

std::vector<unsigned char> glowAt(float distance, bool bySize, int slices, int stacks) {
    glViewport(0, 0, kWindowWidth, kWindowHeight);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    gluPerspective(45.0, static_cast<double>(kWindowWidth) / kWindowHeight, 1.0, 1000.0);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    const GLfloat light[4] = {70, 35, 70, 1};
    glLightfv(GL_LIGHT1, GL_POSITION, light);
    glEnable(GL_LIGHT1);
    glEnable(GL_LIGHTING);
    glEnable(GL_NORMALIZE);
    glEnable(GL_COLOR_MATERIAL);
    glColorMaterial(GL_FRONT_AND_BACK, GL_AMBIENT_AND_DIFFUSE);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE);
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glColor4f(1.0f, 1.0f, 0.1f, 0.5f);
    glTranslatef(0.3f, 0.2f, -distance);
    const float radius = 0.4f; // a rocket burst's particle
    if (bySize) {
        SphereList::drawOnScreen(radius, slices, stacks);
    } else {
        SphereList::draw(radius, slices, stacks);
    }
    glDisable(GL_BLEND);
    glDisable(GL_COLOR_MATERIAL);
    glDisable(GL_LIGHTING);
    return readPixels(kWindowWidth, kWindowHeight);
}

// How two pictures of a glow differ: pixels off by more than a colour step, and the glow's whole
// light (the sum of every channel).
struct Difference {
    int differing = 0;
    long lightA = 0;
    long lightB = 0;
};
Difference compare(const std::vector<unsigned char>& a, const std::vector<unsigned char>& b) {
    constexpr int kStep = 12;
    Difference d;
    for (size_t i = 0; i < a.size(); i += 3) {
        bool differs = false;
        for (size_t c = 0; c < 3; ++c) {
            differs = differs || std::abs(a[i + c] - b[i + c]) > kStep;
            d.lightA += a[i + c];
            d.lightB += b[i + c];
        }
        d.differing += differs ? 1 : 0;
    }
    return d;
}

// The radius in pixels of a burst's particle at `distance` under the game's projection.
float pixelsAt(float distance) {
    const float cotHalfFov = 1.0f / std::tan(22.5f * 3.1415927f / 180.0f);
    return 0.4f * cotHalfFov * 0.5f * static_cast<float>(kWindowHeight) / distance;
}

// Particles and smoke puffs far away are drawn with fewer triangles; from close by to a few
// pixels across, the glow must look as it does with every triangle: its outline may move by a
// pixel (no more pixels differ than lie on it) and its light stays within a tenth. The same
// comparison tells a coarse sphere close by from the full one, so it can see the difference.
TEST_F(ParticleSystemTest, FarGlowsHaveFewerTrianglesAndLookTheSame) {
    openTestWindow();
    constexpr double kLightShare = 0.1;
    const float twoPi = 2.0f * 3.1415927f;
    for (float distance : {3.0f, 10.0f, 13.0f, 20.0f, 30.0f, 40.0f, 50.0f, 80.0f, 150.0f}) {
        const float outline = twoPi * pixelsAt(distance);
        SCOPED_TRACE("at " + std::to_string(distance) + " units");
        const Difference d = compare(glowAt(distance, false, 12, 8), glowAt(distance, true, 12, 8));
        ASSERT_GT(d.lightA, 0);
        EXPECT_LE(d.differing, outline);
        EXPECT_NEAR(d.lightB, d.lightA, kLightShare * d.lightA);
    }
    const Difference coarse = compare(glowAt(10.0f, false, 12, 8), glowAt(10.0f, false, 6, 4));
    EXPECT_GT(coarse.differing, twoPi * pixelsAt(10.0f)) << "the comparison cannot tell";
}

} // namespace
