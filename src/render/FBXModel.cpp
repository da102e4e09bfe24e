// Loading a model: our own checks look at the file first, the model reader (Assimp, in a child
// process) turns its mesh into polygon tables and control-point arrays and bakes the frames of
// skinned models, and here they become flat per-vertex arrays with the TGA texture uploaded with
// mipmaps. Model files and textures are untrusted input: anything refused, any reader that
// crashes or hangs, is a failed import and leaves an empty model behind.
#include "FBXModel.h"

#include "Engine.h"
#include "InputManager.h"
#include "LevelFacts.h"
#include "Logfile.h"
#include "ModelReader.h"
#include "TGAImage.h"

#include <GL/glext.h>
#include <GL/glu.h>

#include <algorithm>
#include <cmath>

static constexpr uint8_t kRightToLeft = 0x10;
static constexpr uint8_t kTopToBottom = 0x20;

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

FBXModel::FBXModel(ModelReader& reader, const std::string& fbxFile, const std::string& textureFile,
                   float scale)
    : FBXModel() {
    this->textureFile = textureFile;
    loadModel(reader, fbxFile);
    this->scale = scale;
}

// `animated` is set before loading, so that the frames are baked, and again after it.
FBXModel::FBXModel(ModelReader& reader, const level::ModelAsset& asset) : FBXModel() {
    textureFile = asset.texture;
    animated = asset.animated;
    loadModel(reader, asset.file);
    animated = asset.animated;
    scale = asset.scale;
}

void FBXModel::loadModel(ModelReader& reader, const std::string& fileName) {
    ModelSource source;
    source.name = fileName;
    load(reader, source);
}

void FBXModel::loadModelFromMemory(ModelReader& reader, const void* data, size_t size,
                                   const std::string& name) {
    ModelSource source;
    source.name = name;
    source.data = data;
    source.size = size;
    load(reader, source);
}

// A failed import is logged once with its cause, then with the model's name; the model stays
// as it was (empty, for a first load).
void FBXModel::load(ModelReader& reader, const ModelSource& source) {
    Logfile::appendLine("loading model 1");
    ModelAnswer imported;
    std::string failure;
    if (reader.read(source, animated, &imported, &failure)) {
        useImport(imported);
    } else if (imported.outcome == ModelAnswer::kNoImporter) {
        Logfile::appendLine("Unable to create FBX-SDK Manager");
    } else {
        Logfile::appendLine(failure.c_str());
        Logfile::appendLine("Model '", source.name.c_str(), "' could not be imported");
    }
}

// The vertex count goes to the log once per load, right after the arrays are built, so that it
// is there even for a model whose texture upload crashes the driver. A scene without a mesh
// keeps the tables it had.
void FBXModel::useImport(ModelAnswer& imported) {
    if (imported.hasMesh) {
        controlPointCount = static_cast<int>(imported.controlPoints.size() / 4);
        polygonCount = static_cast<int>(imported.polygonSizes.size());
        controlPoints = std::move(imported.controlPoints);
        controlNormals = std::move(imported.controlNormals);
        controlUVs = std::move(imported.controlUVs);
        readPolygonTables(imported.polygonSizes, imported.polygonIndices);
        loadTexture();
    }
    bakedFrames_ = std::move(imported.frames);
    buildFlatArrays();
    measureBound();
    Logfile::writeValue(vertexCount);
    Logfile::appendLine("loading model 2");
    uploadTexture();
    glFlush();
    prepareBuffersAndFrames();
    Logfile::appendLine("loading model 4");
}

// A polygon's UV indices are its vertex indices: the reader keeps one UV per vertex. The
// sizes add up to the indices (the answer was checked).
void FBXModel::readPolygonTables(const std::vector<int>& sizes, const std::vector<int>& indices) {
    vertexCount = 0;
    maxPolygonSize = 0;
    polygonSizes = sizes;
    polygonVertexIndices.assign(sizes.size(), {});
    for (size_t f = 0; f < sizes.size(); ++f) {
        const auto from = indices.begin() + vertexCount;
        polygonVertexIndices[f].assign(from, from + sizes[f]);
        maxPolygonSize = std::max(maxPolygonSize, sizes[f]);
        vertexCount += sizes[f];
    }
    polygonUVIndices = polygonVertexIndices;
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

// The bound is taken once the arrays hold the bind pose; the run frames stay close to it.
void FBXModel::measureBound() {
    float farthest = 0.0f;
    for (size_t i = 0; i + 2 < vertices.size(); i += 3) {
        farthest =
            std::max(farthest, vertices[i] * vertices[i] + vertices[i + 1] * vertices[i + 1] +
                                   vertices[i + 2] * vertices[i + 2]);
    }
    boundRadius_ = std::sqrt(farthest);
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
