// Loading a model: the file is imported with Assimp, its mesh becomes polygon tables and flat
// per-vertex arrays, its TGA texture is uploaded with mipmaps, and skinned models get their
// frames baked (through prepareBuffersAndFrames). Model files and textures are untrusted input:
// anything the importer cannot vouch for, or that would make us index out of range, is treated
// as a failed import and leaves an empty model behind.
#include "FBXModel.h"

#include "Engine.h"
#include "FBXImportLimits.h"
#include "InputManager.h"
#include "LevelFacts.h"
#include "Logfile.h"
#include "TGAImage.h"

#include <GL/glext.h>
#include <GL/glu.h>
#include <assimp/Importer.hpp>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <new>
#include <stdexcept>

// Joined vertices stand in for the control points of the mesh. Nothing here triangulates: the
// arrays are drawn as GL_TRIANGLES whatever the polygons are, as the game always did. Assimp's
// validation turns an inconsistent scene into a failed import instead of a crash later.
static constexpr unsigned kImportFlags =
    aiProcess_JoinIdenticalVertices | aiProcess_ValidateDataStructure;
// The only formats we read, and the largest model we accept (the level is a few MiB).
static const char* const kModelExtensions[] = {".fbx", ".3ds", ".dae", ".dxf", ".obj"};
static constexpr std::uintmax_t kMaxModelBytes = 64u * 1024 * 1024;
// Assimp marks the nodes it inserts for pivots, pre/post rotations and geometric offsets.
static const char* const kHelperNodeMark = "_$AssimpFbx$_";
static constexpr uint8_t kRightToLeft = 0x10;
static constexpr uint8_t kTopToBottom = 0x20;

