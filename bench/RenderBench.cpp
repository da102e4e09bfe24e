// herder-bench: how long the level's ten models take to load, and to draw in each render mode,
// against the ceiling of clearing and swapping alone in the same run; then the real level and
// game scenes on it (wolves, explosions), timing the world update apart from the whole cycle. Run
// it from a data folder under an X display at 1024x768 (scripts/bench.sh does both).
// `herder-bench --start-up [--in-process]` only builds the level from a cold start, as the game
// does, and prints the time to the first frame: with the model reader in its own process (as
// shipped) or, to measure what that costs, in this one. `herder-bench --full-hd` times normal
// play alone in a 1920x1080 window (run it under a screen that large).
#include "Engine.h"
#include "FBXModel.h"
#include "GameRules.h"
#include "InputManager.h"
#include "LevelFacts.h"
#include "List.h"
#include "ModelReader.h"
#include "Object3D.h"
#include "Particle.h"
#include "PhysicsWorld.h"
#include "Renderer.h"
#include "Scene.h"
#include "ThreadCpu.h"
#include "ViewFrustum.h"

#include <GL/freeglut.h>
#include <GL/glu.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

namespace {

// The window; --full-hd makes it 1920x1080 (and times normal play alone).
int width = 1024;
int height = 768;
constexpr int kWarmUpFrames = 5;
constexpr int kLandingFrames = 60;
constexpr unsigned kWolfSeed = 2024;
constexpr int kMeasuredFrames = 60;

using Clock = std::chrono::steady_clock;

double msSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// A model of the level with where it stands: turn about y, then position.
struct Placed {
    const char* name;
    std::unique_ptr<FBXModel> model;
    float turn;
    float x, y, z;
};

// One of the level's models, read one at a time (nothing asked ahead).
std::unique_ptr<FBXModel> load(ModelReader& reader, const level::ModelAsset& asset, double* ms) {
    const auto start = Clock::now();
    auto model = std::make_unique<FBXModel>(reader, asset);
    *ms = msSince(start);
    return model;
}

std::vector<Placed> loadLevel(ModelReader& reader) {
    struct Entry {
        const char* name;
        const level::ModelAsset* asset;
        float turn;
        Vector3D at;
    };
    auto placed = [](const char* name, const level::ModelAsset& piece, const level::Placement& p) {
        return Entry{name, &piece, p.turnDegrees, p.position};
    };
    const Entry entries[] = {
        {"test sphere", &level::kTestSphere, 0, {3, 1, -8}},
        {"herder", &level::kHerder, 0, {0, 1, 0}},
        {"sheep", &level::kSheep, 90, {-4, 0.8f, -6}},
        {"flag", &level::kFlag, 0, {2, 0.5f, -3}},
        {"rocket", &level::kRocket, 0, {1, 2, -2}},
        placed("terrain", level::kTerrain, level::kTerrainPlacement),
        {"sky", &level::kSky, 0, level::kSkyPlacement.position},
        placed("canyon", level::kCanyon, level::kCanyonPlacement),
        placed("power plant", level::kPowerPlant, level::kPowerPlantPlacement),
        {"wolf", &level::kWolf, 90, {-12, 1.5f, -14}},
    };
    std::vector<Placed> level;
    double total = 0;
    std::printf("| model | triangles | load (ms) |\n|---|---|---|\n");
    for (const Entry& e : entries) {
        double ms = 0;
        auto model = load(reader, *e.asset, &ms);
        total += ms;
        std::printf("| %s | %d | %.1f |\n", e.name, model->vertexCount / 3, ms);
        level.push_back({e.name, std::move(model), e.turn, e.at.x, e.at.y, e.at.z});
    }
    std::printf("| all ten | | %.1f |\n\n", total);
    return level;
}

void lookFromTheHerder() {
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    gluLookAt(0, 4, 8, 0, 2, -10, 0, 1, 0);
    const GLfloat light[4] = {70, 35, 70, 1};
    glLightfv(GL_LIGHT1, GL_POSITION, light);
    glEnable(GL_LIGHT1);
    glEnable(GL_LIGHTING);
}

// Mean milliseconds per frame of clear, optional drawing, swap and finish.
double frameTime(std::vector<Placed>* level) {
    Clock::time_point start;
    for (int frame = 0; frame < kWarmUpFrames + kMeasuredFrames; ++frame) {
        if (frame == kWarmUpFrames) {
            start = Clock::now();
        }
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        if (level != nullptr) {
            lookFromTheHerder();
            for (Placed& p : *level) {
                glPushMatrix();
                glTranslatef(p.x, p.y, p.z);
                glRotatef(p.turn, 0, 1, 0);
                p.model->advanceAnimation(0.016f);
                p.model->draw();
                glPopMatrix();
            }
        }
        glutSwapBuffers();
        glFinish();
    }
    return msSince(start) / kMeasuredFrames;
}

// Mean milliseconds of `runs` calls of `work`.
template <class F> double meanMs(int runs, F work) {
    const auto start = Clock::now();
    for (int i = 0; i < runs; ++i) {
        work();
    }
    return msSince(start) / runs;
}

// The real level as the game builds it, up to its first frame; how long that took.
Scene* buildLevel(Engine* engine, std::unique_ptr<ModelReader> reader, double* startUpMs) {
    const auto start = Clock::now();
    engine->physics = new PhysicsWorld();
    GameRules::install(*engine->physics);
    Scene* scene = new Scene(std::move(reader));
    engine->scene = scene;
    Renderer* renderer = new Renderer(scene);
    renderer->frustum = new ViewFrustum();
    renderer->ground = engine->physics;
    renderer->reshape();
    engine->renderer = renderer;
    scene->prepare();
    engine->gameCycle();
    glutSwapBuffers();
    glFinish();
    *startUpMs = msSince(start);
    return scene;
}

// The real level: start-up time, then the parts of a game cycle.
Scene* benchLevel(Engine* engine, std::unique_ptr<ModelReader> reader, double ceiling) {
    double startUp = 0.0;
    Scene* scene = buildLevel(engine, std::move(reader), &startUp);
    Object3D* herder = scene->getPlayer();
    const double update = meanMs(300, [&] { scene->update(); });
    const double step = meanMs(50, [&] { engine->physics->step(PhysicsWorld::kStepInterval); });
    const double move = meanMs(1000, [&] { herder->moveController(0.016f); });
    const double frame = meanMs(kMeasuredFrames, [&] {
        engine->gameCycle();
        glutSwapBuffers();
        glFinish();
    });
    std::printf("\n| the level (herder standing at the start) | ms |\n|---|---|\n");
    std::printf("| start-up to first frame | %.0f |\n", startUp);
    std::printf("| Scene::update per frame | %.3f |\n", update);
    std::printf("| physics step of 0.1 s | %.3f |\n", step);
    std::printf("| one character-controller move | %.3f |\n", move);
    std::printf("| whole game cycle with swap | %.2f (%.0f fps; ceiling %.0f fps) |\n", frame,
                1000.0 / frame, 1000.0 / ceiling);
    return scene;
}

// CPU milliseconds the calling thread has used: the world update runs on the game thread alone,
// and this counts its work without the time other programs held the CPU.
double threadCpuMs() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_nsec) / 1e6;
}

