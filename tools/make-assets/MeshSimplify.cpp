// Edge-collapse simplification through meshoptimizer, then a compaction that keeps only the
// vertices the simplified triangles use, in the order they are first used (cache friendly).
#include "MeshSimplify.h"

#include <meshoptimizer.h>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <vector>

namespace assets {

// Keeps the vertices that `indices` reference, renumbered in first-use order.
static void compact(AssetMesh& mesh, const std::vector<unsigned>& indices) {
    constexpr unsigned kUnused = std::numeric_limits<unsigned>::max();
    std::vector<unsigned> remap(mesh.positions.size(), kUnused);
    AssetMesh out;
    for (size_t i = 0; i + 2 < indices.size(); i += 3) {
        std::array<uint32_t, 3> t{};
        for (int k = 0; k < 3; ++k) {
            const unsigned v = indices[i + k];
            if (remap[v] == kUnused) {
                remap[v] = out.addVertex(mesh.positions[v], mesh.normals[v], mesh.uvs[v]);
                if (!mesh.weights.empty()) {
                    out.weights.resize(out.positions.size());
                    out.weights.back() = mesh.weights[v];
                }
            }
            t[k] = remap[v];
        }
        out.triangles.push_back(t);
    }
    mesh = std::move(out);
}

float meshScale(const AssetMesh& mesh) {
    if (mesh.positions.empty()) {
        return 0.0f;
    }
    return meshopt_simplifyScale(&mesh.positions[0].x, mesh.positions.size(), sizeof(aiVector3D));
}

SimplifyResult simplify(AssetMesh& mesh, size_t targetTriangles, float maxError) {
    SimplifyResult result;
    result.trianglesBefore = mesh.triangleCount();
    if (mesh.triangles.empty()) {
        result.trianglesAfter = result.trianglesBefore;
        return result;
    }
    std::vector<unsigned> indices;
    indices.reserve(mesh.triangles.size() * 3);
    for (const auto& t : mesh.triangles) {
        indices.insert(indices.end(), t.begin(), t.end());
    }
    std::vector<float> positions;
    positions.reserve(mesh.positions.size() * 3);
    for (const aiVector3D& p : mesh.positions) {
        positions.insert(positions.end(), {p.x, p.y, p.z});
    }
    const size_t stride = 3 * sizeof(float);
    const float scale = meshopt_simplifyScale(positions.data(), mesh.positions.size(), stride);
    std::vector<unsigned> simplified(indices.size());
    float relativeError = 0.0f;
    const size_t count = meshopt_simplify(
        simplified.data(), indices.data(), indices.size(), positions.data(), mesh.positions.size(),
        stride, targetTriangles * 3, scale > 0.0f ? maxError / scale : 0.0f,
        meshopt_SimplifyLockBorder, &relativeError);
    simplified.resize(count);
    meshopt_optimizeVertexCache(simplified.data(), simplified.data(), count, mesh.positions.size());
    compact(mesh, simplified);
    result.trianglesAfter = mesh.triangleCount();
    result.error = relativeError * scale;
    return result;
}

// The coarse detail: this many times the shipped error, down to this share of its triangles.
static constexpr float kCoarseErrorFactor = 20.0f;
static constexpr size_t kCoarseTriangleDivisor = 10;

void simplifyFor(AssetMesh& mesh, Detail detail, const SimplifyBudget& budget, const char* file) {
    if (detail == Detail::kFull) {
        return;
    }
    const bool coarse = detail == Detail::kCoarse;
    const SimplifyResult result =
        simplify(mesh, coarse ? budget.triangles / kCoarseTriangleDivisor : budget.triangles,
                 coarse ? budget.maxError * kCoarseErrorFactor : budget.maxError);
    std::printf("make-assets: %s simplified from %zu to %zu triangles (surface moved %.3f)\n", file,
                result.trianglesBefore, result.trianglesAfter, result.error);
    std::fflush(stdout);
}

} // namespace assets
