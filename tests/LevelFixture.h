// LevelFixture: the real level built from the generated content, with a physics world and the
// manual clock, in a private working directory with a GL window.
#pragma once

#include "Engine.h"
#include "GameRules.h"
#include "InputManager.h"
#include "LevelMeshes.h"
#include "Object3D.h"
#include "PhysicsWorld.h"
#include "RuleSet.h"
#include "Scene.h"
#include "TestSupport.h"
#include "Timer.h"

#include <cmath>

class LevelFixture : public DataFolderTest {
protected:
    void SetUp() override {
        DataFolderTest::SetUp();
        ManualClock::install();
        engine_ = Engine::getInstance();
        engine_->physics = new PhysicsWorld();
        GameRules::install(*engine_->physics);
        engine_->rules = &rules();
        scene_ = new Scene();
        engine_->scene = scene_;
    }
    void TearDown() override {
        ManualClock::remove();
        TempDirTest::TearDown();
    }
    // The rules the level is built and played by.
    virtual const RuleSet& rules() const { return RuleSet::classic(); }
    // One world update after `seconds` of the manual clock.
    void cycle(double seconds) {
        ManualClock::advance(seconds);
        scene_->update();
    }

    // One game cycle at 30 frames per second: the input step, then the world update.
    void play() {
        engine_->processInput();
        cycle(1.0 / 30.0);
    }
    // Queues one mouse motion that turns the herder to face (x, z) in the next input step, the
    // way a player would; the mouse's yaw factor must be 1.
    void face(float x, float z) {
        const Object3D* herder = scene_->getPlayer();
        const Vector3D p = herder->getPosition();
        const float want = std::atan2(-(x - p.x), -(z - p.z)) * 180.0f / 3.1415927f;
        const float turn = std::remainder(want - herder->getRotationY(), 360.0f);
        InputManager* input = InputManager::getInstance();
        const float dt = scene_->getTimer()->getFrameTime();
        const float perPixel = engine_->rules->mouseTurn(1, engine_->mouseSensPitch, dt);
        input->mouseDx = perPixel != 0.0f ? static_cast<int>(std::lround(turn / perPixel)) : 0;
        input->mouseDy = 0;
        input->mouseMoved = input->mouseDx != 0;
    }

    Engine* engine_ = nullptr;
    Scene* scene_ = nullptr;
};
