// ModelImport: a model file (or bytes in memory) read with Assimp into a ModelAnswer. The
// reader is a large third-party parser that crashes, overflows its stack or loops on some hostile
// files whatever we check beforehand, so the game runs it in a child process with a time limit:
// the child imports and writes its answer into a pipe, and a crash, a signal, a time-out or a
// malformed answer is an ordinary failed import in the game.
#pragma once

#include "ModelAnswer.h"

#include <cstddef>
#include <string>
#include <vector>

// Where the model comes from: the file `name`, or `size` bytes at `data` (then `name` is only for
// the log and its extension picks the format).
struct ModelSource {
    std::string name;
    const void* data = nullptr;
    size_t size = 0;
};

// Imports in this process: the scene is checked (complete, faces within range, only finite
// numbers), the mesh of the last direct child of the root that has one is read, and with
// bakeFrames the skin frames are baked from the first take. Never throws.
void importModelHere(const ModelSource& source, bool bakeFrames, ModelAnswer* out);

// Forks the reader child now, if there is none. Called first thing at program entry, while the
// process is small: a fork copies the page tables of everything mapped (the GL driver, once the
// window exists), and every page either side writes afterwards is copied once more. False, with
// *failure saying why, when it could not be started; the first import then tries again.
bool startModelReader(std::string* failure);

// A model file to import, and whether to bake its skin frames.
struct ModelRequest {
    std::string file;
    bool bakeFrames = false;
};

// Sends these requests to the reader child (forked first if there is none) ahead of the loads
// that will ask for them, in this order; each load then takes its answer, while the child goes
// on with the next. A load that asks out of this order drops what is pending and is served
// afresh. Only files our own checks accept belong here.
void prefetchModels(const std::vector<ModelRequest>& requests);

// The same in the reader child process (forked at the first call and kept for the next ones),
// waiting at most `seconds` (valgrind's slowdown added). True with the child's answer in *out;
// false with *out empty and *failure saying what went wrong when the child could not be started,
// died, was killed at the limit or answered malformed; the next call then forks a fresh one.
bool importModelIsolated(const ModelSource& source, bool bakeFrames, double seconds,
                         ModelAnswer* out, std::string* failure);
