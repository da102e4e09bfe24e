// Reading model files safely: the FBX pre-check refuses the hostile files we know of, a reader
// that crashes or hangs in its child process is an ordinary failed import, the child's answer
// carries exactly what the reader would give in this process, and the answer reader refuses
// every malformed answer.
#include "FBXImportLimits.h"
#include "FBXModel.h"
#include "ModelAnswer.h"
#include "ModelImport.h"
#include "TestSupport.h"

#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace {

const std::string kHostile[] = {std::string(HERDER_FUZZ_CORPUS) + "/model/bad-base64-texture.fbx",
                                std::string(HERDER_FUZZ_CORPUS) + "/model/deep-node-chain.fbx"};

bool withinLimits(const std::string& text) {
    return fbxWithinImportLimits(text.data(), text.size());
}

// An ASCII FBX with one triangle under a chain of `depth` models; `closed` connects the first
// model to the last as well.
std::string chainFile(int depth, bool closed) {
    std::string text = "; FBX 7.4.0 project file\nObjects:  {\n"
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
    if (closed) {
        text += "\tC: \"OO\",1," + std::to_string(depth) + "\n";
    }
    return text + "\tC: \"OO\",999999," + std::to_string(depth) + "\n}\n";
}

TEST(FBXImportLimitsTest, RefusesMalformedContentAndDeepOrClosedChains) {
    for (const std::string& path : kHostile) {
        const std::string bytes = fileBytes(path);
        ASSERT_FALSE(bytes.empty()) << path;
        EXPECT_FALSE(withinLimits(bytes)) << path;
    }
    const std::string texture = fileBytes(kHostile[0]);
    const std::string::size_type at = texture.find("\"AAAA!AAA\"");
    ASSERT_NE(at, std::string::npos);
    const struct {
        const char* content;
        bool accepted;
    } contents[] = {{"\"AAAAAAAA\"", true},  {"\"AAAAAA==\"", true},  {"\"AAAA\", \"AA==\"", true},
                    {"\"AAAA!AAA\"", false}, {"\"AAA=AAAA\"", false}, {"\"AAAAAAA\"", false},
                    {"\"A===\"", false},     {"\"\"", false},         {"AAAAAAAA", false},
                    {"\"AAAA\", \"A!==\"", false}};
    for (const auto& c : contents) {
        std::string text = texture;
        text.replace(at, std::strlen("\"AAAA!AAA\""), c.content);
        EXPECT_EQ(withinLimits(text), c.accepted) << c.content;
    }
    const struct {
        int depth;
        bool closed;
        bool accepted;
    } chains[] = {{1, false, true}, {400, false, true}, {511, false, true},
                  {600, false, false}, {3, true, false}};
    for (const auto& c : chains) {
        EXPECT_EQ(withinLimits(chainFile(c.depth, c.closed)), c.accepted)
            << c.depth << (c.closed ? " closed" : "");
    }
}

class ModelImportTest : public TempDirTest {
protected:
    static bool logHas(const std::string& prefix) {
        const std::vector<std::string> lines = readLines("log.txt");
        return std::any_of(lines.begin(), lines.end(),
                           [&](const std::string& l) { return l.rfind(prefix, 0) == 0; });
    }
};

// Past the pre-check, the reader itself dies on the hostile files (double free, stack overflow)
// and hangs on a pipe nobody writes into; each is a failure with its reason, never the test's end,
// and the reader after it works again.
TEST_F(ModelImportTest, ReaderThatCrashesOrHangsIsAFailedImport) {
    ASSERT_EQ(mkfifo("hang.fbx", 0600), 0);
    const struct {
        std::string path;
        const char* reason;
    } cases[] = {{kHostile[0], "the model reader "},
                 {kHostile[1], "the model reader "},
                 {"hang.fbx", "the model reader took longer than 1 s"}};
    for (const auto& c : cases) {
        ModelSource source;
        source.name = c.path;
        ModelAnswer answer;
        answer.hasMesh = true;
        std::string failure;
        EXPECT_FALSE(importModelIsolated(source, true, 1.0, &answer, &failure)) << c.path;
        EXPECT_EQ(failure.rfind(c.reason, 0), 0u) << c.path << ": " << failure;
        EXPECT_FALSE(answer.hasMesh);
        EXPECT_TRUE(answer.polygonIndices.empty());
    }
    // The next import gets a fresh reader.
    ModelSource flag;
    flag.name = std::string(HERDER_DATA_DIR) + "/Flag.fbx";
    ModelAnswer answer;
    std::string failure;
    EXPECT_TRUE(importModelIsolated(flag, false, FBXModel::kImportSeconds, &answer, &failure))
        << failure;
    EXPECT_TRUE(answer.hasMesh);
}