// Game cycles as the engine runs them, timing the world update apart from the whole cycle.
struct CycleTimes {
    double update = 0;
    double frame = 0;
    // CPU per frame of the game's thread and of all rasteriser threads together.
    double mainCpu = 0;
    double rasterCpu = 0;
};
CycleTimes playCycles(Engine* engine, int frames) {
    CycleTimes t;
    const ThreadCpu cpuBefore = threadCpuNow();
    for (int i = 0; i < frames; ++i) {
        const auto start = Clock::now();
        engine->processInput();
        const double before = threadCpuMs();
        engine->scene->update();
        t.update += threadCpuMs() - before;
        engine->renderer->render();
        glutSwapBuffers();
        glFinish();
        t.frame += msSince(start);
    }
    const ThreadCpu cpuAfter = threadCpuNow();
    t.update /= frames;
    t.frame /= frames;
    t.mainCpu = (cpuAfter.mainMs - cpuBefore.mainMs) / frames;
    t.rasterCpu = (cpuAfter.rasterMs - cpuBefore.rasterMs) / frames;
    return t;
}

int particlesIn(const Scene* scene) {
    int n = 0;
    for (int i = 0; i < scene->getSceneList()->count(); ++i) {
        n += dynamic_cast<Particle*>(scene->getSceneList()->getAt(i)) != nullptr ? 1 : 0;
    }
    return n;
}

