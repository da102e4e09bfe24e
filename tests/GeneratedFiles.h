// The one table of generated model files that the content and loader tests go through: each
// model's files, scale and skinning (LevelFacts.h) and the most triangles it may have.
#pragma once

#include "FBXModel.h"
#include "LevelFacts.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <ostream>

struct GeneratedFile {
    const char* name;
    const level::ModelAsset* asset;
    std::size_t triangleBudget;
};

inline void PrintTo(const GeneratedFile& f, std::ostream* os) {
    *os << f.name;
}

inline const GeneratedFile kGeneratedFiles[] = {
    {"TestSphere", &level::kTestSphere, 1000},
    {"Herder", &level::kHerder, 3000},
    {"Sheep", &level::kSheep, 3000},
    {"Flag", &level::kFlag, 1000},
    {"Rocket", &level::kRocket, 1000},
    {"Terrain", &level::kTerrain, 50000},
    {"Sky", &level::kSky, 4000},
    {"Canyon", &level::kCanyon, 20000},
    {"PowerPlant", &level::kPowerPlant, 8000},
    {"Wolf", &level::kWolf, 3000},
    {"SheepHalf", &level::kSheepCoarser[0], 1200},
    {"WolfHalf", &level::kWolfCoarser[0], 800},
    {"TerrainPreset", &level::kTerrainPreset, 50000},
    {"Fold", &level::kFold, 1000},
};

// The test name of a table entry.
inline const char* generatedName(const ::testing::TestParamInfo<GeneratedFile>& info) {
    return info.param.name;
}
