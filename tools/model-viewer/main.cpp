// model-viewer: renders one model file through the game's own FBXModel and OpenGL start-up state
// into TGA pictures from a few angles and animation frames, to look at generated content
// without playing. Runs under any X display (Xvfb included).
// Usage: model-viewer <model> <texture> <scale> <out-prefix> [--animated] [--inside] [--size N]
//   --animated  load the file's take and show four frames of it
//   --inside    look around from the model's centre (for the sky dome, which faces inwards)
// model-viewer --list prints the level's models (LevelFacts.h) as the contact sheet shows them:
// one line each of file, texture, scale, picture name, view and options.
#include "FBXModel.h"
#include "LevelFacts.h"
#include "ModelReader.h"
#include "Renderer.h"
#include "TGAImage.h"

#include <GL/freeglut.h>
#include <GL/glu.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

constexpr int kDefaultSize = 384;
// Views around the model: yaw and pitch of the eye in degrees.
struct View {
    const char* name;
    float yaw;
    float pitch;
};
constexpr View kViews[] = {{"front", 0, 10},
                           {"side", 90, 10},
                           {"three-quarter", 35, 25},
                           {"back", 180, 15},
                           {"top", 0, 80}};
// Frames of the run shown for skinned models.
constexpr int kRunFrames[] = {0, 8, 15, 23};

struct Bounds {
    float min[3] = {1e30f, 1e30f, 1e30f};
    float max[3] = {-1e30f, -1e30f, -1e30f};
};

Bounds boundsOf(const FBXModel& m) {
    Bounds b;
    for (size_t i = 0; i + 2 < m.vertices.size(); i += 3) {
        for (int k = 0; k < 3; ++k) {
            b.min[k] = std::min(b.min[k], m.vertices[i + k] * m.scale);
            b.max[k] = std::max(b.max[k], m.vertices[i + k] * m.scale);
        }
    }
    return b;
}

bool savePicture(const std::string& path, int size) {
    std::vector<unsigned char> bgr(static_cast<size_t>(size) * size * 3);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, size, size, GL_BGR, GL_UNSIGNED_BYTE, bgr.data());
    return writeTGATrueColour(path.c_str(), bgr.data(), size, size, 24, false) == 0;
}

void placeEye(const Bounds& b, const View& v, bool inside) {
    const float c[3] = {(b.min[0] + b.max[0]) / 2, (b.min[1] + b.max[1]) / 2,
                        (b.min[2] + b.max[2]) / 2};
    const float extent = std::max({b.max[0] - b.min[0], b.max[1] - b.min[1], b.max[2] - b.min[2]});
    const float yaw = v.yaw * 3.1415927f / 180.0f, pitch = v.pitch * 3.1415927f / 180.0f;
    const float dir[3] = {std::sin(yaw) * std::cos(pitch), std::sin(pitch),
                          -std::cos(yaw) * std::cos(pitch)};
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    if (inside) {
        gluLookAt(c[0], c[1], c[2], c[0] - dir[0], c[1] + std::max(0.0f, dir[1] - 0.15f),
                  c[2] - dir[2], 0, 1, 0);
        return;
    }
    const float distance = extent * 1.5f + 0.5f;
    gluLookAt(c[0] + dir[0] * distance, c[1] + dir[1] * distance, c[2] + dir[2] * distance, c[0],
              c[1], c[2], 0, 1, 0);
}

void lightFromViewer() {
    const GLfloat position[4] = {0.3f, 1.0f, 0.6f, 0.0f};
    const GLfloat ambient[4] = {0.35f, 0.35f, 0.35f, 1}, diffuse[4] = {0.9f, 0.9f, 0.9f, 1};
    glPushMatrix();
    glLoadIdentity();
    glLightfv(GL_LIGHT1, GL_POSITION, position);
    glPopMatrix();
    glLightfv(GL_LIGHT1, GL_AMBIENT, ambient);
    glLightfv(GL_LIGHT1, GL_DIFFUSE, diffuse);
    glEnable(GL_LIGHT1);
    glEnable(GL_LIGHTING);
}

