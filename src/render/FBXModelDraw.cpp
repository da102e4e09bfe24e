// Drawing a model in its render mode (immediate, vertex arrays, ARB buffer objects), through
// display lists where asked, and stepping skinned models through their pre-computed frames.
// GLEW only declares the buffer-object entry points: we fill them ourselves through GLUT's
// procedure-address query and never initialise GLEW.
#include <GL/glew.h>

#include "Engine.h"
#include "FBXModel.h"
#include "InputManager.h"

#include <GL/freeglut.h>

#include <algorithm>

static const char* const kBufferEntryPoints[] = {
    "glGenBuffersARB",    "glBindBufferARB", "glBufferDataARB",  "glDeleteBuffersARB",
    "glBufferSubDataARB", "glMapBufferARB",  "glUnmapBufferARB",
};

// Fills GLEW's seven buffer-object pointers; false if any is missing.
static bool lookUpBufferEntryPoints() {
    void* found[7];
    for (int i = 0; i < 7; ++i) {
        found[i] = reinterpret_cast<void*>(glutGetProcAddress(kBufferEntryPoints[i]));
        if (found[i] == nullptr) {
            return false;
        }
    }
    __glewGenBuffersARB = reinterpret_cast<PFNGLGENBUFFERSARBPROC>(found[0]);
    __glewBindBufferARB = reinterpret_cast<PFNGLBINDBUFFERARBPROC>(found[1]);
    __glewBufferDataARB = reinterpret_cast<PFNGLBUFFERDATAARBPROC>(found[2]);
    __glewDeleteBuffersARB = reinterpret_cast<PFNGLDELETEBUFFERSARBPROC>(found[3]);
    __glewBufferSubDataARB = reinterpret_cast<PFNGLBUFFERSUBDATAARBPROC>(found[4]);
    __glewMapBufferARB = reinterpret_cast<PFNGLMAPBUFFERARBPROC>(found[5]);
    __glewUnmapBufferARB = reinterpret_cast<PFNGLUNMAPBUFFERARBPROC>(found[6]);
    return true;
}

FBXModel::~FBXModel() {
    for (int mode = 0; mode < 3; ++mode) {
        deleteDisplayList(mode);
    }
    deleteBuffers();
    if (textureId != 0) {
        glDeleteTextures(1, &textureId);
    }
}

void FBXModel::prepareBuffersAndFrames() {
    vboSupported = Engine::getInstance()->hasVertexBufferObjects;
    if (vboSupported) {
        vboSupported = lookUpBufferEntryPoints();
    }
    if (renderMode == kBufferObjects && !vboSupported) {
        InputManager::getInstance()->renderMode = kVertexArrays;
        renderMode = requestedMode = kVertexArrays;
    }
    // Every frame must have one position per polygon vertex, or drawing would read past it.
    const bool framesFit =
        std::all_of(bakedFrames_.begin(), bakedFrames_.end(),
                    [&](const std::vector<float>& f) { return f.size() == vertices.size(); });
    if (animated && bakedFrames_.size() == static_cast<size_t>(kSkinFrames) && framesFit) {
        frames = std::move(bakedFrames_);
        frameCount = kSkinFrames;
        currentFrame = 0;
        frameTime = 0.0f;
    }
    bakedFrames_.clear();
    hasStillPose = animated && frameCount > 0;
    buildPointArrays();
}

void FBXModel::setRenderMode(int mode) {
    if (animated) {
        useDisplayList = false;
        renderMode = (mode == kVertexArrays) ? kImmediate : mode;
    } else {
        renderMode = mode;
        useDisplayList = InputManager::getInstance()->displayLists;
    }
    if (renderMode == kBufferObjects && !vboSupported) {
        renderMode = kVertexArrays;
    }
    for (int other = 0; other < 3; ++other) {
        if (other != renderMode && listBuilt[other]) {
            deleteDisplayList(other);
        }
    }
    if (renderMode == kBufferObjects) {
        if (!buffersCreated) {
            createBuffers();
        }
    } else if (buffersCreated) {
        deleteBuffers();
    }
    if (renderMode >= 0 && renderMode < 3 && !listBuilt[renderMode]) {
        buildDisplayList(renderMode);
    }
}

