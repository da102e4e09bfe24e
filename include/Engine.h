// Engine: ties the program together. It holds the renderer, the level and the settings-driven
// factors, and runs one game cycle per display event: input step, world update, frame.
#pragma once

#include "Singleton.h"
#include "Vector3D.h"

class Object3D;
class PhysicsWorld;
class Renderer;
class RuleSet;
class Scene;
class SettingsFile;

class Engine : public Singleton<Engine> {
public:
    // Sets the clip distances and tests for vertex buffer objects (needs a current GL context
    // to find them; without one the test says no).
    Engine();

    // Stores the settings reader (not owned) for readSettings.
    void setSettings(SettingsFile* settings) { settings_ = settings; }
    // Reads the mouse factors, game speed, rule set and volume, in file order; missing keys give 0
    // (the classic rules, silence).
    void readSettings();
    // Whether the GL extension string names `name` as a whole word.
    bool isExtensionSupported(const char* name) const;
    // Whole-word search of `name` in a blank-separated extension list (null list: false).
    static bool extensionListHas(const char* list, const char* name);
    // One display event: input step, world update, frame, frame count.
    void gameCycle();
    // The input step of the cycle.
    void processInput();
    // Where a rocket fired by the herder now starts, and the direction it is pushed along (the
    // facing, raised as the camera looks up).
    void launch(const Object3D* herder, Vector3D* start, Vector3D* direction) const;
    // Shows the end-of-game message; the game keeps running until ESC.
    void showResult(bool won);

    int mouseSensPitch = 1;
    int mouseSensYaw = 1;
    int gameSpeed = 1;
    bool pathSearch = false;
    Renderer* renderer = nullptr;
    PhysicsWorld* physics = nullptr;
    Scene* scene = nullptr;
    bool hasVertexBufferObjects = false;
    int frameCount = 0;
    // The herder's walk of the last input step, before the controller's share.
    Vector3D lastMove;
    // Sound volume, 0 (silent) to 100, from "I_VOLUME".
    int volume = 0;
    // The rules in force (never null): classic until the settings choose.
    const RuleSet* rules;

private:
    void turnAndLook(Object3D* herder, float dt);
    void walk(Object3D* herder, float dt);
    void playAgainIfAsked();
    void footsteps(const Vector3D& at, bool walking);
    void placeMarker(Object3D* herder);

    SettingsFile* settings_ = nullptr;
    // The herder's footsteps loop while he walks (0: quiet).
    int footsteps_ = 0;
};
