// Every generated file, read back the way the game reads it: one triangle mesh with normals and
// UVs on a child of the root, within its triangle budget; skinned characters with normalised
// weights and a whole-second take; 24-bit textures of sensible size; the default settings.
#include "LevelMeshes.h"
#include "Models.h"
#include "SettingsFile.h"
#include "TGAImage.h"

#include <assimp/Importer.hpp>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

struct ModelCase {
    const char* file;
    const char* texture;
    size_t budget;
    bool animated;
};

const ModelCase kModels[] = {
    {"Schachbrettkugel100.fbx", "checkerboard.tga", 1000, false},
    {"AniBrannicRun5.fbx", "Brannic.tga", 3000, true},
    {"AniSheepRun2.fbx", "AniSheepRun2.tga", 3000, true},
    {"Flag.fbx", "Flag.tga", 1000, false},
    {"Rocket.fbx", "Rocket.tga", 1000, false},
    {"Level01Boden3.fbx", "Terrain2.tga", 50000, false},
    {"Sky.fbx", "Skyred.tga", 4000, false},
    {"Level01Version6.fbx", "orange.tga", 20000, false},
    {"Oeltank.fbx", "Oeltank.tga", 8000, false},
    {"AniWolfRun4.fbx", "Wolf2.tga", 3000, true},
    {"TerrainOptimiert5.fbx", "Canyon1.tga", 50000, false},
};

class ModelFileTest : public ::testing::TestWithParam<ModelCase> {};

void checkMeshShape(const ModelCase& c, const aiScene* scene) {
    ASSERT_EQ(scene->mNumMeshes, 1u) << c.file;
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
    EXPECT_LE(mesh->mNumFaces, c.budget) << c.file;
    for (unsigned v = 0; v < mesh->mNumVertices; ++v) {
        ASSERT_TRUE(std::isfinite(mesh->mVertices[v].x) && std::isfinite(mesh->mVertices[v].y) &&
                    std::isfinite(mesh->mVertices[v].z));
        ASSERT_NEAR(mesh->mNormals[v].Length(), 1.0f, 0.02f) << c.file << " vertex " << v;
    }
}

void checkSkin(const ModelCase& c, const aiScene* scene) {
    const aiMesh* mesh = scene->mMeshes[0];
    if (!c.animated) {
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
        ASSERT_NEAR(sums[v], 1.0f, 1e-3f) << c.file << " vertex " << v;
    }
    ASSERT_EQ(scene->mNumAnimations, 1u);
    const aiAnimation* take = scene->mAnimations[0];
    const double ticks = take->mTicksPerSecond > 0 ? take->mTicksPerSecond : 25.0;
    const double seconds = take->mDuration / ticks;
    EXPECT_GE(seconds, 1.0 - 1e-6);
    EXPECT_NEAR(seconds, std::round(seconds), 1e-6) << "takes last whole seconds";
}

TEST_P(ModelFileTest, ReimportsAsTheGameExpects) {
    const ModelCase& c = GetParam();
    const ImportedModel model = importModel(dataFile(c.file));
    ASSERT_NE(model.scene, nullptr) << c.file << ": " << model.error;
    checkMeshShape(c, model.scene);
    checkSkin(c, model.scene);
}

TEST_P(ModelFileTest, TextureIsAReadable24BitImage) {
    const ModelCase& c = GetParam();
    TGAImage image;
    ASSERT_EQ(readTGA(&image, dataFile(c.texture).c_str()), 0) << c.texture;
    EXPECT_EQ(image.pixelDepth, 24);
    EXPECT_TRUE(image.imageType == 2 || image.imageType == 10);
    for (int size : {image.width, image.height}) {
        EXPECT_GE(size, 256);
        EXPECT_LE(size, 1024);
        EXPECT_EQ(size & (size - 1), 0) << "power of two for mipmapping";
    }
    freeBuffers(&image);
}

INSTANTIATE_TEST_SUITE_P(Generated, ModelFileTest, ::testing::ValuesIn(kModels),
                         [](const ::testing::TestParamInfo<ModelCase>& info) {
                             std::string name = info.param.file;
                             return name.substr(0, name.find('.'));
                         });

TEST(GeneratedContentTest, SomeTexturesAreRunLengthEncoded) {
    int encoded = 0;
    for (const ModelCase& c : kModels) {
        TGAImage image;
        if (readTGA(&image, dataFile(c.texture).c_str()) == 0 && image.imageType == 10) {
            ++encoded;
        }
        freeBuffers(&image);
    }
    EXPECT_GE(encoded, 2);
}

TEST(GeneratedContentTest, DefaultSettingsHoldTheFourKeysInReadingOrder) {
    SettingsFile settings(dataFile("settings.ini"));
    const std::string mode = settings.getString("G_GAMEMODESTRING");
    EXPECT_EQ(mode.rfind("1024x768", 0), 0u) << mode;
    EXPECT_GT(settings.getInt("I_MOUSE_SENSPITCH"), 0);
    EXPECT_GT(settings.getInt("I_MOUSE_SENSYAW"), 0);
    EXPECT_EQ(settings.getInt("GAME_SPEED"), 1);
}

std::string fileBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

TEST(GeneratedContentTest, GeneratorWritesTheSameBytesEveryTime) {
    namespace fs = std::filesystem;
    const fs::path root = fs::temp_directory_path() / ("herder-assets-" + std::to_string(getpid()));
    const std::string first = (root / "a").string(), second = (root / "b").string();
    fs::create_directories(first);
    fs::create_directories(second);
    for (const std::string& dir : {first, second}) {
        ASSERT_TRUE(assets::writeFlag(dir));
        ASSERT_TRUE(assets::writeCanyon(dir));
        ASSERT_TRUE(assets::writeSky(dir));
    }
    for (const char* name :
         {"Flag.fbx", "Flag.tga", "Level01Version6.fbx", "orange.tga", "Sky.fbx", "Skyred.tga"}) {
        const std::string a = fileBytes(first + "/" + name);
        EXPECT_FALSE(a.empty()) << name;
        EXPECT_TRUE(a == fileBytes(second + "/" + name)) << name << " differs between runs";
    }
    fs::remove_all(root);
}

} // namespace