void FBXModel::advanceAnimation(float seconds) {
    if (!animated || frameCount == 0) {
        return;
    }
    frameTime += seconds;
    if (frameTime > kFrameStep) {
        currentFrame = (currentFrame + 1) % frameCount;
        frameTime = 0.0f;
    }
}

const float* FBXModel::currentPositions() {
    if (!animated || frameCount == 0) {
        return vertices.data();
    }
    return blendFrames(frames, blended_, &blendedFrame_, &blendedTime_);
}

// The blend factor is the raw frame clock in seconds, not a fraction of the frame step: the run
// cycle's look depends on it.
const float* FBXModel::blendFrames(const std::vector<std::vector<float>>& from,
                                   std::vector<float>& out, int* madeFrame, float* madeTime) const {
    if (*madeFrame == currentFrame && *madeTime == frameTime) {
        return out.data();
    }
    *madeFrame = currentFrame;
    *madeTime = frameTime;
    const int next = (currentFrame + 1 < frameCount) ? currentFrame + 1 : 0;
    const std::vector<float>& a = from[static_cast<size_t>(currentFrame)];
    const std::vector<float>& b = from[static_cast<size_t>(next)];
    out.resize(a.size());
    for (size_t i = 0; i < a.size(); ++i) {
        out[i] = a[i] + (b[i] - a[i]) * frameTime;
    }
    return out.data();
}

// Follows the engine's switches: display lists for static models, and the texture filters.
void FBXModel::syncSettings() {
    const InputManager* input = InputManager::getInstance();
    useDisplayList = !animated && input->displayLists;
    if (input->cycleF5 != filterMode || input->toggleF4 != linearFilter) {
        filterMode = input->cycleF5;
        linearFilter = input->toggleF4;
        applyTextureFilter();
    }
}

void FBXModel::setCoarser(FBXModel* model, float belowPixels) {
    coarser_ = model;
    coarserBelowPixels_ = belowPixels;
}

FBXModel* FBXModel::forPixels(float pixels) {
    FBXModel* shown = this;
    while (shown->coarser_ != nullptr && pixels < shown->coarserBelowPixels_) {
        shown = shown->coarser_;
    }
    return shown;
}

void FBXModel::draw() {
    if (!visible || vertexCount == 0) {
        return;
    }
    ++drawCount;
    syncSettings();
    int mode = renderMode;
    if (mode == kBufferObjects && !buffersCreated) {
        if (vboSupported) {
            createBuffers();
        } else {
            mode = kVertexArrays;
        }
    }
    if (mode == kVertexArrays && animated) {
        mode = kImmediate;
    }
    switch (mode) {
    case kVertexArrays:
        drawArrays(vertices.data());
        break;
    case kBufferObjects:
        drawBuffers();
        break;
    default:
        drawImmediate(currentPositions());
        break;
    }
}

void FBXModel::drawStill() {
    if (!visible || vertexCount == 0) {
        return;
    }
    ++drawCount;
    const bool wasAnimated = animated;
    const int frame = currentFrame;
    animated = false;
    currentFrame = 0;
    const bool lists = useDisplayList;
    useDisplayList = false;
    drawImmediate(vertices.data());
    useDisplayList = lists;
    animated = wasAnimated;
    currentFrame = frame;
}

// Vertex issue shared by immediate drawing and the mode-0 display list.
static void issueTriangles(const float* positions, const float* normals, const float* uvs,
                           int count, bool textured) {
    glBegin(GL_TRIANGLES);
    for (int i = 0; i < count; ++i) {
        if (textured) {
            glTexCoord2fv(uvs + 2 * i);
        }
        glNormal3fv(normals + 3 * i);
        glVertex3fv(positions + 3 * i);
    }
    glEnd();
}

