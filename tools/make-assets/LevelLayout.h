// LevelLayout: the generator's view of the level's fixed facts (LevelFacts.h, which holds every
// number): placements, waypoints and start positions in Assimp's vectors, with the placement's
// way from model to world coordinates and back. Level pieces are designed in world coordinates
// and written in model coordinates through the inverse of their placement; the tests measure
// them the same way.
#pragma once

#include "LevelFacts.h"

#include <assimp/types.h>

#include <array>
#include <cmath>

namespace assets {

inline aiVector3D toAi(const Vector3D& v) {
    return aiVector3D(v.x, v.y, v.z);
}

// world = R_y(angle) * (scale * p) + position, with R_y turning +x towards -z for +90 degrees
// (glRotatef's convention).
struct Placement {
    float scale;
    float angleDegrees;
    aiVector3D position;

    Placement(const level::Placement& p)
        : scale(p.scale), angleDegrees(p.turnDegrees), position(toAi(p.position)) {}

    aiVector3D toWorld(const aiVector3D& p) const {
        const float a = angleDegrees * 3.1415927f / 180.0f;
        const float c = std::cos(a), s = std::sin(a);
        const aiVector3D q = p * scale;
        return aiVector3D(c * q.x + s * q.z, q.y, -s * q.x + c * q.z) + position;
    }
    aiVector3D toModel(const aiVector3D& w) const {
        const float a = angleDegrees * 3.1415927f / 180.0f;
        const float c = std::cos(a), s = std::sin(a);
        const aiVector3D q = w - position;
        return aiVector3D(c * q.x - s * q.z, q.y, s * q.x + c * q.z) / scale;
    }
};

inline const Placement kTerrainPlacement{level::kTerrainPlacement};
inline const Placement kCanyonPlacement{level::kCanyonPlacement};
inline const Placement kPowerPlantPlacement{level::kPowerPlantPlacement};
inline const Placement kSkyPlacement{level::kSkyPlacement};
inline const Placement kTerrainPresetPlacement{level::kTerrainPresetPlacement};
// The fold is drawn at its centre at its scale, unturned.
inline const Placement kFoldPlacement{
    level::Placement{level::kFold.scale, 0.0f, level::kFoldCentre}};

inline const std::array<aiVector3D, level::kWaypointCount> kWaypoints = [] {
    std::array<aiVector3D, level::kWaypointCount> points;
    for (int i = 0; i < level::kWaypointCount; ++i) {
        points[static_cast<size_t>(i)] = toAi(level::kWaypoints[i]);
    }
    return points;
}();

inline const aiVector3D kHerderStart = toAi(level::kHerderStart);
inline aiVector3D sheepStart(int i) {
    return toAi(level::sheepStart(i));
}
inline const aiVector3D kPowerPlantCentre = kPowerPlantPlacement.position;

using level::kFloorBelowWaypoint;
using level::kWorldMaxX;
using level::kWorldMaxZ;
using level::kWorldMinX;
using level::kWorldMinZ;

} // namespace assets
