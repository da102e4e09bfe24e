// Skinning for animated models: node transforms sampled from a take, linear-blend skinning of the
// mesh, and the frames a skinned model is drawn from. The frames are baked once at load time, so
// the game never evaluates bones while it runs; this only has to be right, not fast.
#include "FBXModel.h"
#include "SkinEvaluator.h"

#include <assimp/anim.h>
#include <assimp/scene.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <unordered_map>
#include <utility>

// Below this absolute determinant the mesh node's transform cannot be undone; the frames are
// then left in root space, which is still the right shape, only placed differently.
static constexpr float kSingularDeterminant = 1e-12f;

namespace {

// The channel of each animated node, by node name; the first channel of a name wins.
using ChannelMap = std::unordered_map<std::string, const aiNodeAnim*>;

ChannelMap channelsOf(const aiAnimation* take) {
    ChannelMap channels;
    if (take == nullptr || take->mChannels == nullptr) {
        return channels;
    }
    for (unsigned c = 0; c < take->mNumChannels; ++c) {
        const aiNodeAnim* channel = take->mChannels[c];
        if (channel != nullptr) {
            channels.emplace(channel->mNodeName.C_Str(), channel);
        }
    }
    return channels;
}

// The key pair around `ticks`: (k, k + 1) and the fraction between them, or (k, k) outside the
// key range. Keys are in time order (the importer sorts them). A NaN time reads as the first key.
template <class Key>
std::pair<unsigned, float> keySpan(const Key* keys, unsigned count, double ticks) {
    if (!(ticks > keys[0].mTime)) {
        return {0, 0.0f};
    }
    if (ticks >= keys[count - 1].mTime) {
        return {count - 1, 0.0f};
    }
    const Key* next = std::upper_bound(keys, keys + count, ticks,
                                       [](double t, const Key& key) { return t < key.mTime; });
    const unsigned k = static_cast<unsigned>(next - keys) - 1;
    const double span = keys[k + 1].mTime - keys[k].mTime;
    if (!(span > 0.0)) {
        return {k, 0.0f};
    }
    return {k, static_cast<float>((ticks - keys[k].mTime) / span)};
}

aiVector3D sampleVector(const aiVectorKey* keys, unsigned count, double ticks,
                        const aiVector3D& rest) {
    if (keys == nullptr || count == 0) {
        return rest;
    }
    const auto [k, f] = keySpan(keys, count, ticks);
    if (f == 0.0f) {
        return keys[k].mValue;
    }
    return keys[k].mValue + (keys[k + 1].mValue - keys[k].mValue) * f;
}

aiQuaternion sampleRotation(const aiQuatKey* keys, unsigned count, double ticks,
                            const aiQuaternion& rest) {
    if (keys == nullptr || count == 0) {
        return rest;
    }
    const auto [k, f] = keySpan(keys, count, ticks);
    if (f == 0.0f) {
        return keys[k].mValue;
    }
    aiQuaternion out;
    aiQuaternion::Interpolate(out, keys[k].mValue, keys[k + 1].mValue, f);
    return out.Normalize();
}

// The node's transform relative to its parent at `ticks`. A channel may animate only some of
// position, rotation and scaling; the others come from the node's own transform.
aiMatrix4x4 localTransform(const aiNode* node, const ChannelMap& channels, double ticks) {
    const auto found = channels.find(node->mName.C_Str());
    if (found == channels.end()) {
        return node->mTransformation;
    }
    const aiNodeAnim* ch = found->second;
    aiVector3D restScaling, restPosition;
    aiQuaternion restRotation;
    node->mTransformation.Decompose(restScaling, restRotation, restPosition);
    return aiMatrix4x4(sampleVector(ch->mScalingKeys, ch->mNumScalingKeys, ticks, restScaling),
                       sampleRotation(ch->mRotationKeys, ch->mNumRotationKeys, ticks, restRotation),
                       sampleVector(ch->mPositionKeys, ch->mNumPositionKeys, ticks, restPosition));
}

// Global transforms of every node, by name (bones name their nodes) and by node. The walk uses
// its own stack: a file's hierarchy may be deeper than the call stack allows.
struct Globals {
    std::unordered_map<std::string, aiMatrix4x4> byName;
    std::unordered_map<const aiNode*, aiMatrix4x4> byNode;
};

Globals globalTransforms(const aiNode* root, const ChannelMap& channels, double ticks) {
    Globals globals;
    std::vector<std::pair<const aiNode*, aiMatrix4x4>> pending{{root, aiMatrix4x4()}};
    while (!pending.empty()) {
        const auto [node, parent] = pending.back();
        pending.pop_back();
        const aiMatrix4x4 global = parent * localTransform(node, channels, ticks);
        globals.byName.emplace(node->mName.C_Str(), global);
        globals.byNode.emplace(node, global);
        // Children go on in reverse so that they come off in file order: with duplicate names
        // the first node in depth-first order is the one a bone means, as in aiNode::FindNode.
        for (unsigned i = node->mNumChildren; i-- > 0;) {
            if (node->mChildren != nullptr && node->mChildren[i] != nullptr) {
                pending.emplace_back(node->mChildren[i], global);
            }
        }
    }
    return globals;
}

} // namespace

