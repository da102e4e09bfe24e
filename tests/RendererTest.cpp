// The live frame: light set-up, following the herder (at its controller's capsule), the frustum
// matching the camera, the lens flare only with the light in view, and the debug primitives.
#include "Renderer.h"
#include "Camera.h"
#include "CharacterController.h"
#include "Engine.h"
#include "LensFlare.h"
#include "List.h"
#include "Object3D.h"
#include "PhysicsActor.h"
#include "PhysicsFixture.h"
#include "Scene.h"
#include "SolidCube.h"
#include "TestSupport.h"
#include "Timer.h"
#include "ViewFrustum.h"

#include <GL/glu.h>
#include <btBulletCollisionCommon.h>

#include <cmath>
#include <vector>

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

// For several headings the eye stands 5 units behind the capsule, against the normalised facing,
// raised by the height offset and the lift; the frustum is built from the same eye and centre.
TEST_F(RendererTest, CameraStandsBehindTheControllerCapsuleAndFrustumMatchesIt) {
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
    scene_->setPlayer(&herder);
    const Vector3D target(10, 3, -4);
    const Vector3D facings[] = {{0, 0, -2}, {3, 0, 0}, {-1, 0, 1}, {0.2f, 0, 0.9f}};
    for (const Vector3D& facing : facings) {
        herder.setDirection(facing);
        renderer_->getCamera()->height = 1.0f;
        renderer_->render();
        const Camera* camera = renderer_->getCamera();
        const float length = std::sqrt(Vector3D::dot(facing, facing));
        const Vector3D eye(10 - 5 * facing.x / length, 3 + 1 + 2, -4 - 5 * facing.z / length);
        EXPECT_FLOAT_EQ(camera->target.x, target.x);
        EXPECT_NEAR(camera->eye().x, eye.x, 1e-4f) << facing.x << "," << facing.z;
        EXPECT_NEAR(camera->eye().y, eye.y, 1e-4f);
        EXPECT_NEAR(camera->eye().z, eye.z, 1e-4f) << facing.x << "," << facing.z;
        ViewFrustum expected;
        expected.setCamInternals(45.0f, 1024.0f / 768.0f, 1.0f, 10000.0f);
        expected.setCamDef(eye, Vector3D(10, 3 + 2, -4), Vector3D(0, 1, 0));
        for (int i = 0; i < 6; ++i) {
            EXPECT_NEAR(frustum_.planes[i].d, expected.planes[i].d, 1e-3f) << i;
            EXPECT_NEAR(frustum_.planes[i].normal.x, expected.planes[i].normal.x, 1e-5f) << i;
            EXPECT_NEAR(frustum_.planes[i].normal.z, expected.planes[i].normal.z, 1e-5f) << i;
        }
    }
}

// A herder on a 40 degree slope facing downhill: the ground behind him rises above where the eye
// would be when he looks up, and the camera is lifted to stay above it. Facing uphill, the ground
// behind falls away and the camera stays where it would be.
class CameraOverGroundTest : public PhysicsFixture {
protected:
    void SetUp() override {
        PhysicsFixture::SetUp();
        openTestWindow();
        renderer_ = std::make_unique<Renderer>(&scene_);
        renderer_->ground = &world();
        renderer_->reshape();
        addRamp(kDegrees, 100.0f);
        herder_.setPosition(Vector3D(0, 1.5f, 0));
        scene_.setPlayer(&herder_);
    }
    static float rampHeight(float x) { return x * std::tan(kDegrees * 3.1415927f / 180.0f); }

    static constexpr float kDegrees = 40.0f;
    Scene scene_;
    Object3D herder_;
    std::unique_ptr<Renderer> renderer_;
};

TEST_F(CameraOverGroundTest, EyeStaysAboveTheSlopeBehindTheHerder) {
    struct Case {
        float facingX, height;
        bool lifted;
    };
    const Case cases[] = {{-1, -3, true}, {-1, 0, true}, {-1, 3, false}, {1, -3, false}};
    for (const Case& c : cases) {
        herder_.setDirection(Vector3D(c.facingX, 0, 0));
        Camera* camera = renderer_->getCamera();
        camera->height = c.height;
        renderer_->render();
        const Vector3D eye = camera->eye();
        const float unlifted = 1.5f + c.height + Camera::kLift;
        EXPECT_NEAR(eye.x, -5.0f * c.facingX, 1e-4f);
        EXPECT_GE(eye.y, rampHeight(eye.x) + Camera::kGroundClearance - 1e-3f)
            << "facing " << c.facingX << ", height " << c.height;
        if (c.lifted) {
            EXPECT_NEAR(eye.y, rampHeight(eye.x) + Camera::kGroundClearance, 0.05f);
        } else {
            EXPECT_FLOAT_EQ(eye.y, unlifted);
        }
    }
}

// A herder at the origin facing the light (or turning his back on it), with the camera behind
// him looking the same way.
void faceLight(Scene& scene, Object3D& herder, bool towards) {
    const float s = towards ? 1.0f : -1.0f;
    herder.setDirection(Vector3D(s * std::sqrt(0.5f), 0, s * std::sqrt(0.5f)));
    scene.setPlayer(&herder);
}

TEST_F(RendererTest, LensFlareOnlyWhileTheLightIsInView) {
    Object3D herder;
    faceLight(*scene_, herder, true);
    renderer_->render();
    EXPECT_EQ(renderer_->flareElementsDrawn, 16);
    // The level is drawn next frame with the material and colour the frame leaves behind: the
    // same whether the flare was drawn or not.
    const auto materialAfterFrame = [&](bool towards) {
        faceLight(*scene_, herder, towards);
        renderer_->render();
        std::vector<GLfloat> state(20);
        glGetMaterialfv(GL_FRONT, GL_AMBIENT, &state[0]);
        glGetMaterialfv(GL_FRONT, GL_DIFFUSE, &state[4]);
        glGetMaterialfv(GL_BACK, GL_AMBIENT, &state[8]);
        glGetMaterialfv(GL_BACK, GL_DIFFUSE, &state[12]);
        glGetFloatv(GL_CURRENT_COLOR, &state[16]);
        return state;
    };
    EXPECT_EQ(materialAfterFrame(true), materialAfterFrame(false));
    faceLight(*scene_, herder, false);
    renderer_->render();
    EXPECT_EQ(renderer_->flareElementsDrawn, 0);
    EXPECT_FALSE(glIsEnabled(GL_BLEND)) << "blending is switched off after the flare";
}

// The sun behind something the level drew shows no flare: the depth at its pixel decides.
TEST_F(RendererTest, LensFlareHidesBehindWhatCoversTheSun) {
    Object3D herder;
    faceLight(*scene_, herder, true);
    SolidCube wall(30.0f);
    wall.setPosition(Vector3D(35.0f, 17.0f, 35.0f));
    scene_->getSceneList()->attach(&wall);
    renderer_->render();
    EXPECT_EQ(renderer_->flareElementsDrawn, 0);
    wall.unlink();
    renderer_->render();
    EXPECT_EQ(renderer_->flareElementsDrawn, 16) << "in the open the flare is back";
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