void FBXModel::drawImmediate(const float* positions) {
    if (textured) {
        glEnable(GL_TEXTURE_2D);
    }
    glEnable(GL_NORMALIZE);
    glBindTexture(GL_TEXTURE_2D, textureId);
    glScalef(scale, scale, scale);
    glPushMatrix();
    if (useDisplayList && !animated && listBuilt[kImmediate]) {
        glCallList(displayLists[kImmediate]);
    } else {
        issueTriangles(positions, normals.data(), texCoords.data(), vertexCount,
                       textured && !texCoords.empty());
    }
    glPopMatrix();
    glDisable(GL_TEXTURE_2D);
}

// Client arrays on and pointed at the model's arrays (positions given).
static void pointArrays(const float* positions, const float* normals, const float* uvs,
                        bool textured) {
    glEnableClientState(GL_VERTEX_ARRAY);
    glEnableClientState(GL_NORMAL_ARRAY);
    if (textured) {
        glEnableClientState(GL_TEXTURE_COORD_ARRAY);
    }
    glVertexPointer(3, GL_FLOAT, 0, positions);
    glNormalPointer(GL_FLOAT, 0, normals);
    if (textured) {
        glTexCoordPointer(2, GL_FLOAT, 0, uvs);
    }
}

static void disableArrays() {
    glDisableClientState(GL_VERTEX_ARRAY);
    glDisableClientState(GL_NORMAL_ARRAY);
    glDisableClientState(GL_TEXTURE_COORD_ARRAY);
}

void FBXModel::drawArrays(const float* positions) {
    const bool withUVs = textured && !texCoords.empty();
    glEnable(GL_NORMALIZE);
    if (textured) {
        glEnable(GL_TEXTURE_2D);
    }
    glScalef(scale, scale, scale);
    glBindTexture(GL_TEXTURE_2D, textureId);
    pointArrays(positions, normals.data(), texCoords.data(), withUVs);
    glPushMatrix();
    if (useDisplayList && listBuilt[kVertexArrays]) {
        glCallList(displayLists[kVertexArrays]);
    } else {
        glDrawArrays(GL_TRIANGLES, 0, vertexCount);
    }
    glPopMatrix();
    glDisable(GL_NORMALIZE);
    glDisable(GL_TEXTURE_2D);
    disableArrays();
}

// Rewrites the position buffer with this frame's blended positions, unless it holds them already.
void FBXModel::streamPositions() {
    if (streamedFrame_ == currentFrame && streamedTime_ == frameTime) {
        return;
    }
    const bool indexed = drawsIndexed();
    const float* positions = indexed ? currentPointPositions() : currentPositions();
    const size_t count = 3 * static_cast<size_t>(indexed ? controlPointCount : vertexCount);
    void* mapped = glMapBufferARB(GL_ARRAY_BUFFER_ARB, GL_READ_WRITE_ARB);
    if (mapped != nullptr) {
        std::copy(positions, positions + count, static_cast<float*>(mapped));
        glUnmapBufferARB(GL_ARRAY_BUFFER_ARB);
        streamedFrame_ = currentFrame;
        streamedTime_ = frameTime;
    }
}

// Client arrays pointed at the three buffers; positions streamed first for skinned models.
static void pointBuffers(FBXModel& m, bool stream, void (FBXModel::*streamFn)()) {
    const bool withUVs = m.textured && !m.texCoords.empty();
    glEnableClientState(GL_VERTEX_ARRAY);
    glEnableClientState(GL_NORMAL_ARRAY);
    glBindBufferARB(GL_ARRAY_BUFFER_ARB, m.buffers[0]);
    glVertexPointer(3, GL_FLOAT, 0, nullptr);
    if (stream) {
        (m.*streamFn)();
    }
    glBindBufferARB(GL_ARRAY_BUFFER_ARB, m.buffers[1]);
    glNormalPointer(GL_FLOAT, 0, nullptr);
    if (withUVs) {
        glEnableClientState(GL_TEXTURE_COORD_ARRAY);
        glBindBufferARB(GL_ARRAY_BUFFER_ARB, m.buffers[2]);
        glTexCoordPointer(2, GL_FLOAT, 0, nullptr);
    }
}

