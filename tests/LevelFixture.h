// LevelFixture: the real level built from the generated content, with a physics world and the
// manual clock, in a private working directory with a GL window.
#pragma once

#include "Engine.h"
#include "LevelMeshes.h"
#include "PhysicsWorld.h"
#include "Scene.h"
#include "TestSupport.h"

class LevelFixture : public TempDirTest {
protected:
    void SetUp() override {
        TempDirTest::SetUp();
        openTestWindow();
        linkDataFiles();
        ManualClock::install();
        engine_ = Engine::getInstance();
        engine_->physics = new PhysicsWorld();
        scene_ = new Scene();
        engine_->scene = scene_;
    }
    void TearDown() override {
        ManualClock::remove();
        TempDirTest::TearDown();
    }
    // One world update after `seconds` of the manual clock.
    void cycle(double seconds) {
        ManualClock::advance(seconds);
        scene_->update();
    }

    Engine* engine_ = nullptr;
    Scene* scene_ = nullptr;
};
