// ParticleSweep: moving particles through a fixed step with a swept test against the level's
// static geometry only. Bullet's own swept test walks the whole broadphase, every other particle
// of a burst included, and took most of the world's update with a few hundred particles.
#pragma once

#include <LinearMath/btVector3.h>

#include <vector>

class btCollisionObject;
class btCollisionWorld;
class btRigidBody;
class PhysicsWorld;

// Whether the body is a particle's (its actor is in the particles' shape group).
bool isParticleBody(const btCollisionObject* body);

// A static body that particles collide with, and its bounds this step.
struct ParticleObstacle {
    const btCollisionObject* object;
    btVector3 min, max;
};

// The static bodies that particles collide with, by the world's shape-group table.
std::vector<ParticleObstacle> particleObstacles(const btCollisionWorld& world,
                                               const PhysicsWorld& groups);

// Integrates each active particle over the step as Bullet integrates a body with continuous
// collision detection: a move that would pass into an obstacle stops where it first touches,
// and the contact's response follows in the next step.
void integrateParticles(const std::vector<btRigidBody*>& particles,
                        const std::vector<ParticleObstacle>& obstacles, float timeStep,
                        float allowedPenetration);
