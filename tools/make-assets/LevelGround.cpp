// The level's ground: a surface (meadow, plateau, border hills) with the canyon, den and ramp cut
// into it. Everything here is in world coordinates.
#include "LevelGround.h"

#include "Canvas.h"

#include <algorithm>
#include <cmath>

namespace assets {

// Meadow undulation: small near the goal so the flock stands on level ground.
static constexpr float kMeadowBump = 0.5f;
static constexpr float kCountryBump = 2.5f;
static constexpr float kBumpScale = 1.0f / 37.0f;
static constexpr uint32_t kGroundSeed = 17;
// The power plant's plateau, at the height the plant stands on.
static constexpr float kPlateauHeight = level::kPowerPlantPlacement.position.y;
static constexpr float kPlateauRadius = 34.0f;
static constexpr float kPlateauFalloff = 70.0f;
// Hills along the border that nobody can climb.
static constexpr float kHillHeight = 38.0f;
static constexpr float kHillWidth = 40.0f;
static constexpr float kCliffWidth = 9.0f;
// A rim along the very edge, too steep to climb anywhere (over 70 degrees): the hills alone leave
// walkable ways up where their noise dips.
static constexpr float kRimWidth = 6.0f;
static constexpr float kRimHeight = 16.0f;

float smoothstep(float t) {
    t = std::clamp(t, 0.0f, 1.0f);
    return t * t * (3.0f - 2.0f * t);
}

static float noise(float x, float z, uint32_t seed) {
    // Large period: the level never repeats.
    return fractalNoise(x * kBumpScale + 100.0f, z * kBumpScale + 100.0f, 64, 3, seed) - 0.5f;
}

float surfaceHeight(float x, float z) {
    const float fromGoal = std::sqrt(x * x + z * z);
    const float bump =
        kMeadowBump + (kCountryBump - kMeadowBump) * smoothstep((fromGoal - 30.0f) / 60.0f);
    float h = bump * 2.0f * noise(x, z, kGroundSeed);

    const float dx = x - kPowerPlantCentre.x, dz = z - kPowerPlantCentre.z;
    const float fromPlant = std::sqrt(dx * dx + dz * dz);
    const float plateau = 1.0f - smoothstep((fromPlant - kPlateauRadius) / kPlateauFalloff);
    h = h * (1.0f - plateau) + kPlateauHeight * plateau;

    // Hills close the play area; next to the plateau they give way to a cliff at the very edge
    // so the power plant's yard stays level.
    const float edge = std::min(std::min(x - kWorldMinX, kWorldMaxX - x),
                                std::min(z - kWorldMinZ, kWorldMaxZ - z));
    const float hill = std::max(smoothstep((kHillWidth - edge) / kHillWidth) * (1.0f - plateau),
                                smoothstep((kCliffWidth - edge) / kCliffWidth));
    h += hill * (kHillHeight + 8.0f * noise(z, x, kGroundSeed + 1));
    h += kRimHeight * std::clamp((kRimWidth - edge) / kRimWidth, 0.0f, 1.0f);
    return h;
}

// Distance from p to the segment a-b in the xz plane, and the segment parameter of the closest
// point.
static float segmentDistance(float x, float z, const aiVector3D& a, const aiVector3D& b, float* t) {
    const float ex = b.x - a.x, ez = b.z - a.z;
    const float length2 = ex * ex + ez * ez;
    float s = length2 > 0.0f ? ((x - a.x) * ex + (z - a.z) * ez) / length2 : 0.0f;
    s = std::clamp(s, 0.0f, 1.0f);
    *t = s;
    const float px = a.x + ex * s - x, pz = a.z + ez * s - z;
    return std::sqrt(px * px + pz * pz);
}

PathPoint closestOnCanyon(float x, float z) {
    PathPoint best{1e30f, 0.0f, 0.0f};
    float along = 0.0f;
    for (size_t i = 0; i + 1 < kWaypoints.size(); ++i) {
        const aiVector3D& a = kWaypoints[i];
        const aiVector3D& b = kWaypoints[i + 1];
        float t = 0.0f;
        const float d = segmentDistance(x, z, a, b, &t);
        const float length = std::sqrt((b.x - a.x) * (b.x - a.x) + (b.z - a.z) * (b.z - a.z));
        if (d < best.distance) {
            const float floorA = a.y - kFloorBelowWaypoint, floorB = b.y - kFloorBelowWaypoint;
            best = {d, floorA + (floorB - floorA) * t, along + length * t};
        }
        along += length;
    }
    return best;
}

// The ground of a trench at distance d from its path, with its floor at `floor`.
static float trenchHeight(float d, float floor, float surface, const Trench& trench) {
    const float s = (d - trench.floorHalfWidth) / trench.sideWidth;
    return floor + (surface - floor) * smoothstep(s);
}

float groundHeight(float x, float z) {
    const float surface = surfaceHeight(x, z);
    float h = surface;

    const PathPoint canyon = closestOnCanyon(x, z);
    h = std::min(h, trenchHeight(canyon.distance, canyon.floor, surface, kCanyonTrench));

    const aiVector3D& den = kWaypoints[0];
    const float denFloor = den.y - kFloorBelowWaypoint;
    float t = 0.0f;
    const float rampDistance = segmentDistance(x, z, den, kRampTop, &t);
    const float rampLength = std::hypot(kRampTop.x - den.x, kRampTop.z - den.z);
    const float climb =
        std::max(0.0f, (t * rampLength - kDenFloorLength) / (rampLength - kDenFloorLength));
    const float rampFloor = denFloor + (surfaceHeight(kRampTop.x, kRampTop.z) - denFloor) * climb;
    h = std::min(h, trenchHeight(rampDistance, rampFloor, surface, kRampTrench));
    return h;
}

void toModelSpace(AssetMesh& mesh, const Placement& placement) {
    for (auto& p : mesh.positions) {
        p = placement.toModel(p);
    }
    const float a = -placement.angleDegrees * 3.1415927f / 180.0f;
    const float c = std::cos(a), s = std::sin(a);
    for (auto& n : mesh.normals) {
        n = aiVector3D(c * n.x + s * n.z, n.y, -s * n.x + c * n.z);
    }
}

} // namespace assets
