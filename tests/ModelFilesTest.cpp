// Every generated file, read back the way the game reads it: one triangle mesh with normals and
// UVs on a child of the root, within its triangle budget; skinned characters with normalised
// weights and a whole-second take; 24-bit textures of sensible size; the default settings; and
// every writer, the sound writer included, writing the same bytes as the build did. (The sound
// files themselves are read back by check_wav.py, through a WAV reader that is not ours.)
#include "GeneratedFiles.h"
#include "LevelMeshes.h"
#include "Models.h"
#include "SettingsFile.h"
#include "SoundFacts.h"
#include "Sounds.h"
#include "TGAImage.h"
#include "TestSupport.h"

#include <assimp/Importer.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

class ModelFileTest : public ::testing::TestWithParam<GeneratedFile> {};

void checkMeshShape(const GeneratedFile& c, const aiScene* scene) {
    ASSERT_EQ(scene->mNumMeshes, 1u) << c.name;
    int meshChildren = 0;
    for (unsigned i = 0; i < scene->mRootNode->mNumChildren; ++i) {
        meshChildren += scene->mRootNode->mChildren[i]->mNumMeshes > 0 ? 1 : 0;
    }
    EXPECT_EQ(meshChildren, 1) << "the mesh hangs on one direct child of the root";
    const aiMesh* mesh = scene->mMeshes[0];
    EXPECT_EQ(mesh->mPrimitiveTypes, static_cast<unsigned>(aiPrimitiveType_TRIANGLE));
    for (unsigned f = 0; f < mesh->mNumFaces; ++f) {
        ASSERT_EQ(mesh->mFaces[f].mNumIndices, 3u);
    }
    EXPECT_TRUE(mesh->HasNormals());
    EXPECT_TRUE(mesh->HasTextureCoords(0));
    EXPECT_GT(mesh->mNumFaces, 0u);
    EXPECT_LE(mesh->mNumFaces, c.triangleBudget) << c.name;
    for (unsigned v = 0; v < mesh->mNumVertices; ++v) {
        ASSERT_TRUE(std::isfinite(mesh->mVertices[v].x) && std::isfinite(mesh->mVertices[v].y) &&
                    std::isfinite(mesh->mVertices[v].z));
        ASSERT_NEAR(mesh->mNormals[v].Length(), 1.0f, 0.02f) << c.name << " vertex " << v;
    }
}

void checkSkin(const GeneratedFile& c, const aiScene* scene) {
    const aiMesh* mesh = scene->mMeshes[0];
    if (!c.asset->animated) {
        EXPECT_EQ(mesh->mNumBones, 0u);
        EXPECT_EQ(scene->mNumAnimations, 0u);
        return;
    }
    EXPECT_GE(mesh->mNumBones, 6u);
    std::vector<float> sums(mesh->mNumVertices, 0.0f);
    for (unsigned b = 0; b < mesh->mNumBones; ++b) {
        for (unsigned w = 0; w < mesh->mBones[b]->mNumWeights; ++w) {
            sums[mesh->mBones[b]->mWeights[w].mVertexId] += mesh->mBones[b]->mWeights[w].mWeight;
        }
    }
    for (unsigned v = 0; v < mesh->mNumVertices; ++v) {
        ASSERT_NEAR(sums[v], 1.0f, 1e-3f) << c.name << " vertex " << v;
    }
    ASSERT_EQ(scene->mNumAnimations, 1u);
    const aiAnimation* take = scene->mAnimations[0];
    const double ticks = take->mTicksPerSecond > 0 ? take->mTicksPerSecond : 25.0;
    const double seconds = take->mDuration / ticks;
    EXPECT_GE(seconds, 1.0 - 1e-6);
    EXPECT_NEAR(seconds, std::round(seconds), 1e-6) << "takes last whole seconds";
}

TEST_P(ModelFileTest, ReimportsAsTheGameExpects) {
    const GeneratedFile& c = GetParam();
    const ImportedModel model = importModel(dataFile(c.asset->file));
    ASSERT_NE(model.scene, nullptr) << c.name << ": " << model.error;
    checkMeshShape(c, model.scene);
    checkSkin(c, model.scene);
}

TEST_P(ModelFileTest, TextureIsAReadable24BitImage) {
    const GeneratedFile& c = GetParam();
    TGAImage image;
    ASSERT_EQ(readTGA(&image, dataFile(c.asset->texture).c_str()), 0) << c.asset->texture;
    EXPECT_EQ(image.pixelDepth, 24);
    EXPECT_TRUE(image.imageType == 2 || image.imageType == 10);
    for (int size : {image.width, image.height}) {
        EXPECT_GE(size, 256);
        EXPECT_LE(size, 1024);
        EXPECT_EQ(size & (size - 1), 0) << "power of two for mipmapping";
    }
    freeBuffers(&image);
}

INSTANTIATE_TEST_SUITE_P(Generated, ModelFileTest, ::testing::ValuesIn(kGeneratedFiles),
                         generatedName);

TEST(GeneratedContentTest, SomeTexturesAreRunLengthEncoded) {
    int encoded = 0;
    for (const GeneratedFile& c : kGeneratedFiles) {
        TGAImage image;
        if (readTGA(&image, dataFile(c.asset->texture).c_str()) == 0 && image.imageType == 10) {
            ++encoded;
        }
        freeBuffers(&image);
    }
    EXPECT_GE(encoded, 2);
}

// The shipped settings choose the shepherd rules and a volume, after every older key.
TEST(GeneratedContentTest, DefaultSettingsHoldTheSixKeysInReadingOrder) {
    SettingsFile settings(dataFile("settings.ini"));
    const std::string mode = settings.getString("G_GAMEMODESTRING");
    EXPECT_EQ(mode.rfind("1024x768", 0), 0u) << mode;
    EXPECT_GT(settings.getInt("I_MOUSE_SENSPITCH"), 0);
    EXPECT_GT(settings.getInt("I_MOUSE_SENSYAW"), 0);
    EXPECT_EQ(settings.getInt("GAME_SPEED"), 1);
    EXPECT_EQ(settings.getInt("I_RULES"), 1);
    const int volume = settings.getInt("I_VOLUME");
    EXPECT_GT(volume, 0);
    EXPECT_LE(volume, 100);
}

// Every writer, run again into a scratch folder, writes what the build wrote into its data folder;
// and the table of generated files above covers every model the generator writes.
using GeneratorTest = TempDirTest;

TEST_F(GeneratorTest, EveryWriterWritesTheSameBytesEveryTime) {
    for (const assets::GeneratedModel& model : assets::kGeneratedModels) {
        ASSERT_TRUE(model.write(".")) << model.asset->file;
        for (const char* name : {model.asset->file, model.asset->texture}) {
            const std::string again = fileBytes(name);
            EXPECT_FALSE(again.empty()) << name;
            EXPECT_TRUE(again == fileBytes(dataFile(name))) << name << " differs between runs";
        }
        EXPECT_TRUE(std::any_of(std::begin(kGeneratedFiles), std::end(kGeneratedFiles),
                                [&](const GeneratedFile& f) { return f.asset == model.asset; }))
            << model.asset->file << " is missing from the table of generated files";
    }
}

TEST_F(GeneratorTest, SoundsAreTheSameBytesEveryTime) {
    ASSERT_TRUE(assets::writeSounds("."));
    for (const sound::SoundAsset& asset : sound::kSounds) {
        const std::string again = fileBytes(asset.file);
        EXPECT_FALSE(again.empty()) << asset.file;
        EXPECT_TRUE(again == fileBytes(dataFile(asset.file)))
            << asset.file << " differs between runs";
    }
}

} // namespace
