// The herder, sheep and wolf as the build generated them, read back with Assimp the way the game
// loads them: one skinned mesh with its texture, standing on its feet inside its collision
// capsule, facing the way the game draws it, with a run take (skinned by SkinEvaluator) that
// swings the legs in place and loops without a jump. Sizes are judged in world units at the
// scale the game draws each model.
#include "LevelFacts.h"
#include "LevelMeshes.h"
#include "SkinEvaluator.h"
#include "TGAImage.h"
#include "TestSupport.h"

#include <assimp/material.h>
#include <assimp/scene.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <numeric>

namespace {

struct CharacterCase {
    const char* name;
    const level::ModelAsset* asset;
    const level::Capsule* capsule;
    float minHeight;    // world units
    float maxHeight;    // world units
    aiVector3D forward; // model space
    float legLength;    // model units, hip to sole
    bool headLeads;     // the head marks the front; otherwise the toes do
};

const CharacterCase kCharacters[] = {
    {"Herder", &level::kHerder, &level::kHerderCapsule, 2.75f, 2.95f, {-1, 0, 0}, 140.0f, false},
    {"Sheep", &level::kSheep, &level::kSheepCapsule, 1.35f, 1.6f, {0, 0, -1}, 60.0f, true},
    {"Wolf", &level::kWolf, &level::kWolfCapsule, 1.7f, 2.2f, {0, 0, -1}, 70.0f, true},
};

void PrintTo(const CharacterCase& c, std::ostream* os) {
    *os << c.name;
}

const aiNode* meshNode(const aiScene* scene) {
    for (unsigned i = 0; i < scene->mRootNode->mNumChildren; ++i) {
        if (scene->mRootNode->mChildren[i]->mNumMeshes > 0) {
            return scene->mRootNode->mChildren[i];
        }
    }
    return nullptr;
}

// The mesh skinned in its own space at `ticks` of the take (null: bind pose).
std::vector<aiVector3D> skin(const aiScene* scene, const aiAnimation* take, double ticks) {
    const aiNode* node = meshNode(scene);
    std::vector<aiVector3D> out;
    evaluateSkin(scene, scene->mMeshes[0], node, take, ticks, &out);
    const aiMatrix4x4 toMesh = nodeGlobalTransform(node, take, ticks).Inverse();
    for (aiVector3D& p : out) {
        p = toMesh * p;
    }
    return out;
}

float largestMove(const std::vector<aiVector3D>& a, const std::vector<aiVector3D>& b,
                  const std::vector<unsigned>& which) {
    float most = 0.0f;
    for (unsigned v : which) {
        most = std::max(most, (a[v] - b[v]).Length());
    }
    return most;
}

class CharacterModelTest : public ::testing::TestWithParam<CharacterCase> {
protected:
    void SetUp() override {
        model_ = importModel(dataFile(GetParam().asset->file));
        ASSERT_NE(model_.scene, nullptr) << model_.error;
        ASSERT_EQ(model_.scene->mNumMeshes, 1u);
        ASSERT_NE(meshNode(model_.scene), nullptr) << "the mesh hangs on a child of the root";
        mesh_ = model_.scene->mMeshes[0];
        for (unsigned v = 0; v < mesh_->mNumVertices; ++v) {
            low_ = std::min(low_, mesh_->mVertices[v].y);
            high_ = std::max(high_, mesh_->mVertices[v].y);
        }
    }
    const aiAnimation* take() const {
        return model_.scene->mNumAnimations == 1 ? model_.scene->mAnimations[0] : nullptr;
    }

