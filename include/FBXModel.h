// FBXModel: one model file and one TGA texture turned into flat triangle arrays that OpenGL
// draws in one of three render modes (immediate, vertex arrays, ARB buffer objects), optionally
// through display lists. Skinned models get 31 vertex frames computed once at load time and are
// drawn as a blend between two of them. Models are shared by every object that shows them. The
// file itself is read by a ModelReader, in its sandboxed child process.
#pragma once

#include "MaterialOverrides.h"

#include <GL/gl.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace level {
struct ModelAsset;
}
struct ModelAnswer;
class ModelReader;
struct ModelSource;

class FBXModel : public MaterialOverrides {
public:
    // Render modes.
    static constexpr int kImmediate = 0;
    static constexpr int kVertexArrays = 1;
    static constexpr int kBufferObjects = 2;
    // Frames of a skinned model, both ends of the take included.
    static constexpr int kSkinFrames = 31;
    // Seconds after which advanceAnimation steps to the next frame.
    static constexpr float kFrameStep = 0.0125f;

    // An empty model; copies the render-mode, filter and display-list settings of the engine.
    FBXModel();
    // Loads fbxFile with textureFile through the reader, then sets the drawing scale.
    FBXModel(ModelReader& reader, const std::string& fbxFile, const std::string& textureFile,
             float scale);
    // The model of a level asset with its texture, scale and animation, through the reader.
    FBXModel(ModelReader& reader, const level::ModelAsset& asset);
    // Releases the display lists, buffers and texture (the game never destroys models).
    ~FBXModel();
    FBXModel(const FBXModel&) = delete;
    FBXModel& operator=(const FBXModel&) = delete;

    // Imports the file through the reader (its answer, if the file was asked for ahead), builds
    // the flat arrays, uploads the texture and prepares buffers and frames (baked when
    // `animated` is set); logs each step. A failed import, a reader that crashed or hung
    // included, leaves the model empty and logs its cause.
    void loadModel(ModelReader& reader, const std::string& fileName);
    // The same from bytes in memory; `name` is used for the log and to pick the format.
    void loadModelFromMemory(ModelReader& reader, const void* data, size_t size,
                             const std::string& name);
    // Whole-word search of the GL extension string.
    static bool isExtensionSupported(const char* name);
    // Binds the texture and sets its filters from filterMode.
    void applyTextureFilter();

    // Draws the model in its render mode at its scale (the caller's matrix is kept).
    void draw();
    // Draws the bind pose instead of the run frames: the still pose of idle characters.
    void drawStill();
    // Makes `model` the next coarser version of this one, shown in its place where this model
    // shows a radius of fewer than `belowPixels` on the screen; the caller keeps ownership, and
    // the coarser model may have a coarser one of its own.
    void setCoarser(FBXModel* model, float belowPixels);
    // This model, or the coarsest of its versions meant for a radius of this many pixels.
    FBXModel* forPixels(float pixels);
    // Whether coarser versions stand in for this model far away.
    bool hasCoarser() const { return coarser_ != nullptr; }
    // The radius about the model's origin that holds every vertex of its bind pose, at its
    // drawing scale.
    float radius() const { return boundRadius_ * scale; }
    // Switches render mode, deleting and building the lists and buffers that mode needs.
    void setRenderMode(int mode);
    // Adds seconds to the frame clock; steps at most one frame once it passes kFrameStep.
    void advanceAnimation(float seconds);
    // End of loading: buffer-object entry points and, for skinned models, the frames.
    void prepareBuffersAndFrames();
    void buildDisplayList(int mode);
    void deleteDisplayList(int mode);
    void createBuffers();
    void deleteBuffers();

    // The positions to draw now: frame blend for skinned models, else the bind pose.
    const float* currentPositions();
    // The same, one per control point, for skinned models drawn indexed (3 floats a point).
    const float* currentPointPositions();
    // Whether the model draws from buffer objects through an index per corner, one vertex per
    // control point: what a skinned model does in buffer-object mode once its frames are made.
    bool drawsIndexed() const { return !indices_.empty(); }

    // Texture pixels kept from the reader until the upload: 24-bit BGR, bottom row first.
    struct TextureImage {
        int width = 0;
        int height = 0;
        std::vector<uint8_t> pixels;
    };

