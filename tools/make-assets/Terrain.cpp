// The terrain: the level's ground sampled on a regular grid over the play area, written in the
// model coordinates of its placement, with a tiled grass texture that has worn, stony patches.
// The unused terrain preset is a coarser grid of the same ground with a rock texture.
#include "Canvas.h"
#include "FbxExport.h"
#include "LevelGround.h"
#include "Models.h"

#include <cmath>

namespace assets {

// 150 x 150 cells of 2.67 units: 45,000 triangles, under the 50k budget.
static constexpr int kCells = 150;
static constexpr int kPresetCells = 60;
// World units per texture repeat.
static constexpr float kTileSize = 12.0f;
static constexpr int kTextureSize = 512;
static constexpr uint32_t kGrassSeed = 101;
static constexpr uint32_t kRockSeed = 202;

static AssetMesh groundMesh(int cells) {
    const float width = kWorldMaxX - kWorldMinX;
    return makeHeightGrid(kWorldMinX, kWorldMinZ, kWorldMaxX, kWorldMaxZ, cells, cells,
                          groundHeight, width / kTileSize);
}

// Seamless noise over the texture: the period matches the texture's width in noise cells.
static float tiled(int x, int y, int period, int octaves, uint32_t seed) {
    const float s = static_cast<float>(period) / static_cast<float>(kTextureSize);
    return fractalNoise(static_cast<float>(x) * s, static_cast<float>(y) * s, period, octaves,
                        seed);
}

static Canvas grassTexture() {
    Canvas c(kTextureSize, kTextureSize);
    const Rgb grassDark{0.16f, 0.30f, 0.08f}, grassLight{0.42f, 0.55f, 0.16f};
    const Rgb dry{0.55f, 0.52f, 0.26f}, dirt{0.40f, 0.31f, 0.19f}, stone{0.55f, 0.53f, 0.50f};
    c.paint(0, 0, kTextureSize, kTextureSize, [&](int x, int y) {
        const float blades = hash01(x, y, kGrassSeed);
        const float clumps = tiled(x, y, 32, 3, kGrassSeed + 1);
        const float patches = tiled(x, y, 4, 4, kGrassSeed + 2);
        Rgb g = mix(grassDark, grassLight, 0.55f * clumps + 0.45f * blades);
        g = mix(g, dry, 0.35f * std::max(0.0f, tiled(x, y, 8, 2, kGrassSeed + 3) - 0.45f) * 3.0f);
        const float bare = std::max(0.0f, (patches - 0.62f) * 6.0f);
        Rgb ground = mix(dirt, stone, hash01(x / 3, y / 3, kGrassSeed + 4) > 0.8f ? 0.7f : 0.1f);
        return mix(g, ground, std::min(1.0f, bare));
    });
    return c;
}

static Canvas rockTexture() {
    Canvas c(kTextureSize, kTextureSize);
    const Rgb dark{0.30f, 0.24f, 0.20f}, light{0.62f, 0.52f, 0.42f}, moss{0.30f, 0.36f, 0.16f};
    c.paint(0, 0, kTextureSize, kTextureSize, [&](int x, int y) {
        const float n = tiled(x, y, 16, 5, kRockSeed);
        const float cracks = std::fabs(tiled(x, y, 8, 3, kRockSeed + 1) - 0.5f);
        Rgb r = mix(dark, light, n);
        r = mix(r, dark, cracks < 0.03f ? 0.7f : 0.0f);
        return mix(r, moss, std::max(0.0f, tiled(x, y, 4, 3, kRockSeed + 2) - 0.6f) * 2.0f);
    });
    return c;
}

bool writeTerrain(const std::string& dir) {
    ModelFile model;
    model.nodeName = "Terrain";
    model.textureName = level::kTerrain.texture;
    model.mesh = groundMesh(kCells);
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
