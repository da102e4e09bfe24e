// The level: construction of its objects in a fixed order and the per-frame world update.
#include "Scene.h"

#include "HUD.h"
#include "InputManager.h"
#include "List.h"
#include "Logfile.h"
#include "Timer.h"

#include <cstdlib>
#include <ctime>

// fpsClock values above this count as "time has passed" for the mouse-motion reset.
static constexpr float kMotionResetEpsilon = 0.00001f;

Scene::Scene() {
    init();
    spare_ = 0;
}

void Scene::init() {
    physicsClock_ = 0.0f;
    std::srand(static_cast<unsigned>(std::time(nullptr)));
    Logfile::appendLine("initialising scene");

    hud_ = HUD::getInstance();
    gameSeconds_ = 0.0f;
    wolfCount_ = 0;
    sheepCount_ = 0;

    Logfile::appendLine("initialising scene");
    append(hud_);

    timer_ = new Timer();
    if (!timer_->init()) {
        Logfile::appendLine("timer could not be initialised.");
    }
    framesThisSecond_ = 0.0f;
    fpsClock_ = 0.0f;
}

void Scene::prepare() {
    lastRenderMode_ = InputManager::getInstance()->renderMode;
    animationClock_ = 0.0f;
}

void Scene::append(Node* node) {
    if (sceneList_ == nullptr) {
        sceneList_ = new List(node);
        return;
    }
    sceneList_->attach(node);
}

void Scene::countSecond() {
    hud_->setFPS(static_cast<int>(framesThisSecond_));
    framesThisSecond_ = 0.0f;
    fpsClock_ = 0.0f;
    gameSeconds_ += 1.0f;
    hud_->tick();
}

void Scene::update() {
    const float dt = timer_->elapsed();
    timer_->setFrameTime(dt);
    frameTime_ = dt;

    framesThisSecond_ += 1.0f;
    fpsClock_ += dt;
    physicsClock_ += dt;

    if (fpsClock_ > kMotionResetEpsilon) {
        InputManager::getInstance()->mouseMoved = false;
    }
    if (fpsClock_ >= 1.0f) {
        countSecond();
    }
    sceneList_->updateAll(dt);
}
