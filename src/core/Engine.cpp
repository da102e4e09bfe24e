// The game cycle and its input step.
#include "Engine.h"

#include "Camera.h"
#include "FBXModel.h"
#include "HUD.h"
#include "InputManager.h"
#include "List.h"
#include "Logfile.h"
#include "Object3D.h"
#include "Renderer.h"
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
// Input step: degrees per second of turning, walk factor, controller factor.
static constexpr float kTurnRate = 20.0f;
static constexpr float kWalkFactor = 3.0f;
static constexpr float kControllerFactor = 0.8f;
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

Engine::Engine() {
    Renderer::nearClip = kNearClip;
    Renderer::farClip = kFarClip;
    hasVertexBufferObjects = isExtensionSupported(kVboExtension);
}

void Engine::readSettings() {
    if (settings_ == nullptr) {
        return;
    }
    mouseSensPitch = saneSetting("I_MOUSE_SENSPITCH", settings_->getInt("I_MOUSE_SENSPITCH"));
    mouseSensYaw = saneSetting("I_MOUSE_SENSYAW", settings_->getInt("I_MOUSE_SENSYAW"));
    gameSpeed = saneSetting("GAME_SPEED", settings_->getInt("GAME_SPEED"));
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

// Turning by keys and mouse. The mouse factors are paired crosswise on purpose (the one named
// for yaw scales the vertical motion), and the integer arithmetic truncates as it always has:
// the settings files in use are tuned to it. Products are taken in 64 bits, where no pair of
// ints can overflow, whatever the factors were set to.
void Engine::turnAndLook(Object3D* herder, float dt) {
    const InputManager* input = InputManager::getInstance();
    if (input->turnLeftHeld) {
        herder->turn(kTurnRate * dt);
    }
    if (input->turnRightHeld) {
        herder->turn(-kTurnRate * dt);
    }
    if (input->mouseMoved) {
        Camera* camera = renderer != nullptr ? renderer->getCamera() : nullptr;
        if (camera != nullptr) {
            const int64_t look = int64_t{input->mouseDy} * mouseSensYaw / 10;
            camera->height += dt * static_cast<float>(look);
        }
        herder->turn(dt * static_cast<float>(-int64_t{mouseSensPitch} * input->mouseDx));
    }
}

// Walking: the keys' directions are summed without normalising (W and A together are faster),
// and the result is a displacement per cycle, not per second.
void Engine::walk(Object3D* herder) {
    const InputManager* input = InputManager::getInstance();
    Vector3D move(0, 0, 0);
    const Vector3D forward = herder->getDirection();
    bool moved = false;
    if (input->forwardHeld) {
        move = forward;
        moved = true;
    }
    if (input->backHeld) {
        move = move + forward * -1.0f;
        moved = true;
    }
    const Vector3D side = Vector3D::cross(forward, herder->up) * -1.0f;
    if (input->strafeLeftHeld) {
        move = move + side;
        moved = true;
    }
    if (input->strafeRightHeld) {
        move = move + side * -1.0f;
        moved = true;
    }
    herder->staticPose = !moved;
    move *= kWalkFactor;
    lastMove = move;
    herder->moveControllerBy(move * kControllerFactor);
}

// A rocket leaves from above the herder's head, a little behind it so that it clears the
// herder's own capsule, and climbs more as the camera sinks (and so looks further up).
static void fireFrom(Scene* scene, const Object3D* herder, const Renderer* renderer) {
    const Camera* camera = renderer != nullptr ? renderer->getCamera() : nullptr;
    const float pitch = camera != nullptr ? camera->height : 0.0f;
    const Vector3D facing = herder->getDirection();
    const Vector3D direction =
        facing * kLaunchForward + Vector3D(0.0f, kLaunchUp - kLaunchPitchFactor * pitch, 0.0f);
    const Vector3D start =
        herder->getPosition() + facing * -kLaunchBehind + Vector3D(0.0f, kLaunchAbove, 0.0f);
    scene->fireRocket(start, direction);
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
        walk(herder);
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
            fireFrom(scene, herder, renderer);
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
}

void Engine::showResult(bool won) {
    HUD::showMessage(won ? kWonText : kLostText, kResultSeconds);
}
