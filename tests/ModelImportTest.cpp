// Reading model files through the sandboxed reader: every hostile file is a failed import with its
// cause and the next model comes from a fresh child; answers asked ahead reach their loads
// whatever comes out of line or kills the child; a long-lived child answers exactly what a fresh
// one does; and the answer reader refuses every malformed answer.
#include "FBXModel.h"
#include "FBXTestSupport.h"
#include "LevelFacts.h"
#include "ModelAnswer.h"
#include "ModelReader.h"
#include "TestSupport.h"

#include <assimp/Exporter.hpp>
#include <assimp/Importer.hpp>
#include <assimp/postprocess.h>
#include <signal.h>
#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>

namespace {

// Short enough that the files that spin or hang end the test quickly.
constexpr double kShortSeconds = 2.0;
// How a crash or a failed allocation shows: under AddressSanitizer the child reports it and exits.
#ifdef __SANITIZE_ADDRESS__
constexpr const char* kCrashed = "ended with status";
constexpr const char* kOutOfMemory = "ended with status";
#else
constexpr const char* kCrashed = "died of signal";
constexpr const char* kOutOfMemory = "went over its memory limit";
#endif

const std::string kCorpusHostile[] = {
    std::string(HERDER_FUZZ_CORPUS) + "/model/bad-base64-texture.fbx",
    std::string(HERDER_FUZZ_CORPUS) + "/model/deep-node-chain.fbx"};

// An ASCII FBX with one triangle under a chain of `depth` models, each the child of the next.
std::string chainFile(int depth) {
    std::string text = "; FBX 7.4.0 project file\nFBXHeaderExtension:  {\n"
                       "\tFBXHeaderVersion: 1003\n\tFBXVersion: 7400\n}\nObjects:  {\n"
                       "\tGeometry: 999999, \"Geometry::tri\", \"Mesh\" {\n"
                       "\t\tVertices: *9 {\n\t\t\ta: 0,0,0,1,0,0,0,1,0\n\t\t}\n"
                       "\t\tPolygonVertexIndex: *3 {\n\t\t\ta: 0,1,-3\n\t\t}\n\t}\n";
    for (int i = 1; i <= depth; ++i) {
        text += "\tModel: " + std::to_string(i) + ", \"Model::n\", \"Null\" {}\n";
    }
    text += "}\nConnections:  {\n\tC: \"OO\",1,0\n";
    for (int i = 2; i <= depth; ++i) {
        text += "\tC: \"OO\"," + std::to_string(i) + "," + std::to_string(i - 1) + "\n";
    }
    return text + "\tC: \"OO\",999999," + std::to_string(depth) + "\n}\n";
}

// A Collada scene whose node hierarchy is `depth` deep.
std::string deepCollada(int depth) {
    std::string dae = "<?xml version=\"1.0\"?><COLLADA xmlns=\"http://www.collada.org/2005/11/"
                      "COLLADASchema\" version=\"1.4.1\"><library_visual_scenes>"
                      "<visual_scene id=\"s\">";
    for (int i = 0; i < depth; ++i) {
        dae += "<node>";
    }
    for (int i = 0; i < depth; ++i) {
        dae += "</node>";
    }
    return dae + "</visual_scene></library_visual_scenes><scene><instance_visual_scene "
                 "url=\"#s\"/></scene></COLLADA>";
}

// A node of a binary FBX file (version 7400: 32-bit offsets) with its encoded properties.
struct BinaryNode {
    std::string name;
    std::string properties;
    uint32_t propertyCount;
    bool scope; // a {} after the properties, empty or not
    std::vector<BinaryNode> children;
};

std::string word(uint32_t value) {
    return std::string(reinterpret_cast<const char*>(&value), 4);
}
std::string longProperty(int64_t value) {
    return 'L' + std::string(reinterpret_cast<const char*>(&value), 8);
}
std::string stringProperty(const std::string& text) {
    return 'S' + word(static_cast<uint32_t>(text.size())) + text;
}

// The node's record at `offset` in the file: its end offset, property count and length, name,
// properties, then its children closed by an empty record.
std::string record(const BinaryNode& node, size_t offset) {
    const size_t head = 13 + node.name.size() + node.properties.size();
    std::string children;
    for (const BinaryNode& child : node.children) {
        children += record(child, offset + head + children.size());
    }
    if (node.scope) {
        children += std::string(13, '\0');
    }
    return word(static_cast<uint32_t>(offset + head + children.size())) + word(node.propertyCount) +
           word(static_cast<uint32_t>(node.properties.size())) +
           static_cast<char>(node.name.size()) + node.name + node.properties + children;
}

// A binary FBX triangle whose vertex array claims 536,870,910 doubles, compressed: the importer
// makes room for them (4 GiB) before it inflates a byte.
std::string gigabytesFile() {
    const std::string doubles(72, '\0');
    const std::string vertices = 'd' + word(536870910) + word(1) + word(72) + doubles;
    const std::string corners = 'i' + word(3) + word(0) + word(12) + word(0) + word(1) + word(~2u);
    const auto object = [](int64_t id, const char* kind) {
        return longProperty(id) + stringProperty("n") + stringProperty(kind);
    };
    const auto link = [](int64_t child, int64_t parent) {
        return BinaryNode{
            "C", stringProperty("OO") + longProperty(child) + longProperty(parent), 3, false, {}};
    };
    const std::vector<BinaryNode> top = {
        {"FBXHeaderExtension",
         "",
         0,
         true,
         {{"FBXHeaderVersion", 'I' + word(1003), 1, false, {}},
          {"FBXVersion", 'I' + word(7400), 1, false, {}}}},
        {"Objects",
         "",
         0,
         true,
         {{"Geometry",
           object(999999, "Mesh"),
           3,
           true,
           {{"Vertices", vertices, 1, false, {}}, {"PolygonVertexIndex", corners, 1, false, {}}}},
          {"Model", object(1, "Mesh"), 3, true, {}}}},
        {"Connections", "", 0, true, {link(999999, 1), link(1, 0)}},
    };
    std::string file = std::string("Kaydara FBX Binary  \0\x1a\0", 23) + word(7400);
    for (const BinaryNode& node : top) {
        file += record(node, file.size());
    }
    return file + std::string(13, '\0');
}

// An OBJ whose corners all stand on one point, each with a texture coordinate of its own:
// joining identical vertices compares every corner with every other, a few hundred billion
// comparisons in a few MiB.
std::string spinningFile() {
    constexpr int kCorners = 300000;
    std::string text = "v 0 0 0\n";
    for (int i = 0; i < kCorners; ++i) {
        text += "vt " + std::to_string(i) + " 0\n";
    }
    for (int i = 1; i + 2 <= kCorners; i += 3) {
        text += "f 1/" + std::to_string(i) + " 1/" + std::to_string(i + 1) + " 1/" +
                std::to_string(i + 2) + "\n";
    }
    return text;
}

struct Reading {
    bool imported;
    ModelAnswer answer;
    std::string failure;
};

Reading readWith(ModelReader& reader, const std::string& file, bool bake) {
    ModelSource source;
    source.name = file;
    Reading r;
    r.imported = reader.read(source, bake, &r.answer, &r.failure);
    return r;
}

// What a reader of a fresh process answers for the file.
std::string freshAnswer(const std::string& file, bool bake) {
    ModelReader fresh;
    const Reading r = readWith(fresh, file, bake);
    return r.imported ? encodeModelAnswer(r.answer) : "failed: " + r.failure;
}

class ModelImportTest : public TempDirTest {
protected:
    static bool logHas(const std::string& prefix) {
        const std::vector<std::string> lines = readLines("log.txt");
        return std::any_of(lines.begin(), lines.end(),
                           [&](const std::string& l) { return l.rfind(prefix, 0) == 0; });
    }
};

// Each hostile file fails with its cause named after the file, and the next good model is read
// by a fresh child with exactly the answer a fresh process gives.
TEST_F(ModelImportTest, HostileFilesFailWithTheirCauseAndTheNextModelComesFromAFreshChild) {
    // The reader opens the material library the model names, a pipe nobody writes into.
    ASSERT_EQ(mkfifo("hang.mtl", 0600), 0);
    writeFile("hang.obj", "mtllib hang.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    writeFile("chain.fbx", chainFile(10000));
    writeFile("deep.dae", deepCollada(100000));
    writeFile("gigabytes.fbx", gigabytesFile());
    writeFile("spins.obj", spinningFile());
    std::vector<std::pair<std::string, std::string>> cases = {
        {"chain.fbx", kCrashed},
        {"deep.dae", kCrashed},
        {"gigabytes.fbx", kOutOfMemory},
        {"spins.obj", "used up its 2 s of CPU time"},
        {"hang.obj", "took longer than 6 s"},
    };
    for (const std::string& file : kCorpusHostile) {
        cases.push_back({file, kCrashed});
    }
    const std::string shared = kThirdParty + "../hostile";
    if (!kThirdParty.empty() && std::filesystem::is_directory(shared)) {
        for (const auto& entry : std::filesystem::directory_iterator(shared)) {
            if (entry.path().extension() != ".md") {
                cases.push_back({entry.path().string(), "the model reader on"});
            }
        }
    }
    const std::string flag = dataFile(level::kFlag.file);
    const std::string expected = freshAnswer(flag, false);
    ModelReader reader(ModelReader::Where::kChild, kShortSeconds);
    for (const auto& [file, cause] : cases) {
        const int children = reader.childrenStarted();
        const Reading bad = readWith(reader, file, true);
        EXPECT_FALSE(bad.imported) << file;
        EXPECT_FALSE(bad.answer.hasMesh) << file;
        EXPECT_EQ(bad.failure.rfind("the model reader on '" + file + "'", 0), 0u) << bad.failure;
        EXPECT_NE(bad.failure.find(cause), std::string::npos) << file << ": " << bad.failure;
        const Reading good = readWith(reader, flag, false);
        ASSERT_TRUE(good.imported) << file << ": " << good.failure;
        EXPECT_GT(reader.childrenStarted(), children) << file;
        EXPECT_EQ(encodeModelAnswer(good.answer), expected) << file;
    }
}

// The game's model says why, once, and stays empty.
TEST_F(ModelImportTest, AFailedModelLogsItsCauseOnceAndStaysEmpty) {
    writeFile("deep.dae", deepCollada(100000));
    openTestWindow();
    ModelReader reader;
    FBXModel model(reader, "deep.dae", "none.tga", 1.0f);
    EXPECT_TRUE(model.vertices.empty());
    EXPECT_EQ(model.vertexCount, 0);
    const std::vector<std::string> lines = readLines("log.txt");
    const auto failed =
        std::find(lines.begin(), lines.end(), "Model 'deep.dae' could not be imported");
    ASSERT_NE(failed, lines.end());
    ASSERT_NE(failed, lines.begin());
    EXPECT_EQ((failed - 1)->rfind(std::string("the model reader on 'deep.dae' ") + kCrashed, 0), 0u)
        << *(failed - 1);
    EXPECT_EQ(
        std::count_if(lines.begin(), lines.end(),
                      [](const std::string& l) { return l.find("deep.dae") != std::string::npos; }),
        2);
}

// Third-party files and what Assimp's exporters make of them, read in a row by one child (which
// lives on across them), each answer compared with a fresh process's for the same file.
TEST_F(ModelImportTest, OneChildReadsFiftyFilesAsFreshOnesDo) {
    SKIP_WITHOUT_THIRD_PARTY_FILES();
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(kThirdParty)) {
        const std::string ext = entry.path().extension().string();
        if (ext == ".fbx" || ext == ".obj") {
            files.push_back(entry.path().string());
        }
    }
    std::sort(files.begin(), files.end());
    const std::vector<std::string> sources = files;
    const struct {
        const char* format;
        const char* ext;
    } formats[] = {
        {"fbx", "fbx"}, {"fbxa", "fbx"}, {"collada", "dae"}, {"obj", "obj"}, {"3ds", "3ds"}};
    for (unsigned steps : {0u, unsigned(aiProcess_Triangulate | aiProcess_GenNormals)}) {
        for (size_t s = 0; s < sources.size(); ++s) {
            Assimp::Importer importer;
            const aiScene* scene = importer.ReadFile(sources[s], steps);
            ASSERT_NE(scene, nullptr) << sources[s];
            for (const auto& f : formats) {
                const std::string name = "export" + std::to_string(files.size()) + "." + f.ext;
                Assimp::Exporter exporter;
                if (exporter.Export(scene, f.format, name) == AI_SUCCESS) {
                    files.push_back(std::filesystem::absolute(name).string());
                }
            }
        }
    }
    ASSERT_GE(files.size(), 50u);
    files.resize(50);
    ModelReader reader;
    int imported = 0;
    for (const std::string& file : files) {
        const Reading r = readWith(reader, file, true);
        imported += r.imported ? 1 : 0;
        const std::string answer =
            r.imported ? encodeModelAnswer(r.answer) : "failed: " + r.failure;
        EXPECT_EQ(answer, freshAnswer(file, true)) << file;
    }
    EXPECT_GE(imported, 40);
    EXPECT_LE(reader.childrenStarted(), 1 + 50 - imported) << "a child ends only after a failure";
}

// The level's models asked ahead, the child killed from outside in the middle: every load still
// gets exactly the answer the reader gives in this process.
TEST_F(ModelImportTest, TheLevelLoadsEveryModelWhenItsReaderIsKilledMidway) {
    linkDataFiles();
    std::vector<ModelReader::Request> ahead;
    for (const level::ModelAsset* asset : level::kLevelModels) {
        ahead.push_back({asset->file, asset->animated});
    }
    ModelReader reader;
    ModelReader here(ModelReader::Where::kHere);
    reader.askAhead(ahead);
    for (size_t i = 0; i < ahead.size(); ++i) {
        if (i == 3 || i == 7) {
            ASSERT_NE(reader.childId(), 0);
            ASSERT_EQ(kill(reader.childId(), SIGKILL), 0);
        }
        const Reading there = readWith(reader, ahead[i].file, ahead[i].bakeFrames);
        const Reading mine = readWith(here, ahead[i].file, ahead[i].bakeFrames);
        ASSERT_TRUE(there.imported) << ahead[i].file << ": " << there.failure;
        EXPECT_EQ(encodeModelAnswer(there.answer), encodeModelAnswer(mine.answer)) << ahead[i].file;
    }
    EXPECT_GE(reader.childrenStarted(), 2) << "the child blocks on the terrain's answer until read";
}

// Loads in and out of the order asked ahead (bytes from memory, a file asked twice, one never
// asked for, one asked without frames) and a hostile file among them: each load gets exactly the
// reader's answer for it.
TEST_F(ModelImportTest, AnswersAskedAheadReachTheirLoadsWhateverComesOutOfLine) {
    const std::string sheep = dataFile(level::kSheep.file), flag = dataFile(level::kFlag.file),
                      rocket = dataFile(level::kRocket.file), wolf = dataFile(level::kWolf.file);
    const std::string flagBytes = fileBytes(flag);
    const struct {
        std::vector<ModelReader::Request> ahead;
        std::string file;
        bool fromMemory, bake, imported;
    } loads[] = {
        {{{sheep, true}, {flag, false}, {kCorpusHostile[1], false}, {rocket, false}, {wolf, true}},
         rocket,
         false,
         false,
         true},
        {{}, "flag.fbx", true, false, true},
        {{}, kCorpusHostile[1], false, false, false},
        {{}, sheep, false, true, true},
        {{}, wolf, false, true, true},
        {{{flag, false}, {rocket, false}}, rocket, false, false, true},
        {{}, sheep, false, false, true}, // never asked for in this form: without frames
        {{}, flag, false, false, true},
        {{}, flag, false, false, true},
    };
    ModelReader reader, here(ModelReader::Where::kHere);
    for (const auto& load : loads) {
        reader.askAhead(load.ahead);
        ModelSource source;
        source.name = load.file;
        if (load.fromMemory) {
            source.data = flagBytes.data();
            source.size = flagBytes.size();
        }
        ModelAnswer there, mine;
        std::string failure, mineFailure;
        const bool imported = reader.read(source, load.bake, &there, &failure);
        ASSERT_EQ(imported, load.imported) << load.file << ": " << failure;
        if (!imported) {
            EXPECT_EQ(failure.rfind("the model reader on '" + load.file + "' " + kCrashed, 0), 0u)
                << failure;
            continue;
        }
        ASSERT_TRUE(here.read(source, load.bake, &mine, &mineFailure)) << mineFailure;
        EXPECT_TRUE(there.hasMesh) << load.file;
        EXPECT_EQ(encodeModelAnswer(there), encodeModelAnswer(mine)) << load.file;
    }
}

// A quad and a triangle over five points, with a full set of frames.
ModelAnswer smallAnswer() {
    ModelAnswer m;
    m.outcome = ModelAnswer::kImported;
    m.hasMesh = true;
    for (int p = 0; p < 5; ++p) {
        m.controlPoints.insert(m.controlPoints.end(), {double(p), 1.0, 2.0, 1.0});
        m.controlNormals.insert(m.controlNormals.end(), {0.0, 1.0, 0.0, 0.0});
        m.controlUVs.insert(m.controlUVs.end(), {0.5f, float(p)});
    }
    m.polygonSizes = {4, 3};
    m.polygonIndices = {0, 1, 2, 3, 2, 3, 4};
    m.frames.assign(FBXModel::kSkinFrames, std::vector<float>(3 * 7, 0.25f));
    return m;
}

TEST(ModelAnswerTest, ReadsBackWhatWasWrittenAndRefusesEveryMalformedAnswer) {
    const std::string good = encodeModelAnswer(smallAnswer());
    ModelAnswer back;
    ASSERT_TRUE(decodeModelAnswer(good.data(), good.size(), &back));
    EXPECT_EQ(encodeModelAnswer(back), good);
    ModelAnswer empty;
    const std::string none = encodeModelAnswer(empty);
    ASSERT_TRUE(decodeModelAnswer(none.data(), none.size(), &back));
    EXPECT_EQ(back.outcome, ModelAnswer::kNotImported);

    std::vector<std::string> bad;
    for (size_t cut = 0; cut < good.size(); cut += 3) {
        bad.push_back(good.substr(0, cut));
    }
    bad.push_back(good + '\0');
    // Each header word (after the magic) one up, and set to the largest value.
    for (size_t word = 0; word < 6; ++word) {
        for (uint32_t value : {0u, std::numeric_limits<uint32_t>::max()}) {
            std::string copy = good;
            uint32_t w;
            std::memcpy(&w, &copy[4 + 4 * word], 4);
            w = value == 0 ? w + 1 : value;
            std::memcpy(&copy[4 + 4 * word], &w, 4);
            bad.push_back(copy);
        }
    }
    std::string magic = good;
    magic[3] = '2';
    bad.push_back(magic);
    const auto variant = [](auto change) {
        ModelAnswer m = smallAnswer();
        change(m);
        return encodeModelAnswer(m);
    };
    bad.push_back(variant([](ModelAnswer& m) { m.polygonIndices[6] = 5; }));
    bad.push_back(variant([](ModelAnswer& m) { m.polygonIndices[0] = -1; }));
    bad.push_back(variant([](ModelAnswer& m) { m.polygonSizes = {4, 4}; }));
    bad.push_back(variant([](ModelAnswer& m) { m.polygonSizes = {7, 0}; }));
    bad.push_back(variant([](ModelAnswer& m) { m.controlPoints[9] = std::nan(""); }));
    bad.push_back(variant([](ModelAnswer& m) { m.controlNormals[2] = INFINITY; }));
    bad.push_back(variant([](ModelAnswer& m) { m.controlUVs[0] = -INFINITY; }));
    bad.push_back(variant([](ModelAnswer& m) { m.frames[30][20] = std::nanf(""); }));
    bad.push_back(variant([](ModelAnswer& m) { m.frames.pop_back(); }));
    bad.push_back(variant([](ModelAnswer& m) { m.frames[3].pop_back(); }));
    bad.push_back(variant([](ModelAnswer& m) { m.controlUVs.pop_back(); }));
    bad.push_back(variant([](ModelAnswer& m) { m.hasMesh = false; }));
    bad.push_back(variant([](ModelAnswer& m) { m.outcome = ModelAnswer::kNotImported; }));
    for (size_t i = 0; i < bad.size(); ++i) {
        ModelAnswer out;
        out.hasMesh = true;
        EXPECT_FALSE(decodeModelAnswer(bad[i].data(), bad[i].size(), &out)) << "case " << i;
        EXPECT_FALSE(out.hasMesh);
        EXPECT_TRUE(out.frames.empty());
    }
}

} // namespace
