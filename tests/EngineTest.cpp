// The Engine's settings, extension test, input step and game cycle, and the level's clocks
// driven by a manual counter.
#include "Engine.h"
#include "HUD.h"
#include "InputManager.h"
#include "List.h"
#include "Logfile.h"
#include "Renderer.h"
#include "RuleSet.h"
#include "Scene.h"
#include "SettingsFile.h"
#include "TestSupport.h"
#include "TextBitmap.h"
#include "Timer.h"

#include <GL/gl.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace {

void advance(double seconds) {
    ManualClock::advance(seconds);
}

class EngineTest : public TempDirTest {
protected:
    void SetUp() override {
        TempDirTest::SetUp();
        ManualClock::install();
    }
    void TearDown() override {
        ManualClock::remove();
        TempDirTest::TearDown();
    }
};

TEST(ExtensionListTest, MatchesWholeWordsOnly) {
    const char* list = "GL_ARB_vertex_buffer_object_extra GL_EXT_abc GL_ARB_multitexture";
    EXPECT_FALSE(Engine::extensionListHas(list, "GL_ARB_vertex_buffer_object"));
    EXPECT_TRUE(Engine::extensionListHas(list, "GL_EXT_abc"));
    EXPECT_TRUE(Engine::extensionListHas(list, "GL_ARB_multitexture"));
    EXPECT_FALSE(Engine::extensionListHas(list, "GL_ARB_multi"));
    EXPECT_FALSE(Engine::extensionListHas(list, "EXT_abc"));
    EXPECT_TRUE(Engine::extensionListHas("X_GL_a GL_a", "GL_a")) << "search goes on after a "
                                                                    "partial match";
    EXPECT_TRUE(Engine::extensionListHas("GL_a_b GL_a", "GL_a"));
    EXPECT_TRUE(Engine::extensionListHas("GL_a", "GL_a"));
    EXPECT_FALSE(Engine::extensionListHas(list, ""));
    EXPECT_FALSE(Engine::extensionListHas(list, "GL_EXT_abc GL_ARB_multitexture"));
    EXPECT_FALSE(Engine::extensionListHas(list, " "));
    EXPECT_FALSE(Engine::extensionListHas(nullptr, "GL_a"));
    EXPECT_FALSE(Engine::extensionListHas("", "GL_a"));
}

TEST_F(EngineTest, ConstructorSetsClipsAndFindsBufferObjectsOnMesa) {
    openTestWindow();
    Renderer::nearClip = 0;
    Renderer::farClip = 0;
    Engine* engine = Engine::getInstance();
    EXPECT_EQ(Renderer::nearClip, 1);
    EXPECT_EQ(Renderer::farClip, 10000);
    const char* list = reinterpret_cast<const char*>(glGetString(GL_EXTENSIONS));
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(engine->hasVertexBufferObjects,
              std::string(" ").append(list).append(" ").find(" GL_ARB_vertex_buffer_object ") !=
                  std::string::npos);
    EXPECT_TRUE(engine->hasVertexBufferObjects) << "llvmpipe offers buffer objects";
    EXPECT_FALSE(engine->isExtensionSupported("GL_ARB_vertex_buffer"));
}

TEST_F(EngineTest, ReadSettingsReplacesDefaultsEvenWithZero) {
    Engine* engine = Engine::getInstance();
    engine->readSettings();
    EXPECT_EQ(engine->mouseSensPitch, 1) << "without a settings file the defaults stay";
    EXPECT_EQ(engine->gameSpeed, 1);

    writeFile("settings.ini", "G_GAMEMODESTRING=640x480\nI_MOUSE_SENSPITCH=4\n"
                              "I_MOUSE_SENSYAW=7\nGAME_SPEED=2\n");
    SettingsFile settings;
    settings.getString("G_GAMEMODESTRING");
    engine->setSettings(&settings);
    engine->readSettings();
    EXPECT_EQ(engine->mouseSensPitch, 4);
    EXPECT_EQ(engine->mouseSensYaw, 7);
    EXPECT_EQ(engine->gameSpeed, 2);

    writeFile("settings.ini", "I_MOUSE_SENSPITCH=4\nI_MOUSE_SENSYAW=7\nGAME_SPEED=2\n");
    SettingsFile noMode;
    noMode.getString("G_GAMEMODESTRING");
    engine->setSettings(&noMode);
    engine->readSettings();
    EXPECT_EQ(engine->mouseSensPitch, 0) << "a missing game mode exhausts the file";
    EXPECT_EQ(engine->mouseSensYaw, 0);
    EXPECT_EQ(engine->gameSpeed, 0);
}

