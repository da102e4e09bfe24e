// ModelAnswer: what the model reader hands back from a file: the polygon tables and per-control-
// point arrays of its mesh and, for skinned models, the baked frames. The reader runs in a child
// process, so this is also the answer it writes into a pipe, in a flat format of our own that the
// game reads back with every count and index checked: a reader that crashed half-way or wrote
// garbage must not be able to make the game index out of range.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

struct ModelAnswer {
    // How the import ended.
    enum Outcome : uint32_t { kImported = 0, kNotImported = 1, kNoImporter = 2 };

    Outcome outcome = kNotImported;
    bool hasMesh = false;               // false: the scene loaded but holds no mesh we draw
    std::vector<double> controlPoints;  // 4 per control point (w = 1)
    std::vector<double> controlNormals; // 4 per control point (w = 0)
    std::vector<float> controlUVs;      // 2 per control point
    std::vector<int> polygonSizes;      // vertices of each polygon
    std::vector<int> polygonIndices;    // control point of each polygon vertex, in polygon order
    // None, or one frame per skin frame: 3 floats per polygon vertex.
    std::vector<std::vector<float>> frames;
};

// The answer's bytes for `model`.
std::string encodeModelAnswer(const ModelAnswer& model);

// Reads an answer into *out; false (and *out emptied) for anything that is not exactly what
// encodeModelAnswer writes for a consistent model: wrong sizes, an index out of range, a
// count that disagrees with another, a number that is not finite, a byte too many or too few.
bool decodeModelAnswer(const void* data, size_t size, ModelAnswer* out);
