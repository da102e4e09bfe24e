// The live frame: light set-up, following the herder (at its controller's capsule), the frustum
// matching the camera, the lens flare only with the light in view, and the debug primitives.
#include "Renderer.h"
#include "Camera.h"
#include "CharacterController.h"
#include "Engine.h"
#include "LensFlare.h"
#include "Object3D.h"
#include "PhysicsActor.h"
#include "Scene.h"
#include "TestSupport.h"
#include "Timer.h"
#include "ViewFrustum.h"

#include <GL/glu.h>
#include <btBulletCollisionCommon.h>

#include <cmath>

namespace {

class RendererTest : public TempDirTest {
protected:
    void SetUp() override {
        TempDirTest::SetUp();
        openTestWindow();
        scene_ = std::make_unique<Scene>();
        renderer_ = std::make_unique<Renderer>(scene_.get());
        renderer_->frustum = &frustum_;
        renderer_->reshape();
    }
    // Non-black pixels of the whole window.
    int litPixels() {
        const auto rgb = readPixels(1024, 768);
        int lit = 0;
        for (size_t i = 0; i < rgb.size(); i += 3) {
            lit += (rgb[i] | rgb[i + 1] | rgb[i + 2]) > 8 ? 1 : 0;
        }
        return lit;
    }
    std::unique_ptr<Scene> scene_;
    std::unique_ptr<Renderer> renderer_;
    ViewFrustum frustum_;
};

TEST_F(RendererTest, FrameWithoutHerderIsLitAndShowsTheHud) {
    renderer_->render();
    GLfloat ambient[4], diffuse[4], specular[4];
    glGetLightfv(GL_LIGHT1, GL_AMBIENT, ambient);
    glGetLightfv(GL_LIGHT1, GL_DIFFUSE, diffuse);
    glGetLightfv(GL_LIGHT1, GL_SPECULAR, specular);
    EXPECT_FLOAT_EQ(ambient[0], 0.2f);
    EXPECT_FLOAT_EQ(diffuse[0], 1.0f) << "the dim diffuse is raised within the frame";
    EXPECT_FLOAT_EQ(specular[0], 1.0f);
    EXPECT_TRUE(glIsEnabled(GL_LIGHT1));
    EXPECT_GT(litPixels(), 100) << "the HUD is drawn as a member of the scene list";
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

TEST_F(RendererTest, ReshapeProportionsTheFrustum) {
    Renderer::windowWidth = 800;
    Renderer::windowHeight = 600;
    renderer_->reshape();
    EXPECT_FLOAT_EQ(frustum_.ratio, 800.0f / 600.0f);
    EXPECT_FLOAT_EQ(frustum_.angle, 45.0f);
    EXPECT_FLOAT_EQ(frustum_.farD, static_cast<float>(Renderer::farClip));
    Renderer::windowWidth = 1024;
    Renderer::windowHeight = 768;
}

TEST_F(RendererTest, CameraFollowsTheControllerCapsuleAndFrustumMatchesIt) {
    btCollisionObject body;
    btTransform t;
    t.setIdentity();
    t.setOrigin(btVector3(10, 3, -4));
    body.setWorldTransform(t);
    PhysicsActor capsule(&body);
    CharacterController controller(nullptr, &capsule, nullptr, 2.0f, 0.5f);
    Object3D herder;
    herder.setPosition(Vector3D(100, 100, 100)); // stale: the capsule is what counts
    herder.controller = &controller;
    herder.setDirection(Vector3D(0, 0, -2));
    scene_->setPlayer(&herder);
    renderer_->getCamera()->height = 1.0f;
    renderer_->render();

    const Camera* camera = renderer_->getCamera();
    EXPECT_FLOAT_EQ(camera->target.x, 10.0f);
    EXPECT_FLOAT_EQ(camera->position.z, -4.0f - 5.0f) << "5 units along the normalised facing";
    ViewFrustum expected;
    expected.setCamInternals(45.0f, 1024.0f / 768.0f, 1.0f, 10000.0f);
    expected.setCamDef(Vector3D(10, 3 + 1 + 2, -9), Vector3D(10, 3 + 2, -4), Vector3D(0, 1, 0));
    for (int i = 0; i < 6; ++i) {
        EXPECT_NEAR(frustum_.planes[i].d, expected.planes[i].d, 1e-3f) << i;
        EXPECT_NEAR(frustum_.planes[i].normal.z, expected.planes[i].normal.z, 1e-5f) << i;
    }
}

// A herder at the origin whose camera looks towards (or away from) the light.
void faceLight(Scene& scene, Object3D& herder, bool towards) {
    const float s = towards ? -1.0f : 1.0f;
    herder.setDirection(Vector3D(s * std::sqrt(0.5f), 0, s * std::sqrt(0.5f)));
    scene.setPlayer(&herder);
}

TEST_F(RendererTest, LensFlareOnlyWhileTheLightIsInView) {
    Object3D herder;
    faceLight(*scene_, herder, true);
    renderer_->render();
    EXPECT_EQ(renderer_->flareElementsDrawn, 16);
    faceLight(*scene_, herder, false);
    renderer_->render();
    EXPECT_EQ(renderer_->flareElementsDrawn, 0);
    EXPECT_FALSE(glIsEnabled(GL_BLEND)) << "blending is switched off after the flare";
}

TEST(LensFlareTest, ElementsLieOnTheLineFromTheLightTowardsTheEye) {
    const Vector3D light(0, 10, 0), eye(0, 10, 100);
    const Vector3D atLight = LensFlare::elementPosition(light, eye, 40.0f, -1.0f);
    EXPECT_FLOAT_EQ(atLight.z, 0.0f);
    const Vector3D quarter = LensFlare::elementPosition(light, eye, 40.0f, 0.25f);
    EXPECT_FLOAT_EQ(quarter.z, 10.0f);
    EXPECT_FLOAT_EQ(quarter.y, 10.0f);
    int atTheLight = 0;
    for (const LensFlare::Element& e : LensFlare::kElements) {
        atTheLight += e.fraction < 0 ? 1 : 0;
        EXPECT_LE(e.fraction, 1.0f);
    }
    EXPECT_EQ(atTheLight, 3);
}

TEST_F(RendererTest, TestObjectsDrawFromTheirLists) {
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    gluLookAt(0, 3, 6, 0, 0, 0, 0, 1, 0);
    glDisable(GL_LIGHTING);
    renderer_->drawTestObjects(30.0f);
    const int first = litPixels();
    EXPECT_GT(first, 1000);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    renderer_->drawTestObjects(30.0f);
    EXPECT_EQ(litPixels(), first) << "the second draw replays the same lists";
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

} // namespace
