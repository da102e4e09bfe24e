// libFuzzer target for loading a model from bytes the way the game does: the model reader's
// sandboxed child imports them (every input as a character, so skin frames are baked), and the
// game reads the child's answer and builds its flat arrays. Whatever the importer does in the
// child (crash, spin, run out of its memory), this process must load the model or log it as
// failed, without touching memory out of bounds; a model that loads must have arrays that agree
// with its counts. The fuzzer's coverage is the game's side; the importer's own faults are the
// child's to end in. It runs without a GL context (texture and buffer calls then do nothing) and
// writes "log.txt" in the working directory.
#include "FBXModel.h"
#include "ModelReader.h"

#include <cstdint>
#include <cstdlib>
#include <vector>

// Well under libFuzzer's own time-out for one input.
static constexpr double kSecondsPerModel = 5.0;

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
    static ModelReader reader(ModelReader::Where::kChild, kSecondsPerModel);
    FBXModel model;
    model.animated = true;
    model.loadModelFromMemory(reader, data, size, "fuzz.fbx");
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
