// Wolves: prey choice, hunting directly or by path, the catch, wounds and death.
#include "AIWolf.h"

#include "AISheep.h"
#include "Audio.h"
#include "CharacterController.h"
#include "Engine.h"
#include "HUD.h"
#include "LevelFacts.h"
#include "Logfile.h"
#include "PhysicsWorld.h"
#include "Scene.h"

#include <algorithm>
#include <cstdlib>
#include <string>

// Once a path hunt has fewer points left than this, the wolf runs straight at its prey.
static constexpr int kDirectChasePoints = 4;
static constexpr int kRepathWrap = 20;
static constexpr float kMessageSeconds = 2.0f;

const Vector3D AIWolf::den = level::kDen;

// The rules choose the prey. A level without sheep never spawns wolves; should one be made there
// anyway (or find nothing the rules let it hunt), it stands idle.
AIWolf::AIWolf(Scene* owner) : scene(owner) {
    AISheep* chosen = Engine::getInstance()->rules->choosePrey(scene->getSheep());
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

// " at second N" of the level's game clock, for the log.
static std::string atSecond(const Scene* scene) {
    const int second = scene != nullptr ? static_cast<int>(scene->getGameSeconds()) : 0;
    return " at second " + std::to_string(second);
}

void AIWolf::update(float dt) {
    if (!living) {
        return;
    }
    if (sated) {
        Logfile::appendLine(("wolf " + name + " left the level" + atSecond(scene)).c_str());
        leaveLevel();
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
    Audio::play(sound::Sound::WolfHit, position);
    announce("wolf " + name + " hit.\n");
}

void AIWolf::die() {
    announce("wolf " + name + " died.\n");
    Audio::play(sound::Sound::WolfDeath, position);
    if (scene != nullptr) {
        scene->wolfKilled();
        for (const AISheep* sheep : scene->getSheep()) {
            if (sheep->alive() && sheep->state == kFollowObject && sheep->targetObject == this) {
                Logfile::appendLine(
                    ("sheep " + sheep->name + " freed from " + name + atSecond(scene)).c_str());
            }
        }
    }
    leaveLevel();
}

void AIWolf::leaveLevel() {
    PhysicsWorld* physics = Engine::getInstance()->physics;
    if (controller != nullptr && physics != nullptr) {
        physics->releaseController(controller);
    }
    controller = nullptr;
    unlink();
    living = false;
}

// Called from the sheep's own update, where only the sheep may leave the scene list; the wolf
// leaves in its own.
void AIWolf::devour(AISheep* sheep) {
    Logfile::appendLine(
        ("sheep " + sheep->name + " devoured by " + name + atSecond(scene)).c_str());
    sheep->visible = false;
    sheep->remove();
    sated = true;
}

bool AIWolf::carriesASheep() const {
    if (scene == nullptr) {
        return false;
    }
    const std::vector<AISheep*>& flock = scene->getSheep();
    return std::any_of(flock.begin(), flock.end(),
                       [this](const AISheep* sheep) { return sheep->carrier() == this; });
}

// With path search the sheep remembers who holds it, so the herd command leaves it be.
// A sheep taken over from another wolf was seized already: only a free sheep's seizure is logged.
void AIWolf::seize(AISheep* sheep, bool pathSearch) {
    if (sheep->carrier() == nullptr) {
        Audio::play(sound::Sound::SheepBleat, sheep->getPosition());
        Logfile::appendLine(
            ("sheep " + sheep->name + " seized by " + name + atSecond(scene)).c_str());
    }
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
