// Small props: the herd flag, the rocket and the checkerboard test sphere. Each is designed in
// world units and written at its model's drawing scale.
#include "Canvas.h"
#include "FbxExport.h"
#include "Models.h"

#include <cmath>

namespace assets {

static constexpr float kSphereRadius = 100.0f;
static constexpr int kPropTexture = 256;
static constexpr uint32_t kSeed = 606;
// Where the ground lies below the flag object: the flag is planted below the herder's capsule
// centre, which stands half the capsule's height and its radius above the ground.
static constexpr float kFlagGround =
    level::kFlagBelowHerder - (level::kHerderCapsule.height / 2.0f + level::kHerderCapsule.radius);
static constexpr float kPoleHeight = 3.0f;

static void scaleMesh(AssetMesh& m, float scale) {
    aiMatrix4x4 s;
    aiMatrix4x4::Scaling(aiVector3D(scale, scale, scale), s);
    m.transform(s);
}

// A cloth that ripples along its length; two layers so it shows from both sides.
static AssetMesh cloth(float x0, float y0, float length, float height, const UvRect& uv) {
    AssetMesh front;
    const int columns = 10;
    for (int i = 0; i <= columns; ++i) {
        const float s = static_cast<float>(i) / columns;
        const float wave = 0.12f * std::sin(s * 7.0f) * s;
        const float dw = 0.12f * (7.0f * std::cos(s * 7.0f) * s + std::sin(s * 7.0f)) / length;
        const aiVector3D n(-dw, 0, 1);
        front.addVertex(aiVector3D(x0 + s * length, y0, wave), n, uv.at(s, 0));
        front.addVertex(aiVector3D(x0 + s * length, y0 + height, wave), n, uv.at(s, 1));
        if (i > 0) {
            const uint32_t b = static_cast<uint32_t>(front.positions.size()) - 4;
            front.addTriangle(b, b + 2, b + 3);
            front.addTriangle(b, b + 3, b + 1);
        }
    }
    AssetMesh back = front;
    back.flipFaces();
    front.append(back);
    return front;
}

bool writeFlag(const std::string& dir) {
    const UvRect pole{0.0f, 0.0f, 0.2f, 1.0f}, fabric{0.25f, 0.0f, 1.0f, 1.0f};
    ModelFile model;
    model.nodeName = "Flag";
    model.textureName = level::kFlag.texture;
    model.mesh = makeTube(aiVector3D(0, kFlagGround - 0.3f, 0),
                          aiVector3D(0, kFlagGround + kPoleHeight, 0), 0.05f, 0.04f, 10, pole);
    model.mesh.append(makeEllipsoid(aiVector3D(0, kFlagGround + kPoleHeight + 0.06f, 0),
                                    aiVector3D(0.09f, 0.09f, 0.09f), 10, 6, pole));
    model.mesh.append(cloth(0.04f, kFlagGround + kPoleHeight - 0.85f, 1.3f, 0.8f, fabric));
    scaleMesh(model.mesh, 1.0f / level::kFlag.scale);

    Canvas c(kPropTexture, kPropTexture, Rgb{0.80f, 0.10f, 0.08f});
    const int poleWidth = kPropTexture / 5;
    c.paint(0, 0, poleWidth, kPropTexture, [&](int x, int y) {
        return mix(Rgb{0.45f, 0.30f, 0.15f}, Rgb{0.60f, 0.42f, 0.22f}, hash01(x / 3, y, kSeed));
    });
    // A white sheep on red: an oval of wool, a head and four legs, painted as solid shapes.
    c.paint(poleWidth + 12, 0, kPropTexture, kPropTexture, [&](int x, int y) {
        const float u = (x - 150.0f) / 50.0f, v = (y - 130.0f) / 32.0f;
        const float hu = (x - 212.0f) / 14.0f, hv = (y - 146.0f) / 11.0f;
        const bool body = u * u + v * v < 1.0f;
        const bool head = hu * hu + hv * hv < 1.0f;
        const bool leg = y > 78 && y < 104 &&
                         (std::abs(x - 120) < 5 || std::abs(x - 138) < 5 || std::abs(x - 164) < 5 ||
                          std::abs(x - 182) < 5);
        if (body || leg || head) {
            return Rgb{0.96f, 0.95f, 0.90f};
        }
        const bool hem = y < 8 || y > kPropTexture - 8;
        return hem ? Rgb{0.95f, 0.80f, 0.15f} : Rgb{0.80f, 0.10f, 0.08f};
    });
    return writeModel(dir, level::kFlag.file, model, c, true);
}

bool writeRocket(const std::string& dir) {
    const UvRect body{0.0f, 0.0f, 0.5f, 1.0f}, nose{0.5f, 0.5f, 1.0f, 1.0f},
        fins{0.5f, 0.0f, 1.0f, 0.5f};
    ModelFile model;
    model.nodeName = "Rocket";
    model.textureName = level::kRocket.texture;
    // Upright along +y from the actor's origin, as long as its 0.4-unit capsule.
    model.mesh = makeCylinder(0.045f, 0.045f, 0.06f, 0.30f, 14, body);
    model.mesh.append(makeCylinder(0.045f, 0.0f, 0.30f, 0.40f, 14, nose));
    model.mesh.append(makeCylinder(0.03f, 0.04f, 0.0f, 0.06f, 14, fins));
    for (int i = 0; i < 4; ++i) {
        AssetMesh fin =
            makeBox(aiVector3D(0.07f, 0.09f, 0), aiVector3D(0.035f, 0.05f, 0.006f), fins);
        aiMatrix4x4 turn;
        aiMatrix4x4::RotationY(1.5707964f * static_cast<float>(i), turn);
        fin.transform(turn);
        model.mesh.append(fin);
    }
    scaleMesh(model.mesh, 1.0f / level::kRocketFlightScale);

    Canvas c(kPropTexture, kPropTexture);
    c.paint(0, 0, kPropTexture, kPropTexture, [&](int x, int y) {
        if (x < kPropTexture / 2) {
            const bool stripe = (y / 24) % 4 == 1;
            return stripe ? Rgb{0.85f, 0.12f, 0.08f} : Rgb{0.92f, 0.92f, 0.88f};
        }
        if (y >= kPropTexture / 2) {
            return Rgb{0.85f, 0.12f, 0.08f};
        }
        return mix(Rgb{0.25f, 0.25f, 0.27f}, Rgb{0.40f, 0.40f, 0.42f}, hash01(x, y, kSeed + 1));
    });
    return writeModel(dir, level::kRocket.file, model, c, false);
}

bool writeTestSphere(const std::string& dir) {
    ModelFile model;
    model.nodeName = "Sphere";
    model.textureName = level::kTestSphere.texture;
    model.mesh =
        makeEllipsoid(aiVector3D(0, 0, 0), aiVector3D(kSphereRadius, kSphereRadius, kSphereRadius),
                      24, 16, UvRect{0, 0, 1, 1});
    Canvas c(kPropTexture, kPropTexture);
    const int check = kPropTexture / 8;
    c.paint(0, 0, kPropTexture, kPropTexture, [&](int x, int y) {
        return ((x / check + y / check) % 2 == 0) ? Rgb{0.95f, 0.95f, 0.95f}
                                                  : Rgb{0.08f, 0.08f, 0.08f};
    });
    return writeModel(dir, level::kTestSphere.file, model, c, true);
}

} // namespace assets
