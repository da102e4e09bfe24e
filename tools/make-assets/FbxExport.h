// FbxExport: turns a generated mesh (and, for characters, a skeleton with one looping take) into
// an Assimp scene and writes it with Assimp's ASCII FBX exporter. The mesh hangs on one node
// under the root; the skeleton is another child of the root.
#pragma once

#include "AssetMesh.h"
#include "Canvas.h"

#include <assimp/quaternion.h>

#include <string>
#include <vector>

namespace assets {

// One bone of a rest pose without rotations: its head in model space and its parent (-1: root).
struct Bone {
    std::string name;
    int parent;
    aiVector3D head;
};

// A bone's pose at one moment: rotation about its head and an offset of its head.
struct BonePose {
    aiQuaternion rotation;
    aiVector3D offset;
};

// A looping take: poses of every bone at evenly spaced key times over a whole number of seconds.
struct Take {
    std::string name;
    int seconds = 1;
    // keys[k][b]: pose of bone b at time k * seconds / (keys.size() - 1).
    std::vector<std::vector<BonePose>> keys;
};

struct ModelFile {
    std::string nodeName;
    std::string textureName;
    AssetMesh mesh;
    std::vector<Bone> bones; // empty for static models
    Take take;
};

// Writes the model as ASCII FBX; on failure prints the exporter's message and returns false.
bool exportFbx(const ModelFile& model, const std::string& path);
// Writes dir/fbxName and the texture as dir/model.textureName (run-length encoded when rle).
bool writeModel(const std::string& dir, const std::string& fbxName, const ModelFile& model,
                const Canvas& texture, bool rle);

} // namespace assets
