// The sky: a dome seen from inside (inward-facing triangles) around the whole level, painted as a
// red evening sky with a glowing horizon and drifting clouds.
#include "Canvas.h"
#include "FbxExport.h"
#include "LevelLayout.h"
#include "Models.h"

#include <algorithm>
#include <cmath>

namespace assets {

// World radius of the dome: encloses the play area and stays well inside the far plane.
static constexpr float kSkyRadius = 1500.0f;
// The dome reaches this far below the horizon so no gap shows under the hills.
static constexpr float kBelowHorizon = 0.35f;
static constexpr int kSegments = 48;
static constexpr int kRings = 24;
static constexpr int kTextureWidth = 1024;
static constexpr int kTextureHeight = 512;
static constexpr uint32_t kCloudSeed = 404;

static AssetMesh dome() {
    AssetMesh m;
    const float pi = 3.14159265f;
    for (int j = 0; j <= kRings; ++j) {
        const float t = static_cast<float>(j) / kRings;
        const float elevation = -kBelowHorizon + (pi * 0.5f + kBelowHorizon) * t;
        for (int i = 0; i <= kSegments; ++i) {
            const float s = static_cast<float>(i) / kSegments;
            const float a = 2.0f * pi * s;
            const aiVector3D dir(std::cos(elevation) * std::cos(a), std::sin(elevation),
                                 std::cos(elevation) * std::sin(a));
            // v follows the elevation so the texture's rows are heights in the sky.
            m.addVertex(dir * kSkyRadius, -dir, aiVector2D(s, t));
        }
    }
    const int row = kSegments + 1;
    for (int j = 0; j < kRings; ++j) {
        for (int i = 0; i < kSegments; ++i) {
            const uint32_t a = static_cast<uint32_t>(j * row + i), b = a + 1;
            const uint32_t c = a + static_cast<uint32_t>(row), d = c + 1;
            // Wound clockwise seen from outside: front faces point into the dome.
            m.addTriangle(a, b, d);
            if (j < kRings - 1) { // the top ring is the zenith point
                m.addTriangle(a, d, c);
            }
        }
    }
    return m;
}

static Canvas eveningSky() {
    Canvas c(kTextureWidth, kTextureHeight);
    const Rgb ground{0.20f, 0.06f, 0.04f}, horizon{1.00f, 0.55f, 0.22f};
    const Rgb low{0.85f, 0.22f, 0.12f}, high{0.32f, 0.06f, 0.16f}, zenith{0.10f, 0.03f, 0.12f};
    const float horizonRow = kTextureHeight * kBelowHorizon / (1.5707964f + kBelowHorizon);
    c.paint(0, 0, kTextureWidth, kTextureHeight, [&](int x, int y) {
        const float h = (static_cast<float>(y) - horizonRow) / (kTextureHeight - horizonRow);
        if (h < 0.0f) {
            return mix(horizon, ground, std::min(1.0f, -h * 4.0f));
        }
        Rgb sky = h < 0.12f ? mix(horizon, low, h / 0.12f)
                            : (h < 0.5f ? mix(low, high, (h - 0.12f) / 0.38f)
                                        : mix(high, zenith, (h - 0.5f) / 0.5f));
        // Clouds: stretched noise, thicker low in the sky, lit orange underneath.
        const float sx = 16.0f / kTextureWidth, sy = 64.0f / kTextureHeight;
        const float n = fractalNoise(x * sx, y * sy, 16, 5, kCloudSeed);
        const float cover = std::clamp((n - 0.52f) * 3.5f, 0.0f, 1.0f) * (1.0f - h * 0.8f);
        const Rgb cloud = mix(Rgb{1.0f, 0.62f, 0.38f}, Rgb{0.45f, 0.16f, 0.20f}, h);
        return mix(sky, cloud, cover * 0.85f);
    });
    return c;
}

bool writeSky(const std::string& dir) {
    ModelFile model;
    model.nodeName = "Sky";
    model.textureName = level::kSky.texture;
    model.mesh = dome();
    for (auto& p : model.mesh.positions) {
        p = kSkyPlacement.toModel(p + kSkyPlacement.position);
    }
    return writeModel(dir, level::kSky.file, model, eveningSky(), false);
}

} // namespace assets