void FBXModel::drawBuffers() {
    glEnable(GL_NORMALIZE);
    if (textured) {
        glEnable(GL_TEXTURE_2D);
    }
    glScalef(scale, scale, scale);
    glBindTexture(GL_TEXTURE_2D, textureId);
    if (useDisplayList && !animated && listBuilt[kBufferObjects]) {
        glCallList(displayLists[kBufferObjects]);
    } else {
        pointBuffers(*this, animated && frameCount > 0, &FBXModel::streamPositions);
        if (drawsIndexed()) {
            drawIndexed();
        } else {
            glDrawArrays(GL_TRIANGLES, 0, vertexCount);
        }
        glBindBufferARB(GL_ARRAY_BUFFER_ARB, 0);
    }
    glDisable(GL_NORMALIZE);
    glDisable(GL_TEXTURE_2D);
    disableArrays();
}

void FBXModel::createBuffers() {
    if (!vboSupported || buffersCreated || vertexCount == 0) {
        return;
    }
    glGenBuffersARB(3, buffers);
    streamedFrame_ = -1; // the new position buffer holds the bind pose or the first frame
    // Drawn indexed, the buffers hold one entry per control point instead of one per corner.
    const bool indexed = drawsIndexed();
    const std::vector<float>* sources[3] = {indexed ? &pointFrames_.front() : &vertices,
                                            indexed ? &pointNormals_ : &normals,
                                            indexed ? &pointUVs_ : &texCoords};
    for (int i = 0; i < 3; ++i) {
        glBindBufferARB(GL_ARRAY_BUFFER_ARB, buffers[i]);
        glBufferDataARB(GL_ARRAY_BUFFER_ARB,
                        static_cast<GLsizeiptrARB>(sources[i]->size() * sizeof(float)),
                        sources[i]->data(), GL_STREAM_DRAW_ARB);
    }
    glBindBufferARB(GL_ARRAY_BUFFER_ARB, 0);
    if (indexed) {
        createIndexBuffer();
    }
    buffersCreated = true;
}

void FBXModel::deleteBuffers() {
    if (!buffersCreated) {
        return;
    }
    glDeleteBuffersARB(3, buffers);
    buffers[0] = buffers[1] = buffers[2] = 0;
    if (indexBuffer_ != 0) {
        glDeleteBuffersARB(1, &indexBuffer_);
        indexBuffer_ = 0;
    }
    buffersCreated = false;
}

// Skinned models never draw from a list (their positions change every frame).
void FBXModel::buildDisplayList(int mode) {
    if (vertexCount == 0 || mode < 0 || mode > 2 || animated) {
        return;
    }
    if (mode == kBufferObjects && !buffersCreated) {
        return;
    }
    const bool withUVs = textured && !texCoords.empty();
    displayLists[mode] = glGenLists(1);
    glNewList(displayLists[mode], GL_COMPILE);
    if (mode == kImmediate) {
        issueTriangles(vertices.data(), normals.data(), texCoords.data(), vertexCount, withUVs);
    } else if (mode == kVertexArrays) {
        pointArrays(vertices.data(), normals.data(), texCoords.data(), withUVs);
        glDrawArrays(GL_TRIANGLES, 0, vertexCount);
    } else {
        pointBuffers(*this, false, nullptr);
        glDrawArrays(GL_TRIANGLES, 0, vertexCount);
        glBindBufferARB(GL_ARRAY_BUFFER_ARB, 0);
    }
    glEndList();
    if (mode != kImmediate) {
        disableArrays();
    }
    listBuilt[mode] = true;
}

void FBXModel::deleteDisplayList(int mode) {
    if (mode < 0 || mode > 2 || !listBuilt[mode]) {
        return;
    }
    glDeleteLists(displayLists[mode], 1);
    displayLists[mode] = 0;
    listBuilt[mode] = false;
}