// "I_RULES" comes after every older key, so an older file still reads whole and plays classic;
// only 1 chooses the shepherd rules, and a value that names no rule set says so in the log.
TEST_F(EngineTest, ReadSettingsChoosesTheRuleSetLast) {
    Engine* engine = Engine::getInstance();
    const struct {
        const char* tail;
        const RuleSet* expected;
        bool logged;
    } cases[] = {{"", &RuleSet::classic(), false},
                 {"I_RULES=0\n", &RuleSet::classic(), false},
                 {"I_RULES=1\n", &RuleSet::shepherd(), false},
                 {"I_RULES=7\n", &RuleSet::classic(), true},
                 {"I_RULES=-1\n", &RuleSet::classic(), true}};
    for (const auto& c : cases) {
        std::remove("log.txt");
        writeFile("settings.ini",
                  std::string("I_MOUSE_SENSPITCH=2\nI_MOUSE_SENSYAW=3\nGAME_SPEED=1\n") + c.tail);
        SettingsFile settings;
        engine->setSettings(&settings);
        engine->readSettings();
        EXPECT_EQ(engine->rules, c.expected) << c.tail;
        EXPECT_EQ(engine->gameSpeed, 1) << "the older keys still read: " << c.tail;
        const std::vector<std::string> log = readLines("log.txt");
        const long named = std::count(log.begin(), log.end(),
                                      std::string("playing the ") + c.expected->name() + " rules");
        EXPECT_EQ(named, 1) << c.tail;
        const bool complained = std::any_of(log.begin(), log.end(), [](const std::string& l) {
            return l.find("is not a rule set") != std::string::npos;
        });
        EXPECT_EQ(complained, c.logged) << c.tail;
    }
    engine->setSettings(nullptr);
}

// Factors far outside what anyone plays with are clamped to 10,000 either way, with a log line
// naming the setting; values inside stay as they are and are not logged.
TEST_F(EngineTest, ReadSettingsClampsExtremeValuesWithALogLine) {
    Engine* engine = Engine::getInstance();
    const struct {
        const char* value;
        int expected;
        bool logged;
    } cases[] = {{"-2147483648", -10000, true}, {"2147483647", 10000, true},
                 {"100000000", 10000, true},    {"10001", 10000, true},
                 {"-10001", -10000, true},      {"10000", 10000, false},
                 {"-10000", -10000, false},     {"3", 3, false}};
    for (const auto& c : cases) {
        std::remove("log.txt");
        writeFile("settings.ini", std::string("I_MOUSE_SENSPITCH=") + c.value +
                                      "\nI_MOUSE_SENSYAW=" + c.value + "\nGAME_SPEED=" + c.value +
                                      "\n");
        SettingsFile settings;
        engine->setSettings(&settings);
        engine->readSettings();
        EXPECT_EQ(engine->mouseSensPitch, c.expected) << c.value;
        EXPECT_EQ(engine->mouseSensYaw, c.expected) << c.value;
        EXPECT_EQ(engine->gameSpeed, c.expected) << c.value;
        const std::vector<std::string> log = readLines("log.txt");
        for (const char* name : {"I_MOUSE_SENSPITCH", "I_MOUSE_SENSYAW", "GAME_SPEED"}) {
            const std::string line = std::string("setting ") + name + "=" + c.value +
                                     " is out of range, using " + std::to_string(c.expected);
            EXPECT_EQ(std::count(log.begin(), log.end(), line), c.logged ? 1 : 0) << line;
        }
    }
    engine->setSettings(nullptr);
}

