// The game cycle and its input step.
#include "Engine.h"

#include "Audio.h"
#include "Camera.h"
#include "FBXModel.h"
#include "HUD.h"
#include "InputManager.h"
#include "List.h"
#include "Logfile.h"
#include "Object3D.h"
#include "Program.h"
#include "Renderer.h"
#include "RuleSet.h"
#include "Scene.h"
#include "SettingsFile.h"
#include "Timer.h"

#include <GL/gl.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

static const char* const kVboExtension = "GL_ARB_vertex_buffer_object";
static const char* const kWonText = "you won the game. hooray. press ESC to exit.";
static const char* const kLostText = "you lost. hah. press ESC to exit.";
static constexpr float kResultSeconds = 1000.0f;
static constexpr int kNearClip = 1;
static constexpr int kFarClip = 10000;
// Firing: launch speed along the facing, the upward part and how much looking up adds to it,
// and where the rocket starts relative to the herder.
static constexpr float kLaunchForward = 40.0f;
static constexpr float kLaunchUp = 5.0f;
static constexpr float kLaunchPitchFactor = 8.0f;
static constexpr float kLaunchBehind = 0.4f;
static constexpr float kLaunchAbove = 2.5f;
// The mouse factors and the game speed are small numbers in any playable settings file; larger
// ones are clamped to this magnitude (and logged) before they scale anything.
static constexpr int kMaxSettingMagnitude = 10000;
static constexpr int kMaxVolume = 100;

// The setting within +-kMaxSettingMagnitude; a value outside gets a log line.
static int saneSetting(const char* name, int value) {
    const int clamped = std::clamp(value, -kMaxSettingMagnitude, kMaxSettingMagnitude);
    if (clamped != value) {
        const std::string line = std::string("setting ") + name + "=" + std::to_string(value) +
                                 " is out of range, using " + std::to_string(clamped);
        Logfile::appendLine(line.c_str());
    }
    return clamped;
}

// The volume within 0 to 100; a value outside gets a log line.
static int saneVolume(int value) {
    const int clamped = std::clamp(value, 0, kMaxVolume);
    if (clamped != value) {
        Logfile::appendLine(("setting I_VOLUME=" + std::to_string(value) +
                             " is out of range, using " + std::to_string(clamped))
                                .c_str());
    }
    return clamped;
}

Engine::Engine() {
    Renderer::nearClip = kNearClip;
    Renderer::farClip = kFarClip;
    hasVertexBufferObjects = isExtensionSupported(kVboExtension);
    rules = &RuleSet::classic();
}

void Engine::readSettings() {
    if (settings_ == nullptr) {
        return;
    }
    mouseSensPitch = saneSetting("I_MOUSE_SENSPITCH", settings_->getInt("I_MOUSE_SENSPITCH"));
    mouseSensYaw = saneSetting("I_MOUSE_SENSYAW", settings_->getInt("I_MOUSE_SENSYAW"));
    gameSpeed = saneSetting("GAME_SPEED", settings_->getInt("GAME_SPEED"));
    rules = &RuleSet::forSetting(settings_->getInt("I_RULES"));
    Logfile::appendLine((std::string("playing the ") + rules->name() + " rules").c_str());
    volume = saneVolume(settings_->getInt("I_VOLUME"));
}

bool Engine::extensionListHas(const char* list, const char* name) {
    if (list == nullptr || name == nullptr || *name == '\0' || std::strchr(name, ' ') != nullptr) {
        return false;
    }
    const size_t length = std::strlen(name);
    const char* from = list;
    while (const char* hit = std::strstr(from, name)) {
        const bool startsWord = (hit == list || hit[-1] == ' ');
        const char end = hit[length];
        if (startsWord && (end == ' ' || end == '\0')) {
            return true;
        }
        from = hit + length;
    }
    return false;
}

bool Engine::isExtensionSupported(const char* name) const {
    const GLubyte* list = glGetString(GL_EXTENSIONS);
    return extensionListHas(reinterpret_cast<const char*>(list), name);
}

void Engine::gameCycle() {
    processInput();
    if (scene != nullptr) {
        scene->update();
    }
    if (renderer != nullptr) {
        renderer->render();
    }
    Logfile::getInstance()->traceGlError("gameCycle end");
    frameCount += 1;
}

// Turning by keys and mouse, by the rules in force. The mouse factors are paired crosswise on
// purpose (the one named for yaw scales the vertical motion): the settings files in use are tuned
// to it.
void Engine::turnAndLook(Object3D* herder, float dt) {
    const InputManager* input = InputManager::getInstance();
    if (input->turnLeftHeld || input->tapped(InputManager::kTurnLeft)) {
        herder->turn(rules->keyTurn(1.0f, dt));
    }
    if (input->turnRightHeld || input->tapped(InputManager::kTurnRight)) {
        herder->turn(rules->keyTurn(-1.0f, dt));
    }
    if (input->mouseMoved) {
        Camera* camera = renderer != nullptr ? renderer->getCamera() : nullptr;
        if (camera != nullptr) {
            camera->height += rules->mouseLook(input->mouseDy, mouseSensYaw, dt);
        }
        herder->turn(rules->mouseTurn(input->mouseDx, mouseSensPitch, dt));
    }
}