int render(FBXModel& model, const std::string& prefix, int size, bool inside) {
    const Bounds b = boundsOf(model);
    const float extent = std::max({b.max[0] - b.min[0], b.max[1] - b.min[1], b.max[2] - b.min[2]});
    glViewport(0, 0, size, size);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    gluPerspective(inside ? 70.0 : 45.0, 1.0, extent * 0.01, extent * 10.0);
    const std::vector<int> frames =
        model.frameCount > 0 ? std::vector<int>(std::begin(kRunFrames), std::end(kRunFrames))
                             : std::vector<int>{0};
    int failures = 0;
    for (const View& view : kViews) {
        for (int frame : frames) {
            glClearColor(0.55f, 0.7f, 0.85f, 1.0f);
            glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
            placeEye(b, view, inside);
            lightFromViewer();
            model.currentFrame = std::min(frame, std::max(0, model.frameCount - 1));
            model.frameTime = 0.0f;
            glPushMatrix();
            glColor4f(1, 1, 1, 1);
            model.draw();
            glPopMatrix();
            const std::string path =
                prefix + "_" + view.name + "_" + std::to_string(frame) + ".tga";
            failures += savePicture(path, size) ? 0 : 1;
        }
    }
    return failures;
}

void listLevelModels() {
    const struct {
        const level::ModelAsset& asset;
        float scale;
        const char* name;
        const char* view;
        const char* options;
    } models[] = {
        {level::kHerder, level::kHerder.scale, "herder", "three-quarter", ""},
        {level::kSheep, level::kSheep.scale, "sheep", "three-quarter", ""},
        {level::kWolf, level::kWolf.scale, "wolf", "three-quarter", ""},
        {level::kFlag, level::kFlag.scale, "flag", "three-quarter", ""},
        {level::kRocket, level::kRocketFlightScale, "rocket", "three-quarter", ""},
        {level::kTestSphere, level::kTestSphere.scale, "sphere", "three-quarter", ""},
        {level::kPowerPlant, level::kPowerPlant.scale, "powerplant", "three-quarter", ""},
        {level::kFold, level::kFold.scale, "fold", "three-quarter", ""},
        {level::kCanyon, level::kCanyon.scale, "canyon", "top", ""},
        {level::kTerrain, level::kTerrain.scale, "terrain", "three-quarter", ""},
        {level::kTerrainPreset, level::kTerrainPreset.scale, "preset", "three-quarter", ""},
        {level::kSky, level::kSky.scale, "sky", "front", "--inside"},
    };
    for (const auto& m : models) {
        std::printf("%s %s %g %s %s %s\n", m.asset.file, m.asset.texture, m.scale, m.name, m.view,
                    m.asset.animated ? "--animated" : m.options);
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 2 && std::string(argv[1]) == "--list") {
        listLevelModels();
        return 0;
    }
    if (argc < 5) {
        std::fprintf(stderr, "usage: model-viewer <model> <texture> <scale> <out-prefix> "
                             "[--animated] [--inside] [--size N]\n");
        return 2;
    }
    bool inside = false;
    bool animated = false;
    int size = kDefaultSize;
    for (int i = 5; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--inside") {
            inside = true;
        } else if (arg == "--animated") {
            animated = true;
        } else if (arg == "--size" && i + 1 < argc) {
            size = std::clamp(std::atoi(argv[++i]), 64, 2048);
        }
    }
    glutInit(&argc, argv);
    glutInitDisplayMode(GLUT_DOUBLE | GLUT_DEPTH);
    glutInitWindowSize(size, size);
    glutCreateWindow("model-viewer");
    Renderer::windowWidth = Renderer::windowHeight = size;
    Renderer state(nullptr); // the game's start-up GL state: culling, materials, normalisation
    FBXModel model;
    model.animated = animated;
    model.textureFile = argv[2];
    ModelReader reader;
    model.loadModel(reader, argv[1]);
    model.scale = static_cast<float>(std::atof(argv[3]));
    if (model.vertexCount == 0) {
        std::fprintf(stderr, "model-viewer: %s has nothing to draw (see log.txt)\n", argv[1]);
        return 1;
    }
    model.setRenderMode(FBXModel::kImmediate);
    const int failures = render(model, argv[4], size, inside);
    if (failures > 0) {
        std::fprintf(stderr, "model-viewer: %d pictures could not be written\n", failures);
    }
    return failures == 0 ? 0 : 1;
}
