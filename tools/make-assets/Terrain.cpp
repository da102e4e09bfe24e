// The terrain: the level's ground sampled on a regular grid over the play area, written in the
// model coordinates of its placement, with a tiled grass texture that has worn, stony patches.
// The unused terrain preset is a coarser grid of the same ground with a rock texture.
#include "Canvas.h"
#include "FbxExport.h"
#include "LevelGround.h"
#include "MeshSimplify.h"
#include "Models.h"

#include <cmath>

namespace assets {

// Sampled on 150 x 150 cells of 2.67 units (45,000 triangles), then simplified: the meadow is
// nearly flat and needs few triangles; the surface may move this far (world units), and no
// more, towards this many triangles.
static constexpr int kCells = 150;
static constexpr SimplifyBudget kTerrainBudget{7000, 0.25f};
static constexpr int kPresetCells = 60;
// World units per texture repeat: wide enough that the repeat does not line up across a hill,
// with 32 texels per unit for the grass near the camera.
static constexpr float kTileSize = 32.0f;
static constexpr int kTextureSize = 1024;
static constexpr int kRockTextureSize = 512;
static constexpr uint32_t kGrassSeed = 101;
static constexpr uint32_t kRockSeed = 202;

// The border band whose texture is unfolded over the slopes of the hills, and the step of the
// arc-length walk that does it.
static constexpr float kUnfoldBand = 50.0f;
static constexpr float kUnfoldStep = 0.5f;

// Length of the ground's profile between a and b along x (alongX) or z, at the other coordinate c.
static float profileLength(float a, float b, float c, bool alongX) {
    auto height = [&](float t) { return alongX ? groundHeight(t, c) : groundHeight(c, t); };
    const float direction = b > a ? 1.0f : -1.0f;
    float length = 0.0f, t = a, h = height(a);
    while ((b - t) * direction > 0.0f) {
        const float next = direction > 0.0f ? std::min(b, t + kUnfoldStep) : std::max(b, t - kUnfoldStep);
        const float nextH = height(next);
        length += std::hypot(next - t, nextH - h);
        t = next;
        h = nextH;
    }
    return length;
}

// A coordinate of the ground moved outwards by how much longer the hill's surface is than its
// plan, counted from the foot of the border band: the texture keeps its size up the hills
// instead of running into streaks.
static float unfold(float t, float c, float lo, float hi, bool alongX) {
    if (t < lo + kUnfoldBand) {
        return lo + kUnfoldBand - profileLength(lo + kUnfoldBand, t, c, alongX);
    }
    if (t > hi - kUnfoldBand) {
        return hi - kUnfoldBand + profileLength(hi - kUnfoldBand, t, c, alongX);
    }
    return t;
}

static AssetMesh groundMesh(int cells) {
    AssetMesh m = makeHeightGrid(kWorldMinX, kWorldMinZ, kWorldMaxX, kWorldMaxZ, cells, cells,
                                 groundHeight, 1.0f);
    for (size_t i = 0; i < m.positions.size(); ++i) {
        const aiVector3D& p = m.positions[i];
        const float u = unfold(p.x, p.z, kWorldMinX, kWorldMaxX, true);
        const float v = unfold(p.z, p.x, kWorldMinZ, kWorldMaxZ, false);
        m.uvs[i] = aiVector2D((u - kWorldMinX) / kTileSize, (v - kWorldMinZ) / kTileSize);
    }
    return m;
}

// Seamless noise over the texture: the period matches the texture's width in noise cells.
static float tiled(int x, int y, int period, int octaves, uint32_t seed,
                   int size = kTextureSize) {
    const float s = static_cast<float>(period) / static_cast<float>(size);
    return fractalNoise(static_cast<float>(x) * s, static_cast<float>(y) * s, period, octaves,
                        seed);
}

// Grass in two greens with clumps and dry streaks at several scales, none strong enough to mark
// the repeat, and a few soft-edged worn patches of earth and grit. Bright enough that slopes
// facing away from the sun, lit by the ambient term alone, still read as grass.
static Canvas grassTexture() {
    Canvas c(kTextureSize, kTextureSize);
    const Rgb grassDark{0.24f, 0.40f, 0.11f}, grassLight{0.52f, 0.68f, 0.22f};
    const Rgb dry{0.66f, 0.64f, 0.34f}, dirt{0.50f, 0.40f, 0.26f}, grit{0.64f, 0.60f, 0.54f};
    c.paint(0, 0, kTextureSize, kTextureSize, [&](int x, int y) {
        const float blades = 0.5f * (hash01(x, y, kGrassSeed) + hash01(x, y / 4, kGrassSeed + 5));
        const float tufts = tiled(x, y, 128, 2, kGrassSeed + 1);
        const float clumps = tiled(x, y, 16, 3, kGrassSeed + 6);
        Rgb g = mix(grassDark, grassLight, 0.35f * clumps + 0.35f * tufts + 0.3f * blades);
        const float dryness = tiled(x, y, 8, 3, kGrassSeed + 3);
        g = mix(g, dry, std::clamp((dryness - 0.5f) * 1.6f, 0.0f, 0.45f));
        // Worn patches: where low-frequency noise peaks, faded in over a wide margin.
        const float patches = tiled(x, y, 6, 3, kGrassSeed + 2);
        const float edge = tiled(x, y, 64, 2, kGrassSeed + 7) * 0.08f;
        const float bare = std::clamp((patches + edge - 0.66f) * 5.0f, 0.0f, 0.85f);
        const Rgb ground = mix(dirt, grit, 0.6f * hash01(x, y, kGrassSeed + 4) * tufts);
        return mix(g, ground, bare);
    });
    return c;
}

static Canvas rockTexture() {
    Canvas c(kRockTextureSize, kRockTextureSize);
    const Rgb dark{0.30f, 0.24f, 0.20f}, light{0.62f, 0.52f, 0.42f}, moss{0.30f, 0.36f, 0.16f};
    c.paint(0, 0, kRockTextureSize, kRockTextureSize, [&](int x, int y) {
        const float n = tiled(x, y, 16, 5, kRockSeed, kRockTextureSize);
        const float cracks = std::fabs(tiled(x, y, 8, 3, kRockSeed + 1, kRockTextureSize) - 0.5f);
        Rgb r = mix(dark, light, n);
        r = mix(r, dark, cracks < 0.03f ? 0.7f : 0.0f);
        return mix(r, moss, std::max(0.0f, tiled(x, y, 4, 3, kRockSeed + 2, kRockTextureSize) - 0.6f) * 2.0f);
    });
    return c;
}

bool writeTerrain(const std::string& dir) {
    return writeTerrain(dir, Detail::kShipped);
}

AssetMesh shippedGround() {
    AssetMesh m = groundMesh(kCells);
    simplify(m, kTerrainBudget.triangles, kTerrainBudget.maxError);
    return m;
}

bool writeTerrain(const std::string& dir, Detail detail) {
    ModelFile model;
    model.nodeName = "Terrain";
    model.textureName = level::kTerrain.texture;
    model.mesh = groundMesh(kCells);
    simplifyFor(model.mesh, detail, kTerrainBudget, level::kTerrain.file);
    toModelSpace(model.mesh, kTerrainPlacement);
    return writeModel(dir, level::kTerrain.file, model, grassTexture(), false);
}

bool writeTerrainPreset(const std::string& dir) {
    ModelFile model;
    model.nodeName = "TerrainOptimised";
    model.textureName = level::kTerrainPreset.texture;
    model.mesh = groundMesh(kPresetCells);
    toModelSpace(model.mesh, kTerrainPresetPlacement);
    return writeModel(dir, level::kTerrainPreset.file, model, rockTexture(), false);
}

} // namespace assets
