// The level: its models, the objects placed in a fixed order, and the per-frame world update.
#include "Scene.h"

#include "AISheep.h"
#include "AIWolf.h"
#include "Audio.h"
#include "CharacterController.h"
#include "Engine.h"
#include "FBXModel.h"
#include "GameRules.h"
#include "HUD.h"
#include "InputManager.h"
#include "LevelFacts.h"
#include "List.h"
#include "Logfile.h"
#include "ModelReader.h"
#include "Object3D.h"
#include "PhysicsActor.h"
#include "PhysicsWorld.h"
#include "Rocket.h"
#include "Timer.h"
#include "WaypointGraph.h"

#include <GL/gl.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>

// fpsClock values above this count as "time has passed" for the mouse-motion reset.
static constexpr float kMotionResetEpsilon = 0.00001f;
// Wolves: one every this many game seconds, and where they appear relative to the herder
// (offsets rand() % kSpawnSpread - kSpawnBack on x and z).
static constexpr int kWolfInterval = 30;
static constexpr int kSpawnSpread = 10;
static constexpr float kSpawnBack = 20.0f;
static constexpr float kSpawnAbove = 10.0f;
// The herd command spreads the flock over goals rand() % kJitterSpread - kJitterBack off the
// target.
static constexpr int kJitterSpread = 3;
static constexpr float kJitterBack = 1.5f;
// Rockets: the scale a rocket is drawn at where the rules help aiming (three times the classic
// one: 1.2 units long, not a speck).
static constexpr float kRocketSeenScale = 3.0f * level::kRocketFlightScale;
// How long the aim follows a shot: as long as a rocket lives.
static constexpr float kAimSeconds = 5.0f;

Scene::Scene(std::unique_ptr<ModelReader> reader) : reader_(std::move(reader)) {
    init();
    spare_ = 0;
}

Scene::Scene() : Scene(nullptr) {
}

Scene::~Scene() = default;

void Scene::init() {
    physicsClock_ = 0.0f;
    std::srand(static_cast<unsigned>(std::time(nullptr)));
    Logfile::appendLine("initialising scene");
    hud_ = HUD::getInstance();
    gameSeconds_ = 0.0f;
    wolfCount_ = 0;
    sheepCount_ = 0;
    loadModels();
    Logfile::appendLine("initialising scene");
    placeScenery();
    placeHerder();
    placeSheep();
    reader_.reset(); // the level reads no more models: its reader child ends here
    append(hud_);
    flag_ = new Object3D();
    flag_->setModel(flagModel_);
    append(flag_);
    flag_->visible = false;

    timer_ = new Timer();
    if (!timer_->init()) {
        Logfile::appendLine("timer could not be initialised.");
    }
    framesThisSecond_ = 0.0f;
    fpsClock_ = 0.0f;
}

// The table's order, read ahead and loaded; the level's ten models keep their positions, and each
// coarser character stands in for the one before it.
void Scene::loadModels() {
    if (reader_ == nullptr) {
        reader_ = std::make_unique<ModelReader>();
    }
    std::vector<const level::ModelAsset*> assets(std::begin(level::kLevelModels),
                                                 std::end(level::kLevelModels));
    if (Engine::getInstance()->rules->showsFold()) {
        assets.push_back(&level::kFold);
    }
    std::vector<ModelReader::Request> ahead;
    for (const level::ModelAsset* asset : assets) {
        ahead.push_back({asset->file, asset->animated});
    }
    reader_->askAhead(ahead);
    for (const level::ModelAsset* asset : assets) {
        models_.push_back(new FBXModel(*reader_, *asset));
    }
    if (assets.back() == &level::kFold) {
        foldModel_ = models_.back();
        models_.pop_back();
    }
    ballModel_ = models_[0];
    flagModel_ = models_[3];
    rocketModel_ = models_[4];
    wolfModel_ = models_[9];
    models_[2]->setCoarser(models_[10], level::kCoarserBelowPixels[0]);
    models_[9]->setCoarser(models_[11], level::kCoarserBelowPixels[0]);
}