// Rockets shot into the ground in front of the herder, then cycles until their bursts have
// emitted all they will (the particle count stops rising).
void explode(Engine* engine, Scene* scene, int rockets) {
    Object3D* herder = scene->getPlayer();
    const Vector3D at = herder->getPosition() + herder->getDirection() * 8.0f;
    for (int i = 0; i < rockets; ++i) {
        scene->fireRocket(at + Vector3D(3.0f * static_cast<float>(i - 1), 3, 0),
                          Vector3D(0, -40, 0));
    }
    int last = -1;
    for (int i = 0; i < 100; ++i) {
        playCycles(engine, 3);
        const int now = particlesIn(scene);
        if (now > 0 && now == last) {
            return;
        }
        last = now;
    }
}

// Where each scene's frame went, printed after the scene table.
std::string cpuRows;

void printScene(const std::string& name, const CycleTimes& t, double ceiling) {
    char row[256];
    std::snprintf(row, sizeof(row), "| %s | %.2f | %.2f | %s |\n", name.c_str(), t.mainCpu,
                  t.rasterCpu, t.mainCpu > t.rasterCpu ? "game thread" : "rasteriser");
    cpuRows += row;
    std::printf("| %s | %.3f | %.2f | %.0f | %.0f |\n", name.c_str(), t.update, t.frame,
                1000.0 / t.frame, 1000.0 / ceiling);
}

// Cycles with the herder turning steadily through `degrees`, so the view sweeps past the sun.
CycleTimes panCycles(Engine* engine, float degrees, int frames) {
    Object3D* herder = engine->scene->getPlayer();
    CycleTimes total;
    for (int i = 0; i < frames; ++i) {
        herder->turn(degrees / static_cast<float>(frames));
        const CycleTimes t = playCycles(engine, 1);
        total.update += t.update / frames;
        total.frame += t.frame / frames;
        total.mainCpu += t.mainCpu / frames;
        total.rasterCpu += t.rasterCpu / frames;
    }
    return total;
}

// The level's sky dome, found by its drawing layer.
Node* skyOf(const Scene* scene) {
    for (int i = 0; i < scene->getSceneList()->count(); ++i) {
        Node* node = scene->getSceneList()->getAt(i);
        if (node != nullptr && node->layer == Layer::kSky) {
            return node;
        }
    }
    return nullptr;
}

// Normal play again with the sky drawn among the solid pieces, before the ground (as it was
// drawn before the frame had layers): what drawing it last saves, in the same run.
void benchSkyFirst(Engine* engine, Scene* scene, double ceiling) {
    Node* sky = skyOf(scene);
    if (sky == nullptr) {
        return;
    }
    sky->layer = Layer::kSolid;
    printScene("normal play, the sky drawn before the ground", playCycles(engine, kMeasuredFrames),
               ceiling);
    sky->layer = Layer::kSky;
}

