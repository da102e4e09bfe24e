// Skinned models drawn indexed from buffer objects. The flat arrays hold one vertex per polygon
// corner, so a closed mesh repeats each point about six times; software GL transforms and lights
// every vertex it is sent on the game's own thread, and a crowd of running wolves is mostly that
// work. Drawn through an index per corner, each control point is blended, uploaded and
// transformed once per pose: the corners share it, as its normal and texture coordinate are
// the point's own (the reader keeps one of each per point).
#include <GL/glew.h>

#include "FBXModel.h"

#include <algorithm>

// Which corner first uses each point, or -1; false when a corner names no point of the model.
static bool firstCorners(const std::vector<std::vector<int>>& polygons, int points,
                         std::vector<GLuint>* indices, std::vector<int>* first) {
    first->assign(static_cast<size_t>(points), -1);
    int corner = 0;
    for (const std::vector<int>& polygon : polygons) {
        for (int point : polygon) {
            if (point < 0 || point >= points) {
                return false;
            }
            indices->push_back(static_cast<GLuint>(point));
            int& seen = (*first)[static_cast<size_t>(point)];
            seen = seen < 0 ? corner : seen;
            ++corner;
        }
    }
    return true;
}

// Only triangles, with the point tables complete; anything else keeps drawing corner by corner.
void FBXModel::buildPointArrays() {
    indices_.clear();
    const auto points = static_cast<size_t>(controlPointCount);
    const bool usable = animated && frameCount == kSkinFrames && maxPolygonSize == 3 &&
                        vertexCount == 3 * polygonCount && points > 0 &&
                        controlPoints.size() >= 4 * points && controlNormals.size() >= 4 * points &&
                        (!textured || controlUVs.size() >= 2 * points);
    std::vector<int> first;
    if (!usable || !firstCorners(polygonVertexIndices, controlPointCount, &indices_, &first)) {
        indices_.clear();
        return;
    }
    pointNormals_.resize(3 * points);
    pointUVs_.assign(2 * points, 0.0f);
    for (size_t i = 0; i < points; ++i) {
        for (size_t c = 0; c < 3; ++c) {
            pointNormals_[3 * i + c] = static_cast<float>(controlNormals[4 * i + c]);
        }
        for (size_t c = 0; c < 2 && textured; ++c) {
            pointUVs_[2 * i + c] = controlUVs[2 * i + c];
        }
    }
    // A point no corner uses keeps its bind position; the frames have none for it.
    pointFrames_.assign(frames.size(), std::vector<float>(3 * points));
    for (size_t f = 0; f < frames.size(); ++f) {
        for (size_t i = 0; i < points; ++i) {
            for (size_t c = 0; c < 3; ++c) {
                pointFrames_[f][3 * i + c] = first[i] < 0
                                                 ? static_cast<float>(controlPoints[4 * i + c])
                                                 : frames[f][3 * static_cast<size_t>(first[i]) + c];
            }
        }
    }
    pointBlendFrame_ = -1;
}

// The blend of currentPositions, point by point.
const float* FBXModel::currentPointPositions() {
    if (pointFrames_.empty()) {
        return nullptr;
    }
    return blendFrames(pointFrames_, pointBlend_, &pointBlendFrame_, &pointBlendTime_);
}

// Beside the three array buffers that createBuffers fills with the point arrays.
void FBXModel::createIndexBuffer() {
    glGenBuffersARB(1, &indexBuffer_);
    glBindBufferARB(GL_ELEMENT_ARRAY_BUFFER_ARB, indexBuffer_);
    glBufferDataARB(GL_ELEMENT_ARRAY_BUFFER_ARB,
                    static_cast<GLsizeiptrARB>(indices_.size() * sizeof(GLuint)), indices_.data(),
                    GL_STATIC_DRAW_ARB);
    glBindBufferARB(GL_ELEMENT_ARRAY_BUFFER_ARB, 0);
}

// The caller has pointed the client arrays at the buffers and streamed this pose.
void FBXModel::drawIndexed() {
    glBindBufferARB(GL_ELEMENT_ARRAY_BUFFER_ARB, indexBuffer_);
    glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(indices_.size()), GL_UNSIGNED_INT, nullptr);
    glBindBufferARB(GL_ELEMENT_ARRAY_BUFFER_ARB, 0);
}