    ImportedModel model_;
    const aiMesh* mesh_ = nullptr;
    float low_ = 1e30f, high_ = -1e30f;
};

// Mesh shape, weights and take length are checked for every generated file elsewhere; here the
// material names the character's own texture.
TEST_P(CharacterModelTest, NamesItsOwnTexture) {
    for (unsigned b = 0; b < mesh_->mNumBones; ++b) {
        EXPECT_GT(mesh_->mBones[b]->mNumWeights, 0u) << "bone " << mesh_->mBones[b]->mName.C_Str();
    }
    aiString texture;
    const aiMaterial* material = model_.scene->mMaterials[mesh_->mMaterialIndex];
    ASSERT_EQ(material->GetTexture(aiTextureType_DIFFUSE, 0, &texture), AI_SUCCESS);
    EXPECT_EQ(std::filesystem::path(texture.C_Str()).filename(), GetParam().asset->texture);
    TGAImage image;
    ASSERT_EQ(readTGA(&image, dataFile(GetParam().asset->texture).c_str()), 0);
    EXPECT_EQ(image.width, image.height) << "a square atlas";
    freeBuffers(&image);
}

TEST_P(CharacterModelTest, StandsOnItsFeetInsideTheCapsule) {
    const CharacterCase& c = GetParam();
    const float scale = c.asset->scale;
    // The soles, in model units: where the capsule's bottom is drawn.
    const float bottom = c.capsule->height / 2.0f + c.capsule->radius;
    EXPECT_NEAR(low_, (level::kModelBelowCapsuleCentre - bottom) / scale, 3.0f);
    const float height = (high_ - low_) * scale;
    EXPECT_GE(height, c.minHeight);
    EXPECT_LE(height, c.maxHeight);
    float reach = 0.0f;
    for (unsigned v = 0; v < mesh_->mNumVertices; ++v) {
        reach = std::max(reach, std::hypot(mesh_->mVertices[v].x, mesh_->mVertices[v].z));
    }
    EXPECT_LE(reach * scale, c.capsule->radius);
    EXPECT_GT(reach * scale, 0.4f * c.capsule->radius) << "fills its capsule";
}

TEST_P(CharacterModelTest, FacesTheWayTheGameDrawsIt) {
    const CharacterCase& c = GetParam();
    // Centroid, along the facing direction, of the head's vertices or of the soles.
    float front = 0.0f, all = 0.0f;
    int frontCount = 0;
    for (unsigned b = 0; b < mesh_->mNumBones; ++b) {
        const aiBone* bone = mesh_->mBones[b];
        const bool head = std::string(bone->mName.C_Str()).find("Head") != std::string::npos;
        for (unsigned w = 0; w < bone->mNumWeights; ++w) {
            const aiVector3D& p = mesh_->mVertices[bone->mWeights[w].mVertexId];
            const bool sole = p.y < low_ + 3.0f;
            if (bone->mWeights[w].mWeight > 0.5f && (c.headLeads ? head : sole)) {
                front += p * c.forward;
                ++frontCount;
            }
        }
    }
    for (unsigned v = 0; v < mesh_->mNumVertices; ++v) {
        all += mesh_->mVertices[v] * c.forward;
    }
    ASSERT_GT(frontCount, 0);
    const float lead =
        front / static_cast<float>(frontCount) - all / static_cast<float>(mesh_->mNumVertices);
    // A head well ahead of the body; toes ahead of the heels.
    EXPECT_GT(lead, c.headLeads ? 0.5f * c.legLength : 3.0f);
}

TEST_P(CharacterModelTest, SkeletonAtRestReproducesTheMesh) {
    const std::vector<aiVector3D> rest = skin(model_.scene, nullptr, 0.0);
    for (unsigned v = 0; v < mesh_->mNumVertices; ++v) {
        ASSERT_LT((rest[v] - mesh_->mVertices[v]).Length(), 0.05f) << "vertex " << v;
    }
}

TEST_P(CharacterModelTest, RunSwingsTheLegsInPlaceAndLoops) {
    const CharacterCase& c = GetParam();
    ASSERT_NE(take(), nullptr);
    const double cycle = take()->mDuration;
    std::vector<unsigned> soles, everything;
    for (unsigned v = 0; v < mesh_->mNumVertices; ++v) {
        everything.push_back(v);
        if (mesh_->mVertices[v].y < low_ + 0.05f * (high_ - low_)) {
            soles.push_back(v);
        }
    }
    EXPECT_LT(
        largestMove(skin(model_.scene, take(), 0.0), skin(model_.scene, take(), cycle), everything),
        0.01f * c.legLength)
        << "the last key repeats the first";

    float stride = 0.0f;
    const aiVector3D restCentre =
        std::accumulate(mesh_->mVertices, mesh_->mVertices + mesh_->mNumVertices, aiVector3D()) /
        static_cast<float>(mesh_->mNumVertices);
    for (int step = 0; step < 4; ++step) {
        const double t = cycle * step / 8.0;
        const std::vector<aiVector3D> now = skin(model_.scene, take(), t);
        stride =
            std::max(stride, largestMove(now, skin(model_.scene, take(), t + cycle / 2), soles));
        aiVector3D centre =
            std::accumulate(now.begin(), now.end(), aiVector3D()) / static_cast<float>(now.size());
        centre.y = restCentre.y;
        EXPECT_LT((centre - restCentre).Length(), 0.15f * c.legLength) << "runs on the spot";
    }
    // Half a stride apart the feet are at opposite ends of their swing.
    EXPECT_GT(stride, 0.5f * c.legLength);
}

INSTANTIATE_TEST_SUITE_P(Characters, CharacterModelTest, ::testing::ValuesIn(kCharacters),
                         [](const ::testing::TestParamInfo<CharacterCase>& info) {
                             return std::string(info.param.name);
                         });

} // namespace