Object3D* Scene::scenery(const char* name, FBXModel* model, int group,
                         const level::Placement& placement) {
    Object3D* o = new Object3D();
    o->name = name;
    o->setModel(model);
    o->type = Object3D::kScenery;
    PhysicsWorld* physics = Engine::getInstance()->physics;
    o->actor = physics != nullptr ? physics->createStaticMesh(model) : nullptr;
    if (o->actor != nullptr) {
        o->actor->group = group;
        // Particles pass through the canyon's shapes.
        o->actor->shapeGroup =
            group == ActorGroup::kCanyon ? ShapeGroup::kCanyon : ShapeGroup::kDefault;
        o->actor->userData = o;
        if (placement.turnDegrees != 0.0f) {
            o->rotateActor(placement.turnDegrees);
        }
        o->actor->setGlobalPosition(placement.position);
    }
    return o;
}

// Terrain, sky, canyon, power plant and the goal marker, in this order.
void Scene::placeScenery() {
    append(scenery("terrain", models_[5], ActorGroup::kGround, level::kTerrainPlacement));
    Object3D* sky = new Object3D();
    sky->setModel(models_[6]);
    sky->setPosition(level::kSkyPlacement.position);
    sky->materialFace = GL_FRONT_AND_BACK;
    sky->layer = Layer::kSky;
    append(sky);
    append(scenery("canyon1", models_[7], ActorGroup::kCanyon, level::kCanyonPlacement));
    Object3D* plant =
        scenery("powerplant", models_[8], ActorGroup::kGround, level::kPowerPlantPlacement);
    append(plant);
    placeGoal(plant);
}

// The goal marker stands where the rules put it: classic, at the plant object's own position,
// which only its actor has left (the origin); shepherd, at the fold, whose model it shows.
void Scene::placeGoal(const Object3D* plant) {
    const RuleSet& rules = *Engine::getInstance()->rules;
    goal_ = new Object3D();
    goal_->name = "FIN";
    goal_->type = Object3D::kGoalMarker;
    goal_->setPosition(rules.goalPosition(plant->getPosition()));
    goal_->visible = true;
    if (rules.showsFold()) {
        goal_->setModel(foldModel_);
    }
    append(goal_);
}

void Scene::placeHerder() {
    player_ = new Object3D();
    player_->name = "playr";
    player_->setModel(models_[1]);
    player_->type = Object3D::kHerder;
    player_->setPosition(level::kHerderStart);
    player_->rotationAngle = 0.0f;
    append(player_);
    player_->createController(level::kHerderCapsule.height, level::kHerderCapsule.radius);
}

// Rockets point where the herder faces whatever the launch direction; the level keeps every
// rocket it fires until it expires.
void Scene::fireRocket(Vector3D position, Vector3D direction) {
    ++rocketCount_;
    Rocket* rocket = new Rocket(sceneList_);
    rocket->setModel(rocketModel_);
    rocket->setPosition(position);
    rocket->name = "rocket" + std::to_string(rocketCount_);
    const bool aids = Engine::getInstance()->rules->aimingAids();
    if (rocketModel_ != nullptr) {
        rocketModel_->scale = aids ? kRocketSeenScale : level::kRocketFlightScale;
    }
    rocket->leavesTrail = aids;
    if (player_ != nullptr) {
        rocket->setDirection(player_->getDirection());
    }
    rocket->launch(direction * kRocketPush);
    Audio::play(sound::Sound::RocketLaunch, position);
    rocket->flightSound = Audio::startLoop(sound::Sound::RocketFlight, position);
    append(rocket);
    rockets_.push_back(rocket);
}

bool Scene::aimPoint(Vector3D* at) const {
    const Engine* engine = Engine::getInstance();
    if (player_ == nullptr || engine->physics == nullptr) {
        return false;
    }
    Vector3D start, direction;
    engine->launch(player_, &start, &direction);
    engine->physics->traceFlight(start, Rocket::launchVelocity(direction * kRocketPush),
                                 kAimSeconds, at);
    return true;
}

