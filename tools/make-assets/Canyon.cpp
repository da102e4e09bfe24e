// The canyon: a skin of sandstone over both sides of the trench, with a lip along the rims, rock
// pillars behind the rims and a few boulders at the foot of the walls. The skin follows the
// trench's own distance field, so it meets the terrain everywhere without gaps (its edges sink
// below the ground) and stays clear of the floor the animals walk on.
#include "Canvas.h"
#include "FbxExport.h"
#include "LevelGround.h"
#include "MeshSimplify.h"
#include "Models.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace assets {

static constexpr float kSkinCell = 1.25f;
// The sampled skin and rocks are simplified towards this many triangles, moving the surface no
// further than this (world units); the sand much less, since it lies only a little above the
// terrain's own floor and the grass must not come through.
static constexpr SimplifyBudget kRockBudget{5000, 0.3f};
static constexpr SimplifyBudget kFloorBudget{600, 0.04f};
static constexpr float kFloorCell = 2.0f;
// The sand layer on the floor: how far above the terrain it lies, how wide it is, and the band
// of the sandstone texture it takes its colour from.
static constexpr float kSandDepth = 0.3f;
static constexpr float kSandHalfWidth = 7.5f;
// How far the skin sinks below the ground where it ends.
static constexpr float kSink = 2.0f;
// Standing proud of the slope (enough to cover where the coarser terrain grid cuts the curve of
// the trench side), and the lip along the rim.
static constexpr float kFace = 2.6f;
static constexpr float kLip = 2.6f;
// The skin fades out over this stretch of path before the den.
static constexpr float kDenFadeStart = 6.0f;
static constexpr float kDenFadeLength = 12.0f;
static constexpr uint32_t kRockSeed = 303;
static constexpr int kTextureWidth = 512;
static constexpr int kTextureHeight = 1024;
// The texture's lower part is the rock: its rows are distances over the skin's surface, measured
// across the canyon from the foot of the wall, so the strata follow the walls and the rock keeps
// its texel size on steep faces and flat rims alike; along the path it repeats every 12 units.
// Its top rows are sand for the floor, mapped across the floor's width.
static constexpr float kUPerUnit = 1.0f / 12.0f;
static constexpr float kRockArc = 32.0f;
static constexpr float kArcStep = 0.25f;
static constexpr float kRockTop = 0.86f;
static constexpr float kSandBottom = 0.89f;
static constexpr float kSandTop = 0.99f;

// Height of the canyon skin at (x, z): above the ground on the trench sides and rims, below it
// everywhere else.
static float skinHeight(float x, float z) {
    const float ground = groundHeight(x, z);
    const PathPoint p = closestOnCanyon(x, z);
    const float f = kCanyonTrench.floorHalfWidth, s = kCanyonTrench.sideWidth;
    const float d = p.distance;
    const float grain = fractalNoise(p.along * 0.35f, (d + ground) * 0.4f, 256, 3, kRockSeed);
    float bump = -kSink;
    if (d > f - 1.6f && d < f + s + 4.0f) {
        const float rise = smoothstep((d - (f - 1.6f)) / 1.2f);
        const float face = kFace + 0.9f * grain;
        const float lip =
            (kLip + 1.6f * grain) * smoothstep(1.0f - std::fabs(d - (f + s + 0.6f)) / 2.2f);
        const float fall = smoothstep((f + s + 4.0f - d) / 1.6f);
        bump = -kSink + (kSink + std::max(face, lip)) * rise * fall;
    }
    const float fade = smoothstep((p.along - kDenFadeStart) / kDenFadeLength);
    const float surface = surfaceHeight(x, z);
    const float trench = p.floor + (surface - p.floor) * smoothstep((d - f) / s);
    const bool canyonShapesGround = std::fabs(trench - ground) < 0.05f || ground >= trench;
    if (!canyonShapesGround) {
        bump = -kSink;
    }
    return ground - kSink + (bump + kSink) * fade;
}

static void pathAt(float s, aiVector3D* point, aiVector3D* tangent);

// Distance over the skin from the foot of the wall to (x, z), straight out from the path.
static float profileArc(float x, float z, const PathPoint& p) {
    aiVector3D foot, tangent;
    pathAt(p.along, &foot, &tangent);
    aiVector3D out(x - foot.x, 0.0f, z - foot.z);
    const float d = out.Length();
    const float start = kCanyonTrench.floorHalfWidth - 2.6f;
    if (d <= start) {
        return 0.0f;
    }
    out /= d;
    float arc = 0.0f;
    float t = start;
    float h = skinHeight(foot.x + out.x * t, foot.z + out.z * t);
    while (t < d) {
        const float next = std::min(d, t + kArcStep);
        const float nextH = skinHeight(foot.x + out.x * next, foot.z + out.z * next);
        arc += std::hypot(next - t, nextH - h);
        t = next;
        h = nextH;
    }
    return arc;
}

// The texture row of the rock at this distance over the skin.
static float rockRow(float arc) {
    return kRockTop * std::clamp(arc / kRockArc, 0.0f, 1.0f);
}

