// Importing generated models and casting vertical rays against them.
#include "LevelMeshes.h"

#include <assimp/Importer.hpp>
#include <assimp/postprocess.h>

#include <algorithm>
#include <cmath>
#include <filesystem>

ImportedModel importModel(const std::string& path) {
    ImportedModel m;
    m.importer = std::make_shared<Assimp::Importer>();
    m.scene = m.importer->ReadFile(path, aiProcess_JoinIdenticalVertices |
                                             aiProcess_ValidateDataStructure);
    if (m.scene == nullptr) {
        m.error = m.importer->GetErrorString();
    }
    return m;
}

std::vector<Triangle> placedTriangles(const aiScene* scene, const assets::Placement& placement) {
    std::vector<Triangle> out;
    for (unsigned i = 0; i < scene->mNumMeshes; ++i) {
        const aiMesh* mesh = scene->mMeshes[i];
        for (unsigned f = 0; f < mesh->mNumFaces; ++f) {
            const aiFace& face = mesh->mFaces[f];
            if (face.mNumIndices != 3) {
                continue;
            }
            out.push_back({placement.toWorld(mesh->mVertices[face.mIndices[0]]),
                           placement.toWorld(mesh->mVertices[face.mIndices[1]]),
                           placement.toWorld(mesh->mVertices[face.mIndices[2]])});
        }
    }
    return out;
}

VerticalRayCaster::VerticalRayCaster(const std::vector<Triangle>& triangles, float cell)
    : triangles_(triangles), cell_(cell) {
    float maxX = -1e30f, maxZ = -1e30f;
    minX_ = minZ_ = 1e30f;
    for (const Triangle& t : triangles_) {
        for (const aiVector3D* p : {&t.a, &t.b, &t.c}) {
            minX_ = std::min(minX_, p->x);
            minZ_ = std::min(minZ_, p->z);
            maxX = std::max(maxX, p->x);
            maxZ = std::max(maxZ, p->z);
        }
    }
    nx_ = std::max(1, static_cast<int>((maxX - minX_) / cell_) + 1);
    nz_ = std::max(1, static_cast<int>((maxZ - minZ_) / cell_) + 1);
    buckets_.resize(static_cast<size_t>(nx_) * nz_);
    for (size_t i = 0; i < triangles_.size(); ++i) {
        const Triangle& t = triangles_[i];
        const int x0 = static_cast<int>((std::min({t.a.x, t.b.x, t.c.x}) - minX_) / cell_);
        const int x1 = static_cast<int>((std::max({t.a.x, t.b.x, t.c.x}) - minX_) / cell_);
        const int z0 = static_cast<int>((std::min({t.a.z, t.b.z, t.c.z}) - minZ_) / cell_);
        const int z1 = static_cast<int>((std::max({t.a.z, t.b.z, t.c.z}) - minZ_) / cell_);
        for (int z = z0; z <= z1; ++z) {
            for (int x = x0; x <= x1; ++x) {
                buckets_[static_cast<size_t>(z) * nx_ + x].push_back(static_cast<int>(i));
            }
        }
    }
}

// Height at which the vertical line through (x, z) crosses triangle t, if it does.
static bool crossing(const Triangle& t, float x, float z, float* y) {
    const float d = (t.b.x - t.a.x) * (t.c.z - t.a.z) - (t.c.x - t.a.x) * (t.b.z - t.a.z);
    if (std::fabs(d) < 1e-12f) {
        return false; // vertical triangle
    }
    const float u = ((x - t.a.x) * (t.c.z - t.a.z) - (t.c.x - t.a.x) * (z - t.a.z)) / d;
    const float v = ((t.b.x - t.a.x) * (z - t.a.z) - (x - t.a.x) * (t.b.z - t.a.z)) / d;
    const float e = -1e-5f;
    if (u < e || v < e || u + v > 1.0f - e) {
        return false;
    }
    *y = t.a.y + u * (t.b.y - t.a.y) + v * (t.c.y - t.a.y);
    return true;
}

std::vector<float> VerticalRayCaster::hits(float x, float z) const {
    std::vector<float> ys;
    const int cx = static_cast<int>((x - minX_) / cell_);
    const int cz = static_cast<int>((z - minZ_) / cell_);
    if (x < minX_ || z < minZ_ || cx >= nx_ || cz >= nz_) {
        return ys;
    }
    for (int i : buckets_[static_cast<size_t>(cz) * nx_ + cx]) {
        float y = 0;
        if (crossing(triangles_[static_cast<size_t>(i)], x, z, &y)) {
            ys.push_back(y);
        }
    }
    std::sort(ys.rbegin(), ys.rend());
    return ys;
}