// Collada has no pre-check of ours: a node hierarchy 100,000 deep reaches the reader, which
// overflows its stack in the child. The model stays empty and the log says why.
TEST_F(ModelImportTest, GameModelSurvivesAReaderCrash) {
    std::string dae = "<?xml version=\"1.0\"?><COLLADA xmlns=\"http://www.collada.org/2005/11/"
                      "COLLADASchema\" version=\"1.4.1\"><library_visual_scenes>"
                      "<visual_scene id=\"s\">";
    constexpr int kDepth = 100000;
    for (int i = 0; i < kDepth; ++i) {
        dae += "<node>";
    }
    for (int i = 0; i < kDepth; ++i) {
        dae += "</node>";
    }
    dae += "</visual_scene></library_visual_scenes><scene><instance_visual_scene url=\"#s\"/>"
           "</scene></COLLADA>";
    writeFile("deep.dae", dae);
    openTestWindow();
    FBXModel model("deep.dae", "none.tga", 1.0f);
    EXPECT_TRUE(model.vertices.empty());
    EXPECT_EQ(model.vertexCount, 0);
    EXPECT_TRUE(logHas("the model reader died of signal") || logHas("the model reader ended"));
    EXPECT_TRUE(logHas("Model 'deep.dae' could not be imported"));
}

// What crosses the pipe is exactly what the reader makes here, frames included.
TEST_F(ModelImportTest, ChildAnswersExactlyWhatTheReaderGivesHere) {
    for (const char* name : {"AniSheepRun2.fbx", "Flag.fbx"}) {
        ModelSource source;
        source.name = std::string(HERDER_DATA_DIR) + "/" + name;
        ModelAnswer here, there;
        std::string failure;
        importModelHere(source, true, &here);
        ASSERT_TRUE(importModelIsolated(source, true, FBXModel::kImportSeconds, &there, &failure))
            << name << ": " << failure;
        EXPECT_TRUE(there.hasMesh) << name;
        EXPECT_EQ(there.frames.size(), static_cast<size_t>(FBXModel::kSkinFrames));
        EXPECT_EQ(encodeModelAnswer(here), encodeModelAnswer(there)) << name;
    }
}

// Files asked for ahead are served to their loads in order; a load out of line (bytes from
// memory, a file asked for later, one never asked for) drops what is pending before it, a reader
// that dies on a pending file is replaced, and every load gets exactly the reader's answer.
TEST_F(ModelImportTest, RequestsSentAheadAnswerTheirLoadsWhateverComesOutOfLine) {
    const std::string data = std::string(HERDER_DATA_DIR) + "/";
    const std::string sheep = data + "AniSheepRun2.fbx", flag = data + "Flag.fbx",
                      rocket = data + "Rocket.fbx", wolf = data + "AniWolfRun4.fbx";
    const std::string flagBytes = fileBytes(flag);
    const struct {
        std::vector<ModelRequest> ahead;
        std::string file;
        bool fromMemory, bake, imported;
    } loads[] = {
        {{{sheep, true}, {flag, false}, {kHostile[1], false}, {rocket, false}, {wolf, true}},
         sheep,
         false,
         true,
         true},
        {{}, "flag.fbx", true, false, true}, // drops the flag, the reader dies on the next
        {{}, rocket, false, false, true},
        {{}, kHostile[1], false, false, false},
        {{}, wolf, false, true, true},
        {{{flag, false}, {rocket, false}}, rocket, false, false, true},
        {{}, sheep, false, false, true}, // never asked for in this form: without frames
    };
    for (const auto& load : loads) {
        if (!load.ahead.empty()) {
            prefetchModels(load.ahead);
        }
        ModelSource source;
        source.name = load.file;
        if (load.fromMemory) {
            source.data = flagBytes.data();
            source.size = flagBytes.size();
        }
        ModelAnswer there;
        std::string failure;
        const bool imported =
            importModelIsolated(source, load.bake, FBXModel::kImportSeconds, &there, &failure);
        ASSERT_EQ(imported, load.imported) << load.file << ": " << failure;
        if (!imported) {
            EXPECT_EQ(failure.rfind("the model reader ", 0), 0u) << failure;
            continue;
        }
        ModelAnswer here;
        importModelHere(source, load.bake, &here);
        EXPECT_TRUE(there.hasMesh) << load.file;
        EXPECT_EQ(encodeModelAnswer(here), encodeModelAnswer(there)) << load.file;
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