TEST_F(EngineTest, ShowResultAnnouncesForTheRestOfTheGame) {
    Engine* engine = Engine::getInstance();
    engine->showResult(true);
    EXPECT_EQ(HUD::getInstance()->message()->getText(),
              "you won the game. hooray. press ESC to exit.");
    engine->showResult(false);
    EXPECT_EQ(HUD::getInstance()->message()->getText(), "you lost. hah. press ESC to exit.");
    HUD::getInstance()->update(999.0f);
    EXPECT_TRUE(HUD::getInstance()->message()->visible);
}

TEST_F(EngineTest, InputStepCopiesSwitchesAndSetsPolygonMode) {
    openTestWindow();
    Engine* engine = Engine::getInstance();
    InputManager* in = InputManager::getInstance();
    in->pathSearch = true;
    in->wireframe = true;
    engine->processInput();
    EXPECT_TRUE(engine->pathSearch);
    GLint modes[2];
    glGetIntegerv(GL_POLYGON_MODE, modes);
    EXPECT_EQ(modes[0], GL_LINE);
    EXPECT_EQ(modes[1], GL_LINE);
    in->pathSearch = false;
    in->wireframe = false;
    engine->processInput();
    EXPECT_FALSE(engine->pathSearch);
    glGetIntegerv(GL_POLYGON_MODE, modes);
    EXPECT_EQ(modes[0], GL_FILL);
    EXPECT_EQ(modes[1], GL_LINE) << "only the front faces are set back to fill";
}

TEST_F(EngineTest, FrameCountFollowsDisplayEvents) {
    openTestWindow();
    Engine* engine = Engine::getInstance();
    Scene* scene = new Scene();
    engine->scene = scene;
    engine->renderer = new Renderer(scene);
    engine->renderer->reshape();
    scene->prepare();
    EXPECT_EQ(engine->frameCount, 0);
    for (int i = 0; i < 25; ++i) {
        advance(0.01);
        engine->gameCycle();
    }
    EXPECT_EQ(engine->frameCount, 25);
    EXPECT_FLOAT_EQ(scene->getFrameTime(), 0.01f);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

TEST_F(EngineTest, SceneLogsATimerFailureAndGoesOn) {
    ManualClock::available = false;
    Scene scene;
    const auto lines = readLines("log.txt");
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "timer could not be initialised."), 1);
    scene.update();
    EXPECT_EQ(scene.getFrameTime(), 0.0f);
}

TEST_F(EngineTest, SceneCountsFramesAndSecondsOncePerSecond) {
    Scene scene;
    HUD* hud = HUD::getInstance();
    advance(0.5); // loading time counts into the first frame
    scene.update();
    EXPECT_FLOAT_EQ(scene.getFrameTime(), 0.5f);
    for (int i = 0; i < 4; ++i) {
        advance(0.1);
        scene.update();
    }
    EXPECT_EQ(hud->clock()->getText(), "TIME: ") << "0.9 s: nothing shown yet";
    advance(0.1);
    scene.update();
    EXPECT_EQ(hud->fps()->getText(), "FPS: 6");
    EXPECT_EQ(hud->clock()->getText(), "TIME: 1");
    EXPECT_EQ(scene.getGameSeconds(), 1.0f);

    advance(5.0); // a stall counts as one second only
    scene.update();
    EXPECT_EQ(hud->fps()->getText(), "FPS: 1");
    EXPECT_EQ(scene.getGameSeconds(), 2.0f);
    EXPECT_FALSE(hud->message()->visible) << "LEVEL 1 expired during the scene's updates";
}

TEST_F(EngineTest, SceneUpdateClearsMouseMotionOnceTimePasses) {
    Scene scene;
    InputManager* in = InputManager::getInstance();
    in->mouseMoved = true;
    scene.update(); // no time has passed since init
    EXPECT_TRUE(in->mouseMoved);
    advance(0.02);
    scene.update();
    EXPECT_FALSE(in->mouseMoved);
}

} // namespace
