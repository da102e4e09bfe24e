// The generator's model writers: each writes one FBX file and its texture into a folder, under
// the names the game loads (LevelFacts.h). They return false (after printing why) when a file
// cannot be written.
#pragma once

#include "LevelFacts.h"
#include "MeshSimplify.h"

#include <string>

namespace assets {

// The whole playable ground, simplified as shipped.
bool writeTerrain(const std::string& dir);
// The same at the given detail.
bool writeTerrain(const std::string& dir, Detail detail);
// The terrain's ground as the level ships it, in world coordinates: what the characters walk on,
// and what anything laid on the ground has to follow.
AssetMesh shippedGround();
// The terrain preset the level does not load.
bool writeTerrainPreset(const std::string& dir);
// The rock walls along the canyon trench, simplified as shipped.
bool writeCanyon(const std::string& dir);
// The same at the given detail.
bool writeCanyon(const std::string& dir, Detail detail);
// Tanks, pipes, chimney and fence of the power plant.
bool writePowerPlant(const std::string& dir);
// The sheep fold the shepherd rules' flock is brought to: a straw floor over the win zone and
// a fence with an opening towards the meadow.
bool writeFold(const std::string& dir);
// The dome seen from inside.
bool writeSky(const std::string& dir);
bool writeFlag(const std::string& dir);
bool writeRocket(const std::string& dir);
bool writeTestSphere(const std::string& dir);
// The herder with its run take.
bool writeHerder(const std::string& dir);
// The sheep with its run take.
bool writeSheep(const std::string& dir);
// The wolf with its run take.
bool writeWolf(const std::string& dir);

// One generated model: its files and the writer that makes them.
struct GeneratedModel {
    const level::ModelAsset* asset;
    bool (*write)(const std::string& dir);
};

// Every model the generator writes, in the order it writes them.
inline constexpr GeneratedModel kGeneratedModels[] = {
    {&level::kTestSphere, writeTestSphere},
    {&level::kHerder, writeHerder},
    {&level::kSheep, writeSheep},
    {&level::kFlag, writeFlag},
    {&level::kRocket, writeRocket},
    {&level::kTerrain, writeTerrain},
    {&level::kSky, writeSky},
    {&level::kCanyon, writeCanyon},
    {&level::kPowerPlant, writePowerPlant},
    {&level::kWolf, writeWolf},
    {&level::kTerrainPreset, writeTerrainPreset},
    {&level::kFold, writeFold},
};

} // namespace assets