// A height grid over the part of the canyon's box where `keep` accepts a cell corner; uv maps a
// world point and its height to texture coordinates.
using HeightFn = float (*)(float, float);
using KeepFn = bool (*)(const PathPoint&);
using UvFn = aiVector2D (*)(float, float, const PathPoint&);

static AssetMesh canyonGrid(float cell, HeightFn height, KeepFn keep, UvFn uvOf) {
    const float x0 = -225.0f, x1 = -20.0f, z0 = -45.0f, z1 = 75.0f;
    const int nx = static_cast<int>((x1 - x0) / cell), nz = static_cast<int>((z1 - z0) / cell);
    auto at = [&](int i, int j) {
        return aiVector2D(x0 + cell * static_cast<float>(i), z0 + cell * static_cast<float>(j));
    };
    AssetMesh m;
    std::map<std::pair<int, int>, uint32_t> index;
    auto vertex = [&](int i, int j) {
        const auto found = index.find({i, j});
        if (found != index.end()) {
            return found->second;
        }
        const aiVector2D q = at(i, j);
        const float e = 0.2f;
        const float gx = (height(q.x + e, q.y) - height(q.x - e, q.y)) / (2 * e);
        const float gz = (height(q.x, q.y + e) - height(q.x, q.y - e)) / (2 * e);
        const float y = height(q.x, q.y);
        const uint32_t v = m.addVertex(aiVector3D(q.x, y, q.y), aiVector3D(-gx, 1, -gz),
                                       uvOf(q.x, q.y, closestOnCanyon(q.x, q.y)));
        index.emplace(std::make_pair(i, j), v);
        return v;
    };
    auto kept = [&](int i, int j) {
        const aiVector2D q = at(i, j);
        return keep(closestOnCanyon(q.x, q.y));
    };
    for (int j = 0; j < nz; ++j) {
        for (int i = 0; i < nx; ++i) {
            if (!kept(i, j) && !kept(i + 1, j + 1) && !kept(i + 1, j) && !kept(i, j + 1)) {
                continue;
            }
            const uint32_t a = vertex(i, j), b = vertex(i + 1, j);
            const uint32_t c = vertex(i, j + 1), d = vertex(i + 1, j + 1);
            m.addTriangle(a, c, d);
            m.addTriangle(a, d, b);
        }
    }
    return m;
}

// The rock skin over both trench sides and rims.
static AssetMesh canyonSkin() {
    return canyonGrid(
        kSkinCell, skinHeight,
        [](const PathPoint& p) {
            const float f = kCanyonTrench.floorHalfWidth, s = kCanyonTrench.sideWidth;
            return p.distance > f - 2.6f && p.distance < f + s + 5.0f;
        },
        [](float x, float z, const PathPoint& p) {
            return aiVector2D((p.along + p.distance * 0.6f) * kUPerUnit,
                              rockRow(profileArc(x, z, p)));
        });
}

// Sand over the trench floor, a little above the terrain's floor; its edges run under the walls.
static AssetMesh canyonFloor() {
    return canyonGrid(
        kFloorCell,
        [](float x, float z) {
            const PathPoint p = closestOnCanyon(x, z);
            return p.floor + kSandDepth - kSink * smoothstep((p.distance - kSandHalfWidth) / 2.0f);
        },
        [](const PathPoint& p) { return p.distance < kSandHalfWidth; },
        [](float x, float z, const PathPoint& p) {
            // Across the floor from one side to the other, so the sand is not mirrored about
            // the path into a diamond pattern.
            aiVector3D foot, tangent;
            pathAt(p.along, &foot, &tangent);
            const float side = tangent.x * (z - foot.z) - tangent.z * (x - foot.x) < 0.0f ? -1.0f : 1.0f;
            const float across =
                0.5f + 0.5f * std::clamp(side * p.distance / kSandHalfWidth, -1.0f, 1.0f);
            return aiVector2D(p.along * kUPerUnit, kSandBottom + (kSandTop - kSandBottom) * across);
        });
}

// A point on the canyon path at arc length s from W0, with the path's direction there.
static void pathAt(float s, aiVector3D* point, aiVector3D* tangent) {
    for (size_t i = 0; i + 1 < kWaypoints.size(); ++i) {
        aiVector3D e = kWaypoints[i + 1] - kWaypoints[i];
        e.y = 0;
        const float length = e.Length();
        if (s <= length || i + 2 == kWaypoints.size()) {
            *tangent = e / length;
            *point = kWaypoints[i] + *tangent * std::min(s, length);
            return;
        }
        s -= length;
    }
}

// A rough rock: an ellipsoid whose radius wobbles with noise, standing on the ground at (x, z).
static AssetMesh rock(float x, float z, const aiVector3D& radii, uint32_t seed) {
    const float base = std::min(groundHeight(x, z), skinHeight(x, z));
    AssetMesh m = makeEllipsoid(aiVector3D(0, 0, 0), radii, 10, 7, UvRect{0, 0.2f, 2, kRockTop});
    for (size_t v = 0; v < m.positions.size(); ++v) {
        aiVector3D& p = m.positions[v];
        const float wobble =
            0.75f + 0.5f * fractalNoise(p.x * 0.9f + 50, p.y * 0.9f + p.z * 0.7f + 50, 64, 2, seed);
        p *= wobble;
        p += aiVector3D(x, base + radii.y * 0.55f, z);
    }
    return m;
}

