// ModelImport: a model file (or bytes in memory) read with Assimp into a ModelAnswer: what the
// model reader child does for each request (see ModelReader.h), and what the benchmark does in the
// game's own process to compare.
#pragma once

#include "ModelAnswer.h"

#include <cstddef>
#include <string>

// Where the model comes from: the file `name`, or `size` bytes at `data` (then `name` is only for
// the log and its extension picks the format).
struct ModelSource {
    std::string name;
    const void* data = nullptr;
    size_t size = 0;
};

// Imports in this process: the scene is checked (complete, faces within range, only finite
// numbers), the mesh of the last direct child of the root that has one is read, and with
// bakeFrames the skin frames are baked from the first take. A file that does not import leaves
// *note with the reader's words on it (or that it held no usable scene). Never throws.
void importModelHere(const ModelSource& source, bool bakeFrames, ModelAnswer* out,
                     std::string* note);
