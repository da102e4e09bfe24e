// Scene: the one level of the game. It owns the scene list (every drawable and updatable object),
// the HUD, the frame timer and the clocks, and runs the per-frame world update.
#pragma once

#include "LevelFacts.h"
#include "RuleSet.h"
#include "Vector3D.h"

#include <memory>
#include <vector>

class AISheep;
class AIWolf;
class FBXModel;
class HUD;
class List;
class ModelReader;
class Node;
class Object3D;
class Timer;
class WaypointGraph;

class Scene {
public:
    // A fired rocket's push-off force per unit of its launch direction.
    static constexpr float kRocketPush = 30.0f;

    // Builds the whole level (init) and starts the per-frame clocks. The models are read by
    // `reader` (program entry forks its child early), or by a reader of the level's own; the
    // level holds it until its models are loaded.
    explicit Scene(std::unique_ptr<ModelReader> reader);
    Scene();
    ~Scene();
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    // Builds the level: models, scenery with its collision, goal marker, herder, HUD, flag,
    // timer. A failure is logged and the level goes on with what it has.
    void init();
    // Called once after the graphics start-up: brings the render mode in line with the input.
    void prepare();
    // The per-frame world update: timing, controllers, physics and the rules over its touches,
    // clocks, render mode, animation, then every object of the list.
    void update();

    void setFrameTime(float dt) { frameTime_ = dt; }
    float getFrameTime() const { return frameTime_; }
    List* getSceneList() const { return sceneList_; }
    Object3D* getPlayer() const { return player_; }
    // Replaces the herder the camera follows (not owned).
    void setPlayer(Object3D* player) { player_ = player; }
    HUD* getHud() const { return hud_; }
    Timer* getTimer() const { return timer_; }
    // The canyon's waypoint graph, made by prepare().
    WaypointGraph* getWaypoints() const { return waypoints_; }
    float getGameSeconds() const { return gameSeconds_; }
    int getWolfCount() const { return wolfCount_; }
    int getSheepCount() const { return sheepCount_; }
    // The six sheep in creation order, dead ones included.
    const std::vector<AISheep*>& getSheep() const { return sheep_; }
    // Entries of the sheep list standing closer than `radius` to `point`.
    int sheepWithin(const Vector3D& point, float radius) const;
    // Living sheep standing closer than `radius` to `point`.
    int livingSheepWithin(const Vector3D& point, float radius) const;
    // A sheep has died: one fewer is left.
    void sheepDied() { sheepCount_ -= 1; }
    // A rocket has killed a wolf.
    void wolfKilled() { wolvesKilled_ += 1; }
    int getWolvesKilled() const { return wolvesKilled_; }
    // The goal marker's test, once a cycle: asks the rules how the game stands around `goal`,
    // shows the result while it is decided, logs each outcome the first time it comes, and holds
    // it for good where the rules latch it.
    void judgeGoal(const Vector3D& goal);
    // The game as last judged.
    Outcome getOutcome() const { return outcome_; }
    // The goal marker ("FIN").
    Object3D* getGoal() const { return goal_; }
    const std::vector<FBXModel*>& getModels() const { return models_; }
    FBXModel* getBallModel() const { return ballModel_; }
    Object3D* getFlag() const { return flag_; }
    int getLastRenderMode() const { return lastRenderMode_; }
    // Fires a rocket from `position`, pushed along `direction`; it is named, listed and kept.
    void fireRocket(Vector3D position, Vector3D direction);
    // Where a rocket fired now would land (or be when it expires); false without a herder or
    // physics.
    bool aimPoint(Vector3D* at) const;
    // The rockets fired and not yet expired (exploded ones stay).
    std::vector<Object3D*>& getRockets() { return rockets_; }
    // Rockets fired so far in this run.
    int getRocketCount() const { return rocketCount_; }
    // The herd command: every active sheep heads for a point near target; the flag goes to the
    // herder. With path search on, sheep held by a wolf are left out and the rest walk the graph.
    void herdTo(const Vector3D& target);
    // A new wolf 11 to 20 units off the herder towards negative x and z, 10 units up; the game
    // clock calls it every 30 s.
    void spawnWolf();
    // Every wolf spawned so far, dead ones included, in spawn order (the scene list owns them).
    const std::vector<AIWolf*>& getWolves() const { return wolves_; }

private:
    // Appends to the scene list; the first node appended becomes its head.
    void append(Node* node);
    void loadModels();
    void placeScenery();
    // A static piece of the level: its cooked mesh turned and moved into place.
    Object3D* scenery(const char* name, FBXModel* model, int group,
                      const level::Placement& placement);
    void placeGoal(const Object3D* plant);
    void placeHerder();
    // The flock counters of the HUD, where the rules show them.
    void countFlock();
    // The log line and the HUD summary of a decided game.
    void reportOutcome(Outcome outcome);
    void placeSheep();
    // Tells every model the input's render mode (buffer objects need the driver's support).
    void setRenderModes();
    // The same, only when the mode has changed since the last time.
    void applyRenderMode();
    // Moves every active object that has a character controller.
    void moveControllers(float dt);
    // Once a second: the FPS figure and the game clock, and every 30 s a wolf.
    void countSecond();

    List* sceneList_ = nullptr;
    Object3D* player_ = nullptr;
    Object3D* flag_ = nullptr;
    float frameTime_ = 0.0f;
    HUD* hud_ = nullptr;
    float gameSeconds_ = 0.0f;
    int wolfCount_ = 0;
    std::vector<AISheep*> sheep_;
    std::vector<Object3D*> spareObjects_[2];
    FBXModel* rocketModel_ = nullptr;
    FBXModel* flagModel_ = nullptr;
    FBXModel* ballModel_ = nullptr;
    FBXModel* wolfModel_ = nullptr;
    std::vector<FBXModel*> models_;
    std::unique_ptr<ModelReader> reader_;
    int lastRenderMode_ = 0;
    float animationClock_ = 0.0f;
    int sheepCount_ = 0;
    WaypointGraph* waypoints_ = nullptr;
    Timer* timer_ = nullptr;
    float framesThisSecond_ = 0.0f;
    float fpsClock_ = 0.0f;
    int spare_ = 0;
    float physicsClock_ = 0.0f;
    // Numbers the rockets' names; never reset.
    int rocketCount_ = 0;
    std::vector<Object3D*> rockets_;
    std::vector<AIWolf*> wolves_;
    Object3D* goal_ = nullptr;
    FBXModel* foldModel_ = nullptr;
    int wolvesKilled_ = 0;
    Outcome outcome_ = Outcome::Open;
    // Each outcome is logged once, the first time it is judged.
    bool loggedWon_ = false;
    bool loggedLost_ = false;
};
