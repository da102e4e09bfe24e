// Program entry: the objects are built in a fixed order (settings and log first, so that the
// log's first line is the game-mode string), the callbacks are wired to the input manager and
// the engine, and GLUT's main loop runs the game until a key ends the process. The launcher's
// window option (WindowOption) replaces game mode with an ordinary window.
#include "Program.h"

#include "Audio.h"
#include "Engine.h"
#include "GameRules.h"
#include "InputManager.h"
#include "Logfile.h"
#include "ModelReader.h"
#include "PhysicsDebugDrawer.h"
#include "PhysicsWorld.h"
#include "Renderer.h"
#include "Scene.h"
#include "SettingsFile.h"
#include "SwapControl.h"
#include "ViewFrustum.h"
#include "WindowOption.h"

#include <GL/freeglut.h>
#include <X11/Xlib.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

static const char* const kWindowTitle = "Herder";

static Engine* engine = nullptr;
// The arguments the program was started with, for a restart.
static char** startArguments = nullptr;
// The running program's own file.
static const char* const kSelf = "/proc/self/exe";

// Every open descriptor above the standard three gets close-on-exec.
static void closeOnExec() {
    DIR* fds = opendir("/proc/self/fd");
    if (fds == nullptr) {
        return;
    }
    const int own = dirfd(fds);
    while (const dirent* entry = readdir(fds)) {
        const int fd = std::atoi(entry->d_name);
        if (fd > 2 && fd != own) {
            fcntl(fd, F_SETFD, fcntl(fd, F_GETFD) | FD_CLOEXEC);
        }
    }
    closedir(fds);
}

void Program::restart() {
    if (startArguments == nullptr) {
        Logfile::appendLine("cannot play again: the program's arguments are unknown");
        return;
    }
    closeOnExec();
    execv(kSelf, startArguments);
    Logfile::appendLine((std::string("cannot play again: ") + std::strerror(errno)).c_str());
}

Display* Program::connectToDisplay() {
    Display* display = XOpenDisplay(nullptr);
    if (display == nullptr) {
        const char* name = std::getenv("DISPLAY");
        std::fprintf(stderr,
                     "herder: cannot open X display \"%s\"; the game needs an X server with "
                     "OpenGL (set DISPLAY)\n",
                     name != nullptr ? name : "");
    }
    return display;
}

// An ordinary window of the chosen size when the player asked for one. Otherwise game mode when
// the server can switch to the requested mode, else a window the size of the screen made
// full-screen, since the callbacks and key-repeat switch need a window to attach to.
void Program::openDisplay(const char* mode, const WindowOption& window) {
    if (window.windowed()) {
        Logfile::getInstance()->write(window.describe());
        glutInitWindowSize(window.width(), window.height());
        glutCreateWindow(kWindowTitle);
        return;
    }
    glutGameModeString(mode);
    if (glutGameModeGet(GLUT_GAME_MODE_POSSIBLE) && glutEnterGameMode() != 0) {
        return;
    }
    Logfile::getInstance()->write(std::string("game mode \"") + mode +
                                  "\" not possible, using a full-screen window");
    glutInitWindowPosition(0, 0);
    glutInitWindowSize(glutGet(GLUT_SCREEN_WIDTH), glutGet(GLUT_SCREEN_HEIGHT));
    glutCreateWindow(kWindowTitle);
    glutFullScreen();
}

void Program::registerInput() {
    glutSpecialFunc([](int k, int x, int y) { InputManager::getInstance()->specialDown(k, x, y); });
    glutSpecialUpFunc([](int k, int x, int y) { InputManager::getInstance()->specialUp(k, x, y); });
    glutKeyboardFunc(
        [](unsigned char k, int x, int y) { InputManager::getInstance()->keyDown(k, x, y); });
    glutKeyboardUpFunc(
        [](unsigned char k, int x, int y) { InputManager::getInstance()->keyUp(k, x, y); });
    glutPassiveMotionFunc([](int x, int y) { InputManager::getInstance()->passiveMotion(x, y); });
    glutMotionFunc([](int x, int y) { InputManager::getInstance()->motion(x, y); });
    glutMouseFunc(
        [](int b, int s, int x, int y) { InputManager::getInstance()->mouseButton(b, s, x, y); });
    glutIdleFunc(&Program::idle);
}

void Program::reshape(int width, int height) {
    Renderer::windowWidth = width;
    Renderer::windowHeight = height;
    if (engine != nullptr && engine->renderer != nullptr) {
        engine->renderer->reshape();
    }
}

void Program::display() {
    engine->gameCycle();
    glutSwapBuffers();
}

void Program::idle() {
    glutPostRedisplay();
}

int Program::run(int argc, char** argv) {
    startArguments = argv;
    // The model reader is forked first, while the game holds no display, driver or level: a
    // fork later would copy all of their page tables, and every page written after it again.
    auto reader = std::make_unique<ModelReader>();
    std::string readerFailure;
    reader->start(&readerFailure); // on failure the first import tries again and logs why
    Display* check = connectToDisplay();
    if (check == nullptr) {
        return 1;
    }
    glutInit(&argc, argv);
    XCloseDisplay(check);
    glutInitDisplayMode(GLUT_DOUBLE | GLUT_DEPTH);
    SettingsFile* settings = new SettingsFile();
    const std::string mode = settings->getString("G_GAMEMODESTRING");
    Logfile::getInstance()->write(mode);
    openDisplay(mode.c_str(), WindowOption::fromEnvironment());
    SwapControl::enable();
    glutIgnoreKeyRepeat(1);
    registerInput();
    Logfile::getInstance()->traceGlError("main 1");

    engine = Engine::getInstance();
    // The rule set shapes the level, so the settings are read before it is built.
    engine->setSettings(settings);
    engine->readSettings();
    Audio* audio = new Audio(engine->volume);
    Audio::setCurrent(audio);
    audio->loadSounds();
    engine->physics = new PhysicsWorld();
    GameRules::install(*engine->physics);
    Scene* scene = new Scene(std::move(reader));
    engine->scene = scene;
    engine->renderer = new Renderer(scene);
    engine->renderer->debugLayer = engine->physics->getDebugRenderer();
    engine->renderer->frustum = new ViewFrustum();
    engine->renderer->ground = engine->physics;
    scene->prepare();

    glutReshapeFunc(&Program::reshape);
    glutDisplayFunc(&Program::display);
    Logfile::getInstance()->traceGlError("main 2");
    glutMainLoop();
    return 0;
}