// Walking: the keys' directions are summed (W and S cancel); a key pressed and released since
// the last step counts as held for this one. How far the sum takes the herder is the rules'.
void Engine::walk(Object3D* herder, float dt) {
    InputManager* input = InputManager::getInstance();
    Vector3D keys(0, 0, 0);
    const Vector3D forward = herder->getDirection();
    bool moved = false;
    if (input->forwardHeld || input->tapped(InputManager::kForward)) {
        keys = forward;
        moved = true;
    }
    if (input->backHeld || input->tapped(InputManager::kBack)) {
        keys = keys + forward * -1.0f;
        moved = true;
    }
    const Vector3D side = Vector3D::cross(forward, herder->up) * -1.0f;
    if (input->strafeLeftHeld || input->tapped(InputManager::kStrafeLeft)) {
        keys = keys + side;
        moved = true;
    }
    if (input->strafeRightHeld || input->tapped(InputManager::kStrafeRight)) {
        keys = keys + side * -1.0f;
        moved = true;
    }
    input->clearTaps();
    herder->staticPose = !moved;
    footsteps(herder->getPosition(), moved);
    lastMove = rules->walkDisplacement(keys, dt, gameSpeed);
    herder->moveControllerBy(lastMove * RuleSet::kControllerShare);
}

// A rocket leaves from above the herder's head, a little behind it so that it clears the
// herder's own capsule, and climbs more as the camera sinks (and so looks further up).
void Engine::launch(const Object3D* herder, Vector3D* start, Vector3D* direction) const {
    const Camera* camera = renderer != nullptr ? renderer->getCamera() : nullptr;
    const float pitch = camera != nullptr ? camera->height : 0.0f;
    const Vector3D facing = herder->getDirection();
    *direction =
        facing * kLaunchForward + Vector3D(0.0f, kLaunchUp - kLaunchPitchFactor * pitch, 0.0f);
    *start = herder->getPosition() + facing * -kLaunchBehind + Vector3D(0.0f, kLaunchAbove, 0.0f);
}

// Drops a marker ball at the herder and logs where it is.
void Engine::placeMarker(Object3D* herder) {
    Object3D* marker = new Object3D();
    marker->setModel(scene->getBallModel());
    marker->setPosition(herder->getPosition());
    scene->getSceneList()->attach(marker);
    herder->getPosition().log();
}

void Engine::processInput() {
    InputManager* input = InputManager::getInstance();
    pathSearch = input->pathSearch;
    Object3D* herder = scene != nullptr ? scene->getPlayer() : nullptr;
    if (herder != nullptr) {
        const float dt = scene->getTimer() != nullptr ? scene->getTimer()->getFrameTime() : 0.0f;
        turnAndLook(herder, dt);
        walk(herder, dt);
    }
    if (input->herdRequested) {
        input->herdRequested = false;
        if (herder != nullptr) {
            scene->herdTo(herder->getPosition());
        }
    }
    if (input->fireRequested) {
        input->fireRequested = false;
        if (herder != nullptr) {
            Vector3D start, direction;
            launch(herder, &start, &direction);
            scene->fireRocket(start, direction);
        }
    }
    if (input->wireframe) {
        glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
    } else {
        glPolygonMode(GL_FRONT, GL_FILL);
    }
    if (renderer != nullptr) {
        renderer->showDebug = input->switchF9;
    }
    if (scene != nullptr && !scene->getModels().empty()) {
        scene->getModels().front()->visible = !input->hideModelF2;
    }
    if (input->placeMarker) {
        input->placeMarker = false;
        if (herder != nullptr) {
            placeMarker(herder);
        }
    }
    playAgainIfAsked();
}

// The footsteps loop runs while the herder walks and follows him.
void Engine::footsteps(const Vector3D& at, bool walking) {
    if (walking && footsteps_ == 0) {
        footsteps_ = Audio::startLoop(sound::Sound::Footsteps, at);
    } else if (!walking && footsteps_ != 0) {
        Audio::stopLoop(footsteps_);
        footsteps_ = 0;
    }
    Audio::moveLoop(footsteps_, at);
}

// "R" after a decided game starts a fresh one, where the rules offer it; elsewhere it is ignored.
void Engine::playAgainIfAsked() {
    InputManager* input = InputManager::getInstance();
    if (!input->playAgainRequested) {
        return;
    }
    input->playAgainRequested = false;
    if (rules->aimingAids() && scene != nullptr && scene->getOutcome() != Outcome::Open) {
        Logfile::appendLine("playing again");
        Program::restart();
    }
}

void Engine::showResult(bool won) {
    HUD::showMessage(won ? kWonText : kLostText, kResultSeconds);
}
