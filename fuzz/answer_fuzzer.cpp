// libFuzzer target for the game's reader of the model reader's answer (the bytes a child process
// writes into the pipe). Any bytes must be refused or read into a model whose tables agree; the
// format has one way to write each model, so an answer that is read must write back to exactly
// the same bytes.
#include "FBXModel.h"
#include "ModelAnswer.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

void check(bool condition) {
    if (!condition) {
        std::abort();
    }
}

void checkTables(const ModelAnswer& m) {
    const size_t points = m.controlPoints.size() / 4;
    check(m.controlNormals.size() == 4 * points && m.controlUVs.size() == 2 * points);
    size_t vertices = 0;
    for (int size : m.polygonSizes) {
        check(size > 0);
        vertices += static_cast<size_t>(size);
    }
    check(vertices == m.polygonIndices.size());
    for (int index : m.polygonIndices) {
        check(index >= 0 && static_cast<size_t>(index) < points);
    }
    check(m.frames.empty() || m.frames.size() == static_cast<size_t>(FBXModel::kSkinFrames));
    for (const std::vector<float>& frame : m.frames) {
        check(frame.size() == 3 * vertices);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ModelAnswer model;
    if (!decodeModelAnswer(data, size, &model)) {
        check(model.polygonIndices.empty() && model.frames.empty() && !model.hasMesh);
        return 0;
    }
    checkTables(model);
    const std::string again = encodeModelAnswer(model);
    check(again.size() == size && std::memcmp(again.data(), data, size) == 0);
    return 0;
}
