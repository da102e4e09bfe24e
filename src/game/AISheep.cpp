// Sheep: steering from the animals' base, the release from a dead holder, and death by rocket.
#include "AISheep.h"

#include "AIWolf.h"

#include "CharacterController.h"
#include "Engine.h"
#include "List.h"
#include "ParticleSystem.h"
#include "PhysicsActor.h"
#include "PhysicsWorld.h"
#include "Scene.h"

// The death burst: built like an explosion, then cut short to a second.
static constexpr float kBurstDuration = 8.0f;
static constexpr int kBurstRate = 400;
static constexpr float kBurstParticleLifetime = 7.0f;
static constexpr float kBurstSpare = 1.0f;
static constexpr float kBurstEmissionTime = 0.2f;
static constexpr float kBurstShortDuration = 1.0f;

AISheep::AISheep(Scene* scene) : scene_(scene) {
    type = kSheep;
    living = true;
    setSpeed(1.0f);
}

void AISheep::update(float dt) {
    AIObject3D::update(dt);
    if (heldByWolf && (holder == nullptr || !holder->alive())) {
        heldByWolf = false;
        holder = nullptr;
    }
}

void AISheep::dieByRocket() {
    if (!living) {
        return;
    }
    auto* burst = new ParticleSystem(kBurstDuration, kBurstRate, kBurstParticleLifetime,
                                     Vector3D(0.0f, 0.5f, 0.0f), kBurstSpare);
    burst->emissionTime = kBurstEmissionTime;
    burst->duration = kBurstShortDuration;
    burst->setPosition(controller != nullptr ? controller->getActor()->getGlobalPosition()
                                             : position);
    if (scene_ != nullptr && scene_->getSceneList() != nullptr) {
        scene_->getSceneList()->attach(burst);
    }
    visible = false;
    remove();
}

void AISheep::remove() {
    if (!living) {
        return;
    }
    PhysicsWorld* physics = Engine::getInstance()->physics;
    if (controller != nullptr && physics != nullptr) {
        physics->releaseController(controller);
    }
    controller = nullptr;
    unlink();
    living = false;
    if (scene_ != nullptr) {
        scene_->sheepDied();
    }
}