// The characters' models and their coarser versions: the level's sheep and wolf (models 2 and 9)
// and their versions after the ten.
struct DetailChains {
    std::vector<FBXModel*> full;
    std::vector<FBXModel*> coarser;
};
DetailChains chainsOf(const Scene* scene) {
    const std::vector<FBXModel*>& models = scene->getModels();
    DetailChains chains;
    if (models.size() >= 12) {
        chains.full = {models[2], models[9]};
        chains.coarser = {models[10], models[11]};
    }
    return chains;
}

// The wolves' draws at full detail and at half detail during `frames` cycles, per frame.
CycleTimes countedCycles(Engine* engine, int frames, const DetailChains& chains, double* half) {
    const unsigned before = chains.coarser.empty() ? 0u : chains.coarser[1]->drawCount;
    const CycleTimes t = playCycles(engine, frames);
    const unsigned after = chains.coarser.empty() ? 0u : chains.coarser[1]->drawCount;
    *half = static_cast<double>(after - before) / frames;
    return t;
}

// The same scene with every character at full detail: what the coarser versions save.
void benchFullDetail(Engine* engine, Scene* scene, const std::string& name, double ceiling) {
    const DetailChains chains = chainsOf(scene);
    for (FBXModel* model : chains.full) {
        model->setCoarser(nullptr, 0.0f);
    }
    printScene(name + ", every character at full detail", playCycles(engine, kMeasuredFrames),
               ceiling);
    for (size_t i = 0; i < chains.full.size(); ++i) {
        chains.full[i]->setCoarser(chains.coarser[i], level::kCoarserBelowPixels[0]);
    }
}

// Turns the herder (and so the camera behind him) to face the point.
void face(Object3D* herder, const Vector3D& point) {
    const Vector3D d = point + herder->getPosition() * -1.0f;
    herder->setDirection(Vector3D(d.x, 0, d.z));
}

// The busiest moments of play on the real level, each timed with the world update apart from the
// whole cycle: normal play, the flock around the herder filling the foreground, explosions in
// view, the flare while panning past the sun, a crowd of wolves.
void printCpuRows() {
    std::printf("\n| game scene | game thread CPU (ms/frame) | rasteriser CPU (ms/frame, all "
                "threads) | more work on |\n|---|---|---|---|\n%s",
                cpuRows.c_str());
}

void benchGame(Engine* engine, Scene* scene, double ceiling, bool normalOnly) {
    std::printf("\n| game scene | Scene::update (ms) | frame (ms) | fps | ceiling fps |\n");
    std::printf("|---|---|---|---|---|\n");
    // The same wolves in every run, so that runs and builds compare.
    std::srand(kWolfSeed);
    Object3D* herder = scene->getPlayer();
    face(herder, Vector3D(-5, 0, -20));
    scene->spawnWolf();
    scene->spawnWolf();
    playCycles(engine, kWarmUpFrames);
    printScene("normal play: 6 sheep, 2 wolves", playCycles(engine, kMeasuredFrames), ceiling);
    benchSkyFirst(engine, scene, ceiling);
    if (normalOnly) {
        printCpuRows();
        return;
    }
    scene->herdTo(herder->getPosition() + herder->getDirection() * 3.0f);
    playCycles(engine, 8 * 30); // the flock gathers in front of the camera
    printScene("the flock herded around the herder", playCycles(engine, kMeasuredFrames), ceiling);
    explode(engine, scene, 3);
    printScene("three explosions in view (" + std::to_string(particlesIn(scene)) + " particles)",
               playCycles(engine, kMeasuredFrames / 2), ceiling);
    playCycles(engine, 90); // the bursts die down
    // The sun stands towards +x+z: from facing +x the turn passes it halfway.
    face(herder, herder->getPosition() + Vector3D(1, 0, 0));
    printScene("panning across the sun with the flare", panCycles(engine, -90.0f, kMeasuredFrames),
               ceiling);
    while (scene->getWolfCount() < 30) {
        scene->spawnWolf();
    }
    face(herder, Vector3D(-5, 0, -20));
    playCycles(engine, kLandingFrames); // new wolves appear above the ground and fall onto it
    double half = 0.0;
    const CycleTimes wolves = countedCycles(engine, kMeasuredFrames, chainsOf(scene), &half);
    printScene("30 wolves (" + std::to_string(static_cast<int>(half + 0.5)) + " at half detail)",
               wolves, ceiling);
    benchFullDetail(engine, scene, "30 wolves", ceiling);
    explode(engine, scene, 3);
    explode(engine, scene, 3);
    printScene("30 wolves, six explosions (" + std::to_string(particlesIn(scene)) + " particles)",
               playCycles(engine, kMeasuredFrames / 2), ceiling);
    printCpuRows();
}

