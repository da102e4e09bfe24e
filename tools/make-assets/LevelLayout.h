// LevelLayout: the fixed points of the level that the models are designed around: where the game
// places each piece (scale, turn about y, actor position), the canyon's waypoints, the start
// positions. Level pieces are designed in world coordinates and written in model coordinates
// through the inverse of their placement; the tests measure them the same way.
#pragma once

#include <assimp/types.h>

#include <array>
#include <cmath>

namespace assets {

// world = R_y(angle) * (scale * p) + position, with R_y turning +x towards -z for +90 degrees
// (glRotatef's convention).
struct Placement {
    float scale;
    float angleDegrees;
    aiVector3D position;

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

inline const Placement kTerrainPlacement{0.015f, 90.0f, aiVector3D(-285.0f, 10.0f, -275.0f)};
inline const Placement kCanyonPlacement{0.015f, 90.0f, aiVector3D(-270.0f, 15.5f, -350.0f)};
inline const Placement kPowerPlantPlacement{0.02f, 0.0f, aiVector3D(-110.0f, 15.0f, -240.0f)};
// The sky object stands at (0, -20, 0), scaled by its model's own 0.2.
inline const Placement kSkyPlacement{0.2f, 0.0f, aiVector3D(0.0f, -20.0f, 0.0f)};

// The canyon's waypoints, W0 (the den) first.
inline const std::array<aiVector3D, 7> kWaypoints{{
    {-40.5126f, -16.1909f, 8.51358f},
    {-96.6539f, -12.3899f, -12.4644f},
    {-129.514f, -9.46986f, -22.6871f},
    {-164.342f, -9.29911f, -20.9004f},
    {-189.127f, -12.5628f, 6.49778f},
    {-181.132f, -16.6827f, 47.278f},
    {-206.921f, -17.007f, 53.8851f},
}};
// The canyon floor lies this far below each waypoint.
inline constexpr float kFloorBelowWaypoint = 1.5f;

inline const aiVector3D kHerderStart(0.0f, 5.0f, 0.0f);
// Sheep i starts at (10 i - 30, 10, -20).
inline aiVector3D sheepStart(int i) {
    return aiVector3D(10.0f * static_cast<float>(i) - 30.0f, 10.0f, -20.0f);
}
inline const aiVector3D kPowerPlantCentre(-110.0f, 15.0f, -240.0f);
inline constexpr float kGoalRadius = 15.0f;

// The play area the terrain covers (world x and z).
inline constexpr float kWorldMinX = -285.0f;
inline constexpr float kWorldMaxX = 115.0f;
inline constexpr float kWorldMinZ = -275.0f;
inline constexpr float kWorldMaxZ = 125.0f;

} // namespace assets