aiMatrix4x4 nodeGlobalTransform(const aiNode* node, const aiAnimation* take, double ticks) {
    const ChannelMap channels = channelsOf(take);
    aiMatrix4x4 global;
    for (const aiNode* n = node; n != nullptr; n = n->mParent) {
        global = localTransform(n, channels, ticks) * global;
    }
    return global;
}

void evaluateSkin(const aiScene* scene, const aiMesh* mesh, const aiNode* meshNode,
                  const aiAnimation* take, double ticks, std::vector<aiVector3D>* out) {
    out->clear();
    if (scene == nullptr || scene->mRootNode == nullptr || mesh == nullptr ||
        mesh->mVertices == nullptr) {
        return;
    }
    const Globals globals = globalTransforms(scene->mRootNode, channelsOf(take), ticks);
    const unsigned count = mesh->mNumVertices;
    std::vector<aiVector3D> sums(count);
    std::vector<float> weights(count, 0.0f);
    for (unsigned b = 0; b < mesh->mNumBones && mesh->mBones != nullptr; ++b) {
        const aiBone* bone = mesh->mBones[b];
        const auto node =
            bone != nullptr ? globals.byName.find(bone->mName.C_Str()) : globals.byName.end();
        if (node == globals.byName.end() || bone->mWeights == nullptr) {
            continue; // a bone without a node cannot move anything; its weight goes to the rest
        }
        // The offset matrix takes the mesh (as it was placed at bind time) into the bone's bind
        // space; the bone's global transform now takes it back out, into root space.
        const aiMatrix4x4 skinning = node->second * bone->mOffsetMatrix;
        for (unsigned w = 0; w < bone->mNumWeights; ++w) {
            const aiVertexWeight& vw = bone->mWeights[w];
            if (vw.mVertexId >= count || !(vw.mWeight > 0.0f) || !std::isfinite(vw.mWeight)) {
                continue;
            }
            sums[vw.mVertexId] += (skinning * mesh->mVertices[vw.mVertexId]) * vw.mWeight;
            weights[vw.mVertexId] += vw.mWeight;
        }
    }
    const auto placed = meshNode != nullptr ? globals.byNode.find(meshNode) : globals.byNode.end();
    const aiMatrix4x4 meshGlobal = placed != globals.byNode.end() ? placed->second : aiMatrix4x4();
    out->resize(count);
    for (unsigned v = 0; v < count; ++v) {
        (*out)[v] = weights[v] > 0.0f ? sums[v] / weights[v] : meshGlobal * mesh->mVertices[v];
    }
}

// Frame i shows the first take at i / 30 of its length, measured from tick 0, where the importer
// puts the start of every take. Frames come out in the mesh node's own space, like the bind-pose
// arrays, because the model is drawn with its object's transform and not the file's node
// transforms. Ticks per second do not matter here: the frames split the take's length, not
// seconds. Without a take every frame is the bind pose.
std::vector<std::vector<float>> bakeSkinFrames(const aiScene* scene, const aiMesh* mesh,
                                               const aiNode* meshNode,
                                               const std::vector<int>& polygonIndices) {
    std::vector<float> bindPose;
    bindPose.reserve(polygonIndices.size() * 3);
    for (size_t k = 0; mesh != nullptr && k < polygonIndices.size(); ++k) {
        const aiVector3D& p = mesh->mVertices[polygonIndices[k]];
        bindPose.insert(bindPose.end(), {p.x, p.y, p.z});
    }
    std::vector<std::vector<float>> frames(FBXModel::kSkinFrames, bindPose);
    const aiAnimation* take =
        scene != nullptr && scene->mNumAnimations > 0 && scene->mAnimations != nullptr
            ? scene->mAnimations[0]
            : nullptr;
    if (take == nullptr || mesh == nullptr) {
        return frames;
    }
    aiMatrix4x4 toMesh = nodeGlobalTransform(meshNode, nullptr, 0.0);
    const float determinant = toMesh.Determinant();
    toMesh = std::isfinite(determinant) && std::fabs(determinant) > kSingularDeterminant
                 ? toMesh.Inverse()
                 : aiMatrix4x4();
    const double duration =
        std::isfinite(take->mDuration) && take->mDuration > 0.0 ? take->mDuration : 0.0;
    std::vector<aiVector3D> skinned;
    for (int i = 0; i < FBXModel::kSkinFrames; ++i) {
        evaluateSkin(scene, mesh, meshNode, take, i * duration / (FBXModel::kSkinFrames - 1),
                     &skinned);
        std::vector<float>& frame = frames[i];
        frame.clear();
        for (int index : polygonIndices) {
            const aiVector3D p = toMesh * skinned[index];
            frame.insert(frame.end(), {p.x, p.y, p.z});
        }
    }
    return frames;
}
