// Drawing models: the three render modes, with and without display lists, draw the same picture;
// skinned models never use vertex arrays; switching modes releases what the old mode built; the
// frame clock steps and blends as the run cycle needs.
#include <GL/glew.h>

#include "FBXModel.h"
#include "InputManager.h"
#include "LevelFacts.h"
#include "LevelMeshes.h"
#include "Renderer.h"
#include "TestSupport.h"

#include <GL/freeglut.h>
#include <GL/glu.h>

#include <cstdlib>

namespace {

class FBXModelDrawTest : public DataFolderTest {
protected:
    void SetUp() override {
        DataFolderTest::SetUp();
        renderer_ = std::make_unique<Renderer>(nullptr);
        renderer_->reshape();
    }
    // The picture of the model from a fixed eye, bottom row first.
    std::vector<unsigned char> picture(FBXModel& m, float distance) {
        glClearColor(0, 0, 0, 0);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        glMatrixMode(GL_MODELVIEW);
        glLoadIdentity();
        gluLookAt(distance * 0.6, distance * 0.5, distance, 0, 0, 0, 0, 1, 0);
        const GLfloat light[4] = {1, 2, 3, 0};
        glLightfv(GL_LIGHT1, GL_POSITION, light);
        glEnable(GL_LIGHT1);
        glEnable(GL_LIGHTING);
        glPushMatrix();
        m.draw();
        glPopMatrix();
        return readPixels(1024, 768);
    }
    std::unique_ptr<Renderer> renderer_;
};

// Share of pixels whose channels differ by more than `tolerance`.
double differingShare(const std::vector<unsigned char>& a, const std::vector<unsigned char>& b,
                      int tolerance = 8) {
    size_t differing = 0;
    for (size_t i = 0; i < a.size(); i += 3) {
        for (int k = 0; k < 3; ++k) {
            if (std::abs(a[i + k] - b[i + k]) > tolerance) {
                ++differing;
                break;
            }
        }
    }
    return static_cast<double>(differing) / static_cast<double>(a.size() / 3);
}

double litShare(const std::vector<unsigned char>& a) {
    size_t lit = 0;
    for (size_t i = 0; i < a.size(); i += 3) {
        lit += (a[i] | a[i + 1] | a[i + 2]) > 10 ? 1 : 0;
    }
    return static_cast<double>(lit) / static_cast<double>(a.size() / 3);
}

TEST_F(FBXModelDrawTest, EveryModeAndListSettingDrawsTheSamePicture) {
    const level::ModelAsset& piece = level::kPowerPlant;
    FBXModel plant(testReader(), dataFile(piece.file), dataFile(piece.texture), piece.scale);
    ASSERT_GT(plant.vertexCount, 0);
    ASSERT_TRUE(plant.vboSupported);
    InputManager::getInstance()->displayLists = false;
    plant.setRenderMode(FBXModel::kImmediate);
    const auto reference = picture(plant, 80.0f);
    EXPECT_GT(litShare(reference), 0.05) << "the plant fills part of the view";
    for (bool lists : {false, true}) {
        InputManager::getInstance()->displayLists = lists;
        for (int mode : {0, 1, 2}) {
            plant.setRenderMode(mode);
            EXPECT_EQ(plant.renderMode, mode);
            EXPECT_LT(differingShare(reference, picture(plant, 80.0f)), 0.002)
                << "mode " << mode << (lists ? " with lists" : "");
        }
    }
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

TEST_F(FBXModelDrawTest, SkinnedModelInVertexArrayModeDrawsImmediately) {
    FBXModel sheep(testReader(), level::kSheep);
    ASSERT_TRUE(sheep.animated);
    ASSERT_EQ(sheep.frameCount, FBXModel::kSkinFrames);
    sheep.setRenderMode(FBXModel::kVertexArrays);
    EXPECT_EQ(sheep.renderMode, FBXModel::kImmediate);
    EXPECT_FALSE(sheep.useDisplayList);
    sheep.currentFrame = 7;
    const auto arrays = picture(sheep, 3.0f);
    sheep.setRenderMode(FBXModel::kImmediate);
    EXPECT_LT(differingShare(arrays, picture(sheep, 3.0f)), 0.001);
    sheep.setRenderMode(FBXModel::kBufferObjects);
    EXPECT_LT(differingShare(arrays, picture(sheep, 3.0f)), 0.002) << "streamed positions";
    EXPECT_LT(differingShare(arrays, picture(sheep, 3.0f)), 0.002) << "the same pose again";
    EXPECT_GT(litShare(arrays), 0.01);
    // The pose is streamed once per pose, not once per draw: a new frame or clock is new data.
    sheep.currentFrame = 15;
    const auto streamed = picture(sheep, 3.0f);
    EXPECT_GT(differingShare(arrays, streamed), 0.002) << "the buffer follows the frame";
    sheep.frameTime = 0.5f; // halfway to the next frame
    picture(sheep, 3.0f);
    glBindBufferARB(GL_ARRAY_BUFFER_ARB, sheep.buffers[0]);
    const auto* held =
        static_cast<const float*>(glMapBufferARB(GL_ARRAY_BUFFER_ARB, GL_READ_ONLY_ARB));
    ASSERT_NE(held, nullptr);
    // A skinned model streams one position per control point and draws its corners by index.
    ASSERT_TRUE(sheep.drawsIndexed());
    const float* blend = sheep.currentPointPositions();
    int stale = 0;
    for (int i = 0; i < 3 * sheep.controlPointCount; ++i) {
        stale += held[i] != blend[i] ? 1 : 0;
    }
    glUnmapBufferARB(GL_ARRAY_BUFFER_ARB);
    glBindBufferARB(GL_ARRAY_BUFFER_ARB, 0);
    EXPECT_EQ(stale, 0) << "the buffer follows the clock too";
}

TEST_F(FBXModelDrawTest, StillPoseDiffersFromTheRun) {
    FBXModel wolf(testReader(), level::kWolf);
    ASSERT_TRUE(wolf.hasStillPose);
    wolf.setRenderMode(FBXModel::kImmediate);
    wolf.currentFrame = 8;
    const auto running = picture(wolf, 4.0f);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glPushMatrix();
    wolf.drawStill();
    glPopMatrix();
    const auto still = readPixels(1024, 768);
    EXPECT_GT(differingShare(running, still), 0.001);
    EXPECT_TRUE(wolf.animated) << "the still drawing restores the model's state";
    EXPECT_EQ(wolf.currentFrame, 8);
}

TEST_F(FBXModelDrawTest, SwitchingFromBuffersToImmediateReleasesThem) {
    // Not among the entry points the game looks up for itself.
    const auto glIsBufferARB =
        reinterpret_cast<PFNGLISBUFFERARBPROC>(glutGetProcAddress("glIsBufferARB"));
    ASSERT_NE(glIsBufferARB, nullptr);
    FBXModel rocket(testReader(), level::kRocket);
    rocket.setRenderMode(FBXModel::kBufferObjects);
    ASSERT_TRUE(rocket.buffersCreated);
    const GLuint positions = rocket.buffers[0];
    EXPECT_TRUE(glIsBufferARB(positions));
    EXPECT_TRUE(rocket.listBuilt[FBXModel::kBufferObjects]);
    const GLuint list = rocket.displayLists[FBXModel::kBufferObjects];
    rocket.setRenderMode(FBXModel::kImmediate);
    EXPECT_FALSE(rocket.buffersCreated);
    EXPECT_FALSE(glIsBufferARB(positions));
    EXPECT_FALSE(rocket.listBuilt[FBXModel::kBufferObjects]);
    EXPECT_FALSE(glIsList(list));
    EXPECT_TRUE(rocket.listBuilt[FBXModel::kImmediate]);
}

// A skinned model with hand-made frames: frame i has every coordinate equal to i.
void handMadeFrames(FBXModel& m, int frames) {
    m.animated = true;
    m.vertexCount = 3;
    m.frameCount = frames;
    m.frames.assign(static_cast<size_t>(frames), std::vector<float>(9));
    for (int i = 0; i < frames; ++i) {
        m.frames[static_cast<size_t>(i)].assign(9, static_cast<float>(i));
    }
}

TEST(FBXModelAnimationTest, FrameClockStepsOnlyPastTheStepAndWraps) {
    FBXModel m;
    handMadeFrames(m, FBXModel::kSkinFrames);
    m.advanceAnimation(0.0125f);
    EXPECT_EQ(m.currentFrame, 0) << "exactly one step does not advance";
    m.advanceAnimation(0.0001f);
    EXPECT_EQ(m.currentFrame, 1);
    EXPECT_EQ(m.frameTime, 0.0f);
    m.advanceAnimation(5.0f);
    EXPECT_EQ(m.currentFrame, 2) << "at most one frame per call";
    m.currentFrame = FBXModel::kSkinFrames - 1;
    m.advanceAnimation(0.02f);
    EXPECT_EQ(m.currentFrame, 0) << "the run cycle loops";

    FBXModel still;
    still.advanceAnimation(1.0f);
    EXPECT_EQ(still.currentFrame, 0);
    EXPECT_EQ(still.frameTime, 0.0f) << "static models keep no clock";
}

TEST(FBXModelAnimationTest, BlendUsesTheRawClockInSeconds) {
    FBXModel m;
    handMadeFrames(m, 2);
    m.currentFrame = 0;
    m.frameTime = 0.0124f;
    const float* p = m.currentPositions();
    EXPECT_GT(p[0], 0.0f);
    EXPECT_LT(p[0], 0.0125f) << "less than 1.25% of the way to the next frame";
    m.currentFrame = 1; // the next frame after the last is frame 0
    EXPECT_NEAR(m.currentPositions()[4], 1.0f - 0.0124f, 1e-6f);
}

} // namespace
