// Cooking the level's collision geometry from the same model data that is drawn: the triangles
// become a BVH triangle mesh whose tree is serialised into a memory stream and read back, the
// way a mesh cooked ahead of time would be loaded; points become a convex hull.
#include "CookedMesh.h"
#include "FBXModel.h"
#include "Logfile.h"
#include "MemoryReadBuffer.h"
#include "MemoryWriteBuffer.h"
#include "PhysicsActor.h"
#include "PhysicsWorld.h"
#include "UserStream.h"

#include <btBulletDynamicsCommon.h>

#include <cstring>

namespace {

// Cooking through the scratch file is kept for debugging; a build cooks in memory.
constexpr bool kCookThroughFile = false;
const char* const kScratchFile = "tmp.bin";
// Bullet reads a serialised tree in place from memory aligned like this.
constexpr size_t kBvhAlignment = 16;

// The model's control points scaled to the world, three floats each.
std::vector<float> scaledPoints(const FBXModel& model) {
    std::vector<float> points;
    points.reserve(static_cast<size_t>(model.controlPointCount) * 3);
    for (int i = 0; i < model.controlPointCount; ++i) {
        for (int k = 0; k < 3; ++k) {
            points.push_back(
                static_cast<float>(model.controlPoints[static_cast<size_t>(i) * 4 + k]) *
                model.scale);
        }
    }
    return points;
}

// The triangle table flattened; polygons that are not triangles or point outside the points
// are left out.
std::vector<int> triangleIndices(const FBXModel& model) {
    std::vector<int> indices;
    for (const std::vector<int>& polygon : model.polygonVertexIndices) {
        if (polygon.size() != 3) {
            continue;
        }
        bool inside = true;
        for (int index : polygon) {
            inside = inside && index >= 0 && index < model.controlPointCount;
        }
        if (inside) {
            indices.insert(indices.end(), polygon.begin(), polygon.end());
        }
    }
    return indices;
}

// Writes the tree through the stream and reads it back into an aligned block of its own.
void roundTrip(btOptimizedBvh* bvh, Stream& out, size_t* size) {
    *size = bvh->calculateSerializeBufferSize();
    void* scratch = std::aligned_alloc(kBvhAlignment,
                                       (*size + kBvhAlignment - 1) / kBvhAlignment * kBvhAlignment);
    bvh->serializeInPlace(scratch, static_cast<unsigned>(*size), false);
    out.storeBuffer(scratch, *size);
    std::free(scratch);
}

} // namespace

PhysicsActor* PhysicsWorld::createStaticMesh(FBXModel* model) {
    Logfile::appendLine("triangles");
    auto cooked = std::make_unique<CookedMesh>();
    cooked->indices = triangleIndices(*model);
    Logfile::appendLine("points");
    cooked->points = scaledPoints(*model);
    const int triangles = static_cast<int>(cooked->indices.size() / 3);
    if (triangles == 0 || cooked->points.empty()) {
        return nullptr;
    }
    cooked->mesh = std::make_unique<btTriangleIndexVertexArray>(
        triangles, cooked->indices.data(), 3 * static_cast<int>(sizeof(int)),
        static_cast<int>(cooked->points.size() / 3), cooked->points.data(),
        3 * static_cast<int>(sizeof(float)));
    // Cook: build the tree, write it into the stream, and build the shape from what is read back.
    btBvhTriangleMeshShape cookedShape(cooked->mesh.get(), true, true);
    MemoryWriteBuffer buffer;
    size_t size = 0;
    if (kCookThroughFile) {
        UserStream file(kScratchFile, false);
        roundTrip(cookedShape.getOptimizedBvh(), file, &size);
    }
    roundTrip(cookedShape.getOptimizedBvh(), buffer, &size);
    const size_t blockSize = (size + kBvhAlignment - 1) / kBvhAlignment * kBvhAlignment;
    cooked->bvhBlock.reset(std::aligned_alloc(kBvhAlignment, blockSize));
    MemoryReadBuffer reader(buffer.data, buffer.currentSize);
    reader.readBuffer(cooked->bvhBlock.get(), size);
    btOptimizedBvh* bvh = btOptimizedBvh::deSerializeInPlace(cooked->bvhBlock.get(),
                                                             static_cast<unsigned>(size), false);
    if (bvh == nullptr) {
        return nullptr;
    }
    auto* shape = new btBvhTriangleMeshShape(cooked->mesh.get(), true, false);
    shape->setOptimizedBvh(bvh);
    shape->setMargin(0.01f);
    cooked->shape.reset(shape);
    auto* body = new btRigidBody(
        btRigidBody::btRigidBodyConstructionInfo(0.0f, nullptr, shape, btVector3(0, 0, 0)));
    auto* actor = new PhysicsActor(body);
    actor->controllerClass = kLevelGeometryBit;
    addBody(actor);
    meshes_.push_back(std::move(cooked));
    return actor;
}

PhysicsActor* PhysicsWorld::createConvexActor(FBXModel* model) {
    Logfile::appendLine("triangles");
    Logfile::appendLine("points");
    const std::vector<float> points = scaledPoints(*model);
    if (points.size() < 12) {
        return nullptr;
    }
    auto* hull = new btConvexHullShape(points.data(), static_cast<int>(points.size() / 3),
                                       3 * static_cast<int>(sizeof(float)));
    hull->optimizeConvexHull();
    auto* body = new btRigidBody(
        btRigidBody::btRigidBodyConstructionInfo(0.0f, nullptr, hull, btVector3(0, 0, 0)));
    auto* actor = new PhysicsActor(body);
    actor->controllerClass = kLevelGeometryBit;
    actor->ownedShape = hull;
    addBody(actor);
    return actor;
}
