// CookedMesh: what a cooked static triangle mesh keeps alive for as long as the world exists:
// the index and point arrays the shape reads, the shape, and the block its BVH was read into.
#pragma once

#include <BulletCollision/CollisionShapes/btBvhTriangleMeshShape.h>
#include <BulletCollision/CollisionShapes/btTriangleIndexVertexArray.h>

#include <cstdlib>
#include <memory>
#include <vector>

struct CookedMesh {
    struct FreeAligned {
        void operator()(void* p) const { std::free(p); }
    };
    std::vector<int> indices;
    std::vector<float> points;
    std::unique_ptr<btTriangleIndexVertexArray> mesh;
    std::unique_ptr<void, FreeAligned> bvhBlock;
    std::unique_ptr<btCollisionShape> shape;
};