namespace {

using Preset = level::ModelAsset;

const Preset& presetOf(ModelKind kind) {
    switch (kind) {
    case ModelKind::Flag:
        return level::kFlag;
    case ModelKind::Rocket:
        return level::kRocket;
    case ModelKind::Sheep:
        return level::kSheep;
    case ModelKind::Herder:
        return level::kHerder;
    case ModelKind::Sky:
        return level::kSky;
    case ModelKind::TestSphere:
        return level::kTestSphere;
    case ModelKind::Terrain:
        return level::kTerrainPreset;
    case ModelKind::Wolf:
        return level::kWolf;
    }
    return level::kFlag;
}

// The name's extension in lower case, dot included ("" when there is none).
std::string lowerExtension(const std::string& name) {
    std::string ext = std::filesystem::path(name).extension().string();
    std::transform(ext.begin(), ext.end(), ext.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return ext;
}

bool isModelExtension(const std::string& name) {
    const std::string ext = lowerExtension(name);
    return std::any_of(std::begin(kModelExtensions), std::end(kModelExtensions),
                       [&](const char* known) { return ext == known; });
}

// FBX files must stay within what the importer survives (see FBXImportLimits.h).
bool withinFormatLimits(const std::string& name, const void* data, size_t size) {
    return lowerExtension(name) != ".fbx" || fbxWithinImportLimits(data, size);
}

bool fileWithinFormatLimits(const std::string& name) {
    if (lowerExtension(name) != ".fbx") {
        return true;
    }
    std::ifstream in(name, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(in),
                                  std::istreambuf_iterator<char>()};
    return in.good() || in.eof() ? fbxWithinImportLimits(bytes.data(), bytes.size()) : false;
}

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

FBXModel::FBXModel() {
    const InputManager* input = InputManager::getInstance();
    vboSupported = Engine::getInstance()->hasVertexBufferObjects;
    renderMode = input->renderMode;
    requestedMode = input->renderMode;
    filterMode = input->cycleF5;
    linearFilter = input->toggleF4;
    // Display lists follow the engine's setting from the first draw on, and only when static.
    useDisplayList = false;
    textured = true;
    scale = 1.0f;
}

FBXModel::FBXModel(const std::string& fbxFile, const std::string& textureFile, float scale)
    : FBXModel() {
    this->textureFile = textureFile;
    loadModel(fbxFile);
    this->scale = scale;
}

// `animated` is set before loading, so that the frames are baked, and again after it.
FBXModel::FBXModel(ModelKind kind) : FBXModel() {
    const Preset& preset = presetOf(kind);
    textureFile = preset.texture;
    animated = preset.animated;
    loadModel(preset.file);
    animated = preset.animated;
    scale = preset.scale;
}

// new (nothrow): the importer is the one object whose absence we report rather than throw.
bool FBXModel::createImporter() {
    importer_.reset(new (std::nothrow) Assimp::Importer());
    if (importer_ == nullptr) {
        Logfile::appendLine("Unable to create FBX-SDK Manager");
        return false;
    }
    Logfile::appendLine("loading model 1");
    return true;
}

void FBXModel::loadModel(const std::string& fileName) {
    if (!createImporter()) {
        return;
    }
    const aiScene* scene = nullptr;
    std::error_code error;
    const std::uintmax_t bytes = std::filesystem::file_size(fileName, error);
    if (!error && bytes <= kMaxModelBytes && isModelExtension(fileName) &&
        fileWithinFormatLimits(fileName)) {
        try {
            scene = importer_->ReadFile(fileName, kImportFlags);
        } catch (...) {
            scene = nullptr; // Assimp catches its own errors; anything else is a failure too
        }
    }
    finishLoading(scene, fileName);
}

void FBXModel::loadModelFromMemory(const void* data, size_t size, const std::string& name) {
    if (!createImporter()) {
        return;
    }
    const aiScene* scene = nullptr;
    if (data != nullptr && size > 0 && size <= kMaxModelBytes && isModelExtension(name) &&
        withinFormatLimits(name, data, size)) {
        const std::string hint = lowerExtension(name).substr(1);
        try {
            scene = importer_->ReadFileFromMemory(data, size, kImportFlags, hint.c_str());
        } catch (...) {
            scene = nullptr;
        }
    }
    finishLoading(scene, name);
}

// The importer (and with it the scene, the mesh and its node) is gone once this returns.
void FBXModel::finishLoading(const aiScene* scene, const std::string& name) {
    if (sceneIsUsable(scene)) {
        importScene(scene);
    } else {
        Logfile::appendLine("Model '", name.c_str(), "' could not be imported");
    }
    importer_.reset();
    mesh_ = nullptr;
    meshNode_ = nullptr;
}

// The mesh is the last one found on a direct child of the root. The vertex count goes to the
// log once per load, right after the arrays are built, so that it is there even for a model
// whose texture upload crashes the driver.
void FBXModel::importScene(const aiScene* scene) {
    const aiNode* root = scene->mRootNode;
    for (unsigned i = 0; i < root->mNumChildren && root->mChildren != nullptr; ++i) {
        const aiNode* node = chainEnd(root->mChildren[i]);
        if (node->mNumMeshes > 0 && node->mMeshes != nullptr &&
            node->mMeshes[0] < scene->mNumMeshes) {
            readMesh(scene, scene->mMeshes[node->mMeshes[0]], node);
        }
    }
    buildFlatArrays();
    Logfile::writeValue(vertexCount);
    Logfile::appendLine("loading model 2");
    uploadTexture();
    glFlush();
    prepareBuffersAndFrames();
    Logfile::appendLine("loading model 4");
}

void FBXModel::readMesh(const aiScene* /*scene*/, const aiMesh* mesh, const aiNode* node) {
    mesh_ = mesh;
    meshNode_ = node;
    controlPointCount = static_cast<int>(mesh->mNumVertices);
    polygonCount = static_cast<int>(mesh->mNumFaces);
    readPolygonTables(mesh);
    loadTexture();
    const unsigned count = mesh->mNumVertices;
    controlPoints.assign(static_cast<size_t>(count) * 4, 0.0);
    controlNormals.assign(static_cast<size_t>(count) * 4, 0.0);
    controlUVs.assign(static_cast<size_t>(count) * 2, 0.0f);
    for (unsigned v = 0; v < count; ++v) {
        const aiVector3D& p = mesh->mVertices[v];
        std::copy_n(&p.x, 3, &controlPoints[4 * v]);
        controlPoints[4 * v + 3] = 1.0;
        // Normals are directions: their w stays 0.
        if (mesh->mNormals != nullptr) {
            std::copy_n(&mesh->mNormals[v].x, 3, &controlNormals[4 * v]);
        }
        if (mesh->mTextureCoords[0] != nullptr) {
            controlUVs[2 * v] = mesh->mTextureCoords[0][v].x;
            controlUVs[2 * v + 1] = mesh->mTextureCoords[0][v].y;
        }
    }
}

// Assimp keeps one UV per vertex, so a polygon's UV indices are its vertex indices.
void FBXModel::readPolygonTables(const aiMesh* mesh) {
    vertexCount = 0;
    maxPolygonSize = 0;
    polygonSizes.assign(mesh->mNumFaces, 0);
    polygonVertexIndices.assign(mesh->mNumFaces, {});
    polygonUVIndices.assign(mesh->mNumFaces, {});
    for (unsigned f = 0; f < mesh->mNumFaces; ++f) {
        const aiFace& face = mesh->mFaces[f];
        const int size = static_cast<int>(face.mNumIndices);
        polygonSizes[f] = size;
        maxPolygonSize = std::max(maxPolygonSize, size);
        polygonVertexIndices[f].assign(face.mIndices, face.mIndices + face.mNumIndices);
        polygonUVIndices[f] = polygonVertexIndices[f];
        vertexCount += size;
    }
}

// Positions, normals and UVs per polygon vertex, in polygon order: what every render mode draws.
void FBXModel::buildFlatArrays() {
    vertices.clear();
    normals.clear();
    texCoords.clear();
    vertices.reserve(static_cast<size_t>(vertexCount) * 3);
    normals.reserve(static_cast<size_t>(vertexCount) * 3);
    texCoords.reserve(textured ? static_cast<size_t>(vertexCount) * 2 : 0);
    for (size_t p = 0; p < polygonVertexIndices.size(); ++p) {
        for (size_t k = 0; k < polygonVertexIndices[p].size(); ++k) {
            const size_t point = static_cast<size_t>(polygonVertexIndices[p][k]);
            const size_t uv = static_cast<size_t>(polygonUVIndices[p][k]);
            for (size_t c = 0; c < 3; ++c) {
                vertices.push_back(static_cast<float>(controlPoints[4 * point + c]));
                normals.push_back(static_cast<float>(controlNormals[4 * point + c]));
                if (c < 2 && textured) {
                    texCoords.push_back(controlUVs[2 * uv + c]);
                }
            }
        }
    }
}

// Reads textureFile into textureImage as 24-bit BGR, bottom row first and left to right, the
// layout gluBuild2DMipmaps expects. A texture that cannot be read leaves no image; the model
// still loads and draws untextured-looking.
void FBXModel::loadTexture() {
    textureImage = TextureImage();
    TGAImage image;
    int code = readTGA(&image, textureFile.c_str());
    if (code == kTgaOk && (image.descriptor & kRightToLeft) != 0) {
        code = flipHorizontal(&image);
    }
    if (code == kTgaOk && (image.descriptor & kTopToBottom) != 0) {
        code = flipVertical(&image);
    }
    if (code == kTgaOk) {
        code = convertDepth(&image, 24);
    }
    if (code != kTgaOk) {
        freeBuffers(&image);
        Logfile::appendLine("Unable to load the Texture '", textureFile.c_str(), "'");
        return;
    }
    textureImage.width = image.width;
    textureImage.height = image.height;
    textureImage.pixels.assign(image.imageData, image.imageData + static_cast<size_t>(image.width) *
                                                                      image.height * 3);
    freeBuffers(&image);
}

// A reload replaces the texture instead of leaking it. Rows of 24-bit pixels are packed, so the
// upload reads them with an alignment of 1 (at the default of 4, a width that is not a multiple
// of 4 would make GLU read past the end of the pixels).
void FBXModel::uploadTexture() {
    if (!textured) {
        return;
    }
    if (textureId != 0) {
        glDeleteTextures(1, &textureId);
    }
    glGenTextures(1, &textureId);
    glBindTexture(GL_TEXTURE_2D, textureId);
    Logfile::appendLine("loading model 3.1");
    glTexEnvf(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
    Logfile::appendLine("loading model 3.5");
    if (!textureImage.pixels.empty()) {
        GLint alignment = 4;
        glGetIntegerv(GL_UNPACK_ALIGNMENT, &alignment);
        glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
        gluBuild2DMipmaps(GL_TEXTURE_2D, 3, textureImage.width, textureImage.height, GL_BGR_EXT,
                          GL_UNSIGNED_BYTE, textureImage.pixels.data());
        glPixelStorei(GL_UNPACK_ALIGNMENT, alignment);
        std::vector<uint8_t>().swap(textureImage.pixels);
    }
    applyTextureFilter();
}

// Magnification is always linear. The linear-filter switch is forced on here: filter mode 0
// means linear minification whatever the switch said.
void FBXModel::applyTextureFilter() {
    glBindTexture(GL_TEXTURE_2D, textureId);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    linearFilter = 1;
    switch (filterMode) {
    case 0:
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER,
                        linearFilter != 0 ? GL_LINEAR : GL_NEAREST);
        break;
    case 1:
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST_MIPMAP_NEAREST);
        break;
    case 2:
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
        break;
    default:
        break;
    }
}

bool FBXModel::isExtensionSupported(const char* name) {
    return Engine::extensionListHas(reinterpret_cast<const char*>(glGetString(GL_EXTENSIONS)),
                                    name);
}
