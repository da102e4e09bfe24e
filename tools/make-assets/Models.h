// The generator's model writers: each writes one FBX file and its texture into a folder, under
// the names the game loads. They return false (after printing why) when a file cannot be written.
#pragma once

#include "MeshSimplify.h"

#include <string>

namespace assets {

// "Level01Boden3.fbx" + "Terrain2.tga": the whole playable ground, simplified as shipped.
bool writeTerrain(const std::string& dir);
// The same at the given detail.
bool writeTerrain(const std::string& dir, Detail detail);
// "TerrainOptimiert5.fbx" + "Canyon1.tga": the terrain preset the level does not load.
bool writeTerrainPreset(const std::string& dir);
// "Level01Version6.fbx" + "orange.tga": the rock walls along the canyon trench, simplified as
// shipped.
bool writeCanyon(const std::string& dir);
// The same at the given detail.
bool writeCanyon(const std::string& dir, Detail detail);
// "Oeltank.fbx" + "Oeltank.tga": tanks, pipes, chimney and fence of the power plant.
bool writePowerPlant(const std::string& dir);
// "Sky.fbx" + "Skyred.tga": the dome seen from inside.
bool writeSky(const std::string& dir);
// "Flag.fbx" + "Flag.tga".
bool writeFlag(const std::string& dir);
// "Rocket.fbx" + "Rocket.tga".
bool writeRocket(const std::string& dir);
// "Schachbrettkugel100.fbx" + "checkerboard.tga".
bool writeTestSphere(const std::string& dir);
// "AniBrannicRun5.fbx" + "Brannic.tga": the herder with its run take.
bool writeHerder(const std::string& dir);
// "AniSheepRun2.fbx" + "AniSheepRun2.tga": the sheep with its run take.
bool writeSheep(const std::string& dir);
// "AniWolfRun4.fbx" + "Wolf2.tga": the wolf with its run take.
bool writeWolf(const std::string& dir);

} // namespace assets
