// libFuzzer target for loading a model from bytes: our FBX pre-check, the importer, our checks of
// the imported scene, the skin frames baked from it (every input loads as a character), the
// answer written and read back, and the flat arrays built from it. The reader runs in this
// process here, so that the fuzzer sees what it does. Any bytes must load or be refused with a
// log line, without touching memory out of bounds; a model that loads must have arrays that agree
// with its counts. It runs without a GL context (texture and buffer calls then do nothing) and
// writes "log.txt" in the working directory.
#include "FBXModel.h"

#include <cstdint>
#include <cstdlib>
#include <vector>

namespace {

void check(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// Every polygon index names a control point; the flat arrays hold one entry per polygon vertex.
void checkArrays(const FBXModel& model) {
    const size_t vertices = static_cast<size_t>(model.vertexCount);
    check(model.vertices.size() == 3 * vertices);
    check(model.normals.size() == 3 * vertices);
    check(model.texCoords.size() == 2 * vertices);
    check(model.controlPoints.size() == 4 * static_cast<size_t>(model.controlPointCount));
    for (const std::vector<int>& polygon : model.polygonVertexIndices) {
        for (int index : polygon) {
            check(index >= 0 && index < model.controlPointCount);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FBXModel::isolateImport = false;
    FBXModel model;
    model.animated = true;
    model.loadModelFromMemory(data, size, "fuzz.fbx");
    checkArrays(model);
    check(model.frameCount == 0 || model.frameCount == FBXModel::kSkinFrames);
    for (const std::vector<float>& frame : model.frames) {
        check(frame.size() == model.vertices.size());
    }
    if (model.frameCount > 0) {
        for (int frame = 0; frame < model.frameCount; ++frame) {
            model.advanceAnimation(1.0f / 30.0f);
            check(model.currentPositions() != nullptr);
        }
    }
    return 0;
}
