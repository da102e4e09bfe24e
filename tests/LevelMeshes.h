// Test helpers for generated content: importing a model file the way the game does, placing it
// in the world, and casting vertical rays against the placed triangles.
#pragma once

#include "LevelLayout.h"
#include "TestSupport.h"

#include <assimp/scene.h>

#include <memory>
#include <string>
#include <vector>

namespace Assimp {
class Importer;
}

// An imported scene that stays valid as long as this object lives.
struct ImportedModel {
    std::shared_ptr<Assimp::Importer> importer;
    const aiScene* scene = nullptr;
    std::string error;
};
// Imports with the loader's post-processing (joined vertices, validation).
ImportedModel importModel(const std::string& path);

struct Triangle {
    aiVector3D a, b, c;
};

// World-space triangles of every mesh in the model, placed as the level places it.
std::vector<Triangle> placedTriangles(const aiScene* scene, const assets::Placement& placement);

// Triangles bucketed on a grid in x and z for fast vertical rays.
class VerticalRayCaster {
public:
    explicit VerticalRayCaster(const std::vector<Triangle>& triangles, float cell = 8.0f);
    // Heights of every surface crossing the vertical line at (x, z), highest first.
    std::vector<float> hits(float x, float z) const;

private:
    std::vector<Triangle> triangles_;
    float cell_;
    float minX_ = 0, minZ_ = 0;
    int nx_ = 0, nz_ = 0;
    std::vector<std::vector<int>> buckets_;
};