static AssetMesh formations() {
    AssetMesh m;
    const float f = kCanyonTrench.floorHalfWidth, s = kCanyonTrench.sideWidth;
    uint32_t seed = kRockSeed + 10;
    for (float along = 20.0f; along < 228.0f; along += 21.0f) {
        aiVector3D p, t;
        pathAt(along, &p, &t);
        const aiVector3D n(-t.z, 0, t.x);
        for (float side : {-1.0f, 1.0f}) {
            const float h = 3.5f + 5.0f * hash01(static_cast<int>(along), side > 0, seed);
            const float r = 1.6f + 1.2f * hash01(static_cast<int>(along), 7, seed);
            const aiVector3D q = p + n * (side * (f + s + 3.5f + r));
            if (closestOnCanyon(q.x, q.z).distance > f + s + 1.0f) {
                m.append(rock(q.x, q.z, aiVector3D(r, h, r * 1.2f), ++seed));
            }
        }
    }
    for (float along = 30.0f; along < 228.0f; along += 26.0f) {
        aiVector3D p, t;
        pathAt(along, &p, &t);
        bool nearWaypoint = false;
        for (const aiVector3D& w : kWaypoints) {
            nearWaypoint = nearWaypoint || (w - p).Length() < 9.0f;
        }
        if (nearWaypoint) {
            continue;
        }
        const float side = (static_cast<int>(along) / 26) % 2 == 0 ? 1.0f : -1.0f;
        const aiVector3D n(-t.z, 0, t.x);
        const aiVector3D q = p + n * (side * (f - 0.4f));
        m.append(rock(q.x, q.z, aiVector3D(1.4f, 1.1f, 1.7f), ++seed));
    }
    return m;
}

// Sandstone in level strata, from rust red to pale orange, weathered by noise; sand on top.
static Canvas sandstone() {
    Canvas c(kTextureWidth, kTextureHeight);
    const Rgb deep{0.66f, 0.32f, 0.14f}, mid{0.86f, 0.50f, 0.22f}, pale{0.95f, 0.74f, 0.48f};
    const int rockRows = static_cast<int>(kRockTop * kTextureHeight);
    const float s = 8.0f / kTextureWidth;
    c.paint(0, 0, kTextureWidth, rockRows + 8, [&](int x, int y) {
        const float arc = kRockArc * static_cast<float>(y) / rockRows;
        const float warp = fractalNoise(x * s, y * s * 0.5f, 8, 3, kRockSeed + 1);
        const float strata = 0.5f + 0.5f * std::sin(arc * 1.9f + warp * 4.0f);
        const float grain = hash01(x, y, kRockSeed + 2);
        const float blotch = fractalNoise(x * s * 2, y * s, 16, 4, kRockSeed + 3);
        Rgb r = mix(deep, mid, strata);
        r = mix(r, pale, std::max(0.0f, blotch - 0.55f) * 2.2f);
        return mix(r, Rgb{r.r * 0.8f, r.g * 0.8f, r.b * 0.8f}, grain * 0.5f);
    });
    // Sand: 43 texels per unit along the path but only about 7 across the floor's 15 units, so
    // its noise is squeezed across to look even on the ground.
    const Rgb sandDark{0.72f, 0.50f, 0.30f}, sandLight{0.88f, 0.70f, 0.48f};
    c.paint(0, rockRows + 8, kTextureWidth, kTextureHeight, [&](int x, int y) {
        const float n = fractalNoise(x * s * 2.0f, y * s * 13.0f, 16, 4, kRockSeed + 4);
        const float pebble = hash01(x / 3, y, kRockSeed + 5) > 0.93f ? 0.25f : 0.0f;
        return mix(mix(sandDark, sandLight, n), Rgb{0.45f, 0.32f, 0.22f}, pebble);
    });
    return c;
}

bool writeCanyon(const std::string& dir) {
    return writeCanyon(dir, Detail::kShipped);
}

bool writeCanyon(const std::string& dir, Detail detail) {
    ModelFile model;
    model.nodeName = "Canyon";
    model.textureName = level::kCanyon.texture;
    model.mesh = canyonSkin();
    model.mesh.append(formations());
    const std::string name = level::kCanyon.file;
    simplifyFor(model.mesh, detail, kRockBudget, (name + " (rock)").c_str());
    AssetMesh floor = canyonFloor();
    simplifyFor(floor, detail, kFloorBudget, (name + " (sand)").c_str());
    model.mesh.append(floor);
    toModelSpace(model.mesh, kCanyonPlacement);
    return writeModel(dir, level::kCanyon.file, model, sandstone(), true);
}

} // namespace assets
