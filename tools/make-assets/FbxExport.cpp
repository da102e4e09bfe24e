// Builds an aiScene from a generated model and exports it as ASCII FBX. Assimp re-imports such
// files at 24 ticks per second and truncates takes to whole seconds, so takes are written with
// one tick per second and a whole number of seconds.
#include "FbxExport.h"

#include <assimp/Exporter.hpp>
#include <assimp/material.h>
#include <assimp/scene.h>

#include <cstdio>
#include <fstream>
#include <memory>

namespace assets {

static const char* const kFormat = "fbxa";

template <class T> static T* copyArray(const std::vector<T>& v) {
    T* out = new T[v.size()];
    std::copy(v.begin(), v.end(), out);
    return out;
}

static aiMaterial* makeMaterial(const std::string& texture) {
    auto* material = new aiMaterial();
    const aiString name("material");
    material->AddProperty(&name, AI_MATKEY_NAME);
    const aiColor3D white(1, 1, 1);
    material->AddProperty(&white, 1, AI_MATKEY_COLOR_DIFFUSE);
    const aiString file(texture);
    material->AddProperty(&file, AI_MATKEY_TEXTURE_DIFFUSE(0));
    return material;
}

static void addBones(aiMesh* mesh, const ModelFile& model) {
    const size_t count = model.bones.size();
    std::vector<std::vector<aiVertexWeight>> perBone(count);
    for (size_t v = 0; v < model.mesh.weights.size(); ++v) {
        for (const BoneWeight& w : model.mesh.weights[v]) {
            if (w.weight <= 0.0f) {
                continue;
            }
            perBone[static_cast<size_t>(w.bone)].push_back(
                aiVertexWeight(static_cast<unsigned>(v), w.weight));
        }
    }
    mesh->mNumBones = static_cast<unsigned>(count);
    mesh->mBones = new aiBone*[count];
    for (size_t b = 0; b < count; ++b) {
        auto* bone = new aiBone();
        bone->mName = aiString(model.bones[b].name);
        aiMatrix4x4::Translation(-model.bones[b].head, bone->mOffsetMatrix);
        bone->mNumWeights = static_cast<unsigned>(perBone[b].size());
        bone->mWeights = copyArray(perBone[b]);
        mesh->mBones[b] = bone;
    }
}

static aiMesh* makeMesh(const ModelFile& model) {
    auto* mesh = new aiMesh();
    mesh->mName = aiString(model.nodeName);
    mesh->mPrimitiveTypes = aiPrimitiveType_TRIANGLE;
    mesh->mMaterialIndex = 0;
    mesh->mNumVertices = static_cast<unsigned>(model.mesh.positions.size());
    mesh->mVertices = copyArray(model.mesh.positions);
    mesh->mNormals = copyArray(model.mesh.normals);
    mesh->mTextureCoords[0] = new aiVector3D[mesh->mNumVertices];
    mesh->mNumUVComponents[0] = 2;
    for (unsigned i = 0; i < mesh->mNumVertices; ++i) {
        mesh->mTextureCoords[0][i] = aiVector3D(model.mesh.uvs[i].x, model.mesh.uvs[i].y, 0);
    }
    mesh->mNumFaces = static_cast<unsigned>(model.mesh.triangles.size());
    mesh->mFaces = new aiFace[mesh->mNumFaces];
    for (unsigned f = 0; f < mesh->mNumFaces; ++f) {
        aiFace& face = mesh->mFaces[f];
        face.mNumIndices = 3;
        face.mIndices = new unsigned[3];
        for (int k = 0; k < 3; ++k) {
            face.mIndices[k] = model.mesh.triangles[f][static_cast<size_t>(k)];
        }
    }
    if (!model.bones.empty()) {
        addBones(mesh, model);
    }
    return mesh;
}

static void addChild(aiNode* parent, aiNode* child) {
    aiNode** grown = new aiNode*[parent->mNumChildren + 1];
    for (unsigned i = 0; i < parent->mNumChildren; ++i) {
        grown[i] = parent->mChildren[i];
    }
    grown[parent->mNumChildren] = child;
    delete[] parent->mChildren;
    parent->mChildren = grown;
    parent->mNumChildren += 1;
    child->mParent = parent;
}

// The bone nodes, each placed at its head relative to its parent's head.
static void addSkeleton(aiNode* root, const ModelFile& model) {
    auto* armature = new aiNode("Armature");
    addChild(root, armature);
    std::vector<aiNode*> nodes;
    for (const Bone& bone : model.bones) {
        auto* node = new aiNode(bone.name);
        const aiVector3D parentHead =
            bone.parent >= 0 ? model.bones[static_cast<size_t>(bone.parent)].head : aiVector3D();
        aiMatrix4x4::Translation(bone.head - parentHead, node->mTransformation);
        addChild(bone.parent >= 0 ? nodes[static_cast<size_t>(bone.parent)] : armature, node);
        nodes.push_back(node);
    }
}

static aiAnimation* makeAnimation(const ModelFile& model) {
    const Take& take = model.take;
    auto* animation = new aiAnimation();
    animation->mName = aiString(take.name);
    animation->mTicksPerSecond = 1.0;
    animation->mDuration = static_cast<double>(take.seconds);
    const size_t boneCount = model.bones.size();
    const size_t keyCount = take.keys.size();
    animation->mNumChannels = static_cast<unsigned>(boneCount);
    animation->mChannels = new aiNodeAnim*[boneCount];
    for (size_t b = 0; b < boneCount; ++b) {
        auto* channel = new aiNodeAnim();
        channel->mNodeName = aiString(model.bones[b].name);
        const Bone& bone = model.bones[b];
        const aiVector3D parentHead =
            bone.parent >= 0 ? model.bones[static_cast<size_t>(bone.parent)].head : aiVector3D();
        channel->mNumPositionKeys = channel->mNumRotationKeys = channel->mNumScalingKeys =
            static_cast<unsigned>(keyCount);
        channel->mPositionKeys = new aiVectorKey[keyCount];
        channel->mRotationKeys = new aiQuatKey[keyCount];
        channel->mScalingKeys = new aiVectorKey[keyCount];
        for (size_t k = 0; k < keyCount; ++k) {
            const double t = static_cast<double>(take.seconds) * static_cast<double>(k) /
                             static_cast<double>(keyCount - 1);
            const BonePose& pose = take.keys[k][b];
            channel->mPositionKeys[k] = aiVectorKey(t, bone.head - parentHead + pose.offset);
            channel->mRotationKeys[k] = aiQuatKey(t, pose.rotation);
            channel->mScalingKeys[k] = aiVectorKey(t, aiVector3D(1, 1, 1));
        }
        animation->mChannels[b] = channel;
    }
    return animation;
}

// The exporter stamps files with the time of writing; a fixed stamp keeps the output identical
// from build to build.
static std::string withFixedTimestamp(std::string text) {
    const size_t begin = text.find("CreationTimeStamp:");
    const size_t end = text.find('}', begin);
    if (begin == std::string::npos || end == std::string::npos) {
        return text;
    }
    const std::string stamp = "CreationTimeStamp:  {\n\t\tVersion: 1000\n\t\tYear: 2026\n"
                              "\t\tMonth: 1\n\t\tDay: 1\n\t\tHour: 0\n\t\tMinute: 0\n"
                              "\t\tSecond: 0\n\t\tMillisecond: 0\n\t";
    return text.replace(begin, end - begin, stamp);
}

static bool writeFile(const std::string& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
    out.close();
    if (!out) {
        std::fprintf(stderr, "make-assets: cannot write %s\n", path.c_str());
        return false;
    }
    return true;
}

bool exportFbx(const ModelFile& model, const std::string& path) {
    aiScene scene;
    scene.mRootNode = new aiNode("RootNode");
    auto* meshNode = new aiNode(model.nodeName);
    meshNode->mNumMeshes = 1;
    meshNode->mMeshes = new unsigned[1]{0};
    addChild(scene.mRootNode, meshNode);
    scene.mNumMeshes = 1;
    scene.mMeshes = new aiMesh* [1] { makeMesh(model) };
    scene.mNumMaterials = 1;
    scene.mMaterials = new aiMaterial* [1] { makeMaterial(model.textureName) };
    if (!model.bones.empty()) {
        addSkeleton(scene.mRootNode, model);
        scene.mNumAnimations = 1;
        scene.mAnimations = new aiAnimation* [1] { makeAnimation(model) };
    }
    Assimp::Exporter exporter;
    const aiExportDataBlob* blob = exporter.ExportToBlob(&scene, kFormat);
    if (blob == nullptr) {
        std::fprintf(stderr, "make-assets: cannot export %s: %s\n", path.c_str(),
                     exporter.GetErrorString());
        return false;
    }
    std::string text(static_cast<const char*>(blob->data), blob->size);
    return writeFile(path, withFixedTimestamp(text));
}

bool writeModel(const std::string& dir, const std::string& fbxName, const ModelFile& model,
                const Canvas& texture, bool rle) {
    const std::string texturePath = dir + "/" + model.textureName;
    if (!texture.save(texturePath, rle)) {
        std::fprintf(stderr, "make-assets: cannot write %s\n", texturePath.c_str());
        return false;
    }
    return exportFbx(model, dir + "/" + fbxName);
}

} // namespace assets
