// AssetMesh: the triangle soup that every generated model is built from, with the primitive
// builders the level, props and characters share. Every piece of a model is merged into one
// mesh with one texture atlas: primitives take the atlas rectangle their UVs map into.
#pragma once

#include <assimp/matrix3x3.h>
#include <assimp/matrix4x4.h>
#include <assimp/types.h>
#include <assimp/vector2.h>
#include <assimp/vector3.h>

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

namespace assets {

// A rectangle of the texture atlas, in UV units.
struct UvRect {
    float u0 = 0.0f, v0 = 0.0f, u1 = 1.0f, v1 = 1.0f;
    // The point at fractions (s, t) of the rectangle.
    aiVector2D at(float s, float t) const { return {u0 + (u1 - u0) * s, v0 + (v1 - v0) * t}; }
};

struct BoneWeight {
    int bone;
    float weight;
};

struct AssetMesh {
    std::vector<aiVector3D> positions;
    std::vector<aiVector3D> normals;
    std::vector<aiVector2D> uvs;
    std::vector<std::array<uint32_t, 3>> triangles;
    // Per vertex, empty for unskinned meshes.
    std::vector<std::vector<BoneWeight>> weights;

    // Appends a vertex; returns its index.
    uint32_t addVertex(const aiVector3D& p, const aiVector3D& n, const aiVector2D& uv);
    // Appends a counter-clockwise (front-facing) triangle of existing vertices.
    void addTriangle(uint32_t a, uint32_t b, uint32_t c) { triangles.push_back({a, b, c}); }
    // Appends another mesh's vertices and triangles.
    void append(const AssetMesh& other);
    // Transforms positions by m and normals by its rotation part (renormalised).
    void transform(const aiMatrix4x4& m);
    // Reverses every triangle's winding and flips the normals (for meshes seen from inside).
    void flipFaces();
    // Gives every vertex the single bone influence `bone` with weight 1.
    void bindAll(int bone);
    size_t triangleCount() const { return triangles.size(); }
};

// Axis-aligned box centred at c with half extents h; flat-shaded, each face mapped to the rect.
AssetMesh makeBox(const aiVector3D& c, const aiVector3D& h, const UvRect& uv);
// Cylinder along +y from y0 to y1 (radii r0 at the bottom, r1 at the top), with caps.
AssetMesh makeCylinder(float r0, float r1, float y0, float y1, int segments, const UvRect& uv,
                       bool caps = true);
// Ellipsoid centred at c with radii r; u around, v from bottom to top.
AssetMesh makeEllipsoid(const aiVector3D& c, const aiVector3D& r, int segments, int rings,
                        const UvRect& uv);
// A tube from a to b (radius ra at a, rb at b), capped; for limbs and pipes.
AssetMesh makeTube(const aiVector3D& a, const aiVector3D& b, float ra, float rb, int segments,
                   const UvRect& uv);
// A regular grid over [x0,x1] x [z0,z1] with heights from h; uv repeats `tiles` times.
AssetMesh makeHeightGrid(float x0, float z0, float x1, float z1, int nx, int nz,
                         const std::function<float(float, float)>& h, float tiles);

} // namespace assets
