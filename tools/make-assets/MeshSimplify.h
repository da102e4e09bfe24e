// Simplification with an error bound: software GL draws every triangle of the terrain and the
// canyon every frame, and every character's skinned triangles once per character, so flat ground
// and smooth limbs should cost few of them while silhouettes and slopes keep their shape.
#pragma once

#include "AssetMesh.h"

#include <cstddef>

namespace assets {

// How much of their sampled detail the terrain and the canyon keep: all of it, what the level
// ships with, or far less (a coarse bound that visibly loses shape; the tests use it to show that
// their comparison of the level's look can tell).
enum class Detail { kFull, kShipped, kCoarse };

// A simplification's aim: at most this many triangles, moving the surface no further than this
// (in the mesh's units), for the shipped detail; the coarse detail allows far more error.
struct SimplifyBudget {
    size_t triangles;
    float maxError;
};

// What a simplification did.
struct SimplifyResult {
    size_t trianglesBefore = 0;
    size_t trianglesAfter = 0;
    // The largest deviation from the original surface, in the mesh's own units.
    float error = 0.0f;
};

// Removes triangles until `targetTriangles` remain or the surface would move further than
// `maxError` (in the mesh's units), keeping the open borders where they are. Kept vertices keep
// their normals, texture coordinates and skin weights; unused vertices are dropped. Vertices are
// only merged into others, never moved, so a kept vertex's weights stay right for it.
SimplifyResult simplify(AssetMesh& mesh, size_t targetTriangles, float maxError);
// The mesh's extent, the measure the simplifier's relative error is taken against.
float meshScale(const AssetMesh& mesh);
// Simplifies the mesh as the detail asks (the full detail leaves it alone) and prints one line on
// what it did to the named model file.
void simplifyFor(AssetMesh& mesh, Detail detail, const SimplifyBudget& budget, const char* file);

} // namespace assets
