// Character takes: the looping run take built from a pose function, the rotations poses are
// made of, and the one sequence that writes a character (see Characters.h).
#include "Characters.h"
#include "MeshSimplify.h"

#include <array>
#include <map>

namespace assets {

static constexpr float kPi = 3.14159265f;
// Every character is drawn skinned, vertex by vertex, every frame, as many times as it stands in
// the level (thirty wolves at the worst): the lofts are simplified to this share of their
// triangles where that moves the surface by no more than this share of the character's size.
static constexpr float kCharacterTriangleShare = 0.5f;
static constexpr float kCharacterRelativeError = 0.005f;
// The coarser version, drawn where the character shows small: half the shipped triangles,
// moving the surface by no more than this share of the character's size. (A sixth was tried: to
// get there the simplifier had to cross texture seams, which turned the sheep's black face white;
// without crossing them it stopped at two fifths of the triangles, and the level of detail test
// saw its outline move and its colour change by up to a tenth where it would take over.)
static constexpr float kCoarserTriangleShare[level::kCoarserLevels] = {0.5f};
static constexpr float kCoarserRelativeError[level::kCoarserLevels] = {0.03f};

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

// Gouraud shading over fewer, larger triangles darkens a character: the simplifier keeps the
// vertices on creases, whose normals face away from the light. Each vertex of the coarser mesh
// takes the area-weighted normal of the triangles around its place instead (texture seams split
// vertices, not the surface, so vertices at one place share it). Keeping hard edges, by leaving
// out triangles that face far from a vertex's own normal, was tried: the wolf came out darker.
static void smoothNormals(AssetMesh& mesh) {
    std::map<std::array<float, 3>, aiVector3D> atPlace;
    auto key = [&](uint32_t v) {
        const aiVector3D& p = mesh.positions[v];
        return std::array<float, 3>{p.x, p.y, p.z};
    };
    for (const auto& t : mesh.triangles) {
        const aiVector3D& a = mesh.positions[t[0]];
        const aiVector3D face = (mesh.positions[t[1]] - a) ^ (mesh.positions[t[2]] - a);
        for (uint32_t v : t) {
            atPlace[key(v)] += face;
        }
    }
    for (uint32_t v = 0; v < mesh.positions.size(); ++v) {
        aiVector3D n = atPlace[key(v)];
        if (n.SquareLength() > 0.0f) {
            mesh.normals[v] = n.NormalizeSafe();
        }
    }
}

// Each coarser version starts from the shipped mesh, so its kept vertices are the shipped ones
// with their skin weights and texture coordinates.
static bool writeCoarser(const std::string& dir, const CharacterSpec& character,
                         const ModelFile& shipped) {
    const size_t triangles = shipped.mesh.triangleCount();
    for (int detail = 0; character.coarser != nullptr && detail < level::kCoarserLevels; ++detail) {
        ModelFile coarser = shipped;
        const SimplifyBudget budget{
            static_cast<size_t>(static_cast<float>(triangles) * kCoarserTriangleShare[detail]),
            kCoarserRelativeError[detail] * meshScale(coarser.mesh)};
        simplifyFor(coarser.mesh, Detail::kShipped, budget, character.coarser[detail].file);
        smoothNormals(coarser.mesh);
        if (!exportFbx(coarser, dir + "/" + character.coarser[detail].file)) {
            return false;
        }
    }
    return true;
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
    return writeModel(dir, character.asset.file, model, atlas.finish(), false) &&
           writeCoarser(dir, character, model);
}

} // namespace assets
