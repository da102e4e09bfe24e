// LevelGround: the shape of the level's ground as a height function of world x and z: a meadow
// near y = 0 around the origin, the canyon trench through the waypoints, the den at its east end
// with a ramp up to the meadow, the power plant's plateau and hills that close the play area.
// The terrain mesh samples it; the canyon walls and the power plant stand on it; the tests
// measure the written meshes against the same points.
#pragma once

#include "AssetMesh.h"
#include "LevelLayout.h"

namespace assets {

// Where the den's ramp reaches the meadow (world x, y, z).
inline const aiVector3D kRampTop(-6.0f, 0.0f, 44.0f);

// 0 below 0, 1 above 1, and a smooth S between: how trench sides and rims blend.
float smoothstep(float t);

// Ground height at world (x, z).
float groundHeight(float x, float z);
// Height of the ground before the canyon, den and ramp are cut into it.
float surfaceHeight(float x, float z);

// A cut into the ground along a path: a flat floor of halfWidth, then sides rising over
// sideWidth to the surface.
struct Trench {
    float floorHalfWidth;
    float sideWidth;
};
inline constexpr Trench kCanyonTrench{7.0f, 6.0f};
inline constexpr Trench kRampTrench{8.0f, 14.0f};
// The ramp's floor stays at the den's level for this far before it starts to climb, so the
// canyon's steep end never cuts across it.
inline constexpr float kDenFloorLength = 9.0f;

// The closest point of the canyon path (W0 to W6) to (x, z): its distance, the floor height there,
// and the distance along the path from W0.
struct PathPoint {
    float distance;
    float floor;
    float along;
};
PathPoint closestOnCanyon(float x, float z);

// Transforms a mesh designed in world coordinates into the model coordinates of a placement.
void toModelSpace(AssetMesh& mesh, const Placement& placement);

} // namespace assets
