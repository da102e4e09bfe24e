// The model reader's own work, as the child process does it: Assimp imports the file, the scene
// is checked, and the mesh becomes polygon tables and control-point arrays (plus skin frames for
// characters). Anything the importer cannot vouch for, or that would make us index out of range,
// is a failed import.
#include "ModelImport.h"

#include "FBXModel.h"
#include "SkinEvaluator.h"

#include <assimp/Importer.hpp>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <filesystem>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>

// Joined vertices stand in for the control points of the mesh. Nothing here triangulates: the
// arrays are drawn as GL_TRIANGLES whatever the polygons are, as the game always did. Assimp's
// validation turns an inconsistent scene into a failed import instead of a crash later.
static constexpr unsigned kImportFlags =
    aiProcess_JoinIdenticalVertices | aiProcess_ValidateDataStructure;
// Assimp marks the nodes it inserts for pivots, pre/post rotations and geometric offsets.
static const char* const kHelperNodeMark = "_$AssimpFbx$_";

namespace {

bool finite(const aiVector3D& v) {
    return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

bool finiteArray(const aiVector3D* values, unsigned count) {
    return values == nullptr || std::all_of(values, values + count, finite);
}

// Faces index only existing vertices and every coordinate we copy or draw is a number.
bool meshIsSound(const aiMesh* mesh) {
    if (mesh == nullptr || mesh->mVertices == nullptr || mesh->mFaces == nullptr) {
        return mesh != nullptr && mesh->mNumFaces == 0;
    }
    for (unsigned f = 0; f < mesh->mNumFaces; ++f) {
        const aiFace& face = mesh->mFaces[f];
        if (face.mNumIndices > 0 && face.mIndices == nullptr) {
            return false;
        }
        for (unsigned i = 0; i < face.mNumIndices; ++i) {
            if (face.mIndices[i] >= mesh->mNumVertices) {
                return false;
            }
        }
    }
    return finiteArray(mesh->mVertices, mesh->mNumVertices) &&
           finiteArray(mesh->mNormals, mesh->mNumVertices) &&
           finiteArray(mesh->mTextureCoords[0], mesh->mNumVertices);
}

bool bonesAreFinite(const aiMesh* mesh) {
    for (unsigned b = 0; b < mesh->mNumBones && mesh->mBones != nullptr; ++b) {
        const aiMatrix4x4& m = mesh->mBones[b]->mOffsetMatrix;
        if (!std::all_of(m[0], m[0] + 16, [](float x) { return std::isfinite(x); })) {
            return false;
        }
    }
    return true;
}

// Key values feed the baked frames as positions; a NaN there would spread over the model.
bool keysAreFinite(const aiNodeAnim* ch) {
    for (unsigned k = 0; k < ch->mNumPositionKeys && ch->mPositionKeys != nullptr; ++k) {
        if (!finite(ch->mPositionKeys[k].mValue) || !std::isfinite(ch->mPositionKeys[k].mTime)) {
            return false;
        }
    }
    for (unsigned k = 0; k < ch->mNumScalingKeys && ch->mScalingKeys != nullptr; ++k) {
        if (!finite(ch->mScalingKeys[k].mValue) || !std::isfinite(ch->mScalingKeys[k].mTime)) {
            return false;
        }
    }
    for (unsigned k = 0; k < ch->mNumRotationKeys && ch->mRotationKeys != nullptr; ++k) {
        const aiQuaternion& q = ch->mRotationKeys[k].mValue;
        if (!std::isfinite(q.w + q.x + q.y + q.z) || !std::isfinite(ch->mRotationKeys[k].mTime)) {
            return false;
        }
    }
    return true;
}

bool animationsAreFinite(const aiScene* scene) {
    for (unsigned a = 0; a < scene->mNumAnimations && scene->mAnimations != nullptr; ++a) {
        const aiAnimation* take = scene->mAnimations[a];
        for (unsigned c = 0; c < take->mNumChannels && take->mChannels != nullptr; ++c) {
            if (!keysAreFinite(take->mChannels[c])) {
                return false;
            }
        }
    }
    return true;
}

// What we accept from the importer: a complete scene with a root node whose meshes are sound
// and whose skin and takes hold only numbers.
bool sceneIsUsable(const aiScene* scene) {
    if (scene == nullptr || scene->mRootNode == nullptr ||
        (scene->mFlags & AI_SCENE_FLAGS_INCOMPLETE) != 0) {
        return false;
    }
    if (scene->mNumMeshes > 0 && scene->mMeshes == nullptr) {
        return false;
    }
    const auto meshes = scene->mMeshes;
    const auto end = meshes + scene->mNumMeshes;
    return std::all_of(meshes, end, meshIsSound) && std::all_of(meshes, end, bonesAreFinite) &&
           animationsAreFinite(scene);
}

// The node of a root child that carries its mesh. Assimp expresses pivots and offsets as a chain
// of helper nodes ("<name>_$AssimpFbx$_<part>") ending in the real node; the chain stands for
// that one node, or a file from a modelling tool would load without its mesh.
const aiNode* chainEnd(const aiNode* child) {
    const aiNode* node = child;
    std::string name = node->mName.C_Str();
    std::string::size_type mark = name.find(kHelperNodeMark);
    while (mark != std::string::npos && node->mNumMeshes == 0) {
        const std::string base = name.substr(0, mark);
        const aiNode* next = nullptr;
        for (unsigned i = 0; i < node->mNumChildren && node->mChildren != nullptr && !next; ++i) {
            const std::string childName = node->mChildren[i]->mName.C_Str();
            if (childName == base || childName.rfind(base + kHelperNodeMark, 0) == 0) {
                next = node->mChildren[i];
            }
        }
        if (next == nullptr) {
            break;
        }
        node = next;
        name = node->mName.C_Str();
        mark = name.find(kHelperNodeMark);
    }
    return node;
}

// Polygon tables and control points of the mesh; Assimp keeps one UV per vertex.
void readMesh(const aiMesh* mesh, ModelAnswer* out) {
    out->hasMesh = true;
    out->polygonSizes.clear();
    out->polygonIndices.clear();
    for (unsigned f = 0; f < mesh->mNumFaces; ++f) {
        const aiFace& face = mesh->mFaces[f];
        out->polygonSizes.push_back(static_cast<int>(face.mNumIndices));
        out->polygonIndices.insert(out->polygonIndices.end(), face.mIndices,
                                   face.mIndices + face.mNumIndices);
    }
    const unsigned count = mesh->mNumVertices;
    out->controlPoints.assign(static_cast<size_t>(count) * 4, 0.0);
    out->controlNormals.assign(static_cast<size_t>(count) * 4, 0.0);
    out->controlUVs.assign(static_cast<size_t>(count) * 2, 0.0f);
    for (unsigned v = 0; v < count; ++v) {
        const aiVector3D& p = mesh->mVertices[v];
        std::copy_n(&p.x, 3, &out->controlPoints[4 * v]);
        out->controlPoints[4 * v + 3] = 1.0;
        // Normals are directions: their w stays 0.
        if (mesh->mNormals != nullptr) {
            std::copy_n(&mesh->mNormals[v].x, 3, &out->controlNormals[4 * v]);
        }
        if (mesh->mTextureCoords[0] != nullptr) {
            out->controlUVs[2 * v] = mesh->mTextureCoords[0][v].x;
            out->controlUVs[2 * v + 1] = mesh->mTextureCoords[0][v].y;
        }
    }
}

// The mesh is the last one found on a direct child of the root.
void readScene(const aiScene* scene, bool bakeFrames, ModelAnswer* out) {
    const aiNode* root = scene->mRootNode;
    const aiMesh* mesh = nullptr;
    const aiNode* meshNode = nullptr;
    for (unsigned i = 0; i < root->mNumChildren && root->mChildren != nullptr; ++i) {
        const aiNode* node = chainEnd(root->mChildren[i]);
        if (node->mNumMeshes > 0 && node->mMeshes != nullptr &&
            node->mMeshes[0] < scene->mNumMeshes) {
            mesh = scene->mMeshes[node->mMeshes[0]];
            meshNode = node;
        }
    }
    if (mesh != nullptr) {
        readMesh(mesh, out);
    }
    if (bakeFrames) {
        out->frames = bakeSkinFrames(scene, mesh, meshNode, out->polygonIndices);
    }
    out->outcome = ModelAnswer::kImported;
}

std::string lowerExtension(const std::string& name) {
    std::string ext = std::filesystem::path(name).extension().string();
    std::transform(ext.begin(), ext.end(), ext.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return ext;
}

} // namespace

// Debian builds Assimp with its internal assertions on, and a failed one aborts the program; a
// damaged file can trip them (a skin cluster naming a vertex the mesh does not have, for one).
// The library calls this handler through its PLT, so this definition takes the place of its own
// and throws instead: the importer turns that into a failed import.
namespace Assimp {
void aiAssertViolation(const char* failedExpression, const char* file, int line) {
    throw std::runtime_error(std::string("assertion failed: ") + failedExpression + " (" + file +
                             ":" + std::to_string(line) + ")");
}
} // namespace Assimp

// The importer and its scene live until this returns; only our own copies leave it.
void importModelHere(const ModelSource& source, bool bakeFrames, ModelAnswer* out,
                     std::string* note) {
    *out = ModelAnswer();
    note->clear();
    std::unique_ptr<Assimp::Importer> importer(new (std::nothrow) Assimp::Importer());
    if (importer == nullptr) {
        out->outcome = ModelAnswer::kNoImporter;
        *note = "could not make an importer";
        return;
    }
    try {
        const aiScene* scene = nullptr;
        if (source.data != nullptr) {
            const std::string hint = lowerExtension(source.name).substr(1);
            scene =
                importer->ReadFileFromMemory(source.data, source.size, kImportFlags, hint.c_str());
        } else {
            scene = importer->ReadFile(source.name, kImportFlags);
        }
        // The reader's own words, for whoever made the file; the import fails as usual.
        if (scene == nullptr) {
            *note = importer->GetErrorString();
        } else if (sceneIsUsable(scene)) {
            readScene(scene, bakeFrames, out);
        } else {
            *note = "no usable scene (incomplete, inconsistent or not finite)";
        }
    } catch (const std::bad_alloc&) {
        *out = ModelAnswer(); // our own copies of the scene did not fit
        *note = "bad_alloc";
    } catch (...) {
        *out = ModelAnswer(); // Assimp catches its own errors; anything else is a failure too
        *note = "the import failed";
    }
    if (out->outcome != ModelAnswer::kImported && note->empty()) {
        *note = "the import failed";
    }
}
