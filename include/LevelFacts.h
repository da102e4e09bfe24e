// LevelFacts: the fixed facts of the one level, in one place. The game builds the level from
// them, the content generator (tools/make-assets) designs and names its files by them, and the
// tests measure both against them: the model files with their textures and drawing scales, where
// the level places its pieces, the canyon's waypoints, the start positions, the characters'
// capsules, the goal radius and the play area.
#pragma once

#include "Vector3D.h"

#include <iterator>

namespace level {

// A generated model file and its texture, the scale the game draws it at, and whether it is a
// skinned character with a run take.
struct ModelAsset {
    const char* file;
    const char* texture;
    float scale;
    bool animated;
};

inline constexpr ModelAsset kTestSphere{"Schachbrettkugel100.fbx", "checkerboard.tga", 0.01f,
                                        false};
inline constexpr ModelAsset kHerder{"AniBrannicRun5.fbx", "Brannic.tga", 0.01f, true};
inline constexpr ModelAsset kSheep{"AniSheepRun2.fbx", "AniSheepRun2.tga", 0.01f, true};
inline constexpr ModelAsset kFlag{"Flag.fbx", "Flag.tga", 0.005f, false};
inline constexpr ModelAsset kRocket{"Rocket.fbx", "Rocket.tga", 0.015f, false};
inline constexpr ModelAsset kTerrain{"Level01Boden3.fbx", "Terrain2.tga", 0.015f, false};
inline constexpr ModelAsset kSky{"Sky.fbx", "Skyred.tga", 0.2f, false};
inline constexpr ModelAsset kCanyon{"Level01Version6.fbx", "orange.tga", 0.015f, false};
inline constexpr ModelAsset kPowerPlant{"Oeltank.fbx", "Oeltank.tga", 0.02f, false};
inline constexpr ModelAsset kWolf{"AniWolfRun4.fbx", "Wolf2.tga", 0.016f, true};
// The sheep fold the shepherd rules play to; the classic rules load no model for the goal.
inline constexpr ModelAsset kFold{"Fold.fbx", "Fold.tga", 0.01f, false};
// A terrain the level does not load (the old preset model).
inline constexpr ModelAsset kTerrainPreset{"TerrainOptimiert5.fbx", "Canyon1.tga", 0.01f, false};
// Coarser versions of the sheep and the wolf, written beside each with the same skeleton, run
// and texture: about half of its triangles. The level draws them in the character's place where
// it shows small on the screen. The herder, never further away than the camera behind him, has
// none.
inline constexpr int kCoarserLevels = 1;
inline constexpr ModelAsset kSheepCoarser[kCoarserLevels] = {
    {"AniSheepRun2-half.fbx", kSheep.texture, kSheep.scale, true}};
inline constexpr ModelAsset kWolfCoarser[kCoarserLevels] = {
    {"AniWolfRun4-half.fbx", kWolf.texture, kWolf.scale, true}};
// A character showing a radius of fewer than this many pixels is drawn at the next coarser
// level: at 1024x768 a sheep about 7 units beyond the herder, a wolf about 20 (the level of
// detail test compares each with full detail where it takes over and farther).
inline constexpr float kCoarserBelowPixels[kCoarserLevels] = {80.0f};
// The models the level loads, in the order it loads them: the reader is asked for them ahead in
// this order and the loads take them in this order, both from this table, so they cannot drift
// apart. The level's ten models come first (the level finds its pieces by these positions), then
// the coarser characters; the sheep fold follows where the rules show it.
inline constexpr const ModelAsset* kLevelModels[] = {
    &kTestSphere, &kHerder, &kSheep,      &kFlag, &kRocket,          &kTerrain,
    &kSky,        &kCanyon, &kPowerPlant, &kWolf, &kSheepCoarser[0], &kWolfCoarser[0]};
static_assert(std::size(kLevelModels) == 10 + 2 * kCoarserLevels,
              "every coarser character is loaded");
// While rockets fly, the level draws the rocket model at this scale instead of its own.
inline constexpr float kRocketFlightScale = 0.003f;

// Where a piece of the level stands: world = R_y(turn) * (scale * p) + position, with R_y turning
// +x towards -z for +90 degrees (glRotatef's convention).
struct Placement {
    float scale;
    float turnDegrees;
    Vector3D position;
};

inline constexpr Placement kTerrainPlacement{kTerrain.scale, 90.0f, {-285.0f, 10.0f, -275.0f}};
inline constexpr Placement kCanyonPlacement{kCanyon.scale, 90.0f, {-270.0f, 15.5f, -350.0f}};
inline constexpr Placement kPowerPlantPlacement{kPowerPlant.scale, 0.0f, {-110.0f, 15.0f, -240.0f}};
inline constexpr Placement kSkyPlacement{kSky.scale, 0.0f, {0.0f, -20.0f, 0.0f}};
// The preset terrain is designed for the terrain's place at its own scale.
inline constexpr Placement kTerrainPresetPlacement{kTerrainPreset.scale, 90.0f,
                                                   kTerrainPlacement.position};

// The canyon's waypoints, W0 (the den the wolves carry sheep to) first; each joins the one
// before it.
inline constexpr int kWaypointCount = 7;
inline constexpr Vector3D kWaypoints[kWaypointCount] = {
    {-40.5126f, -16.1909f, 8.51358f},  {-96.6539f, -12.3899f, -12.4644f},
    {-129.514f, -9.46986f, -22.6871f}, {-164.342f, -9.29911f, -20.9004f},
    {-189.127f, -12.5628f, 6.49778f},  {-181.132f, -16.6827f, 47.278f},
    {-206.921f, -17.007f, 53.8851f},
};
inline constexpr Vector3D kDen = kWaypoints[0];
// The canyon floor lies this far below each waypoint.
inline constexpr float kFloorBelowWaypoint = 1.5f;

// The characters' collision capsules (height of the straight part, radius).
struct Capsule {
    float height;
    float radius;
};
inline constexpr Capsule kHerderCapsule{2.0f, 0.5f};
inline constexpr Capsule kSheepCapsule{0.5f, 1.0f};
inline constexpr Capsule kWolfCapsule{1.0f, 2.0f};
// A character's model is drawn this far below its capsule's centre.
inline constexpr float kModelBelowCapsuleCentre = 0.5f;
// The herd flag is planted this far below the herder's capsule centre.
inline constexpr float kFlagBelowHerder = 1.0f;

inline constexpr Vector3D kHerderStart{0.0f, 5.0f, 0.0f};
// The flock: sheep i starts at (10 i - 30, 10, -20).
inline constexpr int kSheepCount = 6;
constexpr Vector3D sheepStart(int i) {
    return {10.0f * static_cast<float>(i) - 30.0f, 10.0f, -20.0f};
}
// Sheep closer than this to the goal marker count towards the win.
inline constexpr float kGoalRadius = 15.0f;
// The shepherd rules' goal: the fold on level ground before the power plant yard's gate, facing
// the meadow, more than 200 units of walking from the herder's start. The point is where a
// sheep's capsule centre stands at the fold's middle; the fold model is drawn at it (kFold.scale,
// no turn), its floor kSheepCentreAboveGround below.
inline constexpr float kSheepCentreAboveGround = kSheepCapsule.height / 2.0f + kSheepCapsule.radius;
inline constexpr Vector3D kFoldCentre{-110.0f, 15.0f + kSheepCentreAboveGround, -200.0f};

// The play area the terrain covers (world x and z): a square from the terrain's placed corner.
inline constexpr float kWorldSize = 400.0f;
inline constexpr float kWorldMinX = kTerrainPlacement.position.x;
inline constexpr float kWorldMaxX = kWorldMinX + kWorldSize;
inline constexpr float kWorldMinZ = kTerrainPlacement.position.z;
inline constexpr float kWorldMaxZ = kWorldMinZ + kWorldSize;

} // namespace level
