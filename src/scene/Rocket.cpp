// The herder's rocket: its body and push-off, its lifetime, and the yellow burst it ends in.
#include "Rocket.h"

#include "Audio.h"
#include "Engine.h"
#include "List.h"
#include "Particle.h"
#include "ParticleSystem.h"
#include "PhysicsActor.h"
#include "PhysicsWorld.h"
#include "Scene.h"

#include <GL/gl.h>

#include <algorithm>

// The body: a short, thick capsule, swept against the world so that it cannot tunnel.
static constexpr float kBodyHeight = 0.1f;
static constexpr float kBodyRadius = 0.2f;
// The extra angle a rocket's drawing is given.
static constexpr float kModelTurn = 90.0f;
static constexpr float kCullRadius = 0.3f;
// The burst: an eight-second system that sprays yellow specks for a fifth of a second.
static constexpr float kBurstDuration = 8.0f;
static constexpr int kBurstRate = 400;
static constexpr float kBurstParticleLifetime = 7.0f;
static constexpr float kBurstSpare = 1.0f;
static constexpr float kBurstEmissionTime = 0.2f;
static constexpr float kBurstParticleSize = 0.4f;
static const Vector3D kBurstBaseVelocity(0.0f, 0.2f, 0.0f);
static const Vector3D kBurstColour(1.0f, 1.0f, 0.1f);

// A rocket draws its smoke trail, which blends with the sky behind it.
Rocket::Rocket(List* sceneList) : sceneList(sceneList) {
    type = kRocket;
    layer = Layer::kBlended;
}

void Rocket::launch(const Vector3D& force) {
    createCapsuleActor(kBodyHeight, kBodyRadius);
    rotationAngle = kModelTurn;
    cullRadius = kCullRadius;
    if (actor == nullptr) {
        return;
    }
    actor->setGlobalPosition(position);
    actor->addForce(force);
    actor->userData = this;
    actor->group = ActorGroup::kRocket;
}

// An expired rocket leaves the scene but keeps its body: it flies on unseen, and should it still
// touch something, it bursts there after all.
Vector3D Rocket::launchVelocity(const Vector3D& force) {
    return force *
           (PhysicsWorld::kStepInterval / PhysicsWorld::capsuleMass(kBodyHeight, kBodyRadius));
}

void Rocket::draw() {
    if (!visible) {
        return;
    }
    glPushMatrix();
    Object3D::draw();
    glPopMatrix();
    trail.draw();
}

void Rocket::update(float dt) {
    Object3D::update(dt);
    if (leavesTrail) {
        trail.update(dt, position, actor != nullptr);
    }
    Audio::moveLoop(flightSound, position);
    age += dt;
    if (age <= lifetime) {
        return;
    }
    silence();
    stop();
    unlink();
    Scene* scene = Engine::getInstance()->scene;
    if (scene == nullptr) {
        return;
    }
    std::vector<Object3D*>& rockets = scene->getRockets();
    const auto found = std::find(rockets.begin(), rockets.end(), this);
    if (found != rockets.end()) {
        rockets.erase(found);
    }
}

void Rocket::silence() {
    Audio::stopLoop(flightSound);
    flightSound = 0;
}

void Rocket::hit(Object3D*) {
}

// An exploded rocket is not freed: it stays in the level's rocket list, which only expiry
// shortens.
void Rocket::explode() {
    if (actor == nullptr) {
        return;
    }
    auto* burst = new ParticleSystem(kBurstDuration, kBurstRate, kBurstParticleLifetime,
                                     kBurstBaseVelocity, kBurstSpare);
    burst->particleColour = kBurstColour;
    burst->particleSize = kBurstParticleSize;
    burst->emissionTime = kBurstEmissionTime;
    position = actor->getGlobalPosition();
    burst->setPosition(position);
    silence();
    Audio::play(sound::Sound::Explosion, position);
    if (sceneList != nullptr) {
        sceneList->attach(burst);
    }
    visible = false;
    PhysicsWorld* physics = Engine::getInstance()->physics;
    if (physics != nullptr) {
        physics->releaseActor(actor);
    }
    actor = nullptr;
    unlink();
}
