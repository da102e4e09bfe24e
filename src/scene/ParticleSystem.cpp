// The particle emitter: batches of particles per frame while it is young, their upkeep, and the
// clean-up that takes the particles and the emitter out of the world at the end.
#include "ParticleSystem.h"

#include "Engine.h"
#include "List.h"
#include "Particle.h"
#include "Scene.h"

#include <cmath>
#include <cstdlib>

// Each particle turns the emission angle on by this much (used as radians); past the limit the
// angle starts again from zero.
static constexpr float kAngleStep = 0.5f;
static constexpr float kAngleLimit = 360.0f;
// Spread of the emission around the vertical, the lift added to every particle, and the factor
// that turns the spread into a start velocity.
static constexpr int kRandomRange = 100;
static constexpr int kSideDivisor = 100;
static constexpr int kUpDivisor = 80;
static constexpr double kCentre = 0.5;
static constexpr float kSideReach = 2.0f;
static constexpr float kUpLift = 1.5f;
static constexpr float kSpeedFactor = 4.0f;

ParticleSystem::ParticleSystem(float duration, int rate, float particleLifetime,
                               const Vector3D& baseVelocity, float spare)
    : duration(duration), rate(rate), baseVelocity(baseVelocity), spare(spare),
      particleLifetime(particleLifetime) {
}

void ParticleSystem::update(float dt) {
    if (age <= emissionTime) {
        emitBatch(dt);
    }
    updateParticles(dt);
    age += dt;
    if (age > duration) {
        end();
    }
}

// The interval between batches is 1 / rate in whole numbers: one second for rate 1 and zero for
// anything faster, so fast emitters fire a batch every frame, sized to the time gathered. The
// cap is looked at before a batch only; the last batch may overshoot it.
void ParticleSystem::emitBatch(float dt) {
    emitAccumulator += dt;
    const float interval = static_cast<float>(1 / rate);
    if (emitAccumulator > interval && emitted < maxParticles) {
        const int count = static_cast<int>(std::ceil(static_cast<float>(rate) * emitAccumulator));
        for (int i = 0; i < count; ++i) {
            emit();
            ++emitted;
        }
        emitAccumulator = 0.0f;
    }
}

// Dead particles are only hidden here; they keep their place until the system ends.
void ParticleSystem::updateParticles(float dt) {
    for (Particle* particle : particles) {
        if (particle == nullptr) {
            continue;
        }
        particle->update(dt);
        if (!particle->isAlive()) {
            particle->visible = false;
        }
    }
}

// The quotients below are whole-number divisions on purpose: the sideways parts always come out
// as -sin and -cos of the angle (a ring that turns with every particle) and the upward part
// jumps only for one random value in five. That is the look of the bursts.
void ParticleSystem::emit() {
    angle += kAngleStep;
    if (angle > kAngleLimit) {
        angle = 0.0f;
    }
    const float x = static_cast<float>(((std::rand() % kRandomRange) / kSideDivisor - kCentre) *
                                       std::sin(angle) * kSideReach);
    const float y = static_cast<float>(
        ((std::rand() % kRandomRange) / kUpDivisor - kCentre) * std::tan(angle) + kUpLift);
    const float z = static_cast<float>(((std::rand() % kRandomRange) / kSideDivisor - kCentre) *
                                       std::cos(angle) * kSideReach);
    const Vector3D velocity = baseVelocity + Vector3D(x, y, z) * kSpeedFactor;
    auto* particle =
        new Particle(position, particleLifetime, velocity, particleSize, particleColour);
    particles.push_back(particle);
    list(particle);
}

// A particle goes into the ring just before its system. The scene list updates its ring in one
// walk that remembers only the node after the current one: when the system ends in its own
// update and takes its particles out, none of them may be that node. Placed before the system,
// they all lie behind the walk. A system that is not in a ring gives its particles to the end
// of the level's list.
void ParticleSystem::list(Particle* particle) {
    if (next != this && next != nullptr && prev != nullptr) {
        particle->prev = prev;
        particle->next = this;
        prev->next = particle;
        prev = particle;
        return;
    }
    Scene* scene = Engine::getInstance()->scene;
    if (scene != nullptr && scene->getSceneList() != nullptr) {
        scene->getSceneList()->attach(particle);
    }
}

// The particles belong to the system: once out of the physics world and the scene list nothing
// else refers to them, so they are freed here.
void ParticleSystem::end() {
    visible = false;
    for (Particle* particle : particles) {
        if (particle != nullptr) {
            particle->release();
            delete particle;
        }
    }
    particles.clear();
    unlink();
}
