// ParticleSystem: an invisible emitter that sprays particles from where it stands for a while,
// keeps them updated, hides the dead ones and, when its time is up, removes them and itself.
// Explosions of rockets and dying sheep are made of these.
#pragma once

#include "Object3D.h"

#include <vector>

class Particle;

class ParticleSystem : public Object3D {
public:
    // Emission cap per system (checked before each batch, so one batch may pass it).
    static constexpr int kMaxParticles = 200;

    // An emitter of `rate` particles per second that ends `duration` seconds after it starts.
    // `spare` is kept for creators that pass it and read nowhere.
    ParticleSystem(float duration, int rate, float particleLifetime, const Vector3D& baseVelocity,
                   float spare);

    // The emitter itself has no look.
    void draw() override {}
    // Emits while young, updates the particles and hides dead ones, ends when its time is up.
    void update(float dt) override;

    // Sends off one particle from the system's position and puts it into the scene list.
    void emit();
    // Hides the system, releases and frees every particle, and leaves the scene list.
    void end();

    float emissionTime = 5.0f;
    std::vector<Particle*> particles;
    Vector3D particleColour{1.0f, 0.3f, 0.3f};
    float particleSize = 0.8f;
    float duration;
    float age = 0.0f;
    int rate;
    Vector3D baseVelocity;
    float spare;
    float particleLifetime;
    float angle = 0.0f;
    int maxParticles = kMaxParticles;
    int emitted = 0;
    float emitAccumulator = 0.0f;

private:
    void emitBatch(float dt);
    void updateParticles(float dt);
    // Links a new particle into the scene list.
    void list(Particle* particle);
};
