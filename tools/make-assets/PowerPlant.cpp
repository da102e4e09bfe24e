// The power plant on its plateau: oil tanks joined by pipes on supports, a pump house, a striped
// chimney and a fence with a gate towards the meadow, all on a concrete pad. One mesh, one
// texture atlas whose regions each part maps into.
#include "Canvas.h"
#include "FbxExport.h"
#include "LevelGround.h"
#include "Models.h"

#include <algorithm>
#include <cmath>

namespace assets {

static constexpr int kTextureSize = 512;
static constexpr uint32_t kSeed = 505;
// Half extents of the fenced yard (world units) and the gate's half width on its +z side.
static constexpr float kYardX = 30.0f;
static constexpr float kYardZ = 22.0f;
static constexpr float kGateHalf = 5.0f;
static constexpr float kPostSpacing = 4.0f;
static constexpr float kFenceHeight = 2.2f;

// Atlas regions, inset by a few texels so mipmaps do not bleed between them.
static UvRect region(float u0, float v0, float u1, float v1) {
    const float m = 3.0f / kTextureSize;
    return {u0 + m, v0 + m, u1 - m, v1 - m};
}
static const UvRect kTank = region(0.0f, 0.5f, 0.5f, 1.0f);
static const UvRect kPipe = region(0.5f, 0.75f, 0.75f, 1.0f);
static const UvRect kChimney = region(0.75f, 0.5f, 1.0f, 1.0f);
static const UvRect kWall = region(0.0f, 0.0f, 0.5f, 0.5f);
static const UvRect kConcrete = region(0.5f, 0.5f, 0.75f, 0.75f);
static const UvRect kFence = region(0.5f, 0.25f, 0.75f, 0.5f);
static const UvRect kRoof = region(0.75f, 0.25f, 1.0f, 0.5f);

static AssetMesh moved(AssetMesh m, const aiVector3D& by) {
    aiMatrix4x4 t;
    aiMatrix4x4::Translation(by, t);
    m.transform(t);
    return m;
}

static AssetMesh tank(const aiVector3D& at, float radius, float height) {
    AssetMesh m = makeCylinder(radius, radius, 0.0f, height, 28, kTank, false);
    m.append(makeEllipsoid(aiVector3D(0, height, 0), aiVector3D(radius, radius * 0.22f, radius), 28,
                           6, kRoof));
    // A ladder up the side facing the yard's centre.
    for (float y = 0.6f; y < height; y += 0.7f) {
        m.append(makeBox(aiVector3D(0, y, radius + 0.15f), aiVector3D(0.45f, 0.05f, 0.05f), kPipe));
    }
    m.append(makeBox(aiVector3D(-0.45f, height * 0.5f, radius + 0.15f),
                     aiVector3D(0.05f, height * 0.5f, 0.05f), kPipe));
    m.append(makeBox(aiVector3D(0.45f, height * 0.5f, radius + 0.15f),
                     aiVector3D(0.05f, height * 0.5f, 0.05f), kPipe));
    return moved(m, at);
}

// A pipe at a constant height between two points, on supports every few units.
static AssetMesh pipe(const aiVector3D& a, const aiVector3D& b, float y) {
    AssetMesh m =
        makeTube(aiVector3D(a.x, y, a.z), aiVector3D(b.x, y, b.z), 0.55f, 0.55f, 12, kPipe);
    const aiVector3D d = b - a;
    const int supports = std::max(1, static_cast<int>(d.Length() / 5.0f));
    for (int i = 1; i < supports; ++i) {
        const aiVector3D p = a + d * (static_cast<float>(i) / supports);
        m.append(makeBox(aiVector3D(p.x, y * 0.5f, p.z), aiVector3D(0.2f, y * 0.5f, 0.2f), kFence));
    }
    return m;
}

static AssetMesh fenceSide(const aiVector3D& a, const aiVector3D& b, bool gate) {
    AssetMesh m;
    const aiVector3D d = b - a;
    const float length = d.Length();
    const aiVector3D dir = d / length;
    auto span = [&](float s0, float s1) {
        for (float s = s0; s <= s1 + 0.01f; s += kPostSpacing) {
            const aiVector3D p = a + dir * s;
            m.append(makeBox(aiVector3D(p.x, kFenceHeight * 0.5f, p.z),
                             aiVector3D(0.12f, kFenceHeight * 0.5f, 0.12f), kFence));
        }
        const aiVector3D mid = a + dir * ((s0 + s1) * 0.5f);
        const aiVector3D half(std::fabs(dir.x) * (s1 - s0) * 0.5f + 0.05f, 0.06f,
                              std::fabs(dir.z) * (s1 - s0) * 0.5f + 0.05f);
        for (float y : {0.8f, 1.9f}) {
            m.append(makeBox(aiVector3D(mid.x, y, mid.z), half, kFence));
        }
    };
    if (gate) {
        span(0.0f, length * 0.5f - kGateHalf);
        span(length * 0.5f + kGateHalf, length);
    } else {
        span(0.0f, length);
    }
    return m;
}

static AssetMesh plant() {
    AssetMesh m;
    m.append(makeBox(aiVector3D(0, -0.5f, 0), aiVector3D(kYardX + 2, 0.7f, kYardZ + 2), kConcrete));
    const aiVector3D tanks[] = {{-20, 0, -14}, {-20, 0, 10}, {0, 0, -16}, {-2, 0, 6}};
    const float radii[] = {7.0f, 6.0f, 5.0f, 4.5f};
    const float heights[] = {11.0f, 10.0f, 8.0f, 7.5f};
    for (int i = 0; i < 4; ++i) {
        m.append(tank(tanks[i] + aiVector3D(0, 0.2f, 0), radii[i], heights[i]));
    }
    m.append(pipe(tanks[0], tanks[2], 3.0f));
    m.append(pipe(tanks[1], tanks[3], 2.5f));
    m.append(pipe(tanks[0], tanks[1], 4.0f));
    m.append(pipe(tanks[2], aiVector3D(18, 0, -4), 3.5f));
    m.append(pipe(tanks[3], aiVector3D(18, 0, -4), 2.0f));
    // Pump house with a roof slab.
    m.append(makeBox(aiVector3D(18, 4.2f, -4), aiVector3D(7, 4.0f, 8), kWall));
    m.append(makeBox(aiVector3D(18, 8.5f, -4), aiVector3D(7.8f, 0.4f, 8.8f), kRoof));
    // Chimney beside the pump house.
    m.append(moved(makeCylinder(2.6f, 1.7f, 0.0f, 38.0f, 20, kChimney), aiVector3D(22, 0.2f, 12)));
    const aiVector3D corners[] = {
        {-kYardX, 0, -kYardZ}, {kYardX, 0, -kYardZ}, {kYardX, 0, kYardZ}, {-kYardX, 0, kYardZ}};
    for (int i = 0; i < 4; ++i) {
        m.append(fenceSide(corners[i], corners[(i + 1) % 4], i == 2));
    }
    return moved(m, kPowerPlantCentre);
}

static Canvas atlas() {
    Canvas c(kTextureSize, kTextureSize, Rgb{0.5f, 0.5f, 0.5f});
    const int h = kTextureSize / 2, q = kTextureSize / 4;
    // Tanks: pale painted steel, vertical weld seams, a red band, rust running down.
    c.paint(0, h, h, kTextureSize, [&](int x, int y) {
        const float rust = std::max(0.0f, fractalNoise(x / 6.0f, y / 40.0f, 64, 3, kSeed) - 0.55f);
        Rgb r = mix(Rgb{0.86f, 0.86f, 0.82f}, Rgb{0.72f, 0.73f, 0.70f}, hash01(x, y, kSeed));
        if (x % 32 == 0 || (y - h) % 48 == 0) {
            r = Rgb{0.55f, 0.56f, 0.55f};
        }
        if (y > kTextureSize - 40 && y < kTextureSize - 24) {
            r = Rgb{0.70f, 0.12f, 0.08f};
        }
        return mix(r, Rgb{0.45f, 0.22f, 0.10f}, std::min(1.0f, rust * 3.0f));
    });
    c.paint(h, h + q, h + q, kTextureSize, [&](int x, int y) {
        return mix(Rgb{0.25f, 0.27f, 0.28f}, Rgb{0.42f, 0.44f, 0.45f},
                   0.5f + 0.5f * std::sin(y * 0.4f) * 0.5f + 0.3f * hash01(x, y, kSeed + 1));
    });
    // Chimney: concrete with red and white bands near the top.
    c.paint(h + q, h, kTextureSize, kTextureSize, [&](int x, int y) {
        const int band = (y - h) / 16;
        Rgb r = mix(Rgb{0.55f, 0.53f, 0.50f}, Rgb{0.65f, 0.63f, 0.60f}, hash01(x, y, kSeed + 2));
        if (y > h + 3 * q / 2 + 40) {
            r = band % 2 == 0 ? Rgb{0.78f, 0.10f, 0.08f} : Rgb{0.92f, 0.92f, 0.90f};
        }
        return r;
    });
    // Pump house wall: concrete with a grid of dark windows.
    c.paint(0, 0, h, h, [&](int x, int y) {
        Rgb r = mix(Rgb{0.62f, 0.60f, 0.55f}, Rgb{0.70f, 0.68f, 0.63f},
                    fractalNoise(x / 16.0f, y / 16.0f, 16, 3, kSeed + 3));
        const bool window = (x % 64) > 16 && (x % 64) < 48 && (y % 64) > 24 && (y % 64) < 52;
        return window ? Rgb{0.12f, 0.16f, 0.22f} : r;
    });
    c.paint(h, h, h + q, h + q, [&](int x, int y) {
        const float crack = std::fabs(fractalNoise(x / 20.0f, y / 20.0f, 8, 3, kSeed + 4) - 0.5f);
        Rgb r = mix(Rgb{0.58f, 0.57f, 0.55f}, Rgb{0.68f, 0.67f, 0.65f}, hash01(x, y, kSeed + 5));
        return crack < 0.02f ? Rgb{0.35f, 0.35f, 0.34f} : r;
    });
    c.paint(h, q, h + q, h, [&](int x, int y) {
        return mix(Rgb{0.12f, 0.26f, 0.16f}, Rgb{0.20f, 0.34f, 0.22f}, hash01(x, y, kSeed + 6));
    });
    c.paint(h + q, q, kTextureSize, h, [&](int x, int y) {
        return mix(Rgb{0.20f, 0.20f, 0.22f}, Rgb{0.30f, 0.29f, 0.30f}, hash01(x / 2, y, kSeed + 7));
    });
    return c;
}

bool writePowerPlant(const std::string& dir) {
    ModelFile model;
    model.nodeName = "PowerPlant";
    model.textureName = level::kPowerPlant.texture;
    model.mesh = plant();
    toModelSpace(model.mesh, kPowerPlantPlacement);
    return writeModel(dir, level::kPowerPlant.file, model, atlas(), false);
}

} // namespace assets
