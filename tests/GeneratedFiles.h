// The one table of generated model files that the content and loader tests go through: each
// model's files, scale and skinning (LevelFacts.h), the most triangles it may have, and the
// preset model that loads it (level pieces are loaded by file name).
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
    int preset; // a ModelKind, or -1
};

inline void PrintTo(const GeneratedFile& f, std::ostream* os) {
    *os << f.name;
}

inline const GeneratedFile kGeneratedFiles[] = {
    {"TestSphere", &level::kTestSphere, 1000, int(ModelKind::TestSphere)},
    {"Herder", &level::kHerder, 3000, int(ModelKind::Herder)},
    {"Sheep", &level::kSheep, 3000, int(ModelKind::Sheep)},
    {"Flag", &level::kFlag, 1000, int(ModelKind::Flag)},
    {"Rocket", &level::kRocket, 1000, int(ModelKind::Rocket)},
    {"Terrain", &level::kTerrain, 50000, -1},
    {"Sky", &level::kSky, 4000, int(ModelKind::Sky)},
    {"Canyon", &level::kCanyon, 20000, -1},
    {"PowerPlant", &level::kPowerPlant, 8000, -1},
    {"Wolf", &level::kWolf, 3000, int(ModelKind::Wolf)},
    {"SheepHalf", &level::kSheepCoarser[0], 1200, -1},
    {"WolfHalf", &level::kWolfCoarser[0], 800, -1},
    {"TerrainPreset", &level::kTerrainPreset, 50000, int(ModelKind::Terrain)},
    {"Fold", &level::kFold, 1000, -1},
};

// The test name of a table entry.
inline const char* generatedName(const ::testing::TestParamInfo<GeneratedFile>& info) {
    return info.param.name;
}
