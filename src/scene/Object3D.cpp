// The base scene object: transform from its physics body or its own state, material overrides,
// culling against the view frustum, and free flight for objects without a body.
#include "Object3D.h"

#include "Camera.h"
#include "CharacterController.h"
#include "Engine.h"
#include "FBXModel.h"
#include "InputManager.h"
#include "LevelFacts.h"
#include "PhysicsActor.h"
#include "PhysicsWorld.h"
#include "Renderer.h"
#include "Scene.h"
#include "ViewFrustum.h"

#include <cmath>

static constexpr float kPi = 3.1415927f;
// Controller moves: walk speed factor, collision with level and controllers, minimum distance.
static constexpr float kWalkFactor = 5.0f;
static constexpr unsigned kControllerGroups =
    PhysicsWorld::kLevelGeometryBit | PhysicsWorld::kControllerBit;
static constexpr float kMinMoveDistance = 0.0000001f;
static constexpr float kSharpness = 1.0f;
// The herder's model faces -x; this turn makes it face its heading.
static constexpr float kHerderModelTurn = -90.0f;

Object3D::Object3D() {
    active = true;
}

void Object3D::setColour(float r, float g, float b, float a) {
    colour[0] = r;
    colour[1] = g;
    colour[2] = b;
    colour[3] = a;
    useColour = true;
}

static void setFour(GLfloat* out, float r, float g, float b, float a) {
    out[0] = r;
    out[1] = g;
    out[2] = b;
    out[3] = a;
}

void Object3D::setAmbient(float r, float g, float b, float a) {
    setFour(ambient, r, g, b, a);
    useAmbient = true;
}

void Object3D::setDiffuse(float r, float g, float b, float a) {
    setFour(diffuse, r, g, b, a);
    useDiffuse = true;
}

void Object3D::setSpecular(float r, float g, float b, float a) {
    setFour(specular, r, g, b, a);
    useSpecular = true;
}

void Object3D::setShininess(float s) {
    shininess = s;
    useShininess = true;
}

void Object3D::createCapsuleActor(float height, float radius) {
    PhysicsWorld* physics = Engine::getInstance()->physics;
    if (physics != nullptr) {
        actor = physics->createCapsuleActor(this, height, radius);
    }
}

void Object3D::createController(float height, float radius) {
    PhysicsWorld* physics = Engine::getInstance()->physics;
    if (physics == nullptr) {
        return;
    }
    controller = physics->createController(this, height, radius);
    if (controller != nullptr) {
        controller->setPosition(Vector3D(position.x, position.y + height / 2.0f, position.z));
        controller->setCollision(true);
    }
}

void Object3D::moveController(float dt) {
    if (controller == nullptr) {
        return;
    }
    const float speed = static_cast<float>(Engine::getInstance()->gameSpeed);
    // Gravity is added as it is, once per cycle, not scaled by the frame time.
    const Vector3D displacement = walkVector * (dt * kWalkFactor * speed) + PhysicsWorld::gravity();
    moveControllerBy(displacement);
}

void Object3D::moveControllerBy(const Vector3D& displacement) {
    if (controller != nullptr) {
        controller->move(displacement, kControllerGroups, kMinMoveDistance, kSharpness);
    }
}

void Object3D::rotateActor(float degrees) {
    if (actor != nullptr) {
        actor->setGlobalOrientationY(degrees);
    }
}

void Object3D::stop() {
    velocity = Vector3D(0, 0, 0);
    acceleration = Vector3D(0, 0, 0);
    stopped = true;
}

void Object3D::turn(float degrees) {
    const float a = degrees * kPi / 180.0f;
    const float c = std::cos(a), s = std::sin(a);
    const Vector3D d = direction;
    direction.x = c * d.x + s * d.z;
    direction.z = -s * d.x + c * d.z;
    rotationY += degrees;
}

// The goal marker ends the game; the level judges it by the rules in force.
void Object3D::checkGoal() {
    Scene* scene = Engine::getInstance()->scene;
    if (scene != nullptr) {
        scene->judgeGoal(position);
    }
}

void Object3D::update(float dt) {
    if (type == kGoalMarker) {
        checkGoal();
        return;
    }
    if (controller != nullptr) {
        position = controller->getActor()->getGlobalPosition();
        walkVector = Vector3D(0, 0, 0);
        return;
    }
    if (actor != nullptr) {
        position = actor->getGlobalPosition();
        return;
    }
    velocity = velocity + acceleration * dt;
    previousPosition = position;
    position = position + velocity * dt;
}

void Object3D::applyTransform() {
    GLfloat pose[16];
    if (controller != nullptr) {
        controller->getActor()->getGlobalPose(pose);
        glMultMatrixf(pose);
        glTranslatef(0.0f, -level::kModelBelowCapsuleCentre, 0.0f);
        glRotatef(rotationX, 1, 0, 0);
        glRotatef(rotationY, 0, 1, 0);
        if (type == kHerder) {
            glRotatef(kHerderModelTurn, 0, 1, 0);
        }
        glRotatef(rotationZ, 0, 0, 1);
        return;
    }
    if (actor != nullptr) {
        actor->getGlobalPose(pose);
        glMultMatrixf(pose);
        return;
    }
    glTranslatef(position.x, position.y, position.z);
    glRotatef(rotationX, 1, 0, 0);
    glRotatef(rotationY, 0, 1, 0);
    glRotatef(rotationZ, 0, 0, 1);
}

bool Object3D::culled() const {
    if (!InputManager::getInstance()->switchF8 || cullRadius <= 0.0f) {
        return false;
    }
    const Renderer* renderer = Engine::getInstance()->renderer;
    if (renderer == nullptr || renderer->frustum == nullptr) {
        return false;
    }
    return renderer->frustum->sphereInFrustum(position, cullRadius) == ViewFrustum::kOutside;
}

void Object3D::draw() {
    if (!visible || culled()) {
        return;
    }
    glDisable(GL_COLOR_MATERIAL);
    applyTransform();
    apply(materialFace);
    if (model == nullptr) {
        return;
    }
    // The placement is on the modelview now, so the model's size on the screen can be read.
    FBXModel* shown =
        model->hasCoarser() ? model->forPixels(Camera::pixelRadius(model->radius())) : model;
    shown->apply(materialFace);
    if (staticPose && shown->hasStillPose) {
        shown->drawStill();
    } else {
        shown->draw();
    }
}
