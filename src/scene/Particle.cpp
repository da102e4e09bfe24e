// A particle: a tiny physics body that carries a fading, additively blended sphere.
#include "Particle.h"

#include "Engine.h"
#include "Node.h"
#include "PhysicsActor.h"
#include "PhysicsWorld.h"
#include "Renderer.h"
#include "SphereList.h"

#include <GL/freeglut.h>

// The body: a capsule barely longer than a point, so that it tumbles like a ball.
static constexpr float kBodyHeight = 0.001f;
static constexpr float kBodyRadius = 0.05f;
// Culling sphere; generous, since the drawn sphere is bigger than the body.
static constexpr float kCullRadius = 2.0f;
// Alpha at birth; it falls linearly to zero at the end of the lifetime.
static constexpr float kBirthAlpha = 0.5f;
static constexpr int kSlices = 12;
static constexpr int kStacks = 8;

Particle::Particle(const Vector3D& position, float lifetime, const Vector3D& initialVelocity,
                   float size, const Vector3D& colour)
    : size(size), sphereColour(colour), lifetime(lifetime), initialVelocity(initialVelocity) {
    this->position = position;
    layer = Layer::kBlended;
    cullRadius = kCullRadius;
    createCapsuleActor(kBodyHeight, kBodyRadius);
    if (actor != nullptr) {
        // Particles pass through each other and the canyon, which keeps bursts cheap.
        actor->shapeGroup = ShapeGroup::kParticle;
        actor->setGlobalPosition(position);
        actor->addForce(initialVelocity);
        actor->userData = this;
    }
}

void Particle::update(float dt) {
    if (!alive) {
        return;
    }
    Object3D::update(dt);
    age += dt;
    if (age > lifetime) {
        alive = false;
    }
}

void Particle::draw() {
    // The system hides dead particles; the sphere itself only asks the frustum.
    if (culled()) {
        return;
    }
    applyTransform();
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE);
    // Overlapping glows add up instead of hiding each other.
    glDepthMask(GL_FALSE);
    glEnable(GL_COLOR_MATERIAL);
    glColorMaterial(GL_FRONT_AND_BACK, GL_AMBIENT_AND_DIFFUSE);
    glColor4f(sphereColour.x, sphereColour.y, sphereColour.z,
              kBirthAlpha - (age / lifetime) / 2.0f);
    SphereList::drawOnScreen(size, kSlices, kStacks);
    glColor4f(1.0f, 1.0f, 1.0f, 1.0f);
    glDisable(GL_COLOR_MATERIAL);
    glMaterialfv(GL_FRONT, GL_AMBIENT, Renderer::kDefaultMaterialAmbient);
    glDisable(GL_BLEND);
    glDepthMask(GL_TRUE);
}

void Particle::release() {
    PhysicsWorld* physics = Engine::getInstance()->physics;
    if (actor != nullptr && physics != nullptr) {
        physics->releaseActor(actor);
    }
    actor = nullptr;
    unlink();
}
