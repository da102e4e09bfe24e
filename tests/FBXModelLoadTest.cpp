// Loading models: every generated model with its texture and log trail, damaged and unsupported
// files refused without a crash, polygons kept as they are, third-party files, texture layout
// and filters as uploaded to GL.
#include "FBXModel.h"
#include "FBXTestSupport.h"
#include "GeneratedFiles.h"
#include "InputManager.h"
#include "TGAImage.h"
#include "TestSupport.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <algorithm>
#include <array>
#include <random>
#include <set>

namespace {

const char* const kLoadSteps[] = {"loading model 1", "loading model 2", "loading model 3.1",
                                  "loading model 3.5", "loading model 4"};

class FBXModelLoadTest : public DataFolderTest {
protected:
    static std::vector<std::string> log() { return readLines("log.txt"); }
    static bool logHas(const std::string& line) {
        const std::vector<std::string> lines = log();
        return std::find(lines.begin(), lines.end(), line) != lines.end();
    }
    // The failure line, right after a line that says why (not straight after the first step).
    static bool loggedFailure(const std::string& name) {
        const std::vector<std::string> lines = log();
        const auto at =
            std::find(lines.begin(), lines.end(), "Model '" + name + "' could not be imported");
        return at != lines.end() && at != lines.begin() && *(at - 1) != kLoadSteps[0];
    }
};

class FBXModelDataFolderTest : public FBXModelLoadTest,
                               public ::testing::WithParamInterface<GeneratedFile> {};

TEST_P(FBXModelDataFolderTest, LoadsWithConsistentArraysTextureAndLog) {
    const GeneratedFile& c = GetParam();
    const level::ModelAsset& asset = *c.asset;
    auto model = std::make_unique<FBXModel>(testReader(), asset);
    const FBXModel& m = *model;
    EXPECT_EQ(m.textureFile, asset.texture);
    EXPECT_FLOAT_EQ(m.scale, asset.scale);
    ASSERT_GT(m.polygonCount, 0);
    EXPECT_EQ(m.vertexCount, 3 * m.polygonCount);
    EXPECT_EQ(m.maxPolygonSize, 3);
    EXPECT_EQ(m.polygonSizes, std::vector<int>(m.polygonCount, 3));
    EXPECT_EQ(m.vertices.size(), size_t(3 * m.vertexCount));
    EXPECT_EQ(m.normals.size(), size_t(3 * m.vertexCount));
    EXPECT_EQ(m.texCoords.size(), size_t(2 * m.vertexCount));
    EXPECT_EQ(m.controlPoints.size(), size_t(4 * m.controlPointCount));
    for (size_t i = 0; i < m.normals.size(); i += 3) {
        ASSERT_NEAR(aiVector3D(m.normals[i], m.normals[i + 1], m.normals[i + 2]).Length(), 1, 0.02)
            << "normals belong to the positions' control points";
    }
    // The same bounds as the file itself, read independently.
    const ImportedModel file = importModel(asset.file);
    ASSERT_NE(file.scene, nullptr);
    const aiMesh* mesh = file.scene->mMeshes[0];
    EXPECT_FLOAT_EQ(extent(asPoints(m.vertices)),
                    extent({mesh->mVertices, mesh->mVertices + mesh->mNumVertices}));

    EXPECT_NE(m.textureId, 0u);
    EXPECT_GT(m.textureImage.width, 0) << "the texture was read";
    const std::vector<std::string> lines = log();
    auto at = lines.begin();
    for (const char* step : kLoadSteps) {
        at = std::find(at, lines.end(), step);
        ASSERT_NE(at, lines.end()) << step << " missing or out of order";
    }
    EXPECT_TRUE(logHas(std::to_string(m.vertexCount)));
    EXPECT_EQ(m.animated, asset.animated);
    EXPECT_EQ(m.frameCount, asset.animated ? FBXModel::kSkinFrames : 0);
}

INSTANTIATE_TEST_SUITE_P(DataFolder, FBXModelDataFolderTest, ::testing::ValuesIn(kGeneratedFiles),
                         generatedName);

// The first number after each `key` in the text replaced by `value`.
std::string replaceFirstNumbers(std::string text, const std::string& key,
                                const std::string& value) {
    for (size_t at = text.find(key); at != std::string::npos; at = text.find(key, at + 1)) {
        const size_t from = text.find("a: ", at) + 3;
        text.replace(from, text.find_first_of(",\n", from) - from, value);
    }
    return text;
}

// Files the importer cannot read or must not be trusted with: refused, logged, left empty.
TEST_F(FBXModelLoadTest, UnreadableFilesAreLoggedAndLeaveAnEmptyModel) {
    writeFile("Flag.txt", fileBytes(level::kFlag.file));
    for (const char* name : {"missing.fbx", "Flag.txt"}) {
        const FBXModel m(testReader(), name, level::kFlag.texture, 0.5f);
        EXPECT_TRUE(loggedFailure(name)) << name;
        EXPECT_EQ(m.vertexCount, 0) << name;
        EXPECT_FLOAT_EQ(m.scale, 0.5f);
    }
    const std::string sheep = fileBytes(level::kSheep.file);
    std::string big = fileBytes(level::kFlag.file) + "\n;"; // padded with an FBX comment
    big.resize(64u * 1024 * 1024 + 1, ' ');
    std::string deep;
    for (int level = 0; level < 200000; ++level) {
        deep += "A: {";
    }
    const std::pair<const char*, std::string> refused[] = {
        {"vertices-only.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\n"},
        {"not-a-number.obj", "v 1e39 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n"},
        {"Flag.png", fileBytes(level::kFlag.file)},
        {"big.fbx", big},
        // Trips an assertion inside the importer (a skin weight for a vertex that is not there).
        {"bad-index.fbx", replaceFirstNumbers(sheep, "Indexes: *", "99999999")},
        // Nesting that overflows the importer's recursive parser (in the reader's child).
        {"deep.fbx", deep + std::string(200000, '}')},
    };
    for (const auto& [name, bytes] : refused) {
        FBXModel m;
        m.animated = true;
        m.loadModelFromMemory(testReader(), bytes.data(), bytes.size(), name);
        EXPECT_TRUE(loggedFailure(name)) << name;
        EXPECT_EQ(m.vertexCount, 0) << name;
        EXPECT_TRUE(m.vertices.empty()) << name;
    }
    EXPECT_FALSE(logHas("loading model 2"));
}

// Copies of a real file with some bits flipped (deterministic: the generator is seeded).
std::vector<std::string> flippedCopies(const std::string& good, int copies, unsigned seed) {
    std::vector<std::string> out;
    std::mt19937 random(seed);
    for (int copy = 0; copy < copies; ++copy) {
        std::string bytes = good;
        for (int flip = 0; flip < 4; ++flip) {
            bytes[random() % bytes.size()] ^= static_cast<char>(1u << (random() % 8));
        }
        out.push_back(bytes);
    }
    return out;
}

// Damaged copies of a binary FBX and of one of our ASCII characters (both skinned, with takes)
// are either refused or loaded with arrays that match their own tables; never a crash. A copy
// cut short inside the binary file's records is always refused.
TEST_F(FBXModelLoadTest, DamagedFilesNeverCrash) {
    SKIP_WITHOUT_THIRD_PARTY_FILES();
    const std::string binary = fileBytes(kThirdParty + "blender_279_sausage_7400_binary.fbx");
    const std::string ascii = fileBytes(level::kSheep.file);
    std::vector<std::string> damaged;
    for (size_t cut : {size_t(20), size_t(27), binary.size() / 7, binary.size() / 2}) {
        damaged.push_back(binary.substr(0, cut));
    }
    const size_t cutShort = damaged.size();
    for (size_t cut : {ascii.size() / 3, ascii.size() / 2, ascii.size() - 2}) {
        damaged.push_back(ascii.substr(0, cut));
    }
    for (const std::string& good : {binary, ascii}) {
        const std::vector<std::string> copies = flippedCopies(good, 30, 20240611);
        damaged.insert(damaged.end(), copies.begin(), copies.end());
    }
    for (size_t i = 0; i < damaged.size(); ++i) {
        const std::string name = "damaged" + std::to_string(i) + ".fbx";
        FBXModel m;
        m.animated = true;
        m.loadModelFromMemory(testReader(), damaged[i].data(), damaged[i].size(), name);
        if (i < cutShort) {
            EXPECT_TRUE(loggedFailure(name)) << "cut at " << damaged[i].size();
        }
        if (loggedFailure(name)) {
            EXPECT_EQ(m.vertexCount, 0);
            continue;
        }
        int sum = 0;
        for (int size : m.polygonSizes) {
            sum += size;
        }
        EXPECT_EQ(m.vertexCount, sum) << name;
        EXPECT_EQ(m.vertices.size(), size_t(3 * m.vertexCount)) << name;
        for (const std::vector<float>& frame : m.frames) {
            EXPECT_EQ(frame.size(), m.vertices.size()) << name;
        }
    }
}

TEST_F(FBXModelLoadTest, BadOrMissingTextureStillLoadsTheModel) {
    TGAImage bad;
    bad.imageType = 4; // not a TGA image type
    bad.width = bad.height = 2;
    bad.pixelDepth = 24;
    std::vector<uint8_t> bytes;
    writeTGAToMemory(&bytes, &bad);
    writeFile("bad.tga", std::string(bytes.begin(), bytes.end()));
    for (const char* texture : {"bad.tga", "missing.tga"}) {
        FBXModel m(testReader(), level::kFlag.file, texture, 1.0f);
        EXPECT_TRUE(logHas(std::string("Unable to load the Texture '") + texture + "'"));
        EXPECT_TRUE(m.textureImage.pixels.empty());
        EXPECT_EQ(m.textureImage.width, 0);
        EXPECT_GT(m.vertexCount, 0);
        EXPECT_TRUE(m.textured);
    }
    EXPECT_TRUE(logHas("loading model 4"));
}

// A texture stored right to left and top to bottom, two pixels wide (rows of 6 bytes, not a
// multiple of 4), reaches GL the right way up and the right way round.
TEST_F(FBXModelLoadTest, TextureIsUploadedInItsVisibleOrientation) {
    const int w = 2, h = 4;
    auto blue = [](int x, int y) { return uint8_t(10 + x + 40 * y); }; // y = 0 at the bottom
    std::vector<uint8_t> stored;
    for (int row = 0; row < h; ++row) {
        for (int i = 0; i < w; ++i) {
            stored.insert(stored.end(), {blue(w - 1 - i, h - 1 - row), 0, 0});
        }
    }
    TGAImage image;
    image.imageType = 2;
    image.width = w;
    image.height = h;
    image.pixelDepth = 24;
    image.descriptor = 0x30;
    image.imageData = stored.data();
    ASSERT_EQ(writeTGA("flipped.tga", &image), kTgaOk);
    FBXModel m(testReader(), level::kFlag.file, "flipped.tga", 1.0f);
    std::vector<uint8_t> texels(w * h * 3);
    glBindTexture(GL_TEXTURE_2D, m.textureId);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glGetTexImage(GL_TEXTURE_2D, 0, GL_BGR_EXT, GL_UNSIGNED_BYTE, texels.data());
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            EXPECT_EQ(texels[(y * w + x) * 3], blue(x, y)) << x << "," << y;
        }
    }
}