    // Loading results (read by physics cooking and the tests).
    std::vector<double> controlPoints;  // 4 per control point
    std::vector<double> controlNormals; // 4 per control point
    std::vector<float> controlUVs;      // 2 per control point
    TextureImage textureImage;
    std::string textureFile;
    int controlPointCount = 0;
    int polygonCount = 0;
    int vertexCount = 0;
    int maxPolygonSize = 0;
    std::vector<int> polygonSizes;
    std::vector<std::vector<int>> polygonVertexIndices;
    std::vector<std::vector<int>> polygonUVIndices;
    std::vector<float> vertices;  // 3 per polygon vertex
    std::vector<float> normals;   // 3 per polygon vertex
    std::vector<float> texCoords; // 2 per polygon vertex
    GLuint textureId = 0;
    float scale = 1.0f;

    // Drawing state.
    int renderMode = 0;
    int requestedMode = 0;
    int filterMode = 0;
    int linearFilter = 0;
    bool useDisplayList = false;
    bool animated = false;
    bool vboSupported = false;
    bool textured = true;
    // Draw calls since load, still poses included (the benchmark counts detail levels with it).
    unsigned drawCount = 0;
    // Cleared to hide every object that shows this model (the F2 switch).
    bool visible = true;
    // Whether the model has a still pose to show while its object stands idle (skinned models).
    bool hasStillPose = false;

    // Skinned frames.
    int frameCount = 0;
    int currentFrame = 0;
    float frameTime = 0.0f;
    std::vector<std::vector<float>> frames;

    // Lists and buffers per render mode.
    GLuint displayLists[3] = {0, 0, 0};
    bool listBuilt[3] = {false, false, false};
    GLuint buffers[3] = {0, 0, 0}; // positions, normals, texture coordinates
    bool buffersCreated = false;

private:
    // Loading steps: the reader's answer (or the failure log), then what is built from it.
    void load(ModelReader& reader, const ModelSource& source);
    void useImport(ModelAnswer& imported);
    void readPolygonTables(const std::vector<int>& sizes, const std::vector<int>& indices);
    void loadTexture();
    void buildFlatArrays();
    void measureBound();
    void uploadTexture();
    void drawImmediate(const float* positions);
    void drawArrays(const float* positions);
    void drawBuffers();
    void streamPositions();
    void syncSettings();
    // The blend of the current frame and the next into `out`, unless it holds it already (the
    // frame and clock it was made for are kept in madeFrame and madeTime).
    const float* blendFrames(const std::vector<std::vector<float>>& from, std::vector<float>& out,
                             int* madeFrame, float* madeTime) const;
    // Skinned models in buffer-object mode (FBXModelIndexed.cpp).
    void buildPointArrays();
    void createIndexBuffer();
    void drawIndexed();

    // The next coarser version and the pixel radius below which it stands in.
    FBXModel* coarser_ = nullptr;
    float coarserBelowPixels_ = 0.0f;
    // Distance of the farthest vertex from the origin, before scaling.
    float boundRadius_ = 0.0f;

    // Frames the reader baked, kept from the import until prepareBuffersAndFrames.
    std::vector<std::vector<float>> bakedFrames_;
    std::vector<float> blended_;
    // The frame and clock that blended_ and the position buffer were last made for: every object
    // that shows the model draws the same pose in a frame, so the blend and the buffer upload
    // (which waits for the rasteriser to finish with the buffer) are done once per pose.
    int blendedFrame_ = -1;
    float blendedTime_ = -1.0f;
    int streamedFrame_ = -1;
    float streamedTime_ = -1.0f;

    // Indexed drawing of skinned models: each corner's control point, the points' normals and
    // texture coordinates, their positions in every frame, this pose's blend, and the buffer of
    // indices beside `buffers`.
    std::vector<GLuint> indices_;
    std::vector<float> pointNormals_;
    std::vector<float> pointUVs_;
    std::vector<std::vector<float>> pointFrames_;
    std::vector<float> pointBlend_;
    int pointBlendFrame_ = -1;
    float pointBlendTime_ = -1.0f;
    GLuint indexBuffer_ = 0;
};
