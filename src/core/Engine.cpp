// The game cycle and its input step.
#include "Engine.h"

#include "HUD.h"
#include "InputManager.h"
#include "Logfile.h"
#include "Renderer.h"
#include "Scene.h"
#include "SettingsFile.h"

#include <GL/gl.h>

#include <cstring>

static const char* const kVboExtension = "GL_ARB_vertex_buffer_object";
static const char* const kWonText = "you won the game. hooray. press ESC to exit.";
static const char* const kLostText = "you lost. hah. press ESC to exit.";
static constexpr float kResultSeconds = 1000.0f;
static constexpr int kNearClip = 1;
static constexpr int kFarClip = 10000;

Engine::Engine() {
    Renderer::nearClip = kNearClip;
    Renderer::farClip = kFarClip;
    hasVertexBufferObjects = isExtensionSupported(kVboExtension);
}

void Engine::readSettings() {
    if (settings_ == nullptr) {
        return;
    }
    mouseSensPitch = settings_->getInt("I_MOUSE_SENSPITCH");
    mouseSensYaw = settings_->getInt("I_MOUSE_SENSYAW");
    gameSpeed = settings_->getInt("GAME_SPEED");
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

void Engine::processInput() {
    InputManager* input = InputManager::getInstance();
    pathSearch = input->pathSearch;
    if (input->wireframe) {
        glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
    } else {
        glPolygonMode(GL_FRONT, GL_FILL);
    }
    if (renderer != nullptr) {
        renderer->showDebug = input->switchF9;
    }
}

void Engine::showResult(bool won) {
    HUD::showMessage(won ? kWonText : kLostText, kResultSeconds);
}