// Six sheep in a row south of the goal, dropped from above the meadow.
void Scene::placeSheep() {
    for (int i = 0; i < level::kSheepCount; ++i) {
        AISheep* sheep = new AISheep(this);
        sheep->name = "sheep" + std::to_string(i);
        sheep->setModel(models_[2]);
        sheep->setPosition(level::sheepStart(i));
        sheep->rotationAngle = 90.0f;
        sheep->setCullRadius(0.1f);
        sheep->createController(level::kSheepCapsule.height, level::kSheepCapsule.radius);
        if (sheep->controller != nullptr) {
            sheep->controller->getActor()->group = ActorGroup::kSheep;
            sheep->controller->getActor()->userData = sheep;
        }
        append(sheep);
        sheep_.push_back(sheep);
        sheepCount_ += 1;
    }
}

int Scene::livingSheepWithin(const Vector3D& point, float radius) const {
    int count = 0;
    for (const AISheep* sheep : sheep_) {
        const Vector3D d = sheep->getPosition() + point * -1.0f;
        count += (sheep->alive() && Vector3D::dot(d, d) < radius * radius) ? 1 : 0;
    }
    return count;
}

int Scene::sheepWithin(const Vector3D& point, float radius) const {
    int count = 0;
    for (const AISheep* sheep : sheep_) {
        const Vector3D p = sheep->getPosition();
        const float dx = p.x - point.x, dy = p.y - point.y, dz = p.z - point.z;
        count += (dx * dx + dy * dy + dz * dz < radius * radius) ? 1 : 0;
    }
    return count;
}

void Scene::prepare() {
    waypoints_ = new WaypointGraph();
    setRenderModes();
    animationClock_ = 0.0f;
}

void Scene::append(Node* node) {
    if (sceneList_ == nullptr) {
        sceneList_ = new List(node);
        return;
    }
    sceneList_->attach(node);
}

void Scene::countSecond() {
    hud_->setFPS(static_cast<int>(framesThisSecond_));
    framesThisSecond_ = 0.0f;
    fpsClock_ = 0.0f;
    gameSeconds_ += 1.0f;
    hud_->tick();
    if (static_cast<int>(gameSeconds_) % kWolfInterval == 0) {
        spawnWolf();
    }
}

// The z offset is drawn before the x offset.
void Scene::spawnWolf() {
    AIWolf* wolf = new AIWolf(this);
    wolf->setModel(wolfModel_);
    wolf->name = "wolf" + std::to_string(wolfCount_);
    const float dz = static_cast<float>(std::rand() % kSpawnSpread) - kSpawnBack;
    const float dx = static_cast<float>(std::rand() % kSpawnSpread) - kSpawnBack;
    wolf->setPosition(player_->getPosition() + Vector3D(dx, kSpawnAbove, dz));
    wolf->rotationAngle = 90.0f;
    append(wolf);
    wolf->createController(level::kWolfCapsule.height, level::kWolfCapsule.radius);
    if (wolf->controller != nullptr) {
        wolf->controller->getActor()->group = ActorGroup::kWolf;
        wolf->controller->getActor()->userData = wolf;
    }
    wolves_.push_back(wolf);
    wolfCount_ += 1;
    Audio::play(sound::Sound::WolfHowl, wolf->getPosition());
}

// Each sheep draws its z jitter before its x jitter, so the flock spreads over a small square
// off-centre towards negative x and z.
void Scene::herdTo(const Vector3D& target) {
    const bool pathSearch = Engine::getInstance()->pathSearch;
    Node* node = sceneList_->head();
    do {
        auto* sheep = dynamic_cast<AISheep*>(node);
        if (sheep != nullptr && sheep->active && sheep->type == Object3D::kSheep) {
            const float dz = static_cast<float>(std::rand() % kJitterSpread) - kJitterBack;
            const float dx = static_cast<float>(std::rand() % kJitterSpread) - kJitterBack;
            const Vector3D goal = target + Vector3D(dx, 0.0f, dz);
            if (!pathSearch) {
                sheep->setGoal(goal);
            } else if (!sheep->heldByWolf) {
                sheep->goViaPath(goal);
            }
        }
        node = node->next;
    } while (node != sceneList_->head() && node != nullptr);
    flag_->setPosition(player_->getPosition() + Vector3D(0.0f, -level::kFlagBelowHerder, 0.0f));
    flag_->visible = true;
    Audio::play(sound::Sound::Whistle, player_->getPosition());
}

