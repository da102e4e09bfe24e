// Writes seed files for the model fuzzer with Assimp's own exporters, so that the seeds are laid
// out as another tool writes FBX and not only as our generator does: the model as binary and
// ASCII FBX, and again after a trip through Collada and OBJ (which rebuild its node tree and
// mesh). Run by hand; the results are checked in under fuzz/corpus/model.
// Usage: export_seeds <model> <out-prefix>
#include <assimp/Exporter.hpp>
#include <assimp/Importer.hpp>
#include <assimp/scene.h>

#include <cstdio>
#include <string>

namespace {

// The formats a model takes on its way back to FBX, by Assimp's exporter id and extension.
struct Trip {
    const char* id;
    const char* extension;
};
constexpr Trip kTrips[] = {{"collada", "dae"}, {"obj", "obj"}};

bool writeFbx(const aiScene* scene, const std::string& prefix) {
    Assimp::Exporter exporter;
    return exporter.Export(scene, "fbx", prefix + ".fbx") == AI_SUCCESS &&
           exporter.Export(scene, "fbxa", prefix + "-ascii.fbx") == AI_SUCCESS;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: export_seeds <model> <out-prefix>\n");
        return 2;
    }
    const std::string prefix = argv[2];
    Assimp::Importer importer;
    const aiScene* scene = importer.ReadFile(argv[1], 0);
    if (scene == nullptr || !writeFbx(scene, prefix)) {
        std::fprintf(stderr, "export_seeds: %s: %s\n", argv[1], importer.GetErrorString());
        return 1;
    }
    for (const Trip& trip : kTrips) {
        const std::string between = prefix + "-via." + trip.extension;
        Assimp::Exporter exporter;
        Assimp::Importer again;
        const aiScene* back = nullptr;
        if (exporter.Export(scene, trip.id, between) == AI_SUCCESS) {
            back = again.ReadFile(between, 0);
        }
        if (back == nullptr || !writeFbx(back, prefix + "-via-" + trip.extension)) {
            std::fprintf(stderr, "export_seeds: no %s trip for %s\n", trip.id, argv[1]);
            return 1;
        }
        std::remove(between.c_str());
    }
    return 0;
}