GLint minFilterOf(GLuint texture) {
    GLint filter = 0;
    glBindTexture(GL_TEXTURE_2D, texture);
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, &filter);
    return filter;
}

TEST_F(FBXModelLoadTest, FilterModesSetMinificationAndLinearMagnification) {
    InputManager::getInstance()->toggleF4 = 0;
    InputManager::getInstance()->cycleF5 = 0;
    FBXModel m(testReader(), level::kFlag.file, level::kFlag.texture, 1.0f);
    EXPECT_EQ(minFilterOf(m.textureId), GL_LINEAR) << "linear even with the switch off";
    EXPECT_EQ(m.linearFilter, 1);
    GLint mag = 0;
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, &mag);
    EXPECT_EQ(mag, GL_LINEAR);
    const std::pair<int, GLint> modes[] = {
        {1, GL_NEAREST_MIPMAP_NEAREST}, {2, GL_LINEAR_MIPMAP_LINEAR}, {7, GL_LINEAR_MIPMAP_LINEAR}};
    for (const auto& [mode, expected] : modes) {
        m.filterMode = mode;
        glBindTexture(GL_TEXTURE_2D, 0);
        m.applyTextureFilter();
        EXPECT_EQ(minFilterOf(m.textureId), expected) << "mode " << mode;
    }
}

