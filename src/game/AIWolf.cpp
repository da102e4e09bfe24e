// Wolves: prey choice, hunting directly or by path, the catch, wounds and death.
#include "AIWolf.h"

#include "AISheep.h"
#include "CharacterController.h"
#include "Engine.h"
#include "HUD.h"
#include "LevelFacts.h"
#include "Logfile.h"
#include "PhysicsWorld.h"
#include "Scene.h"

#include <cstdlib>

// Once a path hunt has fewer points left than this, the wolf runs straight at its prey.
static constexpr int kDirectChasePoints = 4;
static constexpr int kRepathWrap = 20;
static constexpr float kMessageSeconds = 2.0f;

const Vector3D AIWolf::den = level::kDen;

// A level without sheep never spawns wolves; should one be made there anyway, it stands idle.
AIWolf::AIWolf(Scene* owner) : scene(owner) {
    const std::vector<AISheep*>& flock = scene->getSheep();
    AISheep* chosen =
        flock.empty() ? nullptr : flock[static_cast<size_t>(std::rand()) % flock.size()];
    if (chosen == nullptr) {
        Logfile::appendLine("wolf without sheep to hunt");
    } else if (Engine::getInstance()->pathSearch) {
        prey = chosen;
        huntingByPath = true;
        goViaPath(chosen->getPosition());
    } else {
        follow(chosen);
    }
    setSpeed(1.0f);
    hitPoints = kFullHitPoints;
    living = true;
    type = kWolf;
    repathCounter = 0;
}

AIWolf::~AIWolf() = default;

void AIWolf::update(float dt) {
    if (!living) {
        return;
    }
    if (Engine::getInstance()->pathSearch) {
        repathCounter += 1;
        if (huntingByPath) {
            if (pathLength() < kDirectChasePoints) {
                huntingByPath = false;
                follow(prey);
            }
            repathCounter = 0;
        }
        repathCounter %= kRepathWrap;
    }
    AIObject3D::update(dt);
    if (hitPoints <= 0.0f) {
        die();
    }
}

void AIWolf::announce(const std::string& text) {
    Logfile::getInstance()->write(text);
    HUD::showMessage(text, kMessageSeconds);
}

void AIWolf::hit(float damage) {
    hitPoints -= damage;
    announce("wolf " + name + " hit.\n");
}

void AIWolf::die() {
    announce("wolf " + name + " died.\n");
    PhysicsWorld* physics = Engine::getInstance()->physics;
    if (controller != nullptr && physics != nullptr) {
        physics->releaseController(controller);
    }
    controller = nullptr;
    unlink();
    living = false;
}

// With path search the sheep remembers who holds it, so the herd command leaves it be.
void AIWolf::seize(AISheep* sheep, bool pathSearch) {
    if (pathSearch) {
        sheep->heldByWolf = true;
        sheep->holder = this;
        huntingByPath = false;
    }
    sheep->follow(this);
    stopFollowing();
    if (pathSearch) {
        goViaPath(den);
    } else {
        setGoal(den);
    }
}
