// Sheep: steering from the animals' base, the release from a dead holder, and death by rocket.
#include "AISheep.h"

#include "AIWolf.h"

#include "CharacterController.h"
#include "Engine.h"
#include "List.h"
#include "ParticleSystem.h"
#include "PhysicsActor.h"
#include "PhysicsWorld.h"
#include "RuleSet.h"
#include "Scene.h"

// The death burst: built like an explosion, then cut short to a second.
static constexpr float kBurstDuration = 8.0f;
static constexpr int kBurstRate = 400;
static constexpr float kBurstParticleLifetime = 7.0f;
static constexpr float kBurstSpare = 1.0f;
static constexpr float kBurstEmissionTime = 0.2f;
static constexpr float kBurstShortDuration = 1.0f;
// A carried sheep this close to the den counts as there: its wolf stops within its arrival
// radius of the den, and the sheep within its own of the wolf, capsules apart.
static constexpr float kDenReach = 8.0f;

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
    waitAtDen(dt);
}

// A sheep carried to the den lives there as long as the rules allow, then its wolf eats it; its
// clock starts again whenever it is not at the den in a living wolf's hold.
void AISheep::waitAtDen(float dt) {
    const float limit = Engine::getInstance()->rules->devourSeconds();
    AIWolf* wolf = carrier();
    const Vector3D off = position + AIWolf::den * -1.0f;
    const bool atDen = living && wolf != nullptr && Vector3D::dot(off, off) < kDenReach * kDenReach;
    if (limit < 0.0f || !atDen) {
        secondsAtDen = 0.0f;
        return;
    }
    secondsAtDen += dt;
    if (secondsAtDen >= limit) {
        wolf->devour(this);
    }
}

AIWolf* AISheep::carrier() const {
    auto* wolf = dynamic_cast<AIWolf*>(targetObject);
    return state == kFollowObject && wolf != nullptr && wolf->alive() ? wolf : nullptr;
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