// Polygons are neither triangulated nor reordered; UVs follow their vertices.
TEST_F(FBXModelLoadTest, PolygonsKeepTheirSize) {
    writeFile("quads.obj", "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 2 0 0\nv 2 1 0\n"
                           "vt 0 0\nvt 0.5 0\nvt 0.5 1\nvt 0 1\nvt 1 0\nvt 1 1\n"
                           "f 1/1 2/2 3/3 4/4\nf 2/2 5/5 6/6 3/3\nf 1/1 2/2 4/4\n");
    const FBXModel m(testReader(), "quads.obj", level::kFlag.texture, 1.0f);
    EXPECT_EQ(m.polygonSizes, (std::vector<int>{4, 4, 3}));
    EXPECT_EQ(m.maxPolygonSize, 4);
    EXPECT_EQ(m.vertexCount, 11);
    EXPECT_EQ(m.controlPointCount, 6);
    const std::vector<float> secondQuad(m.vertices.begin() + 12, m.vertices.begin() + 24);
    EXPECT_EQ(secondQuad, (std::vector<float>{1, 0, 0, 2, 0, 0, 2, 1, 0, 1, 1, 0}));
    const std::vector<float> secondUVs(m.texCoords.begin() + 8, m.texCoords.begin() + 16);
    EXPECT_EQ(secondUVs, (std::vector<float>{0.5f, 0, 1, 0, 1, 1, 0.5f, 1}));
}