void Scene::judgeGoal(const Vector3D& goal) {
    const RuleSet& rules = *Engine::getInstance()->rules;
    if (outcome_ == Outcome::Open || !rules.latchesOutcome()) {
        outcome_ = rules.judge(*this, goal);
        reportOutcome(outcome_);
    }
    if (outcome_ != Outcome::Open) {
        Engine::getInstance()->showResult(outcome_ == Outcome::Won);
    }
    countFlock();
}

// "m:ss" of whole seconds.
static std::string clockText(int seconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%d:%02d", seconds / 60, seconds % 60);
    return text;
}

void Scene::reportOutcome(Outcome outcome) {
    bool& logged = outcome == Outcome::Won ? loggedWon_ : loggedLost_;
    if (outcome == Outcome::Open || logged) {
        return;
    }
    logged = true;
    const RuleSet& rules = *Engine::getInstance()->rules;
    const int second = static_cast<int>(gameSeconds_);
    const int saved =
        goal_ != nullptr ? livingSheepWithin(goal_->getPosition(), level::kGoalRadius) : 0;
    const std::string line = std::string("game ") + (outcome == Outcome::Won ? "won" : "lost") +
                             " at second " + std::to_string(second) + " (" + rules.name() +
                             " rules): " + std::to_string(saved) + " sheep saved, " +
                             std::to_string(wolvesKilled_) + " wolves killed";
    Logfile::appendLine(line.c_str());
    Audio::playHere(outcome == Outcome::Won ? sound::Sound::Win : sound::Sound::Loss);
    if (rules.aimingAids()) {
        hud_->showSummary("time " + clockText(second) + "   sheep saved " + std::to_string(saved) +
                          "   wolves killed " + std::to_string(wolvesKilled_) +
                          "   press R to play again");
    }
}

void Scene::countFlock() {
    if (!Engine::getInstance()->rules->aimingAids() || goal_ == nullptr) {
        return;
    }
    int living = 0;
    for (const AISheep* sheep : sheep_) {
        living += sheep->alive() ? 1 : 0;
    }
    const int home = livingSheepWithin(goal_->getPosition(), level::kGoalRadius);
    hud_->setFlock(living, home);
}

void Scene::moveControllers(float dt) {
    Node* node = sceneList_->head();
    do {
        auto* object = dynamic_cast<Object3D*>(node);
        if (object != nullptr && object->active && object->controller != nullptr) {
            object->moveController(dt);
        }
        node = node->next;
    } while (node != sceneList_->head() && node != nullptr);
}

// Buffer objects need the driver's support: without it mode 2 becomes 0 before any model sees
// it. Every model then gets the mode.
void Scene::setRenderModes() {
    InputManager* input = InputManager::getInstance();
    if (input->renderMode == FBXModel::kBufferObjects &&
        !Engine::getInstance()->hasVertexBufferObjects) {
        input->renderMode = FBXModel::kImmediate;
    }
    for (FBXModel* model : models_) {
        model->setRenderMode(input->renderMode);
    }
    if (foldModel_ != nullptr) {
        foldModel_->setRenderMode(input->renderMode);
    }
    lastRenderMode_ = input->renderMode;
}

void Scene::applyRenderMode() {
    if (InputManager::getInstance()->renderMode != lastRenderMode_) {
        setRenderModes();
    }
}

void Scene::update() {
    const float dt = timer_->elapsed();
    timer_->setFrameTime(dt);
    frameTime_ = dt;

    framesThisSecond_ += 1.0f;
    fpsClock_ += dt;
    physicsClock_ += dt;

    moveControllers(dt);
    PhysicsWorld* physics = Engine::getInstance()->physics;
    if (physics != nullptr && physicsClock_ > physics->stepInterval) {
        physics->step(physicsClock_);
        // The step's first touches act before anything else moves or updates.
        GameRules::applyContacts(physics->contactBegins());
        physicsClock_ = 0.0f;
    }
    if (fpsClock_ > kMotionResetEpsilon) {
        InputManager::getInstance()->mouseMoved = false;
    }
    if (fpsClock_ >= 1.0f) {
        countSecond();
    }
    applyRenderMode();
    // The animation clock never carries over a frame: it is reset in the same update.
    animationClock_ += dt;
    for (FBXModel* model : models_) {
        model->advanceAnimation(dt);
    }
    animationClock_ = 0.0f;
    sceneList_->updateAll(dt);
}