// Whether the command line holds `flag`.
bool hasFlag(int argc, char** argv, const char* flag) {
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], flag) == 0) {
            return true;
        }
    }
    return false;
}

} // namespace

int main(int argc, char** argv) {
    const bool startUpOnly = hasFlag(argc, argv, "--start-up");
    const bool fullHd = hasFlag(argc, argv, "--full-hd");
    if (fullHd) {
        width = 1920;
        height = 1080;
    }
    const bool inProcess = hasFlag(argc, argv, "--in-process");
    auto reader = std::make_unique<ModelReader>(inProcess ? ModelReader::Where::kHere
                                                          : ModelReader::Where::kChild);
    std::string failure;
    reader->start(&failure); // as the game does, before the display
    glutInit(&argc, argv);
    glutInitDisplayMode(GLUT_DOUBLE | GLUT_DEPTH);
    glutInitWindowSize(width, height);
    glutCreateWindow("herder-bench");
    Renderer::windowWidth = width;
    Renderer::windowHeight = height;
    Engine* engine = Engine::getInstance();
    Renderer renderer(nullptr);
    renderer.reshape();
    if (startUpOnly) {
        double startUp = 0.0;
        buildLevel(engine, std::move(reader), &startUp);
        std::printf("start-up to first frame (model reader %s): %.0f ms\n",
                    inProcess ? "in the game's process" : "in its own process", startUp);
        return 0;
    }
    std::printf("GL renderer: %s\n\n", reinterpret_cast<const char*>(glGetString(GL_RENDERER)));
    if (fullHd) {
        InputManager::getInstance()->displayLists = true;
        InputManager::getInstance()->renderMode = FBXModel::kBufferObjects;
        const double ceiling = frameTime(nullptr);
        std::printf("| frame at %dx%d | ms | fps |\n|---|---|---|\n", width, height);
        std::printf("| clear and swap only (ceiling) | %.2f | %.0f |\n", ceiling, 1000.0 / ceiling);
        benchGame(engine, benchLevel(engine, std::move(reader), ceiling), ceiling, true);
        return 0;
    }
    std::vector<Placed> level = loadLevel(*reader);

    const double ceiling = frameTime(nullptr);
    std::printf("| frame at %dx%d | ms | fps |\n|---|---|---|\n", width, height);
    std::printf("| clear and swap only (ceiling) | %.2f | %.0f |\n", ceiling, 1000.0 / ceiling);
    const char* names[] = {"immediate", "vertex arrays", "buffer objects"};
    for (int mode = 0; mode < 3; ++mode) {
        if (mode == FBXModel::kBufferObjects && !engine->hasVertexBufferObjects) {
            continue;
        }
        for (bool lists : {false, true}) {
            InputManager::getInstance()->displayLists = lists;
            for (Placed& p : level) {
                p.model->setRenderMode(mode);
            }
            const double ms = frameTime(&level);
            std::printf("| ten models, %s%s | %.2f | %.0f |\n", names[mode],
                        lists ? ", display lists" : "", ms, 1000.0 / ms);
        }
    }
    InputManager::getInstance()->displayLists = true;
    InputManager::getInstance()->renderMode = FBXModel::kBufferObjects;
    Scene* scene = benchLevel(engine, std::move(reader), ceiling);
    benchGame(engine, scene, ceiling, false);
    return 0;
}