// A polygon as its corner positions, starting at the smallest corner, winding kept.
using Polygon = std::vector<std::array<float, 3>>;

std::set<Polygon> polygonsOf(const FBXModel& m) {
    std::set<Polygon> out;
    size_t at = 0;
    for (int size : m.polygonSizes) {
        Polygon p;
        for (int k = 0; k < size; ++k, at += 3) {
            p.push_back({m.vertices[at], m.vertices[at + 1], m.vertices[at + 2]});
        }
        std::rotate(p.begin(), std::min_element(p.begin(), p.end()), p.end());
        out.insert(p);
    }
    return out;
}

TEST_F(FBXModelLoadTest, MayaCubeReadsTheSameFromAsciiAndBinary) {
    SKIP_WITHOUT_THIRD_PARTY_FILES();
    const FBXModel ascii(testReader(), kThirdParty + "maya_cube_7500_ascii.fbx", "", 1.0f);
    const FBXModel binary(testReader(), kThirdParty + "maya_cube_7500_binary.fbx", "", 1.0f);
    EXPECT_EQ(ascii.polygonSizes, std::vector<int>(6, 4));
    EXPECT_EQ(polygonsOf(ascii), polygonsOf(binary));
    // Every face's normals point away from the cube's centre, across the face.
    const std::vector<aiVector3D> p = asPoints(ascii.vertices), n = asPoints(ascii.normals);
    for (size_t i = 0; i < p.size(); i += 4) {
        aiVector3D centre = (p[i] + p[i + 1] + p[i + 2] + p[i + 3]) * 0.25f;
        centre.Normalize();
        for (size_t k = i; k < i + 4; ++k) {
            EXPECT_NEAR(n[k] * centre, 1.0f, 1e-5f);
            EXPECT_NEAR(n[k] * (p[k] - p[i]), 0.0f, 1e-5f);
        }
    }
}

// Pivots and pre-rotations put helper nodes above the mesh node; the mesh is still found.
// In memory, the name's extension picks the format, whatever its case.
TEST_F(FBXModelLoadTest, MemoryLoadFindsTheMeshBelowPivotHelpers) {
    const FBXModel plain(testReader(), level::kFlag.file, level::kFlag.texture, 1.0f);
    std::string text = fileBytes(level::kFlag.file);
    const std::string anchor = "P: \"RotationActive\", \"bool\", \"\", \"\", 1";
    ASSERT_NE(text.find(anchor), std::string::npos);
    text.insert(text.find(anchor) + anchor.size(),
                "\n\t\t\tP: \"PreRotation\", \"Vector3D\", \"Vector\", \"\", 90, 0, 0"
                "\n\t\t\tP: \"RotationPivot\", \"Vector3D\", \"Vector\", \"\", 0, 5, 0");
    FBXModel pivoted;
    pivoted.textureFile = level::kFlag.texture;
    pivoted.loadModelFromMemory(testReader(), text.data(), text.size(), "Pivoted.FBX");
    EXPECT_FALSE(loggedFailure("Pivoted.FBX"));
    EXPECT_EQ(pivoted.vertices, plain.vertices);
    EXPECT_EQ(pivoted.texCoords, plain.texCoords);
}

} // namespace
