// Character takes: the looping run take built from a pose function, the rotations poses are
// made of, and the one sequence that writes a character (see Characters.h).
#include "Characters.h"
#include "MeshSimplify.h"

namespace assets {

static constexpr float kPi = 3.14159265f;
// Every character is drawn skinned, vertex by vertex, every frame, as many times as it stands in
// the level (thirty wolves at the worst): the lofts are simplified to this share of their
// triangles where that moves the surface by no more than this share of the character's size.
static constexpr float kCharacterTriangleShare = 0.5f;
static constexpr float kCharacterRelativeError = 0.005f;

aiQuaternion turn(const aiVector3D& axis, float degrees) {
    return aiQuaternion(axis, degrees * kPi / 180.0f);
}

Take makeLoopTake(const std::string& name, size_t boneCount, const PoseFunction& pose) {
    Take take;
    take.name = name;
    take.seconds = kRunSeconds;
    for (int k = 0; k + 1 < kRunKeys; ++k) {
        std::vector<BonePose> poses(boneCount);
        pose(static_cast<float>(k) / static_cast<float>(kRunKeys - 1), poses);
        take.keys.push_back(poses);
    }
    take.keys.push_back(take.keys.front());
    return take;
}

// Simplifies after painting: the atlas holds every original triangle's colours, and the fewer,
// larger triangles left only span texture that the removed ones covered.
static void simplifyCharacter(AssetMesh& mesh, const char* file) {
    const SimplifyBudget budget{
        static_cast<size_t>(static_cast<float>(mesh.triangleCount()) * kCharacterTriangleShare),
        kCharacterRelativeError * meshScale(mesh)};
    simplifyFor(mesh, Detail::kShipped, budget, file);
}

bool writeCharacter(const std::string& dir, const CharacterSpec& character) {
    ModelFile model;
    model.nodeName = character.nodeName;
    model.textureName = character.asset.texture;
    model.bones = character.bones;
    AtlasPainter atlas(character.atlasSize, character.background);
    character.addParts(model, atlas);
    simplifyCharacter(model.mesh, character.asset.file);
    model.take = makeLoopTake(character.takeName, model.bones.size(), character.runPose);
    return writeModel(dir, character.asset.file, model, atlas.finish(), false);
}

} // namespace assets
