// Character takes: the looping run take built from a pose function, the rotations poses are
// made of, and the one sequence that writes a character (see Characters.h).
#include "Characters.h"

namespace assets {

static constexpr float kPi = 3.14159265f;

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

bool writeCharacter(const std::string& dir, const CharacterSpec& character) {
    ModelFile model;
    model.nodeName = character.nodeName;
    model.textureName = character.asset.texture;
    model.bones = character.bones;
    AtlasPainter atlas(character.atlasSize, character.background);
    character.addParts(model, atlas);
    model.take = makeLoopTake(character.takeName, model.bones.size(), character.runPose);
    return writeModel(dir, character.asset.file, model, atlas.finish(), false);
}

} // namespace assets
