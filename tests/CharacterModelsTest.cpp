// The herder, sheep and wolf, written by their generators into a scratch folder and read back
// with Assimp the way the game loads them: one skinned mesh with its texture, standing on its
// feet inside its collision capsule, facing the way the game draws it, with a run take that
// swings the legs in place and loops without a jump. Sizes are judged in world units at the
// scale the game draws each model.
#include "LevelMeshes.h"
#include "Models.h"
#include "TGAImage.h"
#include "TestSupport.h"

#include <assimp/Importer.hpp>
#include <assimp/material.h>
#include <assimp/scene.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <numeric>

namespace {

struct CharacterCase {
    const char* name;
    bool (*write)(const std::string&);
    const char* fbx;
    const char* texture;
    float scale;         // world units per model unit
    float capsuleRadius; // world units
    float feetY;         // model units: capsule centre minus half height and radius, plus 0.5
    float minHeight;     // world units
    float maxHeight;     // world units
    aiVector3D forward;  // model space
    float legLength;     // model units, hip to sole
    bool headLeads;      // the head marks the front; otherwise the toes do
};

const CharacterCase kCharacters[] = {
    {"Herder",
     assets::writeHerder,
     "AniBrannicRun5.fbx",
     "Brannic.tga",
     0.01f,
     0.5f,
     -100.0f,
     2.75f,
     2.95f,
     {-1, 0, 0},
     140.0f,
     false},
    {"Sheep",
     assets::writeSheep,
     "AniSheepRun2.fbx",
     "AniSheepRun2.tga",
     0.01f,
     1.0f,
     -75.0f,
     1.35f,
     1.6f,
     {0, 0, -1},
     60.0f,
     true},
    {"Wolf",
     assets::writeWolf,
     "AniWolfRun4.fbx",
     "Wolf2.tga",
     0.016f,
     2.0f,
     -125.0f,
     1.7f,
     2.2f,
     {0, 0, -1},
     70.0f,
     true},
};

void PrintTo(const CharacterCase& c, std::ostream* os) {
    *os << c.name;
}

template <class Key, class Blend>
auto sampleKeys(const Key* keys, unsigned count, double ticks, Blend blend) {
    unsigned k = 0;
    while (k + 1 < count && keys[k + 1].mTime <= ticks) {
        ++k;
    }
    if (k + 1 >= count) {
        return keys[k].mValue;
    }
    const double span = keys[k + 1].mTime - keys[k].mTime;
    return blend(keys[k].mValue, keys[k + 1].mValue,
                 static_cast<float>((ticks - keys[k].mTime) / span));
}

aiMatrix4x4 localTransform(const aiNode* node, const aiAnimation* take, double ticks) {
    for (unsigned c = 0; take != nullptr && c < take->mNumChannels; ++c) {
        const aiNodeAnim* ch = take->mChannels[c];
        if (ch->mNodeName != node->mName) {
            continue;
        }
        auto lerp = [](const aiVector3D& a, const aiVector3D& b, float f) {
            return a + (b - a) * f;
        };
        auto slerp = [](const aiQuaternion& a, const aiQuaternion& b, float f) {
            aiQuaternion out;
            aiQuaternion::Interpolate(out, a, b, f);
            return out;
        };
        return aiMatrix4x4(sampleKeys(ch->mScalingKeys, ch->mNumScalingKeys, ticks, lerp),
                           sampleKeys(ch->mRotationKeys, ch->mNumRotationKeys, ticks, slerp),
                           sampleKeys(ch->mPositionKeys, ch->mNumPositionKeys, ticks, lerp));
    }
    return node->mTransformation;
}

void globalTransforms(const aiNode* node, const aiMatrix4x4& parent, const aiAnimation* take,
                      double ticks, std::map<std::string, aiMatrix4x4>& out) {
    const aiMatrix4x4 global = parent * localTransform(node, take, ticks);
    out[node->mName.C_Str()] = global;
    for (unsigned i = 0; i < node->mNumChildren; ++i) {
        globalTransforms(node->mChildren[i], global, take, ticks, out);
    }
}

const aiNode* meshNode(const aiScene* scene) {
    for (unsigned i = 0; i < scene->mRootNode->mNumChildren; ++i) {
        if (scene->mRootNode->mChildren[i]->mNumMeshes > 0) {
            return scene->mRootNode->mChildren[i];
        }
    }
    return nullptr;
}

// Linear-blend skinning of the mesh in its own space, at `ticks` of the take (null: bind pose).
std::vector<aiVector3D> skin(const aiScene* scene, const aiAnimation* take, double ticks) {
    std::map<std::string, aiMatrix4x4> globals;
    globalTransforms(scene->mRootNode, aiMatrix4x4(), take, ticks, globals);
    const aiMatrix4x4 toMesh = aiMatrix4x4(globals[meshNode(scene)->mName.C_Str()]).Inverse();
    const aiMesh* mesh = scene->mMeshes[0];
    std::vector<aiVector3D> out(mesh->mNumVertices);
    for (unsigned b = 0; b < mesh->mNumBones; ++b) {
        const aiBone* bone = mesh->mBones[b];
        const aiMatrix4x4 m = toMesh * globals[bone->mName.C_Str()] * bone->mOffsetMatrix;
        for (unsigned w = 0; w < bone->mNumWeights; ++w) {
            const aiVertexWeight& vw = bone->mWeights[w];
            out[vw.mVertexId] += (m * mesh->mVertices[vw.mVertexId]) * vw.mWeight;
        }
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

std::string fileBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

class CharacterModelTest : public TempDirTest, public ::testing::WithParamInterface<CharacterCase> {
protected:
    void SetUp() override {
        TempDirTest::SetUp();
        ASSERT_TRUE(GetParam().write(".")) << GetParam().name;
        model_ = importModel(GetParam().fbx);
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
    EXPECT_EQ(std::filesystem::path(texture.C_Str()).filename(), GetParam().texture);
    TGAImage image;
    ASSERT_EQ(readTGA(&image, GetParam().texture), 0);
    EXPECT_EQ(image.pixelDepth, 24);
    EXPECT_EQ(image.width, image.height);
    EXPECT_TRUE(image.width == 256 || image.width == 512) << image.width;
    freeBuffers(&image);
}

TEST_P(CharacterModelTest, StandsOnItsFeetInsideTheCapsule) {
    const CharacterCase& c = GetParam();
    EXPECT_NEAR(low_, c.feetY, 3.0f);
    const float height = (high_ - low_) * c.scale;
    EXPECT_GE(height, c.minHeight);
    EXPECT_LE(height, c.maxHeight);
    float reach = 0.0f;
    for (unsigned v = 0; v < mesh_->mNumVertices; ++v) {
        reach = std::max(reach, std::hypot(mesh_->mVertices[v].x, mesh_->mVertices[v].z));
    }
    EXPECT_LE(reach * c.scale, c.capsuleRadius);
    EXPECT_GT(reach * c.scale, 0.4f * c.capsuleRadius) << "fills its capsule";
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

TEST_P(CharacterModelTest, WritesTheSameFilesEveryTime) {
    const CharacterCase& c = GetParam();
    std::filesystem::create_directory("again");
    ASSERT_TRUE(c.write("again"));
    for (const char* name : {c.fbx, c.texture}) {
        const std::string first = fileBytes(name);
        EXPECT_FALSE(first.empty());
        EXPECT_TRUE(first == fileBytes(std::string("again/") + name)) << name;
    }
}

INSTANTIATE_TEST_SUITE_P(Characters, CharacterModelTest, ::testing::ValuesIn(kCharacters),
                         [](const ::testing::TestParamInfo<CharacterCase>& info) {
                             return std::string(info.param.name);
                         });

} // namespace
