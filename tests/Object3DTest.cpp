// Scene objects: free flight, turning, the three transforms (own state, actor pose, controller
// pose), material overrides, culling, the debugging cube, and the follow camera's view.
#include "Object3D.h"
#include "Camera.h"
#include "CharacterController.h"
#include "Engine.h"
#include "InputManager.h"
#include "PhysicsActor.h"
#include "Renderer.h"
#include "SolidCube.h"
#include "TestSupport.h"
#include "ViewFrustum.h"

#include <GL/glu.h>
#include <btBulletCollisionCommon.h>

#include <array>
#include <cmath>
#include <functional>
#include <memory>

namespace {

using Object3DTest = TempDirTest;

// The modelview matrix that `issue` leaves when started from identity.
std::array<GLfloat, 16> matrixAfter(const std::function<void()>& issue) {
    glMatrixMode(GL_MODELVIEW);
    glPushMatrix();
    glLoadIdentity();
    issue();
    std::array<GLfloat, 16> m{};
    glGetFloatv(GL_MODELVIEW_MATRIX, m.data());
    glPopMatrix();
    return m;
}

void expectSameMatrix(const std::array<GLfloat, 16>& a, const std::array<GLfloat, 16>& b) {
    for (int i = 0; i < 16; ++i) {
        EXPECT_NEAR(a[i], b[i], 1e-4f) << "element " << i;
    }
}

// A collision object placed at p and turned by `degrees` about y.
std::unique_ptr<btCollisionObject> bodyAt(const Vector3D& p, float degrees) {
    auto body = std::make_unique<btCollisionObject>();
    btTransform t;
    t.setIdentity();
    t.setOrigin(btVector3(p.x, p.y, p.z));
    t.setRotation(btQuaternion(btVector3(0, 1, 0), degrees * 3.1415927f / 180.0f));
    body->setWorldTransform(t);
    return body;
}

TEST_F(Object3DTest, FreeFlightUsesTheVelocityOfTheSameStep) {
    Object3D o;
    EXPECT_TRUE(o.active);
    EXPECT_EQ(o.type, Object3D::kPlain);
    o.setPosition(Vector3D(1, 2, 3));
    o.setVelocity(Vector3D(1, 0, 0));
    o.setAcceleration(Vector3D(0, -10, 0));
    o.update(0.5f);
    EXPECT_FLOAT_EQ(o.getVelocity().y, -5.0f);
    EXPECT_FLOAT_EQ(o.getPosition().x, 1.5f);
    EXPECT_FLOAT_EQ(o.getPosition().y, 2.0f - 2.5f) << "explicit Euler, velocity first";
    EXPECT_FLOAT_EQ(o.previousPosition.y, 2.0f);
    o.stop();
    EXPECT_TRUE(o.stopped);
    o.update(1.0f);
    EXPECT_FLOAT_EQ(o.getPosition().y, -0.5f);
}

TEST_F(Object3DTest, TurnRotatesTheFacingAboutY) {
    Object3D o;
    o.turn(90.0f);
    EXPECT_NEAR(o.getDirection().x, -1.0f, 1e-6f) << "a left turn from -z faces -x";
    EXPECT_NEAR(o.getDirection().z, 0.0f, 1e-6f);
    EXPECT_FLOAT_EQ(o.getRotationY(), 90.0f);
    o.turn(-45.0f);
    EXPECT_NEAR(o.getDirection().x, -std::sqrt(0.5f), 1e-6f);
    EXPECT_NEAR(o.getDirection().z, -std::sqrt(0.5f), 1e-6f);
    EXPECT_FLOAT_EQ(o.getRotationY(), 45.0f);
}

TEST_F(Object3DTest, BodiesOverrideTheObjectsOwnPosition) {
    auto body = bodyAt(Vector3D(4, 5, 6), 0);
    PhysicsActor actor(body.get());
    Object3D o;
    o.actor = &actor;
    o.setVelocity(Vector3D(9, 9, 9));
    o.update(1.0f);
    EXPECT_FLOAT_EQ(o.getPosition().x, 4.0f);
    EXPECT_FLOAT_EQ(o.getPosition().z, 6.0f);

    CharacterController controller(nullptr, &actor, nullptr, 2.0f, 0.5f);
    Object3D walker;
    walker.controller = &controller;
    walker.walkVector = Vector3D(1, 0, 0);
    walker.update(0.1f);
    EXPECT_FLOAT_EQ(walker.getPosition().y, 5.0f);
    EXPECT_FLOAT_EQ(walker.walkVector.x, 0.0f) << "the walk vector is used up each update";
}

TEST_F(Object3DTest, TransformsForOwnStateActorAndController) {
    openTestWindow();
    Object3D o;
    o.setPosition(Vector3D(1, 2, 3));
    o.setRotationX(10);
    o.setRotationY(20);
    o.setRotationZ(30);
    expectSameMatrix(matrixAfter([&] { o.applyTransform(); }), matrixAfter([] {
                         glTranslatef(1, 2, 3);
                         glRotatef(10, 1, 0, 0);
                         glRotatef(20, 0, 1, 0);
                         glRotatef(30, 0, 0, 1);
                     }));

    auto body = bodyAt(Vector3D(4, 5, 6), 40);
    PhysicsActor actor(body.get());
    o.actor = &actor;
    const auto pose = matrixAfter([] {
        glTranslatef(4, 5, 6);
        glRotatef(40, 0, 1, 0);
    });
    expectSameMatrix(matrixAfter([&] { o.applyTransform(); }), pose); // Euler angles ignored

    CharacterController controller(nullptr, &actor, nullptr, 2.0f, 0.5f);
    o.controller = &controller;
    for (int type : {Object3D::kSheep, Object3D::kHerder}) {
        o.type = type;
        expectSameMatrix(matrixAfter([&] { o.applyTransform(); }), matrixAfter([&] {
                             glTranslatef(4, 5, 6);
                             glRotatef(40, 0, 1, 0);
                             glTranslatef(0, -0.5f, 0);
                             glRotatef(10, 1, 0, 0);
                             glRotatef(20, 0, 1, 0);
                             if (type == Object3D::kHerder) {
                                 glRotatef(-90, 0, 1, 0);
                             }
                             glRotatef(30, 0, 0, 1);
                         }));
    }
}

// Exposes the culling decision.
struct Probe : Object3D {
    using Object3D::culled;
};

TEST_F(Object3DTest, CullingNeedsARadiusAndTheSwitch) {
    openTestWindow();
    Engine* engine = Engine::getInstance();
    ViewFrustum frustum;
    frustum.setCamInternals(45, 1, 1, 100);
    frustum.setCamDef(Vector3D(0, 0, 0), Vector3D(0, 0, -1), Vector3D(0, 1, 0));
    Renderer renderer(nullptr);
    renderer.frustum = &frustum;
    engine->renderer = &renderer;

    Probe behind;
    behind.setPosition(Vector3D(0, 0, 50));
    EXPECT_FALSE(behind.culled()) << "cullRadius 0 is never culled";
    behind.setCullRadius(1.0f);
    EXPECT_TRUE(behind.culled());
    InputManager::getInstance()->switchF8 = false;
    EXPECT_FALSE(behind.culled()) << "the culling switch is off";
    InputManager::getInstance()->switchF8 = true;
    Probe ahead;
    ahead.setCullRadius(1.0f);
    ahead.setPosition(Vector3D(0, 0, -20));
    EXPECT_FALSE(ahead.culled());
    engine->renderer = nullptr;
}

TEST_F(Object3DTest, MaterialOverridesReachOpenGL) {
    openTestWindow();
    Object3D o;
    o.setDiffuse(0.1f, 0.2f, 0.3f, 1.0f);
    o.setShininess(42.0f);
    o.materialFace = GL_FRONT_AND_BACK;
    o.draw();
    GLfloat diffuse[4], shininess = 0;
    glGetMaterialfv(GL_BACK, GL_DIFFUSE, diffuse);
    glGetMaterialfv(GL_FRONT, GL_SHININESS, &shininess);
    EXPECT_FLOAT_EQ(diffuse[2], 0.3f);
    EXPECT_FLOAT_EQ(shininess, 42.0f);
    EXPECT_FALSE(glIsEnabled(GL_COLOR_MATERIAL)) << "objects draw with their own materials";
}

TEST_F(Object3DTest, SolidCubeIsAlwaysOrange) {
    openTestWindow();
    SolidCube cube(2.0f);
    cube.setColour(0.0f, 1.0f, 0.0f, 1.0f);
    cube.draw();
    EXPECT_FLOAT_EQ(cube.colour[0], 0.7f);
    EXPECT_FLOAT_EQ(cube.colour[1], 0.3f);
    EXPECT_FLOAT_EQ(cube.colour[2], 0.0f);
    GLfloat current[4];
    glGetFloatv(GL_CURRENT_COLOR, current);
    EXPECT_FLOAT_EQ(current[0], 0.7f);
    EXPECT_FLOAT_EQ(current[1], 0.3f);
}

TEST_F(Object3DTest, CameraClampsItsHeightAndLooksOverTheTarget) {
    openTestWindow();
    Camera camera(Vector3D(0, 0, -10), Vector3D(0, 1, 5));
    for (const auto& [set, clamped] : {std::pair{5.0f, 3.0f}, {-4.0f, -3.0f}, {1.5f, 1.5f}}) {
        camera.height = set;
        const auto seen = matrixAfter([&] { camera.look(); });
        EXPECT_FLOAT_EQ(camera.height, clamped);
        expectSameMatrix(
            seen, matrixAfter([&] { gluLookAt(0, 1 + clamped + 2.0, 5, 0, 2.0, -10, 0, 1, 0); }));
    }
}

TEST_F(Object3DTest, CameraSeesPointsInFrontOfTheDepthBuffer) {
    openTestWindow();
    glViewport(0, 0, 1024, 768);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    gluPerspective(45, 1024.0 / 768.0, 1, 100);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glClear(GL_DEPTH_BUFFER_BIT);
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_LEQUAL);
    glBegin(GL_QUADS); // a wall across the view at z = -20
    glVertex3f(-50, -50, -20);
    glVertex3f(50, -50, -20);
    glVertex3f(50, 50, -20);
    glVertex3f(-50, 50, -20);
    glEnd();
    Camera camera;
    EXPECT_TRUE(camera.isVisible(Vector3D(0, 0, -10)));
    EXPECT_TRUE(camera.isVisible(Vector3D(1, 1, -20))) << "on the wall counts as visible";
    EXPECT_FALSE(camera.isVisible(Vector3D(0, 0, -30)));
}

} // namespace
